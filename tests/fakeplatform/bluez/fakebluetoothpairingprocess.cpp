// Fake pairing: every setting and start is recorded; the pairing finishes when the test emits
// finished(), with the error the registry holds.
#include "bluetoothdevice.h"
#include "bluetoothpairingprocess.h"
#include "connectivitydialogserverinterface.h"
#include "fakeplatform.h"

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
