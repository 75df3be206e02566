// Whole Bluetooth handovers: the plugin's Bluetooth request linked with the Linux platform, against the
// BlueZ 4 mock on the private system bus and the notification mock on the private session bus.
#include <QCoreApplication>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

#include "bluetoothpairingprocess_p.h"
#include "bluezcontrol.h"
#include "dialog.h"
#include "handovermocks.h"
#include "mocksuite.h"
#include "nfcagentbluetoothrequest.h"
#include "phonemocks.h"
#include "recordingdialogserver.h"

using ConnUi::NfcAgentBluetoothRequest;

namespace {

const QString headset = QStringLiteral("00:1A:7D:DA:71:13");
const QString otherHeadset = QStringLiteral("00:1A:7D:DA:71:99");
const QDBusObjectPath target(QStringLiteral("/com/orvan/nfc/adapter0/device1"));

QStringList categories(const MockService& notifications)
{
    QStringList shown;
    for (const PhoneMocks::Notification& notification : PhoneMocks::notificationsShown(notifications))
        shown.append(notification.hints.value(QStringLiteral("category")).toString());
    return shown;
}

} // namespace

class tst_BluetoothFlows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void pairingConfirmedPairsWithPinTrustsAndConnectsAudio();
    void connectionFirstDisconnectsAnotherHeadset();
    void pairingRefusedByTheDeviceFailsWithItsBluezErrorName();
    void hangingPairingEndsWithTheTimeoutErrorName();

private:
    QTranslator m_translator;
    HandoverMocks m_mocks;
};

void tst_BluetoothFlows::initTestCase()
{
    MockSuite::requirePrivateBuses();
    QVERIFY2(m_translator.load(QStringLiteral(NFCUI_TRANSLATIONS_QM)), NFCUI_TRANSLATIONS_QM);
    QCoreApplication::installTranslator(&m_translator);
    m_mocks.start();
}

void tst_BluetoothFlows::init()
{
    m_mocks.resetWithPoweredAdapter();
}

void tst_BluetoothFlows::pairingConfirmedPairsWithPinTrustsAndConnectsAudio()
{
    QVERIFY(BluezControl::setPairing(*m_mocks.bluez, headset,
                                     {{QStringLiteral("Agent"), QStringList {QStringLiteral("RequestPinCode")}},
                                      {QStringLiteral("Properties"),
                                       QVariantMap {{QStringLiteral("Name"), QStringLiteral("Headset")},
                                                    {QStringLiteral("UUIDs"), BluezControl::headsetUuids()}}}}));
    RecordingDialogServer server;
    server.answerWith(ConnUi::Dialog::Ok);
    NfcAgentBluetoothRequest request(NfcAgentBluetoothRequest::Pairing, &server, target, headset,
                                     QStringLiteral("Headset"), 0x240404);
    request.setPinCode(QStringLiteral("1234"));
    QSignalSpy accepted(&request, SIGNAL(accepted()));
    QSignalSpy failed(&request, SIGNAL(failed(QString)));
    request.start();
    QTRY_COMPARE_WITH_TIMEOUT(accepted.size() + failed.size(), 1, 15000);
    QCOMPARE(failed.size(), 0);

    QVERIFY(server.events().contains(QStringLiteral("show NfcPairingDialog")));
    QCOMPARE(BluezControl::agentReplies(*m_mocks.bluez), QStringList {QStringLiteral("RequestPinCode:1234")});
    const QStringList deviceCalls = PhoneMocks::callNames(*m_mocks.bluez, PhoneMocks::bluezDevicePath(headset));
    QVERIFY2(deviceCalls.contains(QStringLiteral("SetProperty")), qPrintable(deviceCalls.join(QLatin1Char(' '))));
    QVERIFY2(deviceCalls.contains(QStringLiteral("org.bluez.Audio.Connect")),
             qPrintable(deviceCalls.join(QLatin1Char(' '))));
    QVERIFY(deviceCalls.indexOf(QStringLiteral("SetProperty"))
            < deviceCalls.indexOf(QStringLiteral("org.bluez.Audio.Connect")));

    QTRY_COMPARE(categories(*m_mocks.notifications),
                 (QStringList {QStringLiteral("x-orvan.nfc"), QStringLiteral("x-orvan.nfc.connected")}));
    const QList<PhoneMocks::Notification> banners = PhoneMocks::notificationsShown(*m_mocks.notifications);
    QVERIFY2(banners.last().summary.contains(QStringLiteral("Headset")), qPrintable(banners.last().summary));
}

