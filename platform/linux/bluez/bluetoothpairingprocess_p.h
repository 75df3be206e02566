#ifndef BLUETOOTHPAIRINGPROCESS_P_H
#define BLUETOOTHPAIRINGPROCESS_P_H

#include <QDBusConnection>
#include <QString>
#include <QTimer>

#include <memory>

class BluetoothConnectionManager;
class BluetoothPairingProcess;
class BluezPairingAgent;
class ConnectivityDialogServerInterface;
class QDBusError;

class BluetoothPairingProcessPrivate
{
public:
    explicit BluetoothPairingProcessPrivate(BluetoothPairingProcess* q);
    ~BluetoothPairingProcessPrivate();

    // How long a pairing may take before it is cancelled (60 s unless a test changes it).
    static int timeoutMs();
    static void setTimeoutMs(int ms);
    static QString capability() { return QStringLiteral("DisplayYesNo"); }

    void createPairedDevice(const QString& adapter);
    void paired(const QString& devicePath);
    void trusted();
    void timedOut();
    // Asks BlueZ to stop the pairing under way, from the pairing's connection, without waiting.
    void cancelInBluez();
    // Ends the pairing with error (empty on success): the agent and its connection go, a failure is
    // shown when asked for, and finished() is emitted as the last thing.
    void finish(const QString& error);
    void closeConnection();

    BluetoothPairingProcess* const q;
    bool errorNotification = false;
    ConnectivityDialogServerInterface* server = nullptr;
    QString pinCode;
    bool ignoreLegacyPairing = false;
    bool autoTrusted = false;
    bool autoConnected = false;

    QString address;
    QString adapterPath;
    QString deviceName;
    QString error;
    bool running = false;
    // The device is paired; what is left (trust, connection) cannot make the pairing fail any more.
    bool isPaired = false;
    QString connectionName;
    std::unique_ptr<BluezPairingAgent> agent;
    std::unique_ptr<BluetoothConnectionManager> connectionManager;
    QTimer timeout;
};

#endif
