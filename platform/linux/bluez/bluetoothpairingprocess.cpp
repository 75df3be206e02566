// BluetoothPairingProcess: not written yet. Every pairing fails as on a machine without Bluetooth.
#include "bluetoothpairingprocess.h"
#include "bluetoothdevice.h"
#include "linuxlogging.h"
#include "placeholder.h"

class BluetoothPairingProcessPrivate
{
};

BluetoothPairingProcess::BluetoothPairingProcess(QObject* parent)
    : QObject(parent), d(new BluetoothPairingProcessPrivate)
{
    nfcuiMissing(lcBluez(), "Bluetooth pairing (BluetoothPairingProcess)");
}

BluetoothPairingProcess::~BluetoothPairingProcess()
{
    delete d;
}

void BluetoothPairingProcess::setErrorNotification(bool) {}
void BluetoothPairingProcess::setDialogServer(ConnectivityDialogServerInterface*) {}
void BluetoothPairingProcess::setPinCode(const QString&) {}
void BluetoothPairingProcess::setIgnoreLegacyPairing(bool) {}
void BluetoothPairingProcess::setAutoTrusted(bool) {}
void BluetoothPairingProcess::setAutoConnected(bool) {}
void BluetoothPairingProcess::start(const BluetoothDevice&)
{
    QMetaObject::invokeMethod(this, "finished", Qt::QueuedConnection);
}
QString BluetoothPairingProcess::error() const
{
    return QStringLiteral("org.bluez.Error.NotAvailable");
}
