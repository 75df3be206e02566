// BluetoothConnectionManager on Linux against the BlueZ 4 mock: audio connect and disconnect through
// org.bluez.Audio with the Headset and AudioSink fallbacks, the audio state, connectability from the
// device's UUIDs, BlueZ's error names as reasons, and a manager deleted inside its own signals.
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include "bluetoothadapter.h"
#include "bluetoothconnectionmanager.h"
#include "bluezcontrol.h"
#include "mocksuite.h"
#include "phonemocks.h"

namespace {

const QString address = QStringLiteral("00:1A:7D:DA:71:13");

QStringList audioCallsOn(const MockService& mock, const QString& address)
{
    QStringList names;
    for (const QString& name : PhoneMocks::callNames(mock, PhoneMocks::bluezDevicePath(address))) {
        if (name.endsWith(QLatin1String(".Connect")) || name.endsWith(QLatin1String(".Disconnect")))
            names.append(name);
    }
    return names;
}

} // namespace

class tst_BluetoothConnectionManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void connectUsesTheAudioInterface();
    void disconnectUsesTheAudioInterface();
    void withoutAudioInterfaceHeadsetIsUsed();
    void withOnlyAudioSinkTheSinkIsUsed();
    void connectionFailureIsTheBluezErrorName();
    void disconnectionFailureIsTheBluezErrorName();
    void audioConnectedWhenConnectedOrPlaying_data();
    void audioConnectedWhenConnectedOrPlaying();
    void audioStateFromHeadsetWithoutAudioInterface();
    void connectableFromHeadsetHandsFreeOrSinkUuids_data();
    void connectableFromHeadsetHandsFreeOrSinkUuids();
    void deviceWithoutPathIsFoundByAddress();
    void unknownDeviceFailsWithoutCall();
    void managerDeletedInConnectedSurvives();
    void managerDeletedInDisconnectedSurvives();
    void managerDeletedInConnectionFailedSurvives();
    void managerDeletedWhileConnectingIsQuiet();
    // Last: it leaves BlueZ stopped.
    void hungBluezHoldsUpOnlyTheFirstOfSeveralAudioQuestions();

private:
    BluetoothDevice device() const;
    std::unique_ptr<MockService> m_bluez;
};

void tst_BluetoothConnectionManager::initTestCase()
{
    m_bluez = PhoneMocks::bluez4();
    MockSuite::startOnPrivateBus(*m_bluez);
}

void tst_BluetoothConnectionManager::init()
{
    QVERIFY2(m_bluez->reset(), qPrintable(m_bluez->lastError()));
}

void tst_BluetoothConnectionManager::cleanupTestCase()
{
    m_bluez.reset();
}

BluetoothDevice tst_BluetoothConnectionManager::device() const
{
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    return adapter->deviceForAddress(address);
}

void tst_BluetoothConnectionManager::connectUsesTheAudioInterface()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address, {{QStringLiteral("UUIDs"), BluezControl::headsetUuids()}}));
    BluetoothConnectionManager manager(device());
    QSignalSpy connected(&manager, &BluetoothConnectionManager::connected);
    QSignalSpy failed(&manager, &BluetoothConnectionManager::connectionFailed);
    manager.connect();
    QTRY_COMPARE(connected.size(), 1);
    QCOMPARE(failed.size(), 0);
    QCOMPARE(audioCallsOn(*m_bluez, address), QStringList {QStringLiteral("org.bluez.Audio.Connect")});
    QVERIFY(manager.isAudioConnected());
}

void tst_BluetoothConnectionManager::disconnectUsesTheAudioInterface()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address, {{QStringLiteral("AudioState"), QStringLiteral("connected")}}));
    BluetoothConnectionManager manager(device());
    QVERIFY(manager.isAudioConnected());
    QSignalSpy disconnected(&manager, &BluetoothConnectionManager::disconnected);
    manager.disconnect();
    QTRY_COMPARE(disconnected.size(), 1);
    QCOMPARE(audioCallsOn(*m_bluez, address), QStringList {QStringLiteral("org.bluez.Audio.Disconnect")});
    QVERIFY(!manager.isAudioConnected());
}

void tst_BluetoothConnectionManager::withoutAudioInterfaceHeadsetIsUsed()
{
    QVERIFY(BluezControl::addDevice(
        *m_bluez, address,
        {{QStringLiteral("AudioInterfaces"),
          QStringList {QStringLiteral("org.bluez.Headset"), QStringLiteral("org.bluez.AudioSink")}}}));
    BluetoothConnectionManager manager(device());
    QSignalSpy connected(&manager, &BluetoothConnectionManager::connected);
    manager.connect();
    QTRY_COMPARE(connected.size(), 1);
    QCOMPARE(audioCallsOn(*m_bluez, address), QStringList {QStringLiteral("org.bluez.Headset.Connect")});
}

