// BluetoothPairingProcess on Linux against the BlueZ 4 mock: CreatePairedDevice with an agent on the
// pairing's own connection, the agent's answers, trust after pairing, BlueZ's error names unchanged,
// a failure banner, and the timeout that cancels a pairing that hangs.
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QXmlStreamReader>
#include <QtTest>

#include "bluetoothdevice.h"
#include "bluetoothpairingprocess.h"
#include "bluetoothpairingprocess_p.h"
#include "bluezcontrol.h"
#include "bluezpairingagent.h"
#include "mocksuite.h"
#include "phonemocks.h"

namespace {

const QString address = QStringLiteral("00:1A:7D:DA:71:13");

BluetoothDevice deviceWithAddress(const QString& address)
{
    QMap<QString, QVariant> properties;
    properties.insert(QStringLiteral("Address"), address);
    return BluetoothDevice(properties);
}

// The methods of an interface in introspection XML, as "Name(in signature)->out signature".
QStringList methodsOf(const QString& xml, const QString& interface)
{
    QStringList methods;
    QXmlStreamReader reader(xml);
    bool inInterface = false;
    QString name, in, out;
    while (!reader.atEnd()) {
        reader.readNext();
        const QString tag = reader.name().toString();
        if (reader.isStartElement()) {
            if (tag == QLatin1String("interface"))
                inInterface = reader.attributes().value(QStringLiteral("name")) == interface;
            else if (inInterface && tag == QLatin1String("method"))
                name = reader.attributes().value(QStringLiteral("name")).toString(), in.clear(), out.clear();
            else if (inInterface && !name.isEmpty() && tag == QLatin1String("arg"))
                (reader.attributes().value(QStringLiteral("direction")) == QLatin1String("out") ? out : in) +=
                    reader.attributes().value(QStringLiteral("type")).toString();
        } else if (reader.isEndElement()) {
            if (tag == QLatin1String("interface")) {
                inInterface = false;
            } else if (inInterface && tag == QLatin1String("method")) {
                methods.append(name + QLatin1Char('(') + in + QStringLiteral(")->") + out);
                name.clear();
            }
        }
    }
    methods.sort();
    return methods;
}

enum class Expect {
    Success,
    Failure
};

// Pairs with the device at address and waits until the pairing finished; a failure is logged, so a
// pairing expected to fail expects that warning.
void pairUntilFinished(BluetoothPairingProcess& pairing, Expect expected = Expect::Success)
{
    QSignalSpy finished(&pairing, &BluetoothPairingProcess::finished);
    if (expected == Expect::Failure)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("pairing with .* failed")));
    pairing.start(deviceWithAddress(address));
    QTRY_COMPARE(finished.size(), 1);
}

} // namespace

class tst_BluetoothPairingProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void agentIntrospectionMatchesItsInterfaceDescription();
    void pairingCallsCreatePairedDeviceWithItsOwnAgent();
    void pinCodeIsAnsweredWithThePin();
    void ignoredLegacyPairingRejectsThePinRequest();
    void passkeyDisplayAndConfirmationAreAccepted();
    void alreadyPairedDeviceCountsAsSuccess();
    void autoTrustedSetsTrustedAfterPairing();
    void withoutAutoTrustedTrustIsLeftAlone();
    void pairingErrorIsTheBluezErrorName();
    void refusedAgentAnswerFailsAsRejectedAuthentication();
    void failureShowsABannerWhenAsked();
    void failureShowsNoBannerUnlessAsked();
    void hangingPairingIsCancelledAfterTheTimeout();
    void trustTakingLongerThanTheTimeoutLeavesThePairingSuccessful();
    void deletedDuringPairingCancelsItInBluez();
    void withoutBluezThePairingFailsAtOnce();

private:
    std::unique_ptr<MockService> m_bluez;
    std::unique_ptr<MockService> m_notifications;
};

void tst_BluetoothPairingProcess::initTestCase()
{
    m_bluez = PhoneMocks::bluez4();
    MockSuite::startOnPrivateBus(*m_bluez);
    m_notifications = PhoneMocks::notifications();
    MockSuite::startOnPrivateBus(*m_notifications);
}

