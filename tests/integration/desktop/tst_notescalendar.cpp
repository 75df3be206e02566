// The Linux notes calendar: journals in notebooks, kept in $XDG_DATA_HOME/nfc-ui/notes.ics.
#include "extendedcalendar.h"
#include "extendedstorage.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <KCalendarCore/ICalFormat>
#include <KCalendarCore/MemoryCalendar>

#include <memory>
#include <vector>

using CalendarStorage::ExtendedCalendar;
using CalendarStorage::ExtendedStorage;

namespace {

const QString NotesNotebook = QStringLiteral("66666666-7777-8888-9999-000000000000");

KCalendarCore::Journal::Ptr journalWith(const QString& description)
{
    KCalendarCore::Journal::Ptr journal(new KCalendarCore::Journal);
    journal->setDescription(description);
    return journal;
}

// Stores one journal the way the tag plugin does; returns its uid, or an empty string on failure.
QString storeNote(const QString& description, const QString& notebook = NotesNotebook)
{
    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    if (!storage->open() || !storage->load())
        return QString();
    const KCalendarCore::Journal::Ptr journal = journalWith(description);
    if (!calendar->addJournal(journal) || !calendar->setNotebook(journal, notebook) || !storage->save())
        return QString();
    storage->close();
    return journal->uid();
}

// Loads the stored journals into a fresh calendar.
ExtendedCalendar::Ptr loadStored()
{
    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    if (!storage->open() || !storage->load())
        return ExtendedCalendar::Ptr();
    storage->close();
    return calendar;
}

KCalendarCore::Journal::Ptr findByDescription(const ExtendedCalendar::Ptr& calendar, const QString& description)
{
    const KCalendarCore::Journal::List journals = calendar->journals();
    for (const KCalendarCore::Journal::Ptr& journal : journals) {
        if (journal->description() == description)
            return journal;
    }
    return KCalendarCore::Journal::Ptr();
}

} // namespace

class TestNotesCalendar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void savedJournalLoadsBackWithDescriptionUidAndNotebook();
    void loadWithoutFileLeavesCalendarEmpty();
    void openFailsWhenDataDirectoryCannotBeCreated();
    void loadAndSaveBeforeOpenFail();
    void addingNullOrDuplicateJournalFails();
    void notebookNeedsJournalInCalendar();
    void savedFileIsValidICalendar();
    void saveKeepsJournalsOthersStoredMeanwhile();
    void parallelSavesKeepEveryJournal();
    void unreadableFileIsNeitherLoadedNorOverwritten();
    void validatingStorageRefusesNotebookNotInFile();
    void validatingStorageAcceptsNotebookInFile();

private:
    QString dataDir() const { return m_root.filePath(QStringLiteral("data/nfc-ui")); }
    QString notesFile() const { return dataDir() + QStringLiteral("/notes.ics"); }

    QTemporaryDir m_root;
};

void TestNotesCalendar::initTestCase()
{
    // The user's data directory stays out of reach even when the suite is not run through
    // scripts/isolated: QStandardPaths reads these variables on each call.
    QVERIFY(m_root.isValid());
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("home"))));
    QVERIFY(QDir().mkpath(m_root.filePath(QStringLiteral("data"))));
    qputenv("HOME", QFile::encodeName(m_root.filePath(QStringLiteral("home"))));
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_root.filePath(QStringLiteral("data"))));
    QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation),
             m_root.filePath(QStringLiteral("data")));
}

void TestNotesCalendar::init()
{
    const QFileInfo info(dataDir());
    if (info.isDir())
        QVERIFY(QDir(dataDir()).removeRecursively());
    else if (info.exists())
        QVERIFY(QFile::remove(dataDir()));
}

