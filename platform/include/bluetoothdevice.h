#ifndef BLUETOOTHDEVICE_H
#define BLUETOOTHDEVICE_H

#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>

class BluetoothDevicePrivate;

// A remote Bluetooth device, as a snapshot of its properties ("Address", "Name", "Class", "Paired",
// "Connected", ...). Copies share nothing with the original; a default device is invalid.
class BluetoothDevice : public QObject
{
    Q_OBJECT
public:
    explicit BluetoothDevice(QObject* parent = nullptr);
    BluetoothDevice(const QMap<QString, QVariant>& properties, QObject* parent = nullptr);
    BluetoothDevice(const BluetoothDevice& other);
    BluetoothDevice& operator=(const BluetoothDevice& other);
    ~BluetoothDevice() override;

    // True when the device has an address.
    bool isValid() const;
    QString address() const;
    QString name() const;
    uint classOfDevice() const;
    bool isPaired() const;
    // Object path of the device on the Bluetooth daemon, when it is known there.
    QString path() const;
    QMap<QString, QVariant> properties() const;

private:
    BluetoothDevicePrivate* d;
};

#endif
