// BluetoothAdapter: not written yet. Reports its absence once; there is no default adapter.
#include "bluetoothadapter.h"
#include "linuxlogging.h"
#include "placeholder.h"

class BluetoothAdapterPrivate
{
};

BluetoothAdapter* BluetoothAdapter::defaultAdapter()
{
    nfcuiMissing(lcBluez(), "Bluetooth (BluetoothAdapter)");
    return nullptr;
}

BluetoothAdapter::BluetoothAdapter(QObject* parent)
    : QObject(parent), d(new BluetoothAdapterPrivate)
{
}

BluetoothAdapter::~BluetoothAdapter()
{
    delete d;
}

bool BluetoothAdapter::isValid() const { return false; }
bool BluetoothAdapter::isPowered() const { return false; }
BluetoothDevice BluetoothAdapter::deviceForAddress(const QString&) const { return BluetoothDevice(); }
QList<BluetoothDevice> BluetoothAdapter::listDevices() const { return {}; }