void tst_BluetoothConnectionManager::withOnlyAudioSinkTheSinkIsUsed()
{
    QVERIFY(BluezControl::addDevice(
        *m_bluez, address, {{QStringLiteral("AudioInterfaces"), QStringList {QStringLiteral("org.bluez.AudioSink")}}}));
    BluetoothConnectionManager manager(device());
    QSignalSpy connected(&manager, &BluetoothConnectionManager::connected);
    manager.connect();
    QTRY_COMPARE(connected.size(), 1);
    QCOMPARE(audioCallsOn(*m_bluez, address), QStringList {QStringLiteral("org.bluez.AudioSink.Connect")});
    QVERIFY(manager.isAudioConnected());
}

void tst_BluetoothConnectionManager::connectionFailureIsTheBluezErrorName()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address));
    QVERIFY(BluezControl::setError(*m_bluez, QStringLiteral("org.bluez.Audio.Connect"),
                                   QStringLiteral("org.bluez.Error.ConnectionAttemptFailed")));
    BluetoothConnectionManager manager(device());
    QSignalSpy failed(&manager, &BluetoothConnectionManager::connectionFailed);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Connect .* failed")));
    manager.connect();
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(failed.at(0).at(0).toString(), QStringLiteral("org.bluez.Error.ConnectionAttemptFailed"));
    // A failure of the operation is not a missing interface: no fallback.
    QCOMPARE(audioCallsOn(*m_bluez, address), QStringList {QStringLiteral("org.bluez.Audio.Connect")});
}

void tst_BluetoothConnectionManager::disconnectionFailureIsTheBluezErrorName()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address));
    BluetoothConnectionManager manager(device());
    QSignalSpy failed(&manager, &BluetoothConnectionManager::disconnectionFailed);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Disconnect .* failed")));
    manager.disconnect();
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(failed.at(0).at(0).toString(), QStringLiteral("org.bluez.Error.NotConnected"));
}

void tst_BluetoothConnectionManager::audioConnectedWhenConnectedOrPlaying_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<bool>("connected");
    QTest::newRow("disconnected") << QStringLiteral("disconnected") << false;
    QTest::newRow("connecting") << QStringLiteral("connecting") << false;
    QTest::newRow("connected") << QStringLiteral("connected") << true;
    QTest::newRow("playing") << QStringLiteral("playing") << true;
}

void tst_BluetoothConnectionManager::audioConnectedWhenConnectedOrPlaying()
{
    QFETCH(QString, state);
    QFETCH(bool, connected);
    QVERIFY(BluezControl::addDevice(*m_bluez, address));
    QVERIFY(BluezControl::setAudioState(*m_bluez, address, state));
    BluetoothConnectionManager manager(device());
    QCOMPARE(manager.isAudioConnected(), connected);
}

void tst_BluetoothConnectionManager::audioStateFromHeadsetWithoutAudioInterface()
{
    QVERIFY(
        BluezControl::addDevice(*m_bluez, address,
                                {{QStringLiteral("AudioInterfaces"), QStringList {QStringLiteral("org.bluez.Headset")}},
                                 {QStringLiteral("AudioState"), QStringLiteral("playing")}}));
    BluetoothConnectionManager manager(device());
    QVERIFY(manager.isAudioConnected());
}

void tst_BluetoothConnectionManager::connectableFromHeadsetHandsFreeOrSinkUuids_data()
{
    QTest::addColumn<QStringList>("uuids");
    QTest::addColumn<bool>("connectable");
    QTest::newRow("headset") << QStringList {QStringLiteral("00001108-0000-1000-8000-00805f9b34fb")} << true;
    QTest::newRow("hands-free") << QStringList {QStringLiteral("0000111e-0000-1000-8000-00805f9b34fb")} << true;
    QTest::newRow("a2dp sink, upper case")
        << QStringList {QStringLiteral("0000110B-0000-1000-8000-00805F9B34FB")} << true;
    QTest::newRow("a2dp source only") << QStringList {QStringLiteral("0000110a-0000-1000-8000-00805f9b34fb")} << false;
    QTest::newRow("object push") << QStringList {QStringLiteral("00001105-0000-1000-8000-00805f9b34fb")} << false;
    QTest::newRow("none") << QStringList() << false;
}

void tst_BluetoothConnectionManager::connectableFromHeadsetHandsFreeOrSinkUuids()
{
    QFETCH(QStringList, uuids);
    QFETCH(bool, connectable);
    QVERIFY(BluezControl::addDevice(*m_bluez, address, {{QStringLiteral("UUIDs"), uuids}}));
    QCOMPARE(BluetoothConnectionManager::isConnectable(device()), connectable);
}

void tst_BluetoothConnectionManager::deviceWithoutPathIsFoundByAddress()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address));
    QMap<QString, QVariant> properties;
    properties.insert(QStringLiteral("Address"), address);
    BluetoothConnectionManager manager {BluetoothDevice(properties)};
    QSignalSpy connected(&manager, &BluetoothConnectionManager::connected);
    manager.connect();
    QTRY_COMPARE(connected.size(), 1);
}