void TestNotesCalendar::savedJournalLoadsBackWithDescriptionUidAndNotebook()
{
    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    QCOMPARE(calendar->timeZone(), QTimeZone::systemTimeZone());
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QCOMPARE(storage->calendar(), calendar);
    QVERIFY(storage->open());
    QVERIFY(QFileInfo(dataDir()).isDir());
    QVERIFY(storage->load());

    const KCalendarCore::Journal::Ptr journal = journalWith(QStringLiteral("Buy milk"));
    QVERIFY(calendar->addJournal(journal));
    QVERIFY(calendar->setNotebook(journal, NotesNotebook));
    QCOMPARE(calendar->notebook(journal), NotesNotebook);
    QCOMPARE(calendar->journals().size(), 1);
    QVERIFY(storage->save());
    QVERIFY(storage->close());
    QVERIFY(QFileInfo(notesFile()).isFile());

    const ExtendedCalendar::Ptr loaded = loadStored();
    QVERIFY(loaded);
    const KCalendarCore::Journal::List journals = loaded->journals();
    QCOMPARE(journals.size(), 1);
    QCOMPARE(journals.first()->description(), QStringLiteral("Buy milk"));
    QCOMPARE(journals.first()->uid(), journal->uid());
    QCOMPARE(loaded->notebook(journals.first()), NotesNotebook);
}

void TestNotesCalendar::loadWithoutFileLeavesCalendarEmpty()
{
    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QVERIFY(storage->open());
    QVERIFY(!QFileInfo::exists(notesFile()));
    QVERIFY(storage->load());
    QVERIFY(calendar->journals().isEmpty());
    QVERIFY(!QFileInfo::exists(notesFile()));
    QVERIFY(storage->close());
}

void TestNotesCalendar::openFailsWhenDataDirectoryCannotBeCreated()
{
    QFile blocker(dataDir());
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();

    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^ExtendedStorage: Cannot create the directory ")));
    QVERIFY(!storage->open());
    QTest::ignoreMessage(QtWarningMsg, "ExtendedStorage: save() before open()");
    QVERIFY(!storage->save());
    QVERIFY(QFileInfo(dataDir()).isFile());
}

void TestNotesCalendar::loadAndSaveBeforeOpenFail()
{
    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QTest::ignoreMessage(QtWarningMsg, "ExtendedStorage: load() before open()");
    QVERIFY(!storage->load());
    QVERIFY(calendar->addJournal(journalWith(QStringLiteral("Never stored"))));
    QTest::ignoreMessage(QtWarningMsg, "ExtendedStorage: save() before open()");
    QVERIFY(!storage->save());
    QVERIFY(!QFileInfo::exists(notesFile()));

    // After close() the storage no longer writes either.
    QVERIFY(storage->open());
    QVERIFY(storage->close());
    QTest::ignoreMessage(QtWarningMsg, "ExtendedStorage: save() before open()");
    QVERIFY(!storage->save());
    QVERIFY(!QFileInfo::exists(notesFile()));
}

void TestNotesCalendar::addingNullOrDuplicateJournalFails()
{
    ExtendedCalendar calendar(QTimeZone::systemTimeZone());
    QVERIFY(!calendar.addJournal(KCalendarCore::Journal::Ptr()));

    const KCalendarCore::Journal::Ptr journal = journalWith(QStringLiteral("First"));
    QVERIFY(calendar.addJournal(journal));
    QVERIFY(!calendar.addJournal(journal));

    const KCalendarCore::Journal::Ptr sameUid = journalWith(QStringLiteral("Second"));
    sameUid->setUid(journal->uid());
    QVERIFY(!calendar.addJournal(sameUid));

    QCOMPARE(calendar.journals().size(), 1);
    QCOMPARE(calendar.journals().first()->description(), QStringLiteral("First"));
}

