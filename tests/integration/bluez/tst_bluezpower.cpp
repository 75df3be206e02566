// NfcAgentBluetoothRequest::ensureBluetoothIsPowered() against the BlueZ 4 mock on the private system
// bus: the exact calls it makes and every way it can fail.
//
// Each test gets the mock in its initial state (adapter at /org/bluez/1000/hci0, not powered, no errors,
// empty call logs); a test that takes BlueZ off the bus gets it back in the next init().
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QRegularExpression>
#include <QtTest>

#include "bluezlog.h"
#include "bluezmock.h"
#include "fakeplatform.h"
#include "nfcagentbluetoothrequest.h"

using ConnUi::NfcAgentBluetoothRequest;

class tst_BluezPower : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void setsPoweredOnTheDefaultAdapter();
    void sendsPoweredAsVariant();
    void asksDefaultAdapterBeforeSettingPower();
    void usesNoStateOfTheRequest_data();
    void usesNoStateOfTheRequest();
    void blueZAbsentIsReported();
    void defaultAdapterErrorIsReported_data();
    void defaultAdapterErrorIsReported();
    void defaultAdapterUnreachableIsReported();
    void missingAdapterObjectFailsInSetProperty();
    void setPropertyErrorIsReported_data();
    void setPropertyErrorIsReported();
    void failuresAreNotRetried();
    void mockRefusesPoweredAsPlainBoolean();

private:
    static NfcAgentBluetoothRequest* newRequest(NfcAgentBluetoothRequest::Type type
                                                = NfcAgentBluetoothRequest::Connect);
    BluezMock mock;
};

NfcAgentBluetoothRequest* tst_BluezPower::newRequest(NfcAgentBluetoothRequest::Type type)
{
    return new NfcAgentBluetoothRequest(type, nullptr, QDBusObjectPath(QStringLiteral("/nfc/target/1")),
                                        QStringLiteral("00:1D:43:A0:00:01"), QStringLiteral("Headset"), 0x240404);
}

void tst_BluezPower::initTestCase()
{
    QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus: run through scripts/isolated");
    QVERIFY2(!qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"), "run through scripts/isolated");
    QVERIFY2(mock.start(), qPrintable(mock.lastError()));
}

void tst_BluezPower::init()
{
    FakePlatform::reset();
    QVERIFY2(mock.reset(), qPrintable(mock.lastError()));
}

void tst_BluezPower::cleanupTestCase()
{
    mock.stop();
}

void tst_BluezPower::setsPoweredOnTheDefaultAdapter()
{
    QCOMPARE(mock.adapterProperties().value(QStringLiteral("Powered")), QVariant(false));
    QVERIFY(mock.clearCalls(BluezMock::adapterPath()));
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());

    BluezWarningLog log;
    QVERIFY(request->ensureBluetoothIsPowered());
    QCOMPARE(log.warnings(), QStringList());

    const QList<BluezMock::Call> calls = mock.calls(BluezMock::adapterPath());
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.at(0).method, QStringLiteral("SetProperty"));
    QCOMPARE(calls.at(0).args.size(), 2);
    QCOMPARE(calls.at(0).args.at(0).userType(), int(QMetaType::QString));
    QCOMPARE(calls.at(0).args.at(0).toString(), QStringLiteral("Powered"));
    QCOMPARE(calls.at(0).args.at(1).userType(), int(QMetaType::Bool));
    QCOMPARE(calls.at(0).args.at(1).toBool(), true);
    QCOMPARE(mock.adapterProperties().value(QStringLiteral("Powered")), QVariant(true));
}

void tst_BluezPower::sendsPoweredAsVariant()
{
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());
    QVERIFY(request->ensureBluetoothIsPowered());
    // The wire signature: a string and a variant, not a string and a plain boolean.
    QCOMPARE(mock.signatures(QStringLiteral("SetProperty")), QStringList {QStringLiteral("sv")});
}

