#ifndef BLUETOOTHADAPTER_H
#define BLUETOOTHADAPTER_H

#include <QList>
#include <QObject>
#include <QString>

#include "bluetoothdevice.h"

class BluetoothAdapterPrivate;

// The default Bluetooth adapter. defaultAdapter() makes a new object that the caller deletes.
class BluetoothAdapter : public QObject
{
    Q_OBJECT
public:
    static BluetoothAdapter* defaultAdapter();
    ~BluetoothAdapter() override;

    bool isValid() const;
    bool isPowered() const;
    // The device of that address, or an invalid device when the adapter does not know it.
    BluetoothDevice deviceForAddress(const QString& address) const;
    // The devices the adapter knows, in the adapter's order.
    QList<BluetoothDevice> listDevices() const;

Q_SIGNALS:
    // A property of the adapter changed; the power property is named "powered".
    void propertyChanged(const QString& property);

private:
    explicit BluetoothAdapter(QObject* parent = nullptr);
    Q_DISABLE_COPY(BluetoothAdapter)
    BluetoothAdapterPrivate* const d;
    friend class BluetoothAdapterPrivate;
};

#endif
