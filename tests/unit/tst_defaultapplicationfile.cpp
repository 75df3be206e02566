// The default application database on disk: written only when its bytes change, replaced whole so
// that an interrupted write leaves the previous file, and every fault of the file costing at most
// its warning.
#include <QtTest>

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSharedPointer>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "defaultsfile.h"
#include "fakeplatform.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefrecordhandler.h"
#include "ndefwriter.h"

using ConnUi::NdefRecordHandler;
using namespace DefaultsFile;

namespace {

QString unableToRead()
{
    return QStringLiteral("NdefRecordHandler: Unable to read ") + databasePath();
}

QString unableToWrite()
{
    return QStringLiteral("NdefRecordHandler: Unable to write ") + databasePath();
}

// What identifies one version of a file on disk: its inode and its modification time to the
// nanosecond.
struct FileStamp
{
    ino_t inode = 0;
    qint64 seconds = 0;
    qint64 nanoseconds = 0;
    bool operator==(const FileStamp& other) const
    {
        return inode == other.inode && seconds == other.seconds && nanoseconds == other.nanoseconds;
    }
};

FileStamp stamp(const QString& path)
{
    struct stat info;
    FileStamp result;
    if (::stat(QFile::encodeName(path).constData(), &info) == 0) {
        result.inode = info.st_ino;
        result.seconds = info.st_mtim.tv_sec;
        result.nanoseconds = info.st_mtim.tv_nsec;
    }
    return result;
}

// Moves the modification time an hour back, so that a rewrite within the same clock tick would
// still be seen.
bool ageFile(const QString& path)
{
    struct timeval times[2];
    ::gettimeofday(&times[0], nullptr);
    times[0].tv_sec -= 3600;
    times[1] = times[0];
    return ::utimes(QFile::encodeName(path).constData(), times) == 0;
}

// While alive, no file of this process can grow beyond the given size: a write past it fails
// halfway with EFBIG (the signal it would raise is ignored), as a full disk would fail it.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_saved);
        rlimit limit = m_saved;
        limit.rlim_cur = bytes;
        m_active = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    bool isActive() const { return m_active; }

private:
    Q_DISABLE_COPY(FileSizeLimit)
    rlimit m_saved;
    void (*m_previousHandler)(int);
    bool m_active = false;
};

} // namespace

class tst_DefaultApplicationFile : public QObject
{
    Q_OBJECT

private:
    QList<QSharedPointer<NDEFMessage>> m_messages;