void tst_BluezPower::asksDefaultAdapterBeforeSettingPower()
{
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());
    QVERIFY(request->ensureBluetoothIsPowered());

    const QList<BluezMock::Call> managerCalls = mock.calls(BluezMock::managerPath());
    QStringList methods;
    for (const BluezMock::Call& call : managerCalls)
        methods.append(call.method);
    QCOMPARE(methods, QStringList {QStringLiteral("DefaultAdapter")});
    QCOMPARE(managerCalls.at(0).args, QVariantList());
    QCOMPARE(mock.signatures(QStringLiteral("DefaultAdapter")), QStringList {QString()});
}

void tst_BluezPower::usesNoStateOfTheRequest_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("platformAdapter");
    QTest::newRow("pairing") << int(NfcAgentBluetoothRequest::Pairing) << true;
    QTest::newRow("disconnect") << int(NfcAgentBluetoothRequest::Disconnect) << true;
    QTest::newRow("unknown type, no platform adapter") << 7 << false;
}

void tst_BluezPower::usesNoStateOfTheRequest()
{
    QFETCH(int, type);
    QFETCH(bool, platformAdapter);
    FakePlatform::setBluetoothAdapterPresent(platformAdapter);
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest(NfcAgentBluetoothRequest::Type(type)));

    BluezWarningLog log;
    QVERIFY(request->ensureBluetoothIsPowered());
    QCOMPARE(log.warnings(), QStringList());
    QCOMPARE(mock.calls(BluezMock::adapterPath()).size(), 1);
}

void tst_BluezPower::blueZAbsentIsReported()
{
    mock.stop();
    QVERIFY(!BluezMock::isOnBus());
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());

    BluezWarningLog log;
    QTest::ignoreMessage(QtWarningMsg, "Bluez does not exist");
    QVERIFY(!request->ensureBluetoothIsPowered());
    QCOMPARE(log.warnings(), QStringList {QStringLiteral("Bluez does not exist")});
}

void tst_BluezPower::defaultAdapterErrorIsReported_data()
{
    QTest::addColumn<QString>("errorName");
    QTest::addColumn<QString>("message");
    QTest::newRow("no such adapter") << QStringLiteral("org.bluez.Error.NoSuchAdapter")
                                     << QStringLiteral("No such adapter");
    QTest::newRow("invalid arguments") << QStringLiteral("org.bluez.Error.InvalidArguments")
                                       << QStringLiteral("Invalid arguments in method call");
    QTest::newRow("message in UTF-8") << QStringLiteral("org.bluez.Error.NoSuchAdapter")
                                      << QString::fromUtf8(
                                             "Adapter \xe2\x80\x9ehci0\xe2\x80\x9c fehlt \xe2\x80\x93 sp\xc3\xa4ter");
}

void tst_BluezPower::defaultAdapterErrorIsReported()
{
    QFETCH(QString, errorName);
    QFETCH(QString, message);
    QVERIFY2(mock.setError(QStringLiteral("DefaultAdapter"), errorName, message), qPrintable(mock.lastError()));
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());

    const QString expected = QStringLiteral("DefaultAdapter returned error '%1': %2").arg(errorName, message);
    BluezWarningLog log;
    QTest::ignoreMessage(QtWarningMsg, expected.toUtf8().constData());
    QVERIFY(!request->ensureBluetoothIsPowered());
    QCOMPARE(log.warnings(), QStringList {expected});
    // Nothing reached the adapter.
    QCOMPARE(mock.calls(BluezMock::adapterPath()).size(), 0);
    QCOMPARE(mock.adapterProperties().value(QStringLiteral("Powered")), QVariant(false));
}

void tst_BluezPower::defaultAdapterUnreachableIsReported()
{
    // BlueZ answers DefaultAdapter and leaves the bus right then: the adapter proxy has no owner behind
    // its name, which is what makes it invalid.
    QVERIFY2(mock.leaveBusAfter(QStringLiteral("DefaultAdapter")), qPrintable(mock.lastError()));
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());

    BluezWarningLog log;
    QTest::ignoreMessage(QtWarningMsg, "Default adapter does not exist");
    QVERIFY(!request->ensureBluetoothIsPowered());
    QCOMPARE(log.warnings(), QStringList {QStringLiteral("Default adapter does not exist")});
    QVERIFY(!BluezMock::isOnBus());
}

