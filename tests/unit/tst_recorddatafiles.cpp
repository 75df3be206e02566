// Record data files under load and faults: a saved payload holds no descriptor, a burst of MIME tags
// under a low descriptor limit gets a confirmation dialog for every tag, no file outlives the plugin
// or the process, pending files wait in order and go 20 s after their handlers, and a full /tmp or no
// free descriptor costs a warning and nothing more.
#include <QtTest>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QProcess>
#include <QPointer>
#include <QSet>
#include <QSharedPointer>
#include <QTemporaryFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include "dialog.h"
#include "fakeplatform.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefrecordhandler.h"
#include "ndefwriter.h"
#include "nfcagent.h"
#include "nfctagnotsupporteddialog.h"
#include "nfctagreadpermissiondialog.h"
#include "pluginfixture.h"
#include "testsupport.h"

using ConnUi::Dialog;
using ConnUi::NdefRecordHandler;
using ConnUi::NfcTagNotSupportedDialog;
using ConnUi::NfcTagReadPermissionDialog;

namespace {

const char childModeVariable[] = "NFCUI_DATAFILE_CHILD";
const QString tempFileWarning = QStringLiteral("temp file writting failed - handling mime tag. ");

// What a contact card tag whose payload cannot be saved logs: the save is tried by the record's
// classification and again by the request, and the card is then not supported.
void expectUnsavedCardWarnings()
{
    QTest::ignoreMessage(QtWarningMsg, qPrintable(tempFileWarning));
    QTest::ignoreMessage(QtWarningMsg, qPrintable(tempFileWarning));
    QTest::ignoreMessage(QtWarningMsg, "Record type `text/x-vCard' not supported");
    QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No supported NDEF records found");
}

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size();
}

// A contact card: a MIME record whose confirmation dialog names its data file.
QByteArray cardTag(int serial, int padding = 0)
{
    const QByteArray card = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Person " + QByteArray::number(serial) + "\r\nNOTE:"
        + QByteArray(padding, 'n') + "\r\nEND:VCARD\r\n";
    return NdefWriter::message({NdefWriter::mime("text/x-vCard", card)});
}

// While alive, the soft limit on open descriptors is the given number, or, with -1, the lowest free
// descriptor, so that no file can be opened at all. Unlike file permissions this holds for root too.
class DescriptorLimit
{
public:
    explicit DescriptorLimit(int limit)
    {
        getrlimit(RLIMIT_NOFILE, &m_saved);
        if (limit < 0) {
            limit = ::open("/dev/null", O_RDONLY);
            ::close(limit);
        }
        rlimit lowered = m_saved;
        lowered.rlim_cur = rlim_t(limit);
        m_active = setrlimit(RLIMIT_NOFILE, &lowered) == 0;
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_saved); }
    bool isActive() const { return m_active; }

private:
    Q_DISABLE_COPY(DescriptorLimit)
    rlimit m_saved;
    bool m_active = false;
};

// While alive, /tmp is a tmpfs of the given size, in a mount namespace of this thread's own (the one
// that runs the tests): a test that makes tens of thousands of data files at once would otherwise grow
// the machine's /tmp directory for good, since ext4 never shrinks a directory. Needs root.
class PrivateTmp
{
public:
    explicit PrivateTmp(const char* size)
    {
        if (::unshare(CLONE_NEWNS) != 0) {
            m_error = QStringLiteral("a private mount namespace needs root (CAP_SYS_ADMIN): ")
                + QString::fromLocal8Bit(std::strerror(errno));
            return;
        }
        if (!TestSupport::keepMountsPrivate(&m_error))
            return;
        const QByteArray options = QByteArray("size=") + size + ",mode=1777";
        if (::mount("tmpfs", "/tmp", "tmpfs", 0, options.constData()) != 0) {
            m_error = QStringLiteral("no tmpfs on /tmp: ") + QString::fromLocal8Bit(std::strerror(errno));
            return;
        }
        m_mounted = true;
    }
    ~PrivateTmp()
    {
        if (m_mounted)
            ::umount2("/tmp", MNT_DETACH);
    }
    bool isMounted() const { return m_mounted; }
    QString error() const { return m_error; }

private:
    Q_DISABLE_COPY(PrivateTmp)
    bool m_mounted = false;
    QString m_error;
};

// A MIME record whose handler saves its payload to a data file.
QByteArray pictureTag(int serial)
{
    return NdefWriter::message({NdefWriter::mime("image/png", "PNG " + QByteArray::number(serial))});
}

