// Fake Bluetooth adapter: validity, power and the devices come from the registry.
#include "bluetoothadapter.h"
#include "fakebluetoothdevices.h"
#include "fakeplatform.h"

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
    for (const QVariantMap& map : FakeBluetooth::deviceMaps()) {
        if (map.value(QStringLiteral("Address")).toString().compare(address, Qt::CaseInsensitive) == 0)
            return BluetoothDevice(map);
    }
    return BluetoothDevice();
}

QList<BluetoothDevice> BluetoothAdapter::listDevices() const
{
    FakePlatform::record(QStringLiteral("BluetoothAdapter::listDevices"));
    QList<BluetoothDevice> devices;
    for (const QVariantMap& map : FakeBluetooth::deviceMaps())
        devices.append(BluetoothDevice(map));
    return devices;
}
