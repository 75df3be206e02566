// Bluetooth handovers from end to end: nfcui-daemon on the private system bus, the built plugin (with the
// Linux platform inside) loaded into a dialog server that confirms every dialog, the BlueZ 4 mock and
// the notification mock, and nfcui-sim asking the daemon for the handover. What nfcui-sim prints is
// the agent's answer as the daemon received it.
#include <QtTest>

#include "answerpresenter.h"
#include "bluezcontrol.h"
#include "dialogserver.h"
#include "handovermocks.h"
#include "mocksuite.h"
#include "nfcdtestsupport.h"
#include "phonemocks.h"
#include "pluginloader.h"

namespace {

const QString headset = QStringLiteral("00:1A:7D:DA:71:13");

// A dialog server that confirms every dialog, with the built plugin loaded into it. The members go in
// the reverse order: the plugin first, the server last.
struct ConfirmingServer
{
    Host::DialogServer server;
    Host::AnswerPresenter presenter {Host::AnswerPresenter::Ok};
    Host::PluginLoader loader {&server};

    ConfirmingServer() { server.addPresenter(&presenter); }
};

} // namespace

class tst_PluginDaemonBluetooth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void pairingWithPinIsGrantedAndConnectsAudio();
    void pairingRefusedByTheDeviceReachesTheDaemonAsItsBluezErrorName();
    void connectionOfAnUnknownDeviceFails();

private:
    int sim(const QStringList& arguments, QByteArray* out);

    HandoverMocks m_mocks;
    std::unique_ptr<DaemonProcess> m_daemon;
    std::unique_ptr<ConfirmingServer> m_server;
};

void tst_PluginDaemonBluetooth::initTestCase()
{
    m_mocks.start();
}

void tst_PluginDaemonBluetooth::init()
{
    m_mocks.resetWithPoweredAdapter();

    m_daemon = std::make_unique<DaemonProcess>(QStringList {QStringLiteral("--simulator")});
    QVERIFY2(m_daemon->start(), qPrintable(m_daemon->error()));
    m_server = std::make_unique<ConfirmingServer>();
    QString error;
    QVERIFY2(m_server->loader.load(QStringLiteral(NFCUI_PLUGIN_FILE), &error), qPrintable(error));
    QTRY_VERIFY2(m_daemon->output().contains(QLatin1String("UI agent")), qPrintable(m_daemon->output()));
}

void tst_PluginDaemonBluetooth::cleanup()
{
    m_server.reset();
    if (m_daemon)
        QVERIFY(m_daemon->stop());
    m_daemon.reset();
}

int tst_PluginDaemonBluetooth::sim(const QStringList& arguments, QByteArray* out)
{
    QByteArray err;
    const int status = runSim(arguments, out, &err);
    if (!err.isEmpty())
        qInfo("nfcui-sim: %s", err.constData());
    return status;
}

void tst_PluginDaemonBluetooth::pairingWithPinIsGrantedAndConnectsAudio()
{
    QVERIFY(BluezControl::setPairing(*m_mocks.bluez, headset,
                                     {{QStringLiteral("Agent"), QStringList {QStringLiteral("RequestPinCode")}},
                                      {QStringLiteral("Properties"),
                                       QVariantMap {{QStringLiteral("Name"), QStringLiteral("Headset")},
                                                    {QStringLiteral("UUIDs"), BluezControl::headsetUuids()}}}}));
    QByteArray out;
    QCOMPARE(sim({QStringLiteral("pair"), headset, QStringLiteral("Headset"), QStringLiteral("--pin"),
                  QStringLiteral("1234")},
                 &out),
             0);
    QVERIFY2(out.startsWith("granted "), out.constData());
    QCOMPARE(BluezControl::agentReplies(*m_mocks.bluez), QStringList {QStringLiteral("RequestPinCode:1234")});
    QVERIFY(PhoneMocks::callNames(*m_mocks.bluez, PhoneMocks::bluezDevicePath(headset))
                .contains(QStringLiteral("org.bluez.Audio.Connect")));
}

void tst_PluginDaemonBluetooth::pairingRefusedByTheDeviceReachesTheDaemonAsItsBluezErrorName()
{
    QVERIFY(BluezControl::setPairing(
        *m_mocks.bluez, headset,
        {{QStringLiteral("Error"), QStringLiteral("org.bluez.Error.AuthenticationRejected")}}));
    QByteArray out;
    QCOMPARE(sim({QStringLiteral("pair"), headset, QStringLiteral("Headset")}, &out), 4);
    QVERIFY2(out.startsWith("error org.bluez.Error.AuthenticationRejected"), out.constData());
    QVERIFY2(m_daemon->output().contains(QLatin1String("org.bluez.Error.AuthenticationRejected")),
             qPrintable(m_daemon->output()));
}

void tst_PluginDaemonBluetooth::connectionOfAnUnknownDeviceFails()
{
    QByteArray out;
    QCOMPARE(sim({QStringLiteral("connect"), headset, QStringLiteral("Headset")}, &out), 4);
    QVERIFY2(out.startsWith("error com.orvan.nfc.UIAgent.Failed"), out.constData());
}

QTEST_GUILESS_MAIN(tst_PluginDaemonBluetooth)
#include "tst_plugindaemonbluetooth.moc"