// Saves and lets go of count picture records (serials from firstSerial on) without asking for their
// file objects, so only their names wait. Gives the names of their data files.
QStringList pendingPictureFiles(QList<QSharedPointer<NDEFMessage>>* messages, int count, int firstSerial)
{
    QStringList names;
    for (int i = 0; i < count; ++i) {
        messages->append(QSharedPointer<NDEFMessage>(NDEFMessage::createFromData(pictureTag(firstSerial + i))));
        if (!messages->last())
            return QStringList();
        NdefRecordHandler handler(messages->last()->getRecords().first());
        names.append(handler.dataFileName());
    }
    return names;
}

// The process started again in child mode: it saves one MIME record's payload, lets go of the handler
// and ends normally at once, without the delay passing. Prints the data file's name.
int childMain(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    FakePlatform::reset();
    QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(cardTag(1)));
    if (!message || message->getRecords().size() != 1)
        return 2;
    auto* handler = new NdefRecordHandler(message->getRecords().first());
    // "name": the file's object is never asked for, so only its name waits after the handler.
    if (qgetenv(childModeVariable) == "name") {
        if (handler->dataFileName().isEmpty())
            return 3;
        std::printf("%s\n", qPrintable(handler->dataFileName()));
        std::fflush(stdout);
        delete handler;
        return 0;
    }
    if (!handler->dataFile())
        return 3;
    std::printf("%s\n", qPrintable(handler->dataFile()->fileName()));
    std::fflush(stdout);
    delete handler;
    return 0;
}

} // namespace

class tst_RecordDataFiles : public QObject, public PluginFixture
{
    Q_OBJECT

private:
    QList<QSharedPointer<NDEFMessage>> m_messages;

    void deliver(const QByteArray& data, const QString& target = QStringLiteral("/tag/1"))
    {
        Q_EMIT agent()->dataDeliveryRequested(NdefMessageHandlerList(), QDBusObjectPath(target), data);
    }

    // Runs this program again in the given child mode, in which it leaves a data file pending and ends
    // normally printing the file's name; the file must be gone with the process.
    void expectChildsFileRemovedAtExit(const QString& mode)
    {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(childModeVariable), mode);
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        QVERIFY(child.waitForFinished(30000));
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 0);
        const QString file = QString::fromLocal8Bit(child.readAllStandardOutput()).trimmed();
        QVERIFY2(file.startsWith(QLatin1String("/tmp/nfc-mime-tag-content-")), qPrintable(file));
        QVERIFY2(!QFileInfo::exists(file), qPrintable(file + QStringLiteral(" outlived its process")));
    }