void tst_BluetoothPairingProcess::init()
{
    MockSuite::restartAndReset(*m_bluez);
    QVERIFY(m_notifications->clearCalls(PhoneMocks::notificationsPath()));
    BluetoothPairingProcessPrivate::setTimeoutMs(60000);
}

void tst_BluetoothPairingProcess::cleanupTestCase()
{
    m_bluez.reset();
    m_notifications.reset();
}

void tst_BluetoothPairingProcess::agentIntrospectionMatchesItsInterfaceDescription()
{
    QFile file(QStringLiteral(NFCUI_DBUS_XML_DIR "/org.bluez.Agent.xml"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList described = methodsOf(QString::fromUtf8(file.readAll()), QStringLiteral("org.bluez.Agent"));
    QVERIFY(!described.isEmpty());

    QDBusConnection bus = QDBusConnection::sessionBus();
    BluezPairingAgent agent(QString(), false);
    QVERIFY(bus.registerObject(BluezPairingAgent::path(), &agent, QDBusConnection::ExportAllSlots));
    const QDBusMessage reply = bus.call(QDBusMessage::createMethodCall(
        bus.baseService(), BluezPairingAgent::path(), QStringLiteral("org.freedesktop.DBus.Introspectable"),
        QStringLiteral("Introspect")));
    bus.unregisterObject(BluezPairingAgent::path());
    QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(methodsOf(reply.arguments().value(0).toString(), QStringLiteral("org.bluez.Agent")), described);
}

void tst_BluetoothPairingProcess::pairingCallsCreatePairedDeviceWithItsOwnAgent()
{
    BluetoothPairingProcess pairing;
    pairUntilFinished(pairing);
    QCOMPARE(pairing.error(), QString());

    QList<MockCall> calls;
    for (const MockCall& call : m_bluez->calls(PhoneMocks::bluezAdapterPath())) {
        if (call.method == QLatin1String("CreatePairedDevice"))
            calls.append(call);
    }
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.at(0).args.value(0).toString(), address);
    QCOMPARE(calls.at(0).args.value(1).toString(), BluezPairingAgent::path());
    QCOMPARE(calls.at(0).args.value(2).toString(), QStringLiteral("DisplayYesNo"));

    const QDBusMessage properties = m_bluez->call(PhoneMocks::bluezDevicePath(address),
                                                  QStringLiteral("org.bluez.Device"), QStringLiteral("GetProperties"));
    QCOMPARE(unwrapDBusValue(properties.arguments().value(0)).toMap().value(QStringLiteral("Paired")).toBool(), true);
}

void tst_BluetoothPairingProcess::pinCodeIsAnsweredWithThePin()
{
    QVERIFY(BluezControl::setPairing(*m_bluez, address,
                                     {{QStringLiteral("Agent"), QStringList {QStringLiteral("RequestPinCode")}}}));
    BluetoothPairingProcess pairing;
    pairing.setPinCode(QStringLiteral("1234"));
    pairUntilFinished(pairing);
    QCOMPARE(pairing.error(), QString());
    QCOMPARE(BluezControl::agentReplies(*m_bluez), QStringList {QStringLiteral("RequestPinCode:1234")});
}

void tst_BluetoothPairingProcess::ignoredLegacyPairingRejectsThePinRequest()
{
    QVERIFY(BluezControl::setPairing(*m_bluez, address,
                                     {{QStringLiteral("Agent"), QStringList {QStringLiteral("RequestPinCode")}}}));
    BluetoothPairingProcess pairing;
    pairing.setIgnoreLegacyPairing(true);
    pairUntilFinished(pairing, Expect::Failure);
    QCOMPARE(pairing.error(), QStringLiteral("org.bluez.Error.AuthenticationRejected"));
    QCOMPARE(BluezControl::agentReplies(*m_bluez),
             QStringList {QStringLiteral("RequestPinCode:error:org.bluez.Error.Rejected")});
}

void tst_BluetoothPairingProcess::passkeyDisplayAndConfirmationAreAccepted()
{
    const QStringList steps {QStringLiteral("DisplayPasskey"), QStringLiteral("DisplayPasskeyEntered"),
                             QStringLiteral("DisplayPinCode"), QStringLiteral("RequestConfirmation")};
    QVERIFY(BluezControl::setPairing(*m_bluez, address, {{QStringLiteral("Agent"), steps}}));
    BluetoothPairingProcess pairing;
    pairing.setIgnoreLegacyPairing(true);
    pairUntilFinished(pairing);
    QCOMPARE(pairing.error(), QString());
    QCOMPARE(BluezControl::agentReplies(*m_bluez),
             (QStringList {QStringLiteral("DisplayPasskey:"), QStringLiteral("DisplayPasskeyEntered:"),
                           QStringLiteral("DisplayPinCode:"), QStringLiteral("RequestConfirmation:")}));
}

void tst_BluetoothPairingProcess::alreadyPairedDeviceCountsAsSuccess()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address, {{QStringLiteral("Paired"), true}}));
    BluetoothPairingProcess pairing;
    pairing.setAutoTrusted(true);
    pairUntilFinished(pairing);
    QCOMPARE(pairing.error(), QString());
    // Still made trusted.
    QVERIFY(
        PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezDevicePath(address)).contains(QStringLiteral("SetProperty")));
}