void tst_BluetoothFlows::connectionFirstDisconnectsAnotherHeadset()
{
    QVERIFY(BluezControl::addDevice(*m_mocks.bluez, otherHeadset,
                                    {{QStringLiteral("Name"), QStringLiteral("Old headset")},
                                     {QStringLiteral("Paired"), true},
                                     {QStringLiteral("UUIDs"), BluezControl::headsetUuids()},
                                     {QStringLiteral("AudioState"), QStringLiteral("connected")}}));
    QVERIFY(BluezControl::addDevice(*m_mocks.bluez, headset,
                                    {{QStringLiteral("Name"), QStringLiteral("Headset")},
                                     {QStringLiteral("Paired"), true},
                                     {QStringLiteral("UUIDs"), BluezControl::headsetUuids()}}));
    QVERIFY(m_mocks.bluez->clearCalls(PhoneMocks::bluezDevicePath(otherHeadset)));
    QVERIFY(m_mocks.bluez->clearCalls(PhoneMocks::bluezDevicePath(headset)));

    RecordingDialogServer server;
    NfcAgentBluetoothRequest request(NfcAgentBluetoothRequest::Connect, &server, target, headset,
                                     QStringLiteral("Headset"), 0x240404);
    QSignalSpy accepted(&request, SIGNAL(accepted()));
    QSignalSpy failed(&request, SIGNAL(failed(QString)));
    request.start();
    QTRY_COMPARE_WITH_TIMEOUT(accepted.size() + failed.size(), 1, 15000);
    QCOMPARE(failed.size(), 0);

    QVERIFY(PhoneMocks::callNames(*m_mocks.bluez, PhoneMocks::bluezDevicePath(otherHeadset))
                .contains(QStringLiteral("org.bluez.Audio.Disconnect")));
    QVERIFY(PhoneMocks::callNames(*m_mocks.bluez, PhoneMocks::bluezDevicePath(headset))
                .contains(QStringLiteral("org.bluez.Audio.Connect")));
    QTRY_COMPARE(categories(*m_mocks.notifications),
                 (QStringList {QStringLiteral("x-orvan.nfc.disconnected"), QStringLiteral("x-orvan.nfc.connected")}));
    const QList<PhoneMocks::Notification> banners = PhoneMocks::notificationsShown(*m_mocks.notifications);
    QVERIFY2(banners.first().summary.contains(QStringLiteral("Old headset")), qPrintable(banners.first().summary));
    QVERIFY2(banners.last().summary.contains(QStringLiteral("Headset")), qPrintable(banners.last().summary));
    QTest::qWait(100); // the swapped-out manager is deleted from the event loop without trouble
}

void tst_BluetoothFlows::pairingRefusedByTheDeviceFailsWithItsBluezErrorName()
{
    QVERIFY(BluezControl::setPairing(
        *m_mocks.bluez, headset,
        {{QStringLiteral("Error"), QStringLiteral("org.bluez.Error.AuthenticationRejected")}}));
    RecordingDialogServer server;
    server.answerWith(ConnUi::Dialog::Ok);
    NfcAgentBluetoothRequest request(NfcAgentBluetoothRequest::Pairing, &server, target, headset,
                                     QStringLiteral("Headset"), 0x240404);
    QSignalSpy failed(&request, SIGNAL(failed(QString)));
    QSignalSpy accepted(&request, SIGNAL(accepted()));
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression(QStringLiteral("pairing with .* failed: org.bluez.Error.AuthenticationRejected")));
    request.start();
    QTRY_COMPARE_WITH_TIMEOUT(failed.size(), 1, 15000);
    QCOMPARE(accepted.size(), 0);
    QCOMPARE(failed.at(0).at(0).toString(), QStringLiteral("org.bluez.Error.AuthenticationRejected"));
    // The pairing banner, then the failure banner of the pairing process.
    QTRY_COMPARE(categories(*m_mocks.notifications),
                 (QStringList {QStringLiteral("x-orvan.nfc"), QStringLiteral("x-orvan.nfc.error")}));
}

void tst_BluetoothFlows::hangingPairingEndsWithTheTimeoutErrorName()
{
    BluetoothPairingProcessPrivate::setTimeoutMs(1500);
    QVERIFY(BluezControl::setPairing(*m_mocks.bluez, headset, {{QStringLiteral("Hang"), true}}));
    RecordingDialogServer server;
    server.answerWith(ConnUi::Dialog::Ok);
    NfcAgentBluetoothRequest request(NfcAgentBluetoothRequest::Pairing, &server, target, headset,
                                     QStringLiteral("Headset"), 0x240404);
    QSignalSpy failed(&request, SIGNAL(failed(QString)));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("took longer than 1500 ms")));
    request.start();
    QTRY_COMPARE_WITH_TIMEOUT(failed.size(), 1, 15000);
    QCOMPARE(failed.at(0).at(0).toString(), QStringLiteral("org.bluez.Error.AuthenticationTimeout"));
    QTRY_VERIFY(PhoneMocks::callNames(*m_mocks.bluez, PhoneMocks::bluezAdapterPath())
                    .contains(QStringLiteral("CancelDeviceCreation")));
    BluetoothPairingProcessPrivate::setTimeoutMs(60000);
}

QTEST_GUILESS_MAIN(tst_BluetoothFlows)
#include "tst_bluetoothflows.moc"
