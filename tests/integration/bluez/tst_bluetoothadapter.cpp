// BluetoothAdapter on Linux against the BlueZ 4 mock: the default adapter, its power state and its
// devices; and what happens without BlueZ or with a BlueZ that lacks the BlueZ 4 manager.
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include "bluetoothadapter.h"
#include "bluezcontrol.h"
#include "mocksuite.h"
#include "phonemocks.h"

class tst_BluetoothAdapter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void defaultAdapterIsValidAndFollowsPowered();
    void poweredChangeIsReportedAsPowered();
    void repeatedPoweredReportIsReportedAgain();
    void otherPropertyChangesAreNotReported();
    void defaultAdapterChangeIsFollowed();
    void deviceForAddressFindsTheDeviceWithItsProperties();
    void deviceForUnknownAddressIsInvalid();
    void listDevicesKeepsTheAdaptersOrder();
    void withoutListDevicesTheDevicesPropertyIsUsed();
    void adapterWithoutDefaultAdapterIsInvalid();
    void bluezWithoutManagerInterfaceIsReportedAndInvalid();
    void withoutBluezTheAdapterIsInvalidAtOnce();

private:
    std::unique_ptr<MockService> m_bluez;
};

void tst_BluetoothAdapter::initTestCase()
{
    m_bluez = PhoneMocks::bluez4();
    MockSuite::startOnPrivateBus(*m_bluez);
}

void tst_BluetoothAdapter::init()
{
    MockSuite::restartAndReset(*m_bluez);
}

void tst_BluetoothAdapter::cleanupTestCase()
{
    m_bluez.reset();
}

void tst_BluetoothAdapter::defaultAdapterIsValidAndFollowsPowered()
{
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QVERIFY(adapter);
    QVERIFY(adapter->isValid());
    QVERIFY(!adapter->isPowered());

    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Powered"), true));
    std::unique_ptr<BluetoothAdapter> powered(BluetoothAdapter::defaultAdapter());
    QVERIFY(powered->isPowered());
    // The report reaches the first adapter too; taken here, it cannot reach the next test's.
    QTRY_VERIFY(adapter->isPowered());
}

void tst_BluetoothAdapter::poweredChangeIsReportedAsPowered()
{
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QSignalSpy changed(adapter.get(), &BluetoothAdapter::propertyChanged);

    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Powered"), true));
    QTRY_COMPARE(changed.size(), 1);
    QCOMPARE(changed.at(0).at(0).toString(), QStringLiteral("powered"));
    QVERIFY(adapter->isPowered());

    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Powered"), false));
    QTRY_COMPARE(changed.size(), 2);
    QVERIFY(!adapter->isPowered());
}

void tst_BluetoothAdapter::repeatedPoweredReportIsReportedAgain()
{
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QSignalSpy changed(adapter.get(), &BluetoothAdapter::propertyChanged);

    // BlueZ says the adapter is off while it already was: the waiting request must hear it.
    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Powered"), false));
    QTRY_COMPARE(changed.size(), 1);
    QCOMPARE(changed.at(0).at(0).toString(), QStringLiteral("powered"));
    QVERIFY(!adapter->isPowered());
}

void tst_BluetoothAdapter::otherPropertyChangesAreNotReported()
{
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QSignalSpy changed(adapter.get(), &BluetoothAdapter::propertyChanged);

    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Name"), QStringLiteral("renamed")));
    // The power change after it arrives; nothing came before it.
    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Powered"), true));
    QTRY_COMPARE(changed.size(), 1);
    QCOMPARE(changed.at(0).at(0).toString(), QStringLiteral("powered"));
}

void tst_BluetoothAdapter::defaultAdapterChangeIsFollowed()
{
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QSignalSpy changed(adapter.get(), &BluetoothAdapter::propertyChanged);
    QVERIFY(BluezControl::setAdapterProperty(*m_bluez, QStringLiteral("Powered"), true));
    QTRY_VERIFY(adapter->isPowered());

    // The adapter goes away and BlueZ names no other one: no adapter, not powered.
    QVERIFY(BluezControl::control(*m_bluez, QStringLiteral("RemoveAdapter")));
    QVERIFY(BluezControl::setError(*m_bluez, QStringLiteral("DefaultAdapter"),
                                   QStringLiteral("org.bluez.Error.NoSuchAdapter")));
    QVERIFY(m_bluez->emitSignal(QStringLiteral("/"), QStringLiteral("org.bluez.Manager"),
                                QStringLiteral("AdapterRemoved"), QStringLiteral("o"),
                                {QVariant::fromValue(QDBusObjectPath(PhoneMocks::bluezAdapterPath()))}));
    QTRY_VERIFY(!adapter->isValid());
    QVERIFY(!adapter->isPowered());

    // A new default adapter is followed.
    QVERIFY(BluezControl::control(*m_bluez, QStringLiteral("ClearErrors")));
    QVERIFY(BluezControl::control(*m_bluez, QStringLiteral("AddAdapter")));
    QVERIFY(m_bluez->emitSignal(QStringLiteral("/"), QStringLiteral("org.bluez.Manager"),
                                QStringLiteral("DefaultAdapterChanged"), QStringLiteral("o"),
                                {QVariant::fromValue(QDBusObjectPath(PhoneMocks::bluezAdapterPath()))}));
    QTRY_VERIFY(adapter->isValid());
    QVERIFY(!adapter->isPowered());
}