void tst_BluetoothPairingProcess::autoTrustedSetsTrustedAfterPairing()
{
    BluetoothPairingProcess pairing;
    pairing.setAutoTrusted(true);
    pairUntilFinished(pairing);

    const QList<MockCall> calls = m_bluez->calls(PhoneMocks::bluezDevicePath(address));
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.at(0).method, QStringLiteral("SetProperty"));
    QCOMPARE(calls.at(0).args.value(0).toString(), QStringLiteral("Trusted"));
    QCOMPARE(calls.at(0).args.value(1).toBool(), true);
}

void tst_BluetoothPairingProcess::withoutAutoTrustedTrustIsLeftAlone()
{
    BluetoothPairingProcess pairing;
    pairUntilFinished(pairing);
    QVERIFY(
        !PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezDevicePath(address)).contains(QStringLiteral("SetProperty")));
}

void tst_BluetoothPairingProcess::pairingErrorIsTheBluezErrorName()
{
    QVERIFY(BluezControl::setPairing(
        *m_bluez, address, {{QStringLiteral("Error"), QStringLiteral("org.bluez.Error.ConnectionAttemptFailed")}}));
    BluetoothPairingProcess pairing;
    pairUntilFinished(pairing, Expect::Failure);
    QCOMPARE(pairing.error(), QStringLiteral("org.bluez.Error.ConnectionAttemptFailed"));
}

void tst_BluetoothPairingProcess::refusedAgentAnswerFailsAsRejectedAuthentication()
{
    // A passkey to type, but the tag gave no PIN.
    QVERIFY(BluezControl::setPairing(*m_bluez, address,
                                     {{QStringLiteral("Agent"), QStringList {QStringLiteral("RequestPasskey")}}}));
    BluetoothPairingProcess pairing;
    pairUntilFinished(pairing, Expect::Failure);
    QCOMPARE(pairing.error(), QStringLiteral("org.bluez.Error.AuthenticationRejected"));
}

void tst_BluetoothPairingProcess::failureShowsABannerWhenAsked()
{
    QVERIFY(BluezControl::setPairing(
        *m_bluez, address, {{QStringLiteral("Error"), QStringLiteral("org.bluez.Error.AuthenticationFailed")}}));
    BluetoothPairingProcess pairing;
    pairing.setErrorNotification(true);
    pairUntilFinished(pairing, Expect::Failure);
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_notifications).size(), 1);
    const PhoneMocks::Notification banner = PhoneMocks::notificationsShown(*m_notifications).first();
    QCOMPARE(banner.appName, QStringLiteral("nfc-ui"));
    QVERIFY2(banner.summary.contains(address), qPrintable(banner.summary));
}

void tst_BluetoothPairingProcess::failureShowsNoBannerUnlessAsked()
{
    QVERIFY(BluezControl::setPairing(
        *m_bluez, address, {{QStringLiteral("Error"), QStringLiteral("org.bluez.Error.AuthenticationFailed")}}));
    BluetoothPairingProcess pairing;
    pairUntilFinished(pairing, Expect::Failure);
    QTest::qWait(200);
    QCOMPARE(PhoneMocks::notificationsShown(*m_notifications).size(), 0);
}

