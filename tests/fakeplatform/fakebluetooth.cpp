// Fake Bluetooth: the adapter, its devices and their audio state come from the registry; pairing and
// connection operations are recorded and finish when the test emits their signals.
#include "bluetoothadapter.h"
#include "bluetoothconnectionmanager.h"
#include "bluetoothdevice.h"
#include "bluetoothpairingprocess.h"
#include "connectivitydialogserverinterface.h"
#include "fakeplatform.h"

namespace {
QList<QVariantMap> deviceMaps()
{
    QList<QVariantMap> maps;
    const QVariantList list = FakePlatform::get(QStringLiteral("BluetoothAdapter/devices")).toList();
    for (const QVariant& entry : list)
        maps.append(entry.toMap());
    return maps;
}

// The registry's current view of a device, falling back to the device's own properties.
QVariantMap currentProperties(const BluetoothDevice& device)
{
    for (const QVariantMap& map : deviceMaps()) {
        if (map.value(QStringLiteral("Address")).toString().compare(device.address(), Qt::CaseInsensitive) == 0)
            return map;
    }
    return device.properties();
}
} // namespace

class BluetoothAdapterPrivate
{
};

BluetoothAdapter* BluetoothAdapter::defaultAdapter()
{
    FakePlatform::record(QStringLiteral("BluetoothAdapter::defaultAdapter"));
    if (!FakePlatform::get(QStringLiteral("BluetoothAdapter/exists"), true).toBool())
        return nullptr;
    BluetoothAdapter* adapter = new BluetoothAdapter;
    FakePlatform::track(adapter);
    return adapter;
}

BluetoothAdapter::BluetoothAdapter(QObject* parent)
    : QObject(parent), d(new BluetoothAdapterPrivate)
{
}

BluetoothAdapter::~BluetoothAdapter()
{
    delete d;
}

bool BluetoothAdapter::isValid() const
{
    return FakePlatform::get(QStringLiteral("BluetoothAdapter/valid"), true).toBool();
}

bool BluetoothAdapter::isPowered() const
{
    return FakePlatform::get(QStringLiteral("BluetoothAdapter/powered"), true).toBool();
}

BluetoothDevice BluetoothAdapter::deviceForAddress(const QString& address) const
{
    FakePlatform::record(QStringLiteral("BluetoothAdapter::deviceForAddress"), {address});
    for (const QVariantMap& map : deviceMaps()) {
        if (map.value(QStringLiteral("Address")).toString().compare(address, Qt::CaseInsensitive) == 0)
            return BluetoothDevice(map);
    }
    return BluetoothDevice();
}

QList<BluetoothDevice> BluetoothAdapter::listDevices() const
{
    FakePlatform::record(QStringLiteral("BluetoothAdapter::listDevices"));
    QList<BluetoothDevice> devices;
    for (const QVariantMap& map : deviceMaps())
        devices.append(BluetoothDevice(map));
    return devices;
}

class BluetoothPairingProcessPrivate
{
};

BluetoothPairingProcess::BluetoothPairingProcess(QObject* parent)
    : QObject(parent), d(new BluetoothPairingProcessPrivate)
{
    FakePlatform::track(this);
}

BluetoothPairingProcess::~BluetoothPairingProcess()
{
    delete d;
}

void BluetoothPairingProcess::setErrorNotification(bool enabled)
{
    FakePlatform::record(QStringLiteral("BluetoothPairingProcess::setErrorNotification"), {enabled});
}

void BluetoothPairingProcess::setDialogServer(ConnectivityDialogServerInterface* server)
{
    FakePlatform::record(QStringLiteral("BluetoothPairingProcess::setDialogServer"),
                         {QVariant::fromValue<void*>(server)});
}

void BluetoothPairingProcess::setPinCode(const QString& pin)
{
    FakePlatform::record(QStringLiteral("BluetoothPairingProcess::setPinCode"), {pin});
}

void BluetoothPairingProcess::setIgnoreLegacyPairing(bool ignore)
{
    FakePlatform::record(QStringLiteral("BluetoothPairingProcess::setIgnoreLegacyPairing"), {ignore});
}

void BluetoothPairingProcess::setAutoTrusted(bool trusted)
{
    FakePlatform::record(QStringLiteral("BluetoothPairingProcess::setAutoTrusted"), {trusted});
}

void BluetoothPairingProcess::setAutoConnected(bool connected)
{
    FakePlatform::record(QStringLiteral("BluetoothPairingProcess::setAutoConnected"), {connected});
}

void BluetoothPairingProcess::start(const BluetoothDevice& device)
{
    FakePlatform::record(QStringLiteral("BluetoothPairingProcess::start"), {device.address()});
}

QString BluetoothPairingProcess::error() const
{
    return FakePlatform::get(QStringLiteral("BluetoothPairingProcess/error"), QString()).toString();
}

class BluetoothConnectionManagerPrivate
{
public:
    BluetoothDevice device;
};

BluetoothConnectionManager::BluetoothConnectionManager(const BluetoothDevice& device, QObject* parent)
    : QObject(parent), d(new BluetoothConnectionManagerPrivate{BluetoothDevice(device)})
{
    FakePlatform::track(this);
}

BluetoothConnectionManager::~BluetoothConnectionManager()
{
    delete d;
}

bool BluetoothConnectionManager::isConnectable(const BluetoothDevice& device)
{
    FakePlatform::record(QStringLiteral("BluetoothConnectionManager::isConnectable"), {device.address()});
    return currentProperties(device).value(QStringLiteral("Connectable")).toBool();
}

void BluetoothConnectionManager::connect()
{
    FakePlatform::record(QStringLiteral("BluetoothConnectionManager::connect"), {d->device.address()});
}

void BluetoothConnectionManager::disconnect()
{
    FakePlatform::record(QStringLiteral("BluetoothConnectionManager::disconnect"), {d->device.address()});
}

bool BluetoothConnectionManager::isAudioConnected() const
{
    return currentProperties(d->device).value(QStringLiteral("AudioConnected")).toBool();
}
