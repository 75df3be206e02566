// nfcui-host as a process: plugin options, errors and exit codes, --answer, --automation, and the
// plugins' destroy() on SIGINT and SIGTERM.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <fcntl.h>

#include "automationtypes.h"
#include "testpluginlog.h"
#include "testbusdaemon.h"
#include "testtimeouts.h"

class tst_NfcuiHost : public QObject
{
    Q_OBJECT

private:
    TestPluginLog m_log;
    QString m_stderr;

    std::unique_ptr<QProcess> start(const QStringList& arguments, const QString& dialogText = QString(),
                                    const QProcessEnvironment& extra = QProcessEnvironment())
    {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("NFCUI_TEST_PLUGIN_LOG"), m_log.path());
        if (!dialogText.isEmpty())
            environment.insert(QStringLiteral("NFCUI_TEST_PLUGIN_DIALOG"), dialogText);
        for (const QString& key : extra.keys())
            environment.insert(key, extra.value(key));
        process->setProcessEnvironment(environment);
        process->setProgram(QStringLiteral(NFCUI_HOST_EXECUTABLE));
        process->setArguments(arguments);
        connect(process.get(), &QProcess::readyReadStandardError, this,
                [this, p = process.get()]() { m_stderr += QString::fromUtf8(p->readAllStandardError()); });
        process->start();
        return process;
    }

    // Runs the host to its end and returns its exit code.
    int run(const QStringList& arguments, const QProcessEnvironment& extra = QProcessEnvironment())
    {
        auto process = start(arguments, QString(), extra);
        if (!process->waitForFinished(TestTimeouts::scaled(10000))) {
            process->kill();
            process->waitForFinished();
            return -1;
        }
        m_stderr += QString::fromUtf8(process->readAllStandardError());
        return process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
    }

    bool waitForStderr(const QString& text, int timeout = 10000)
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_stderr.contains(text) && timer.elapsed() < TestTimeouts::scaled(timeout))
            QTest::qWait(20);
        return m_stderr.contains(text);
    }

    bool stop(QProcess* process, int signalNumber)
    {
        ::kill(static_cast<pid_t>(process->processId()), signalNumber);
        return process->waitForFinished(TestTimeouts::scaled(10000)) && process->exitStatus() == QProcess::NormalExit
               && process->exitCode() == 0;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_log.isValid()); }

    void init()
    {
        m_log.clear();
        m_stderr.clear();
    }

    void aMissingPluginIsAnErrorNamingIt()
    {
        const QString missing = m_log.filePath(QStringLiteral("libmissing.so"));
        QCOMPARE(run({QStringLiteral("--plugin"), missing}), 1);
        QVERIFY2(m_stderr.contains(missing + QStringLiteral(": no such file")), qPrintable(m_stderr));
        QVERIFY2(m_stderr.contains(QStringLiteral("nfcui-host: no plugin could be loaded")), qPrintable(m_stderr));
    }

    void anEmptyPluginDirectoryIsAnError()
    {
        QTemporaryDir empty;
        QCOMPARE(run({QStringLiteral("--plugin-dir"), empty.path()}), 1);
        QVERIFY2(m_stderr.contains(QStringLiteral("no plugin library (*.so) in ") + empty.path()), qPrintable(m_stderr));
    }

    void aBrokenPluginIsReportedAndSkippedWhileTheOthersRun()
    {
        QTemporaryDir plugins;
        QVERIFY(QFile::link(QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING), plugins.filePath(QStringLiteral("libgood.so"))));
        QVERIFY(QFile::link(QStringLiteral(NFCUI_TEST_PLUGIN_NOTAPLUGIN), plugins.filePath(QStringLiteral("libbad.so"))));
        auto host = start({QStringLiteral("--plugin-dir"), plugins.path()});
        QVERIFY2(waitForStderr(QStringLiteral("ready with 1 plugin(s)")), qPrintable(m_stderr));
        QVERIFY2(m_stderr.contains(plugins.filePath(QStringLiteral("libbad.so"))
                                   + QStringLiteral(": QObject is not a ConnectivityDialogPluginInterface")),
                 qPrintable(m_stderr));
        QCOMPARE(m_log.lines(), QStringList({"initialize"}));
        QVERIFY(stop(host.get(), SIGTERM));
    }

    void anUnknownAnswerIsAUsageError()
    {
        QCOMPARE(run({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING),
                      QStringLiteral("--answer"), QStringLiteral("maybe")}), 2);
        QVERIFY2(m_stderr.contains(QStringLiteral("--answer takes ok, cancel or none, not \"maybe\"")), qPrintable(m_stderr));
        QVERIFY(m_log.lines().isEmpty());
    }

    void sigtermDestroysThePlugins()
    {
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)});
        QVERIFY2(waitForStderr(QStringLiteral("ready")), qPrintable(m_stderr));
        QVERIFY(stop(host.get(), SIGTERM));
        QCOMPARE(m_log.lines(), QStringList({"initialize", "destroy"}));
    }

    void everyDescriptorOfTheHostIsClosedOnExec()
    {
        // The programs the plugins start must not inherit the host's descriptors, its own or those it
        // was started with, and the plugin spawns them without closing any only when all are closed
        // on exec. The host is given one without close-on-exec, as a shell script may leave it.
        QTemporaryDir files;
        const QString inheritedPath = files.filePath(QStringLiteral("inherited"));
        QVERIFY(QFile(inheritedPath).open(QIODevice::WriteOnly));
        const int inherited = ::open(QFile::encodeName(inheritedPath).constData(), O_RDONLY);
        QVERIFY(inherited > 2);
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)});
        ::close(inherited);
        QVERIFY2(waitForStderr(QStringLiteral("ready")), qPrintable(m_stderr));

        const QString proc = QStringLiteral("/proc/%1/").arg(host->processId());
        const QStringList fds = QDir(proc + QStringLiteral("fdinfo")).entryList(QDir::Files | QDir::System);
        QStringList inheritable;
        bool gotInherited = false;
        for (const QString& name : fds) {
            if (name.toInt() <= 2)
                continue;
            gotInherited = gotInherited || QFile::symLinkTarget(proc + QStringLiteral("fd/") + name) == inheritedPath;
            QFile info(proc + QStringLiteral("fdinfo/") + name);
            if (!info.open(QIODevice::ReadOnly))
                continue; // closed meanwhile
            for (const QByteArray& line : info.readAll().split('\n')) {
                if (line.startsWith("flags:") && !(line.mid(6).trimmed().toUInt(nullptr, 8) & O_CLOEXEC))
                    inheritable << name + QLatin1String(" (") + QString::fromLatin1(line) + QLatin1Char(')');
            }
        }
        QVERIFY2(gotInherited, "the host was not given the descriptor");
        QVERIFY2(inheritable.isEmpty(), qPrintable(inheritable.join(QLatin1String(", "))));
        QVERIFY(stop(host.get(), SIGTERM));
    }

    void aLostSessionBusEndsTheHostAfterDestroyingThePlugins()
    {
        // A session bus of this test's own, which it can take away.
        TestBusDaemon bus;
        QString error;
        QVERIFY2(bus.start({QStringLiteral("--session")}, &error), qPrintable(error));
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)}, QString(),
                          environment);
        QVERIFY2(waitForStderr(QStringLiteral("ready")), qPrintable(m_stderr));

        bus.kill();
        QVERIFY2(host->waitForFinished(TestTimeouts::scaled(10000)), "the host runs on without its session bus");
        m_stderr += QString::fromUtf8(host->readAllStandardError());
        QCOMPARE(host->exitStatus(), QProcess::NormalExit);
        QCOMPARE(host->exitCode(), 1);
        QVERIFY2(m_stderr.contains(QStringLiteral("nfcui-host: lost the session bus; quitting")), qPrintable(m_stderr));
        QCOMPARE(m_log.lines(), QStringList({"initialize", "destroy"}));
    }

    void aHostWithoutSessionBusEndsNormallyOnSigterm()
    {
        // Only the automation interface needs the session bus; without one the host runs, and a
        // termination is an ordinary end, not a lost bus.
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent/bus"));
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)}, QString(),
                          environment);
        QVERIFY2(waitForStderr(QStringLiteral("ready")), qPrintable(m_stderr));
        QVERIFY2(stop(host.get(), SIGTERM), qPrintable(m_stderr));
        QVERIFY2(!m_stderr.contains(QStringLiteral("lost the session bus")), qPrintable(m_stderr));
        QCOMPARE(m_log.lines(), QStringList({"initialize", "destroy"}));
    }

    void sigintDestroysThePlugins()
    {
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING)});
        QVERIFY2(waitForStderr(QStringLiteral("ready")), qPrintable(m_stderr));
        QVERIFY(stop(host.get(), SIGINT));
        QCOMPARE(m_log.lines(), QStringList({"initialize", "destroy"}));
    }

    void answerOkAnswersEveryDialog()
    {
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING),
                           QStringLiteral("--answer"), QStringLiteral("ok")},
                          QStringLiteral("Question"));
        QTRY_COMPARE_WITH_TIMEOUT(m_log.lines(), QStringList({"initialize", "finished 16384"}),
                                  TestTimeouts::scaled(10000));
        QVERIFY(stop(host.get(), SIGTERM));
    }

    void answerCancelDeclinesEveryDialog()
    {
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING),
                           QStringLiteral("--answer"), QStringLiteral("cancel")},
                          QStringLiteral("Question"));
        QTRY_COMPARE_WITH_TIMEOUT(m_log.lines(), QStringList({"initialize", "finished 65536"}),
                                  TestTimeouts::scaled(10000));
        QVERIFY(stop(host.get(), SIGTERM));
    }

    void automationListsAndAnswersTheDialogs()
    {
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING),
                           QStringLiteral("--automation")},
                          QStringLiteral("Question"));
        QVERIFY2(waitForStderr(QStringLiteral("ready")), qPrintable(m_stderr));
        Host::registerAutomationTypes();
        QDBusConnection bus = QDBusConnection::sessionBus();
        Host::AutomationDialogList dialogs;
        QElapsedTimer timer;
        timer.start();
        while (dialogs.isEmpty() && timer.elapsed() < TestTimeouts::scaled(10000)) {
            const QDBusMessage reply = bus.call(QDBusMessage::createMethodCall(
                QStringLiteral("com.orvan.DialogServer"), QStringLiteral("/"),
                QStringLiteral("com.orvan.DialogServer.Automation"), QStringLiteral("ListDialogs")));
            QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
            dialogs = qdbus_cast<Host::AutomationDialogList>(reply.arguments().at(0));
            if (dialogs.isEmpty())
                QTest::qWait(20);
        }
        QCOMPARE(dialogs.size(), 1);
        QCOMPARE(dialogs.first().properties.value(QStringLiteral("class")).toString(), QStringLiteral("MessageBox"));
        QCOMPARE(dialogs.first().properties.value(QStringLiteral("text")).toString(), QStringLiteral("Question"));
        QDBusMessage answer = QDBusMessage::createMethodCall(
            QStringLiteral("com.orvan.DialogServer"), QStringLiteral("/"),
            QStringLiteral("com.orvan.DialogServer.Automation"), QStringLiteral("Answer"));
        answer.setArguments({dialogs.first().id, 0x10000, QString(), false});
        QCOMPARE(bus.call(answer).type(), QDBusMessage::ReplyMessage);
        QTRY_COMPARE_WITH_TIMEOUT(m_log.lines(), QStringList({"initialize", "finished 65536"}),
                                  TestTimeouts::scaled(10000));
        QVERIFY(stop(host.get(), SIGTERM));
        QCOMPARE(m_log.lines(), QStringList({"initialize", "finished 65536", "destroy"}));
    }

    void screenshotsAreSavedWithoutADisplay()
    {
        const QString shots = m_log.filePath(QStringLiteral("shots"));
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QString());
        auto host = start({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING),
                           QStringLiteral("--answer"), QStringLiteral("ok"), QStringLiteral("--screenshots"), shots},
                          QStringLiteral("Question"), environment);
        QTRY_COMPARE_WITH_TIMEOUT(m_log.lines(), QStringList({"initialize", "finished 16384"}),
                                  TestTimeouts::scaled(10000));
        QVERIFY(stop(host.get(), SIGTERM));
        const QImage image(shots + QStringLiteral("/001-MessageBox.png"));
        QVERIFY2(!image.isNull(), qPrintable(m_stderr));
        QCOMPARE(image.size(), QSize(360, 640));
    }

    void aTakenAutomationNameIsAnError()
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        QVERIFY(bus.registerService(QStringLiteral("com.orvan.DialogServer")));
        QCOMPARE(run({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING),
                      QStringLiteral("--automation")}), 3);
        bus.unregisterService(QStringLiteral("com.orvan.DialogServer"));
        QVERIFY2(m_stderr.contains(QStringLiteral("the name com.orvan.DialogServer is already taken")), qPrintable(m_stderr));
        QVERIFY(m_log.lines().isEmpty());
    }

    void anUnreachableSessionBusIsAnError()
    {
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent/bus"));
        QCOMPARE(run({QStringLiteral("--plugin"), QStringLiteral(NFCUI_TEST_PLUGIN_RECORDING),
                      QStringLiteral("--automation")}, environment), 3);
        QVERIFY2(m_stderr.contains(QStringLiteral("cannot reach the session bus")), qPrintable(m_stderr));
    }
};

QTEST_GUILESS_MAIN(tst_NfcuiHost)
#include "tst_nfcuihost.moc"