void tst_BluetoothPairingProcess::hangingPairingIsCancelledAfterTheTimeout()
{
    BluetoothPairingProcessPrivate::setTimeoutMs(1000);
    QVERIFY(BluezControl::setPairing(*m_bluez, address, {{QStringLiteral("Hang"), true}}));
    BluetoothPairingProcess pairing;
    QSignalSpy finished(&pairing, &BluetoothPairingProcess::finished);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("took longer than 1000 ms")));
    QElapsedTimer timer;
    timer.start();
    pairing.start(deviceWithAddress(address));
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 10000);
    QVERIFY(timer.elapsed() >= 900);
    QCOMPARE(pairing.error(), QStringLiteral("org.bluez.Error.AuthenticationTimeout"));

    QTRY_VERIFY(PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezAdapterPath())
                    .contains(QStringLiteral("CancelDeviceCreation")));
    const QList<MockCall> calls = m_bluez->calls(PhoneMocks::bluezAdapterPath());
    QCOMPARE(calls.last().method, QStringLiteral("CancelDeviceCreation"));
    QCOMPARE(calls.last().args.value(0).toString(), address);
    // Nothing more arrives afterwards.
    QTest::qWait(300);
    QCOMPARE(finished.size(), 1);
}

void tst_BluetoothPairingProcess::trustTakingLongerThanTheTimeoutLeavesThePairingSuccessful()
{
    BluetoothPairingProcessPrivate::setTimeoutMs(1000);
    QVERIFY(BluezControl::addDevice(*m_bluez, address, {{QStringLiteral("Paired"), true}}));
    QVERIFY2(m_bluez->addMethod(PhoneMocks::bluezDevicePath(address), QStringLiteral("org.bluez.Device"),
                                QStringLiteral("SetProperty"), QStringLiteral("sv"), QString(),
                                QStringLiteral("time.sleep(2)")),
             qPrintable(m_bluez->lastError()));
    BluetoothPairingProcess pairing;
    pairing.setAutoTrusted(true);
    pairing.setErrorNotification(true);
    QSignalSpy finished(&pairing, &BluetoothPairingProcess::finished);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("is paired, but making it trusted or "
                                                                         "connecting it took longer than 1000 ms")));
    pairing.start(deviceWithAddress(address));
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 10000);
    QCOMPARE(pairing.error(), QString());
    // Nothing is cancelled in BlueZ, and the late answer to SetProperty changes nothing.
    QTest::qWait(1500);
    QCOMPARE(finished.size(), 1);
    QVERIFY(!PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezAdapterPath())
                 .contains(QStringLiteral("CancelDeviceCreation")));
    QCOMPARE(pairing.error(), QString());
}

void tst_BluetoothPairingProcess::deletedDuringPairingCancelsItInBluez()
{
    QVERIFY(BluezControl::setPairing(*m_bluez, address, {{QStringLiteral("Hang"), true}}));
    auto pairing = std::make_unique<BluetoothPairingProcess>();
    pairing->start(deviceWithAddress(address));
    QTRY_VERIFY(
        PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezAdapterPath()).contains(QStringLiteral("CreatePairedDevice")));
    pairing.reset();
    QTRY_VERIFY(PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezAdapterPath())
                    .contains(QStringLiteral("CancelDeviceCreation")));
    QCOMPARE(m_bluez->calls(PhoneMocks::bluezAdapterPath()).last().args.value(0).toString(), address);
}

void tst_BluetoothPairingProcess::withoutBluezThePairingFailsAtOnce()
{
    m_bluez->stop();
    BluetoothPairingProcess pairing;
    QSignalSpy finished(&pairing, &BluetoothPairingProcess::finished);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no Bluetooth adapter")));
    pairing.start(deviceWithAddress(address));
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 2000);
    QCOMPARE(pairing.error(), QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown"));
}

QTEST_GUILESS_MAIN(tst_BluetoothPairingProcess)
#include "tst_bluetoothpairingprocess.moc"
