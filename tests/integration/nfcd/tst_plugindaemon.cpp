// End to end over the NFC daemon link: nfcui-daemon on the private system bus, the built plugin loaded
// through its two entry points into a dialog server that answers every dialog at once, and nfcui-sim
// driving the daemon. Checks the exact answer nfcui-sim prints and its exit status.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QProcess>

#include "hostedplugin.h"
#include "pluginloader.h"
#include "nfcdnames.h"
#include "nfcdtestsupport.h"

namespace {

// A test application registered for NDEF data.
class Application : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvan.nfc.NdefHandler")
public:
    QList<QByteArray> received;

public Q_SLOTS:
    Q_SCRIPTABLE void HandleNdef(const QDBusObjectPath&, const QByteArray& data) { received << data; }
};

} // namespace

class tst_PluginDaemon : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DaemonProcess> daemon;
    std::unique_ptr<HostedPlugin> plugin;

    // Loads the plugin into a server answering every dialog with answer, and waits until the plugin's
    // agent is registered with the daemon.
    void loadPlugin(Host::AnswerPresenter::Answer answer)
    {
        plugin = std::make_unique<HostedPlugin>(answer);
        QString error;
        QVERIFY2(plugin->load(QStringLiteral(NFCUI_PLUGIN_FILE), &error), qPrintable(error));
        QTRY_VERIFY2(daemon->output().contains(QLatin1String("UI agent")), qPrintable(daemon->output()));
    }

    int sim(const QStringList& arguments, QByteArray* out)
    {
        QByteArray err;
        const int status = runSim(arguments, out, &err);
        if (!err.isEmpty())
            qInfo("nfcui-sim: %s", err.constData());
        return status;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus");
        // A browser for web links, in this test's own XDG data directory.
        const QString error = HostedPlugin::installTestBrowser();
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    void init()
    {
        daemon = std::make_unique<DaemonProcess>(QStringList{QStringLiteral("--simulator")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
    }

    void cleanup()
    {
        plugin.reset();
        if (daemon)
            QVERIFY(daemon->stop());
        daemon.reset();
    }

    void aWebLinkAcceptedIsGranted()
    {
        loadPlugin(Host::AnswerPresenter::Ok);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://example.com/")}, &out), 0);
        QCOMPARE(out, QByteArray("granted /com/orvan/nfc/adapter0/tag0\n"));
        QCOMPARE(plugin->shownDialogs(), QStringList{QStringLiteral("NfcTagReadPermissionDialog")});
    }

    void aWebLinkDeclinedIsRejected()
    {
        loadPlugin(Host::AnswerPresenter::Cancel);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://example.com/")}, &out), 3);
        QVERIFY2(out.startsWith("rejected com.orvan.nfc.UIAgent.Rejected"), out.constData());
    }

    void aWebLinkAsJsonNamesTheResultAndTarget()
    {
        loadPlugin(Host::AnswerPresenter::Cancel);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("--json"), QStringLiteral("touch"), QStringLiteral("--uri"),
                      QStringLiteral("http://example.com/")},
                     &out),
                 3);
        const QJsonObject object = QJsonDocument::fromJson(out).object();
        QCOMPARE(object.value(QStringLiteral("command")).toString(), QStringLiteral("touch"));
        QCOMPARE(object.value(QStringLiteral("result")).toString(), QStringLiteral("rejected"));
        QCOMPARE(object.value(QStringLiteral("error")).toString(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
    }

    void withoutConfirmationASharingPermissionIsGrantedWithoutDialog()
    {
        QVERIFY(daemon->stop());
        daemon = std::make_unique<DaemonProcess>(QStringList{QStringLiteral("--simulator"), QStringLiteral("--no-confirmation")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        loadPlugin(Host::AnswerPresenter::Cancel);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("share-permission"), QStringLiteral("file:///tmp/a.jpg")}, &out), 0);
        QCOMPARE(out, QByteArray("granted\n"));
        QVERIFY(plugin->shownDialogs().isEmpty());
    }

    void anUnreadableTagIsAnsweredAtOnce()
    {
        loadPlugin(Host::AnswerPresenter::Ok);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, &out), 0);
        QCOMPARE(out, QByteArray("granted /com/orvan/nfc/adapter0/tag0\n"));
    }

    void aForegroundApplicationGetsTheData()
    {
        Application application;
        QDBusConnection connection = strangerConnection(QStringLiteral("foreground-app"));
        QVERIFY(connection.registerObject(QStringLiteral("/app"), &application, QDBusConnection::ExportScriptableSlots));
        QCOMPARE(connection.call(managerCall(QStringLiteral("RegisterNdefHandler"),
                                             {QStringLiteral("reader"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/app")))}))
                     .type(),
                 QDBusMessage::ReplyMessage);
        QCOMPARE(connection.call(managerCall(QStringLiteral("SetForeground"),
                                             {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/app"))), true}))
                     .type(),
                 QDBusMessage::ReplyMessage);
        loadPlugin(Host::AnswerPresenter::Cancel);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("touch"), QStringLiteral("--text"), QStringLiteral("hello")}, &out), 0);
        QCOMPARE(out, QByteArray("granted /com/orvan/nfc/adapter0/tag0\n"));
        QTRY_COMPARE(application.received.size(), 1);
        QVERIFY(plugin->shownDialogs().isEmpty());
    }

    void aSharingPermissionAcceptedIsGranted()
    {
        loadPlugin(Host::AnswerPresenter::Ok);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("share-permission"), QStringLiteral("file:///tmp/a.jpg")}, &out), 0);
        QCOMPARE(out, QByteArray("granted\n"));
        QCOMPARE(plugin->shownDialogs(), QStringList{QStringLiteral("NfcSharingPermissionDialog")});
    }

    void aSharingPermissionDeclinedIsRejected()
    {
        loadPlugin(Host::AnswerPresenter::Cancel);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("share-permission"), QStringLiteral("file:///tmp/a.jpg")}, &out), 3);
        QVERIFY2(out.startsWith("rejected com.orvan.nfc.UIAgent.Rejected"), out.constData());
    }

    void aPairingRequestWithoutBluetoothFails()
    {
        loadPlugin(Host::AnswerPresenter::Ok);
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("pair"), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("Headset")}, &out), 4);
        QVERIFY2(out.startsWith("error com.orvan.nfc.UIAgent.Failed"), out.constData());
    }

    void theDaemonRestartingMakesThePluginRegisterAgain()
    {
        loadPlugin(Host::AnswerPresenter::Ok);
        QVERIFY(daemon->stop());
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        QTRY_VERIFY2(daemon->output().contains(QLatin1String("UI agent")), qPrintable(daemon->output()));
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, &out), 0);
        QCOMPARE(out, QByteArray("granted /com/orvan/nfc/adapter0/tag0\n"));
    }

    void destroyingThePluginCancelsAWaitingTagRead()
    {
        loadPlugin(Host::AnswerPresenter::None);
        QProcess sim;
        sim.start(QStringLiteral(NFCUI_SIM_PROGRAM),
                  {QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://example.com/")});
        QTRY_COMPARE(plugin->shownDialogs(), QStringList{QStringLiteral("NfcTagReadPermissionDialog")});
        plugin->loader()->destroyAll();
        QTRY_COMPARE(sim.state(), QProcess::NotRunning);
        QCOMPARE(sim.exitCode(), 4);
        const QByteArray out = sim.readAllStandardOutput();
        QVERIFY2(out.startsWith("error com.orvan.nfc.UIAgent.Canceled"), out.constData());
    }

    void aDaemonThatStopsMidCallLeavesThePluginReadyForTheNext()
    {
        loadPlugin(Host::AnswerPresenter::None);
        QProcess pending;
        pending.start(QStringLiteral(NFCUI_SIM_PROGRAM),
                  {QStringLiteral("touch"), QStringLiteral("--uri"), QStringLiteral("http://example.com/")});
        QTRY_COMPARE(plugin->shownDialogs().size(), 1);
        // The daemon stops with the call open: the sim loses its daemon, the plugin drops its agent.
        QVERIFY(daemon->stop());
        QTRY_COMPARE(pending.state(), QProcess::NotRunning);
        QVERIFY(pending.exitCode() != 0);
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        QTRY_VERIFY2(daemon->output().contains(QLatin1String("UI agent")), qPrintable(daemon->output()));
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, &out), 0);
    }

    void destroyingThePluginUnregistersItsAgent()
    {
        loadPlugin(Host::AnswerPresenter::Ok);
        plugin->loader()->destroyAll();
        QTRY_VERIFY(daemon->output().contains(QLatin1String("unregistered")));
        QByteArray out;
        QCOMPARE(sim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, &out), 2);
    }
};

QTEST_GUILESS_MAIN(tst_PluginDaemon)
#include "tst_plugindaemon.moc"