void TestNotesCalendar::notebookNeedsJournalInCalendar()
{
    ExtendedCalendar calendar(QTimeZone::systemTimeZone());
    const KCalendarCore::Journal::Ptr outside = journalWith(QStringLiteral("Not added"));
    QVERIFY(!calendar.setNotebook(outside, NotesNotebook));
    QVERIFY(!calendar.setNotebook(KCalendarCore::Incidence::Ptr(), NotesNotebook));
    QVERIFY(calendar.notebook(outside).isEmpty());
    QVERIFY(calendar.notebook(KCalendarCore::Incidence::Ptr()).isEmpty());

    const KCalendarCore::Journal::Ptr inside = journalWith(QStringLiteral("Added"));
    QVERIFY(calendar.addJournal(inside));
    QVERIFY(calendar.notebook(inside).isEmpty());
    QVERIFY(!calendar.setNotebook(inside, QString()));
    QVERIFY(calendar.setNotebook(inside, NotesNotebook));
    QCOMPARE(calendar.notebook(inside), NotesNotebook);

    // Moving the journal to another notebook replaces the first.
    const QString other = QStringLiteral("11111111-2222-3333-4444-555555555555");
    QVERIFY(calendar.setNotebook(inside, other));
    QCOMPARE(calendar.notebook(inside), other);
}

void TestNotesCalendar::savedFileIsValidICalendar()
{
    const QString uid = storeNote(QStringLiteral("Line one\nLine two, with; punctuation"));
    QVERIFY(!uid.isEmpty());

    QFile file(notesFile());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray data = file.readAll();
    QVERIFY(data.startsWith("BEGIN:VCALENDAR"));
    QVERIFY(data.contains("BEGIN:VJOURNAL"));

    KCalendarCore::MemoryCalendar::Ptr parsed(new KCalendarCore::MemoryCalendar(QTimeZone::utc()));
    KCalendarCore::ICalFormat format;
    QVERIFY(format.fromRawString(parsed, data));
    const KCalendarCore::Journal::Ptr journal = parsed->journal(uid);
    QVERIFY(journal);
    QCOMPARE(journal->description(), QStringLiteral("Line one\nLine two, with; punctuation"));
    QCOMPARE(journal->nonKDECustomProperty("X-NFCUI-NOTEBOOK"), NotesNotebook);
}

void TestNotesCalendar::saveKeepsJournalsOthersStoredMeanwhile()
{
    // The first storage loads the empty file, then another stores a note before the first saves.
    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QVERIFY(storage->open());
    QVERIFY(storage->load());
    QVERIFY(calendar->journals().isEmpty());

    const QString otherUid = storeNote(QStringLiteral("Stored meanwhile"), QStringLiteral("other-notebook"));
    QVERIFY(!otherUid.isEmpty());

    const KCalendarCore::Journal::Ptr journal = journalWith(QStringLiteral("Stored last"));
    QVERIFY(calendar->addJournal(journal));
    QVERIFY(calendar->setNotebook(journal, NotesNotebook));
    QVERIFY(storage->save());
    QVERIFY(storage->close());

    const ExtendedCalendar::Ptr loaded = loadStored();
    QVERIFY(loaded);
    QCOMPARE(loaded->journals().size(), 2);
    const KCalendarCore::Journal::Ptr meanwhile = findByDescription(loaded, QStringLiteral("Stored meanwhile"));
    QVERIFY(meanwhile);
    QCOMPARE(meanwhile->uid(), otherUid);
    QCOMPARE(loaded->notebook(meanwhile), QStringLiteral("other-notebook"));
    const KCalendarCore::Journal::Ptr last = findByDescription(loaded, QStringLiteral("Stored last"));
    QVERIFY(last);
    QCOMPARE(loaded->notebook(last), NotesNotebook);
}

void TestNotesCalendar::parallelSavesKeepEveryJournal()
{
    const int count = 8;
    QSemaphore ready;
    QSemaphore go;
    std::vector<QString> uids(count);
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(QThread::create([i, &ready, &go, &uids] {
            ready.release();
            go.acquire();
            uids[i] = storeNote(QStringLiteral("Note %1").arg(i));
        }));
        threads.back()->start();
    }
    ready.acquire(count);
    go.release(count);
    for (const auto& thread : threads)
        QVERIFY(thread->wait(60000));

    const ExtendedCalendar::Ptr loaded = loadStored();
    QVERIFY(loaded);
    QCOMPARE(loaded->journals().size(), count);
    for (int i = 0; i < count; ++i) {
        QVERIFY2(!uids[i].isEmpty(), qPrintable(QStringLiteral("note %1 was not stored").arg(i)));
        const KCalendarCore::Journal::Ptr journal = findByDescription(loaded, QStringLiteral("Note %1").arg(i));
        QVERIFY2(journal, qPrintable(QStringLiteral("note %1 is missing").arg(i)));
        QCOMPARE(journal->uid(), uids[i]);
        QCOMPARE(loaded->notebook(journal), NotesNotebook);
    }
}