void tst_BluezPower::missingAdapterObjectFailsInSetProperty()
{
    // DefaultAdapter names an object that is not there. A proxy checks only that its path is well formed
    // and that its service has an owner, so it is valid; the SetProperty call then fails on the bus.
    QVERIFY2(mock.removeAdapter(), qPrintable(mock.lastError()));
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());

    const QRegularExpression expected(
        QStringLiteral("^SetProperty returned error 'org\\.freedesktop\\.DBus\\.Error\\.Unknown(Object|Method)': .+$"));
    BluezWarningLog log;
    QTest::ignoreMessage(QtWarningMsg, expected);
    QVERIFY(!request->ensureBluetoothIsPowered());
    QCOMPARE(log.warnings().size(), 1);
    QVERIFY2(expected.match(log.warnings().first()).hasMatch(), qPrintable(log.warnings().first()));
}

void tst_BluezPower::setPropertyErrorIsReported_data()
{
    QTest::addColumn<QString>("errorName");
    QTest::addColumn<QString>("message");
    QTest::newRow("invalid arguments") << QStringLiteral("org.bluez.Error.InvalidArguments")
                                       << QStringLiteral("Invalid arguments in method call");
    QTest::newRow("blocked") << QStringLiteral("org.bluez.Error.Failed") << QStringLiteral("Adapter is blocked");
    QTest::newRow("message in UTF-8") << QStringLiteral("org.bluez.Error.Failed")
                                      << QString::fromUtf8("Funk gesperrt \xe2\x80\x93 \xc3\xa9tat bloqu\xc3\xa9");
}

void tst_BluezPower::setPropertyErrorIsReported()
{
    QFETCH(QString, errorName);
    QFETCH(QString, message);
    QVERIFY2(mock.setError(QStringLiteral("SetProperty"), errorName, message), qPrintable(mock.lastError()));
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());

    const QString expected = QStringLiteral("SetProperty returned error '%1': %2").arg(errorName, message);
    BluezWarningLog log;
    QTest::ignoreMessage(QtWarningMsg, expected.toUtf8().constData());
    QVERIFY(!request->ensureBluetoothIsPowered());
    QCOMPARE(log.warnings(), QStringList {expected});

    // The call itself went out as it should.
    const QList<BluezMock::Call> calls = mock.calls(BluezMock::adapterPath());
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.at(0).method, QStringLiteral("SetProperty"));
    QCOMPARE(calls.at(0).args, (QVariantList {QStringLiteral("Powered"), true}));
}

void tst_BluezPower::failuresAreNotRetried()
{
    QVERIFY2(
        mock.setError(QStringLiteral("SetProperty"), QStringLiteral("org.bluez.Error.Failed"), QStringLiteral("Busy")),
        qPrintable(mock.lastError()));
    QScopedPointer<NfcAgentBluetoothRequest> request(newRequest());

    QTest::ignoreMessage(QtWarningMsg, "SetProperty returned error 'org.bluez.Error.Failed': Busy");
    QVERIFY(!request->ensureBluetoothIsPowered());
    QCOMPARE(mock.calls(BluezMock::managerPath()).size(), 1);
    QCOMPARE(mock.calls(BluezMock::adapterPath()).size(), 1);
}

void tst_BluezPower::mockRefusesPoweredAsPlainBoolean()
{
    // The mock, like BlueZ, takes the value only as a variant; this is what makes sendsPoweredAsVariant
    // meaningful.
    QDBusMessage call
        = QDBusMessage::createMethodCall(BluezMock::service(), BluezMock::adapterPath(),
                                         QStringLiteral("org.bluez.Adapter"), QStringLiteral("SetProperty"));
    call.setArguments({QStringLiteral("Powered"), true});
    const QDBusMessage reply = QDBusConnection::systemBus().call(call);
    QCOMPARE(reply.type(), QDBusMessage::ErrorMessage);
    QCOMPARE(reply.errorName(), QStringLiteral("org.bluez.Error.InvalidArguments"));
    QCOMPARE(mock.signatures(QStringLiteral("SetProperty")), QStringList {QStringLiteral("sb")});
    QCOMPARE(mock.adapterProperties().value(QStringLiteral("Powered")), QVariant(false));
}

QTEST_GUILESS_MAIN(tst_BluezPower)
#include "tst_bluezpower.moc"
