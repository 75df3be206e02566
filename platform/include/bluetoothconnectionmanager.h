#ifndef BLUETOOTHCONNECTIONMANAGER_H
#define BLUETOOTHCONNECTIONMANAGER_H

#include <QObject>
#include <QString>

class BluetoothDevice;
class BluetoothConnectionManagerPrivate;

// Connects and disconnects the profiles of one device.
class BluetoothConnectionManager : public QObject
{
    Q_OBJECT
public:
    explicit BluetoothConnectionManager(const BluetoothDevice& device, QObject* parent = nullptr);
    ~BluetoothConnectionManager() override;

    // Whether the device offers a profile this manager can connect.
    static bool isConnectable(const BluetoothDevice& device);

    void connect();
    void disconnect();
    bool isAudioConnected() const;

// Each signal is the last thing the manager does for its operation: it touches nothing of itself after
// emitting, so a receiver may delete the manager inside the signal.
Q_SIGNALS:
    void connected();
    void connectionFailed(const QString& reason);
    void disconnected();
    void disconnectionFailed(const QString& reason);

private:
    Q_DISABLE_COPY(BluetoothConnectionManager)
    BluetoothConnectionManagerPrivate* const d;
    friend class BluetoothConnectionManagerPrivate;
};

#endif
