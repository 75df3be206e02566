// Fake connection manager: connect and disconnect are recorded and finish when the test emits the
// manager's signals; connectability and audio state come from the registry.
#include "bluetoothconnectionmanager.h"
#include "fakebluetoothdevices.h"
#include "fakeplatform.h"

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
    return FakeBluetooth::currentProperties(device).value(QStringLiteral("Connectable")).toBool();
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
    return FakeBluetooth::currentProperties(d->device).value(QStringLiteral("AudioConnected")).toBool();
}