private Q_SLOTS:
    void init()
    {
        setUp();
        FakePlatform::setDefaultFileAction(QStringLiteral("*"), QStringLiteral("text/x-vCard"), QStringLiteral("Contacts"));
    }

    void cleanup()
    {
        m_messages.clear();
        tearDown();
    }

    void savedPayloadHoldsNoDescriptor()
    {
        const int before = openDescriptors();
        QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(cardTag(7)));
        QVERIFY(message);
        QScopedPointer<NdefRecordHandler> handler(new NdefRecordHandler(message->getRecords().first()));
        QVERIFY(handler->dataFile());
        QCOMPARE(openDescriptors(), before);

        // Still named, still on disk with the payload, still removed with the object.
        const QString name = handler->dataFile()->fileName();
        QVERIFY(name.startsWith(QLatin1String("/tmp/nfc-mime-tag-content-")));
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), message->getRecords().first()->getPayload());
        file.close();
        handler.reset();
        QVERIFY(QFileInfo::exists(name));
        NdefRecordHandler::removePendingDataFiles();
        QVERIFY(!QFileInfo::exists(name));
    }

    void burstOfMimeTagsUnderLowDescriptorLimitAllGetConfirmation()
    {
        const int tags = 30000;
        // Each file takes a page of the tmpfs.
        PrivateTmp tmp("256m");
        QVERIFY2(tmp.isMounted(), qPrintable(tmp.error()));
        QStringList files;
        files.reserve(tags);
        {
            DescriptorLimit limit(1024);
            QVERIFY(limit.isActive());
            // The debug lines of 30,000 deliveries are not what this test reads.
            QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
            for (int i = 0; i < tags; ++i) {
                deliver(cardTag(i));
                // The last dialog shown, looked at without walking all that were shown before.
                auto* dialog = qobject_cast<NfcTagReadPermissionDialog*>(server->lastShown());
                if (!dialog || server->shownDialogs().size() != i + 1)
                    QFAIL(qPrintable(QStringLiteral("tag %1 got no confirmation dialog").arg(i)));
                QCOMPARE(dialog->mimeType(), QStringLiteral("text/x-vCard"));
                files.append(dialog->file());
                dialog->done(i % 2 ? Dialog::Ok : Dialog::Cancel);
                TestSupport::deleteLaterNow();
                FakePlatform::clearCalls();
            }
            QLoggingCategory::setFilterRules(QString());
            QVERIFY(!server->lastShownOf<NfcTagNotSupportedDialog>());
            // Every file waits for its application, without a descriptor.
            QVERIFY(openDescriptors() < 100);
        }
        QVERIFY(QFileInfo::exists(files.first()));
        QVERIFY(QFileInfo::exists(files.last()));

        plugin->destroy();
        for (const QString& file : qAsConst(files)) {
            if (QFileInfo::exists(file))
                QFAIL(qPrintable(file + QStringLiteral(" outlived destroy()")));
        }
    }

    void noDataFileIsLeftAfterDestroy()
    {
        QStringList files;
        for (int i = 0; i < 20; ++i) {
            deliver(cardTag(i));
            auto* dialog = onlyOpen<NfcTagReadPermissionDialog>();
            QVERIFY(dialog);
            files.append(dialog->file());
            // The last one is still open when the plugin goes.
            if (i < 19) {
                dialog->done(Dialog::Ok);
                TestSupport::deleteLaterNow();
            }
        }
        for (const QString& file : qAsConst(files))
            QVERIFY(QFileInfo::exists(file));
        plugin->destroy();
        for (const QString& file : qAsConst(files))
            QVERIFY2(!QFileInfo::exists(file), qPrintable(file));
    }

    void pendingDataFileIsRemovedWhenTheProcessEnds() { expectChildsFileRemovedAtExit(QStringLiteral("1")); }

    void pendingNameOnlyDataFileIsRemovedWhenTheProcessEnds()
    {
        expectChildsFileRemovedAtExit(QStringLiteral("name"));
    }

    void dataFileNameNamesTheSavedFileWhileTheHandlerLives()
    {
        QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(pictureTag(1)));
        QVERIFY(message);
        auto* handler = new NdefRecordHandler(message->getRecords().first());
        const QString name = handler->dataFileName();
        QVERIFY2(name.startsWith(QLatin1String("/tmp/nfc-mime-tag-content-")), qPrintable(name));
        QCOMPARE(name.size(), int(qstrlen("/tmp/nfc-mime-tag-content-XXXXXX")));
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("PNG 1"));
        file.close();
        // The object handed out later names the same file.
        QVERIFY(handler->dataFile());
        QCOMPARE(handler->dataFile()->fileName(), name);
        QCOMPARE(handler->dataFile(), handler->dataFile());
        delete handler;
        QVERIFY(QFileInfo::exists(name));
        NdefRecordHandler::removePendingDataFiles();
        QVERIFY(!QFileInfo::exists(name));
    }

    void recordWithoutDataFileHasNoDataFileName()
    {
        QScopedPointer<NDEFMessage> message(
            NDEFMessage::createFromData(NdefWriter::message({NdefWriter::uri(QStringLiteral("http://example.com"))})));
        QVERIFY(message);
        NdefRecordHandler handler(message->getRecords().first());
        QVERIFY(handler.dataFileName().isEmpty());
        QVERIFY(!handler.dataFile());
    }

    // Files whose handlers go at different times are each removed 20 s after their own handler, in
    // that order, whether their object was handed out or only their name waits; a handed-out object
    // deleted early takes its file with it and leaves the rest of the queue as it was. Files added
    // while older ones are being removed join the queue behind them and wait their own 20 s.
    void pendingDataFilesAreRemovedInOrderTwentySecondsAfterTheirHandlers()
    {
        const int files = 4;
        QList<QSharedPointer<NDEFMessage>> messages;
        QStringList names;
        QList<qint64> goneAt;
        QPointer<QTemporaryFile> handedOut;
        QPointer<QTemporaryFile> deletedEarly;
        QElapsedTimer clock;
        clock.start();
        // Many go with the first, so that later ones are added while the oldest are removed.
        const QStringList early = pendingPictureFiles(&messages, 250, 1000);
        for (int i = 0; i < files; ++i) {
            messages.append(QSharedPointer<NDEFMessage>(NDEFMessage::createFromData(pictureTag(i))));
            QVERIFY(messages.last());
            auto* handler = new NdefRecordHandler(messages.last()->getRecords().first());
            names.append(handler->dataFileName());
            QVERIFY(QFileInfo::exists(names.last()));
            if (i == 1)
                handedOut = handler->dataFile();
            if (i == 2)
                deletedEarly = handler->dataFile();
            goneAt.append(clock.elapsed());
            delete handler;
            QTest::qWait(700);
        }
        QVERIFY(handedOut);
        QVERIFY(deletedEarly);
        delete deletedEarly.data();
        QVERIFY(!QFileInfo::exists(names.at(2)));
        for (int i = 0; i < files; ++i) {
            if (i != 2)
                QVERIFY2(QFileInfo::exists(names.at(i)), qPrintable(names.at(i)));
        }

        // Watched every 20 ms until the last is gone.
        QList<qint64> removedAt;
        for (int i = 0; i < files; ++i)
            removedAt.append(i == 2 ? goneAt.at(i) : -1);
        QStringList added;
        while (removedAt.contains(-1) && clock.elapsed() < goneAt.last() + 25000) {
            QTest::qWait(20);
            for (int i = 0; i < files; ++i) {
                if (removedAt.at(i) < 0 && !QFileInfo::exists(names.at(i)))
                    removedAt[i] = clock.elapsed();
            }
            if (removedAt.at(0) >= 0 && added.isEmpty())
                added = pendingPictureFiles(&messages, 300, 2000);
        }
        for (const QString& name : early)
            QVERIFY2(!QFileInfo::exists(name), qPrintable(name + QStringLiteral(" outlived its time")));
        QCOMPARE(added.size(), 300);
        for (const QString& name : qAsConst(added))
            QVERIFY2(QFileInfo::exists(name), qPrintable(name + QStringLiteral(" was removed before its time")));
        NdefRecordHandler::removePendingDataFiles();
        for (const QString& name : qAsConst(added))
            QVERIFY2(!QFileInfo::exists(name), qPrintable(name + QStringLiteral(" outlived removePendingDataFiles()")));
        for (int i = 0; i < files; ++i) {
            if (i == 2)
                continue;
            QVERIFY2(removedAt.at(i) >= 0, qPrintable(names.at(i) + QStringLiteral(" was never removed")));
            const qint64 after = removedAt.at(i) - goneAt.at(i);
            QVERIFY2(after >= 20000, qPrintable(QStringLiteral("file %1 removed %2 ms after its handler").arg(i).arg(after)));
            // Late by the removal batch and a busy machine's scheduling at most.
            QVERIFY2(after < 22000, qPrintable(QStringLiteral("file %1 removed %2 ms after its handler").arg(i).arg(after)));
        }
        QVERIFY(removedAt.at(0) <= removedAt.at(1));
        QVERIFY(removedAt.at(1) <= removedAt.at(3));
        // The handed-out object went with its file.
        QVERIFY(handedOut.isNull());
    }

    void manyPendingDataFilesHoldNoDescriptorAndGoWithDestroy()
    {
        const int files = 5000;
        const int descriptors = openDescriptors();
        QList<QSharedPointer<NDEFMessage>> messages;
        QStringList names;
        QList<QPointer<QTemporaryFile>> objects;
        for (int i = 0; i < files; ++i) {
            messages.append(QSharedPointer<NDEFMessage>(NDEFMessage::createFromData(pictureTag(i))));
            QVERIFY(messages.last());
            auto* handler = new NdefRecordHandler(messages.last()->getRecords().first());
            names.append(handler->dataFileName());
            // One in ten was handed out as an object.
            if (i % 10 == 0)
                objects.append(handler->dataFile());
            delete handler;
        }
        QCOMPARE(openDescriptors(), descriptors);
        QCOMPARE(QSet<QString>(names.cbegin(), names.cend()).size(), files);
        for (const QString& name : qAsConst(names)) {
            if (!QFileInfo::exists(name))
                QFAIL(qPrintable(name + QStringLiteral(" was removed before its time")));
        }
        for (const QPointer<QTemporaryFile>& object : qAsConst(objects))
            QVERIFY(object);

        plugin->destroy();
        for (const QString& name : qAsConst(names)) {
            if (QFileInfo::exists(name))
                QFAIL(qPrintable(name + QStringLiteral(" outlived destroy()")));
        }
        for (const QPointer<QTemporaryFile>& object : qAsConst(objects))
            QVERIFY(object.isNull());
        QCOMPARE(openDescriptors(), descriptors);
    }

    void contactCardThatFailsValidationLeavesNoFileAndNoName()
    {
        FakePlatform::set(QStringLiteral("ContactExporter/valid"), false);
        // A card no other test uses: tests running at the same time make data files of their own in
        // /tmp, so only a new file holding this card would be this handler's.
        const QByteArray name = "FN:Person 90417\r\n";
        QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(cardTag(90417)));
        QVERIFY(message);
        const QDir tmp(QStringLiteral("/tmp"));
        const QStringList pattern{QStringLiteral("nfc-mime-tag-content-*")};
        const QStringList before = tmp.entryList(pattern);
        QTest::ignoreMessage(QtWarningMsg, "Tag contains corrupted contact information");
        NdefRecordHandler handler(message->getRecords().first());
        QVERIFY(handler.dataFileName().isEmpty());
        QVERIFY(!handler.dataFile());
        for (const QString& entry : tmp.entryList(pattern)) {
            QFile file(tmp.filePath(entry));
            if (!before.contains(entry) && file.open(QIODevice::ReadOnly))
                QVERIFY2(!file.readAll().contains(name), qPrintable(file.fileName() + QStringLiteral(" holds the card")));
        }
    }

    void noFreeDescriptorCostsOnlyWarnings()
    {
        const QString readWarning = QStringLiteral("NdefRecordHandler: Unable to read ") + QDir::homePath()
            + QStringLiteral("/.nfc/defaulttaghandlers");
        QDir().mkpath(QDir::homePath() + QStringLiteral("/.nfc"));
        QFile database(QDir::homePath() + QStringLiteral("/.nfc/defaulttaghandlers"));
        QVERIFY(database.open(QIODevice::WriteOnly));
        database.close();
        {
            DescriptorLimit limit(-1);
            QVERIFY(limit.isActive());
            expectUnsavedCardWarnings();
            deliver(cardTag(1));
            // The picture cannot be saved, so it cannot be handled: the user is told so.
            auto* dialog = onlyOpen<NfcTagNotSupportedDialog>();
            QVERIFY(dialog);
            dialog->done(Dialog::Ok);
            TestSupport::deleteLaterNow();
            QCOMPARE(TestSupport::agentReplies(), QStringList{"rejectDevice /tag/1"});

            // A web address still works; its remembered choice cannot be read.
            FakePlatform::clearCalls();
            FakePlatform::set(QStringLiteral("ContentAction/string/http://example.com"),
                              QStringList{QStringLiteral("Browser"), QStringLiteral("Reader")});
            QTest::ignoreMessage(QtWarningMsg, qPrintable(readWarning));
            deliver(NdefWriter::message({NdefWriter::uri(QStringLiteral("http://example.com"))}), QStringLiteral("/tag/2"));
            auto* confirmation = onlyOpen<NfcTagReadPermissionDialog>();
            QVERIFY(confirmation);
            confirmation->setSelectedApplication(QStringLiteral("Reader"));
            QTest::ignoreMessage(QtWarningMsg, qPrintable(readWarning));
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^NdefRecordHandler: Unable to write ")));
            confirmation->done(Dialog::Ok);
            TestSupport::deleteLaterNow();
            QCOMPARE(TestSupport::agentReplies(), QStringList{"dataDeliveryGranted /tag/2"});
        }
        // With descriptors back, the next tag is handled as usual.
        FakePlatform::clearCalls();
        deliver(cardTag(2), QStringLiteral("/tag/3"));
        QVERIFY(onlyOpen<NfcTagReadPermissionDialog>());
    }

    void fullTmpCostsOnlyAWarning()
    {
        PrivateTmp tmp("64k");
        QVERIFY2(tmp.isMounted(), qPrintable(tmp.error()));
        // Fill it to the last block.
        {
            QFile filler(QStringLiteral("/tmp/filler"));
            QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
            const QByteArray block(4096, 'x');
            while (filler.write(block) == block.size()) {
            }
        }

        expectUnsavedCardWarnings();
        deliver(cardTag(1, 32 * 1024));
        auto* dialog = onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(dialog);
        dialog->done(Dialog::Ok);
        TestSupport::deleteLaterNow();
        QCOMPARE(TestSupport::agentReplies(), QStringList{"rejectDevice /tag/1"});
        // Nothing cut short is left behind.
        QCOMPARE(QDir(QStringLiteral("/tmp")).entryList(QDir::Files), QStringList{"filler"});

        // Once there is room again, the same tag is handled.
        QVERIFY(QFile::remove(QStringLiteral("/tmp/filler")));
        FakePlatform::clearCalls();
        deliver(cardTag(1, 32 * 1024), QStringLiteral("/tag/2"));
        QVERIFY(onlyOpen<NfcTagReadPermissionDialog>());
        plugin->destroy();
        QVERIFY(QDir(QStringLiteral("/tmp")).entryList(QDir::Files).isEmpty());
    }
};

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet(childModeVariable))
        return childMain(argc, argv);
    QCoreApplication app(argc, argv);
    app.setAttribute(Qt::AA_Use96Dpi, true);
    tst_RecordDataFiles test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_recorddatafiles.moc"
