#include "bluetoothdevice.h"

class BluetoothDevicePrivate
{
public:
    QMap<QString, QVariant> properties;
};

BluetoothDevice::BluetoothDevice(QObject* parent)
    : QObject(parent), d(new BluetoothDevicePrivate)
{
}

BluetoothDevice::BluetoothDevice(const QMap<QString, QVariant>& properties, QObject* parent)
    : QObject(parent), d(new BluetoothDevicePrivate{properties})
{
}

BluetoothDevice::BluetoothDevice(const BluetoothDevice& other)
    : QObject(nullptr), d(new BluetoothDevicePrivate(*other.d))
{
}

BluetoothDevice& BluetoothDevice::operator=(const BluetoothDevice& other)
{
    if (this != &other)
        *d = *other.d;
    return *this;
}

BluetoothDevice::~BluetoothDevice()
{
    delete d;
}

bool BluetoothDevice::isValid() const
{
    return !address().isEmpty();
}

QString BluetoothDevice::address() const
{
    return d->properties.value(QStringLiteral("Address")).toString();
}

QString BluetoothDevice::name() const
{
    const QString alias = d->properties.value(QStringLiteral("Alias")).toString();
    return alias.isEmpty() ? d->properties.value(QStringLiteral("Name")).toString() : alias;
}

uint BluetoothDevice::classOfDevice() const
{
    return d->properties.value(QStringLiteral("Class")).toUInt();
}

bool BluetoothDevice::isPaired() const
{
    return d->properties.value(QStringLiteral("Paired")).toBool();
}

QString BluetoothDevice::path() const
{
    return d->properties.value(QStringLiteral("Path")).toString();
}

QMap<QString, QVariant> BluetoothDevice::properties() const
{
    return d->properties;
}