void tst_BluetoothConnectionManager::unknownDeviceFailsWithoutCall()
{
    QMap<QString, QVariant> properties;
    properties.insert(QStringLiteral("Address"), address);
    BluetoothConnectionManager manager {BluetoothDevice(properties)};
    QSignalSpy failed(&manager, &BluetoothConnectionManager::connectionFailed);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Connect .* failed")));
    manager.connect();
    QCOMPARE(failed.size(), 0); // never from inside connect()
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(failed.at(0).at(0).toString(), QStringLiteral("org.bluez.Error.DoesNotExist"));
    QVERIFY(!manager.isAudioConnected());
}

void tst_BluetoothConnectionManager::managerDeletedInConnectedSurvives()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address));
    QPointer<BluetoothConnectionManager> manager = new BluetoothConnectionManager(device());
    bool deleted = false;
    connect(manager.data(), &BluetoothConnectionManager::connected, this, [&] {
        delete manager.data();
        deleted = true;
    });
    manager->connect();
    QTRY_VERIFY(deleted);
    QVERIFY(manager.isNull());
    QTest::qWait(100); // nothing of the manager runs afterwards
}

void tst_BluetoothConnectionManager::managerDeletedInDisconnectedSurvives()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address, {{QStringLiteral("AudioState"), QStringLiteral("connected")}}));
    QPointer<BluetoothConnectionManager> manager = new BluetoothConnectionManager(device());
    bool deleted = false;
    connect(manager.data(), &BluetoothConnectionManager::disconnected, this, [&] {
        delete manager.data();
        deleted = true;
    });
    manager->disconnect();
    QTRY_VERIFY(deleted);
    QVERIFY(manager.isNull());
    QTest::qWait(100);
}

void tst_BluetoothConnectionManager::managerDeletedInConnectionFailedSurvives()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address));
    QVERIFY(BluezControl::setError(*m_bluez, QStringLiteral("Connect"), QStringLiteral("org.bluez.Error.Failed")));
    QPointer<BluetoothConnectionManager> manager = new BluetoothConnectionManager(device());
    bool deleted = false;
    connect(manager.data(), &BluetoothConnectionManager::connectionFailed, this, [&] {
        delete manager.data();
        deleted = true;
    });
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Connect .* failed")));
    manager->connect();
    QTRY_VERIFY(deleted);
    QTest::qWait(100);
}

void tst_BluetoothConnectionManager::managerDeletedWhileConnectingIsQuiet()
{
    QVERIFY(BluezControl::addDevice(*m_bluez, address));
    auto* manager = new BluetoothConnectionManager(device());
    manager->connect();
    delete manager;
    // The answer comes to nobody.
    QTRY_VERIFY(PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezDevicePath(address))
                    .contains(QStringLiteral("org.bluez.Audio.Connect")));
    QTest::qWait(200);
}

void tst_BluetoothConnectionManager::hungBluezHoldsUpOnlyTheFirstOfSeveralAudioQuestions()
{
    // A Bluetooth touch asks for the known devices and then for each one's audio state.
    const QStringList addresses {QStringLiteral("00:1A:7D:DA:71:21"), QStringLiteral("00:1A:7D:DA:71:22"),
                                 QStringLiteral("00:1A:7D:DA:71:23")};
    QList<BluetoothDevice> devices;
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    for (const QString& known : addresses) {
        QVERIFY(BluezControl::addDevice(*m_bluez, known, {{QStringLiteral("AudioState"), QStringLiteral("connected")}}));
        devices.append(adapter->deviceForAddress(known));
        QVERIFY(!devices.last().address().isEmpty());
    }
    QVERIFY2(m_bluez->addMethod(PhoneMocks::bluezDevicePath(addresses.first()), QStringLiteral("org.bluez.Audio"),
                                QStringLiteral("GetProperties"), QString(), QStringLiteral("a{sv}"),
                                QStringLiteral("time.sleep(30)")),
             qPrintable(m_bluez->lastError()));

    QTest::ignoreMessage(QtWarningMsg,
                         "BlueZ: audio GetProperties got no answer within 5000 ms; BlueZ is not asked again for 5000 ms");
    QElapsedTimer timer;
    timer.start();
    for (const BluetoothDevice& known : qAsConst(devices))
        QVERIFY(!BluetoothConnectionManager(known).isAudioConnected());
    // One budget (whose coarse timer may end up to 5% early), not one per device.
    QVERIFY2(timer.elapsed() >= 4500 && timer.elapsed() < 9000, qPrintable(QString::number(timer.elapsed())));
    m_bluez->stop();
}

QTEST_GUILESS_MAIN(tst_BluetoothConnectionManager)
#include "tst_bluetoothconnectionmanager.moc"
