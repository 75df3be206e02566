#ifndef BLUETOOTHPAIRINGPROCESS_H
#define BLUETOOTHPAIRINGPROCESS_H

#include <QObject>
#include <QString>

class BluetoothDevice;
class BluetoothPairingProcessPrivate;
class ConnectivityDialogServerInterface;

// Pairs with one device. Emits finished() once; error() is then empty on success.
class BluetoothPairingProcess : public QObject
{
    Q_OBJECT
public:
    explicit BluetoothPairingProcess(QObject* parent = nullptr);
    ~BluetoothPairingProcess() override;

    // The process reports its own errors to the user.
    void setErrorNotification(bool enabled);
    // The process may show its own dialogs through this server.
    void setDialogServer(ConnectivityDialogServerInterface* server);
    void setPinCode(const QString& pin);
    // Do not fall back to legacy PIN pairing.
    void setIgnoreLegacyPairing(bool ignore);
    void setAutoTrusted(bool trusted);
    void setAutoConnected(bool connected);

    void start(const BluetoothDevice& device);
    QString error() const;

Q_SIGNALS:
    void finished();

private:
    Q_DISABLE_COPY(BluetoothPairingProcess)
    BluetoothPairingProcessPrivate* const d;
    friend class BluetoothPairingProcessPrivate;
};

#endif