    // A handler of an sms: URI record; the message stays alive until the test function ends.
    QSharedPointer<NdefRecordHandler> handlerFor(const QString& uri)
    {
        NDEFMessage* message = NDEFMessage::createFromData(NdefWriter::message({NdefWriter::uri(uri)}));
        if (!message || message->getRecords().size() != 1) {
            delete message;
            return QSharedPointer<NdefRecordHandler>();
        }
        m_messages.append(QSharedPointer<NDEFMessage>(message));
        return QSharedPointer<NdefRecordHandler>(new NdefRecordHandler(message->getRecords().first()));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!QFileInfo::exists(nfcDirectoryPath()),
                 "~/.nfc exists already; run the suite through scripts/isolated");
        // URI records have content actions from strings; none are needed for the database.
        FakePlatform::reset();
    }

    void cleanup()
    {
        m_messages.clear();
        QFile(nfcDirectoryPath()).setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                                 | QFileDevice::ExeOwner);
        removeDatabase();
    }

    // --- Written only on change -----------------------------------------------------------------

    void unchangedChoiceLeavesTheFileUntouched()
    {
        auto first = handlerFor(QStringLiteral("sms:+123"));
        QVERIFY(first);
        first->setDefaultApplication(QStringLiteral("App"));
        QCOMPARE(readFile(databasePath()), exampleDatabase());
        QVERIFY(ageFile(databasePath()));
        const FileStamp before = stamp(databasePath());

        // The same handler, then a new one as the next tag would make.
        first->setDefaultApplication(QStringLiteral("App"));
        auto second = handlerFor(QStringLiteral("sms:+456"));
        second->setDefaultApplication(QStringLiteral("App"));

        QVERIFY(stamp(databasePath()) == before);
        QCOMPARE(readFile(databasePath()), exampleDatabase());
    }

    void unchangedChoiceAmongSeveralLeavesTheFileUntouched()
    {
        handlerFor(QStringLiteral("sms:+123"))->setDefaultApplication(QStringLiteral("Messages"));
        handlerFor(QStringLiteral("tel:+123"))->setDefaultApplication(QStringLiteral("Phone"));
        handlerFor(QStringLiteral("http://example.com"))->setDefaultApplication(QStringLiteral("Browser"));
        const QByteArray bytes = readFile(databasePath());
        QVERIFY(ageFile(databasePath()));
        const FileStamp before = stamp(databasePath());

        handlerFor(QStringLiteral("tel:+999"))->setDefaultApplication(QStringLiteral("Phone"));

        QVERIFY(stamp(databasePath()) == before);
        QCOMPARE(readFile(databasePath()), bytes);
    }

    void changedChoiceReplacesTheFileWhole()
    {
        auto handler = handlerFor(QStringLiteral("sms:+123"));
        handler->setDefaultApplication(QStringLiteral("Old"));
        const FileStamp before = stamp(databasePath());

        handler->setDefaultApplication(QStringLiteral("App"));

        // A new file took the old one's name: the old one was never truncated in place.
        QVERIFY(stamp(databasePath()).inode != before.inode);
        QCOMPARE(readFile(databasePath()), exampleDatabase());
        QCOMPARE(QDir(nfcDirectoryPath()).entryList(QDir::Files | QDir::Hidden), QStringList{"defaulttaghandlers"});
    }

    void damagedFileIsReplacedByTheChoice()
    {
        QVERIFY(writeFile(databasePath(), exampleDatabase().left(exampleDatabase().size() - 3)));
        auto handler = handlerFor(QStringLiteral("sms:+123"));
        QVERIFY(handler->defaultApplication().isNull());

        handler->setDefaultApplication(QStringLiteral("App"));
        QCOMPARE(readFile(databasePath()), exampleDatabase());
    }

    void choiceEqualToADamagedFilesPairIsWritten()
    {
        // The damaged file loads as nothing, so the choice is new and must reach the disk.
        QVERIFY(writeFile(databasePath(), exampleDatabase().left(exampleDatabase().size() - 1)));
        handlerFor(QStringLiteral("sms:+123"))->setDefaultApplication(QStringLiteral("App"));
        QCOMPARE(readFile(databasePath()), exampleDatabase());
    }

    void fileRemovedBehindTheHandlerIsWrittenAgain()
    {
        auto handler = handlerFor(QStringLiteral("sms:+123"));
        handler->setDefaultApplication(QStringLiteral("App"));
        QVERIFY(QFile::remove(databasePath()));

        handler->setDefaultApplication(QStringLiteral("App"));
        QCOMPARE(readFile(databasePath()), exampleDatabase());
    }

    // --- Interrupted writes ---------------------------------------------------------------------

    void writeCutShortBySizeLimitLeavesThePreviousFile()
    {
        handlerFor(QStringLiteral("sms:+123"))->setDefaultApplication(QStringLiteral("App"));
        const QByteArray previous = readFile(databasePath());
        auto handler = handlerFor(QStringLiteral("http://example.com"));
        {
            // The new contents are longer than the old: the write stops halfway.
            FileSizeLimit limit(rlim_t(previous.size()));
            QVERIFY(limit.isActive());
            handler->setDefaultApplication(QStringLiteral("A browser with a long name"));
        }
        QCOMPARE(readFile(databasePath()), previous);
        QCOMPARE(handlerFor(QStringLiteral("sms:+5"))->defaultApplication(), QStringLiteral("App"));
        // The choice lives on in the handler that made it, as when the file cannot be opened.
        QVERIFY(handlerFor(QStringLiteral("http://other.example.com"))->defaultApplication().isNull());
        QCOMPARE(QDir(nfcDirectoryPath()).entryList(QDir::Files | QDir::Hidden), QStringList{"defaulttaghandlers"});

        // Once the disk takes it, the next choice is saved with everything before it.
        handler->setDefaultApplication(QStringLiteral("Browser"));
        QCOMPARE(handlerFor(QStringLiteral("http://other.example.com"))->defaultApplication(),
                 QStringLiteral("Browser"));
        QCOMPARE(handlerFor(QStringLiteral("sms:+5"))->defaultApplication(), QStringLiteral("App"));
    }

    void firstWriteCutShortLeavesNoFile()
    {
        {
            FileSizeLimit limit(4);
            QVERIFY(limit.isActive());
            handlerFor(QStringLiteral("sms:+123"))->setDefaultApplication(QStringLiteral("App"));
        }
        QVERIFY(!QFileInfo::exists(databasePath()));
        QVERIFY(QDir(nfcDirectoryPath()).entryList(QDir::Files | QDir::Hidden).isEmpty());
    }

    // --- Faults: a warning at most --------------------------------------------------------------

    void missingFileCostsNothing()
    {
        auto handler = handlerFor(QStringLiteral("sms:+123"));
        QVERIFY(handler->defaultApplication().isNull());
        QVERIFY(!QFileInfo::exists(nfcDirectoryPath()));
    }

    void corruptFileLoadsAsNoChoice_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addRow("empty") << QByteArray();
        QTest::addRow("count only") << QByteArray::fromHex("00000001");
        QTest::addRow("huge count") << QByteArray::fromHex("7fffffff");
        QTest::addRow("huge string length") << QByteArray::fromHex("00000001" "7ffffff0" "0041");
        QTest::addRow("odd string length") << QByteArray::fromHex("00000001" "00000003" "004100" "00000000");
        QTest::addRow("random bytes") << QByteArray("\x13\x37\xde\xad\xbe\xef\x00\x01\x02", 9);
    }

    void corruptFileLoadsAsNoChoice()
    {
        QFETCH(QByteArray, contents);
        QVERIFY(writeFile(databasePath(), contents));
        auto handler = handlerFor(QStringLiteral("sms:+123"));
        QVERIFY(handler->defaultApplication().isNull());
        handler->setDefaultApplication(QStringLiteral("App"));
        QCOMPARE(readFile(databasePath()), exampleDatabase());
    }

    void unreadableFileCostsItsWarning()
    {
        handlerFor(QStringLiteral("sms:+123"))->setDefaultApplication(QStringLiteral("App"));
        QVERIFY(QFile::remove(databasePath()));
        QVERIFY(QDir().mkpath(databasePath())); // a directory cannot be opened as a file, even by root

        auto handler = handlerFor(QStringLiteral("sms:+123"));
        QTest::ignoreMessage(QtWarningMsg, qPrintable(unableToRead()));
        QVERIFY(handler->defaultApplication().isNull());

        QTest::ignoreMessage(QtWarningMsg, qPrintable(unableToRead()));
        QTest::ignoreMessage(QtWarningMsg, qPrintable(unableToWrite()));
        handler->setDefaultApplication(QStringLiteral("Other"));
        QVERIFY(QFileInfo(databasePath()).isDir());
    }

    void unwritableDirectoryCostsItsWarning()
    {
        // A file named .nfc keeps the directory from being made, whoever runs the test.
        QVERIFY(writeFile(nfcDirectoryPath(), "not a directory"));
        auto handler = handlerFor(QStringLiteral("sms:+123"));
        QTest::ignoreMessage(QtWarningMsg, qPrintable(unableToWrite()));
        handler->setDefaultApplication(QStringLiteral("App"));
        QCOMPARE(handler->defaultApplication(), QStringLiteral("App"));
        QCOMPARE(readFile(nfcDirectoryPath()), QByteArray("not a directory"));
    }
};

QTEST_GUILESS_MAIN(tst_DefaultApplicationFile)
#include "tst_defaultapplicationfile.moc"
