// BluetoothConnectionManager: not written yet. Every connection fails as on a machine without Bluetooth.
#include "bluetoothconnectionmanager.h"
#include "bluetoothdevice.h"
#include "linuxlogging.h"
#include "placeholder.h"

class BluetoothConnectionManagerPrivate
{
};

BluetoothConnectionManager::BluetoothConnectionManager(const BluetoothDevice&, QObject* parent)
    : QObject(parent), d(new BluetoothConnectionManagerPrivate)
{
    nfcuiMissing(lcBluez(), "Bluetooth connections (BluetoothConnectionManager)");
}

BluetoothConnectionManager::~BluetoothConnectionManager()
{
    delete d;
}

bool BluetoothConnectionManager::isConnectable(const BluetoothDevice&) { return false; }
void BluetoothConnectionManager::connect()
{
    QMetaObject::invokeMethod(this, "connectionFailed", Qt::QueuedConnection,
                              Q_ARG(QString, QStringLiteral("org.bluez.Error.NotAvailable")));
}
void BluetoothConnectionManager::disconnect()
{
    QMetaObject::invokeMethod(this, "disconnectionFailed", Qt::QueuedConnection,
                              Q_ARG(QString, QStringLiteral("org.bluez.Error.NotAvailable")));
}
bool BluetoothConnectionManager::isAudioConnected() const { return false; }