void TestNotesCalendar::unreadableFileIsNeitherLoadedNorOverwritten()
{
    QVERIFY(QDir().mkpath(dataDir()));
    const QByteArray garbage("This is not an iCalendar file.\n");
    QFile file(notesFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(garbage), qint64(garbage.size()));
    file.close();

    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    QVERIFY(storage->open());
    // KCalendarCore reports the parse error itself, then the storage says which file it was.
    const QRegularExpression parseError(QStringLiteral("^parse error from icalcomponent_new_from_string"));
    const QRegularExpression invalid(QStringLiteral("^ExtendedStorage: .*notes\\.ics is not a valid iCalendar file$"));
    QTest::ignoreMessage(QtCriticalMsg, parseError);
    QTest::ignoreMessage(QtWarningMsg, invalid);
    QVERIFY(!storage->load());

    const KCalendarCore::Journal::Ptr journal = journalWith(QStringLiteral("Would replace the file"));
    QVERIFY(calendar->addJournal(journal));
    QVERIFY(calendar->setNotebook(journal, NotesNotebook));
    QTest::ignoreMessage(QtCriticalMsg, parseError);
    QTest::ignoreMessage(QtWarningMsg, invalid);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^ExtendedStorage: Not saving over ")));
    QVERIFY(!storage->save());

    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), garbage);
}

void TestNotesCalendar::validatingStorageRefusesNotebookNotInFile()
{
    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar);
    QVERIFY(storage->open());
    QVERIFY(storage->load());
    const KCalendarCore::Journal::Ptr journal = journalWith(QStringLiteral("In a new notebook"));
    QVERIFY(calendar->addJournal(journal));
    QVERIFY(calendar->setNotebook(journal, NotesNotebook));
    QTest::ignoreMessage(QtWarningMsg,
                         qPrintable(QStringLiteral("ExtendedStorage: Not saving: incidence %1 is in notebook %2, "
                                                   "which the storage does not hold")
                                        .arg(journal->uid(), NotesNotebook)));
    QVERIFY(!storage->save());
    QVERIFY(!QFileInfo::exists(notesFile()));
}

void TestNotesCalendar::validatingStorageAcceptsNotebookInFile()
{
    QVERIFY(!storeNote(QStringLiteral("Sets up the notebook")).isEmpty());

    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar);
    QVERIFY(storage->open());
    QVERIFY(storage->load());
    const KCalendarCore::Journal::Ptr journal = journalWith(QStringLiteral("In a known notebook"));
    QVERIFY(calendar->addJournal(journal));
    QVERIFY(calendar->setNotebook(journal, NotesNotebook));
    const KCalendarCore::Journal::Ptr loose = journalWith(QStringLiteral("In no notebook"));
    QVERIFY(calendar->addJournal(loose));
    QVERIFY(storage->save());
    QVERIFY(storage->close());

    const ExtendedCalendar::Ptr loaded = loadStored();
    QVERIFY(loaded);
    QCOMPARE(loaded->journals().size(), 3);
    QCOMPARE(loaded->notebook(findByDescription(loaded, QStringLiteral("In a known notebook"))), NotesNotebook);
    QVERIFY(loaded->notebook(findByDescription(loaded, QStringLiteral("In no notebook"))).isEmpty());
}

QTEST_GUILESS_MAIN(TestNotesCalendar)

#include "tst_notescalendar.moc"
