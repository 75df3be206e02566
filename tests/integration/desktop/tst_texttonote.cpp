// The tag plugin's text-to-note path (NfcAgentTagReadRequest::handleText) against the Linux notes
// calendar, on a private session bus where no notes application runs.
#include "extendedcalendar.h"
#include "extendedstorage.h"
#include "nfcagenttagreadrequest.h"

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <KCalendarCore/ICalFormat>
#include <KCalendarCore/MemoryCalendar>

using CalendarStorage::ExtendedCalendar;
using CalendarStorage::ExtendedStorage;

namespace {

const QString NotesNotebook = QStringLiteral("66666666-7777-8888-9999-000000000000");

// Every warning while recording, passed on to the test library's handler, which applies ignoreMessage.
QStringList* recordedWarnings = nullptr;
QtMessageHandler testLibraryHandler = nullptr;

void recordWarnings(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && recordedWarnings)
        recordedWarnings->append(message);
    testLibraryHandler(type, context, message);
}

} // namespace

class TestTextToNote : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void textBecomesJournalInNotesNotebook();
    void secondTextAddsSecondJournal();

private:
    QString notesFile() const { return m_root.filePath(QStringLiteral("data/nfc-ui/notes.ics")); }
    // Runs handleText and returns the warnings it gave.
    QStringList handleText(const QString& text);

    QTemporaryDir m_root;
};

void TestTextToNote::initTestCase()
{
    // The user's data directory stays out of reach even when the suite is not run through
    // scripts/isolated.
    QVERIFY(m_root.isValid());
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("home"))));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("data"))));
    qputenv("HOME", QFile::encodeName(m_root.filePath(QStringLiteral("home"))));
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_root.filePath(QStringLiteral("data"))));
    QVERIFY(QDBusConnection::sessionBus().isConnected());
}

QStringList TestTextToNote::handleText(const QString& text)
{
    QStringList warnings;
    recordedWarnings = &warnings;
    testLibraryHandler = qInstallMessageHandler(recordWarnings);
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("^NfcAgentTagReadRequest: Calling openNote\\(\\) fails: ")));
    ConnUi::NfcAgentTagReadRequest::handleText(text);
    qInstallMessageHandler(testLibraryHandler);
    recordedWarnings = nullptr;
    return warnings;
}

void TestTextToNote::textBecomesJournalInNotesNotebook()
{
    const QStringList warnings = handleText(QStringLiteral("Buy milk"));
    QCOMPARE(warnings.size(), 1);
    QVERIFY(warnings.first().startsWith(QStringLiteral("NfcAgentTagReadRequest: Calling openNote() fails: ")));

    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QVERIFY(storage->open());
    QVERIFY(storage->load());
    const KCalendarCore::Journal::List journals = calendar->journals();
    QCOMPARE(journals.size(), 1);
    QCOMPARE(journals.first()->description(), QStringLiteral("Buy milk"));
    QCOMPARE(calendar->notebook(journals.first()), NotesNotebook);
    QVERIFY(storage->close());

    // The file itself is iCalendar that names the notebook.
    QFile file(notesFile());
    QVERIFY(file.open(QIODevice::ReadOnly));
    KCalendarCore::MemoryCalendar::Ptr parsed(new KCalendarCore::MemoryCalendar(QTimeZone::utc()));
    KCalendarCore::ICalFormat format;
    QVERIFY(format.fromRawString(parsed, file.readAll()));
    const KCalendarCore::Journal::Ptr journal = parsed->journal(journals.first()->uid());
    QVERIFY(journal);
    QCOMPARE(journal->description(), QStringLiteral("Buy milk"));
    QCOMPARE(journal->nonKDECustomProperty("X-NFCUI-NOTEBOOK"), NotesNotebook);
}

void TestTextToNote::secondTextAddsSecondJournal()
{
    QCOMPARE(handleText(QStringLiteral("Call the plumber")).size(), 1);

    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QVERIFY(storage->open());
    QVERIFY(storage->load());
    const KCalendarCore::Journal::List journals = calendar->journals();
    QCOMPARE(journals.size(), 2);
    QStringList descriptions;
    for (const KCalendarCore::Journal::Ptr& journal : journals) {
        descriptions.append(journal->description());
        QCOMPARE(calendar->notebook(journal), NotesNotebook);
    }
    descriptions.sort();
    QCOMPARE(descriptions, QStringList({QStringLiteral("Buy milk"), QStringLiteral("Call the plumber")}));
}

QTEST_GUILESS_MAIN(TestTextToNote)

#include "tst_texttonote.moc"