void tst_BluetoothAdapter::deviceForAddressFindsTheDeviceWithItsProperties()
{
    const QString address = QStringLiteral("00:1A:7D:DA:71:13");
    QVERIFY2(BluezControl::addDevice(*m_bluez, address,
                                     {{QStringLiteral("Name"), QStringLiteral("Headset")},
                                      {QStringLiteral("Class"), QVariant::fromValue(uint(0x240404))},
                                      {QStringLiteral("Paired"), true},
                                      {QStringLiteral("UUIDs"), BluezControl::headsetUuids()}}),
             qPrintable(m_bluez->lastError()));
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());

    const BluetoothDevice device = adapter->deviceForAddress(address);
    QVERIFY(device.isValid());
    QCOMPARE(device.address(), address);
    QCOMPARE(device.name(), QStringLiteral("Headset"));
    QCOMPARE(device.classOfDevice(), 0x240404u);
    QVERIFY(device.isPaired());
    QCOMPARE(device.path(), PhoneMocks::bluezDevicePath(address));
    QCOMPARE(device.properties().value(QStringLiteral("UUIDs")).toStringList(), BluezControl::headsetUuids());
    QCOMPARE(
        PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezAdapterPath()).filter(QStringLiteral("FindDevice")).size(), 1);
    QCOMPARE(m_bluez->calls(PhoneMocks::bluezAdapterPath()).last().args.value(0).toString(), address);
}

void tst_BluetoothAdapter::deviceForUnknownAddressIsInvalid()
{
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QVERIFY(!adapter->deviceForAddress(QStringLiteral("00:00:00:00:00:01")).isValid());
}

void tst_BluetoothAdapter::listDevicesKeepsTheAdaptersOrder()
{
    const QStringList addresses {QStringLiteral("00:00:00:00:00:03"), QStringLiteral("00:00:00:00:00:01"),
                                 QStringLiteral("00:00:00:00:00:02")};
    for (const QString& address : addresses)
        QVERIFY(BluezControl::addDevice(*m_bluez, address));
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());

    QStringList listed;
    for (const BluetoothDevice& device : adapter->listDevices())
        listed.append(device.address());
    QCOMPARE(listed, addresses);
    QVERIFY(PhoneMocks::callNames(*m_bluez, PhoneMocks::bluezAdapterPath()).contains(QStringLiteral("ListDevices")));
}

void tst_BluetoothAdapter::withoutListDevicesTheDevicesPropertyIsUsed()
{
    const QStringList addresses {QStringLiteral("00:00:00:00:00:02"), QStringLiteral("00:00:00:00:00:01")};
    for (const QString& address : addresses)
        QVERIFY(BluezControl::addDevice(*m_bluez, address));
    QVERIFY(BluezControl::setError(*m_bluez, QStringLiteral("ListDevices"),
                                   QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")));
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());

    QStringList listed;
    for (const BluetoothDevice& device : adapter->listDevices())
        listed.append(device.address());
    QCOMPARE(listed, addresses);
}

void tst_BluetoothAdapter::adapterWithoutDefaultAdapterIsInvalid()
{
    QVERIFY(BluezControl::setError(*m_bluez, QStringLiteral("DefaultAdapter"),
                                   QStringLiteral("org.bluez.Error.NoSuchAdapter")));
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QVERIFY(adapter);
    QVERIFY(!adapter->isValid());
    QVERIFY(!adapter->isPowered());
    QVERIFY(!adapter->deviceForAddress(QStringLiteral("00:00:00:00:00:01")).isValid());
    QVERIFY(adapter->listDevices().isEmpty());
}

void tst_BluetoothAdapter::bluezWithoutManagerInterfaceIsReportedAndInvalid()
{
    QVERIFY(BluezControl::setError(*m_bluez, QStringLiteral("DefaultAdapter"),
                                   QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("Bluetooth handover needs the BlueZ 4 interface")));
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QVERIFY(!adapter->isValid());
    // Once per process.
    std::unique_ptr<BluetoothAdapter> again(BluetoothAdapter::defaultAdapter());
    QVERIFY(!again->isValid());
}

void tst_BluetoothAdapter::withoutBluezTheAdapterIsInvalidAtOnce()
{
    m_bluez->stop();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no BlueZ on the system bus")));
    QElapsedTimer timer;
    timer.start();
    std::unique_ptr<BluetoothAdapter> adapter(BluetoothAdapter::defaultAdapter());
    QVERIFY(!adapter->isValid());
    QVERIFY(adapter->listDevices().isEmpty());
    QVERIFY2(timer.elapsed() < 2000, "a missing BlueZ is known at once");
}

QTEST_GUILESS_MAIN(tst_BluetoothAdapter)
#include "tst_bluetoothadapter.moc"
