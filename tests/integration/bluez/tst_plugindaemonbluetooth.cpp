// Bluetooth handovers from end to end: nfcui-daemon on the private system bus, the built plugin (with the
// Linux platform inside) loaded into a dialog server that confirms every dialog, the BlueZ 4 mock and
// the notification mock, and nfcui-sim asking the daemon for the handover. What nfcui-sim prints is
// the agent's answer as the daemon received it.
#include <QtTest>

#include "answerpresenter.h"
#include "bluezcontrol.h"
#include "dialogserver.h"
#include "nfcdtestsupport.h"
#include "mocksuite.h"
#include "phonemocks.h"
#include "pluginloader.h"

namespace {

const QString headset = QStringLiteral("00:1A:7D:DA:71:13");

} // namespace

class tst_PluginDaemonBluetooth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void pairingWithPinIsGrantedAndConnectsAudio();
    void pairingRefusedByTheDeviceReachesTheDaemonAsItsBluezErrorName();
    void connectionOfAnUnknownDeviceFails();

private:
    int sim(const QStringList& arguments, QByteArray* out);

    std::unique_ptr<MockService> m_bluez;
    std::unique_ptr<MockService> m_notifications;
    std::unique_ptr<MockService> m_screenSaver;
    std::unique_ptr<DaemonProcess> m_daemon;
    std::unique_ptr<Host::DialogServer> m_server;
    std::unique_ptr<Host::AnswerPresenter> m_presenter;
    std::unique_ptr<Host::PluginLoader> m_loader;
};

void tst_PluginDaemonBluetooth::initTestCase()
{
    m_bluez = PhoneMocks::bluez4();
    MockSuite::startOnPrivateBus(*m_bluez);
    m_notifications = PhoneMocks::notifications();
    MockSuite::startOnPrivateBus(*m_notifications);
    m_screenSaver = PhoneMocks::screenSaver();
    MockSuite::startOnPrivateBus(*m_screenSaver);
}

void tst_PluginDaemonBluetooth::init()
{
    QVERIFY2(m_bluez->reset(), qPrintable(m_bluez->lastError()));
    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Powered"), true));
    QVERIFY(m_notifications->clearCalls(PhoneMocks::notificationsPath()));

    m_daemon = std::make_unique<DaemonProcess>(QStringList {QStringLiteral("--simulator")});
    QVERIFY2(m_daemon->start(), qPrintable(m_daemon->error()));
    m_server = std::make_unique<Host::DialogServer>();
    m_presenter = std::make_unique<Host::AnswerPresenter>(Host::AnswerPresenter::Ok);
    m_server->addPresenter(m_presenter.get());
    m_loader = std::make_unique<Host::PluginLoader>(m_server.get());
    QString error;
    QVERIFY2(m_loader->load(QStringLiteral(NFCUI_PLUGIN_FILE), &error), qPrintable(error));
    QTRY_VERIFY2(m_daemon->output().contains(QLatin1String("UI agent")), qPrintable(m_daemon->output()));
}

void tst_PluginDaemonBluetooth::cleanup()
{
    m_loader.reset();
    m_presenter.reset();
    m_server.reset();
    if (m_daemon)
        QVERIFY(m_daemon->stop());
    m_daemon.reset();
}

void tst_PluginDaemonBluetooth::cleanupTestCase()
{
    m_bluez.reset();
    m_notifications.reset();
    m_screenSaver.reset();
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
    QVERIFY(BluezControl::setPairing(*m_bluez, headset,
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
    QCOMPARE(BluezControl::agentReplies(*m_bluez), QStringList {QStringLiteral("RequestPinCode:1234")});
    QVERIFY(PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezDevicePath(headset))
                .contains(QStringLiteral("org.bluez.Audio.Connect")));
}

void tst_PluginDaemonBluetooth::pairingRefusedByTheDeviceReachesTheDaemonAsItsBluezErrorName()
{
    QVERIFY(BluezControl::setPairing(
        *m_bluez, headset, {{QStringLiteral("Error"), QStringLiteral("org.bluez.Error.AuthenticationRejected")}}));
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
