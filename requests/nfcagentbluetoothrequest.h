#ifndef NFCAGENTBLUETOOTHREQUEST_H
#define NFCAGENTBLUETOOTHREQUEST_H

#include <QDBusObjectPath>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

class BluetoothAdapter;
class BluetoothConnectionManager;
class BluetoothDevice;
class BluetoothPairingProcess;
class ConnectivityDialogServerInterface;

namespace ConnUi {

class Dialog;

// One Bluetooth handover the NFC daemon asked for: pair with a device, connect it or disconnect it.
// Ends with accepted(), rejected() (the user declined the pairing) or failed(reason).
class NfcAgentBluetoothRequest : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString pinCode READ pinCode WRITE setPinCode)
    Q_PROPERTY(Type type READ type)
    Q_PROPERTY(QDBusObjectPath targetPath READ targetPath)

public:
    enum Type : qint32 {
        Pairing = 0,
        Connect = 1,
        Disconnect = 2
    };
    Q_ENUM(Type)

    NfcAgentBluetoothRequest(Type type, ConnectivityDialogServerInterface* server, const QDBusObjectPath& targetPath,
                             const QString& address, const QString& name, unsigned int classOfDevice);
    ~NfcAgentBluetoothRequest() override;

    void setPinCode(const QString& pinCode);
    QString pinCode() const;
    Type type() const;
    QDBusObjectPath targetPath() const;

    // Asks BlueZ to keep the default adapter powered; blocks on the system bus.
    bool ensureBluetoothIsPowered();

protected:
    // Outcome signals: emitted by the request only.
    Q_SIGNAL void dialogShown();
    Q_SIGNAL void accepted();
    Q_SIGNAL void rejected();
    Q_SIGNAL void failed(const QString& reason);

public Q_SLOTS:
    void start();
    void stop();

private Q_SLOTS:
    void startPoweringBluetoothAdapter();
    void startBtDeviceConnect(const BluetoothDevice& device);
    void bluetoothPropertyChanged(const QString& property);
    void bluetoothAdapterPowered();
    void pairBluetoothDevice();
    void connectBtDevice(const BluetoothDevice& device);
    void disconnectBtDevice(const BluetoothDevice& device);
    void dialogFinished();
    void pairingFinished();
    void connected();
    void connectionFailed(const QString& reason);
    void disconnected();
    void disconnectionFailed(const QString& reason);

private:
    Q_DISABLE_COPY(NfcAgentBluetoothRequest)
    // Connect and disconnect differ only in the operation, its ignore-address key and its signals.
    enum class Operation {
        Connect,
        Disconnect
    };
    void startConnectionOperation(Operation operation, const BluetoothDevice& target);

    std::unique_ptr<BluetoothAdapter> bluetoothAdapter;
    Type m_type;
    ConnectivityDialogServerInterface* server;
    QString address;
    QString name;
    unsigned int classOfDevice;
    std::unique_ptr<BluetoothDevice> device;
    std::unique_ptr<BluetoothDevice> pendingDevice;
    QString m_pinCode;
    QDBusObjectPath m_targetPath;
    std::unique_ptr<BluetoothConnectionManager> connectionManager;
    std::unique_ptr<BluetoothPairingProcess> pairingProcess;
    QPointer<Dialog> dialog;
};

} // namespace ConnUi

#endif
