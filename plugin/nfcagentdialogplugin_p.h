#ifndef NFCAGENTDIALOGPLUGIN_P_H
#define NFCAGENTDIALOGPLUGIN_P_H

#include <QObject>
#include <QObjectCleanupHandler>
#include <QPointer>
#include <QString>
#include <QElapsedTimer>

class ConnectivityDialogServerInterface;
class NfcAdapter;
class NfcAgent;
class NfcOverlay;

namespace ConnUi {

class NfcAgentBluetoothRequest;
class NfcAgentDialogPlugin;
class NfcAgentTagReadRequest;
class NfcTagNotSupportedDialog;

// The working half of the plugin: the agent and its registration, the live requests and the replies
// to the NFC daemon.
class NfcAgentDialogPluginPrivate : public QObject
{
    Q_OBJECT
public:
    NfcAgentDialogPluginPrivate(ConnectivityDialogServerInterface* server, NfcAgentDialogPlugin* q);
    ~NfcAgentDialogPluginPrivate() override;

    // Called by every reply slot after it has replied. Deliberately empty.
    void resetRequest();
    int elapsedSinceTouch() const;

    // Broadcasts on the system bus around an NFC pairing.
    void signalNfcPairingStarted();
    void signalNfcPairingFinished();

    void dropRequest(NfcAgentTagReadRequest* request);
    void finishRequest(NfcAgentTagReadRequest* request);

public Q_SLOTS:
    void sharingAccepted();
    void sharingRejected();
    void bluetoothRequestAccepted();
    void bluetoothRequestRejected();
    void bluetoothRequestFailed(const QString& reason);
    void updateAgent();
    void tagReadDialogShown();
    void tagReadAccepted();
    void tagReadRejected();
    void errorDialogFinished();
    void closeTagReadRequest();
    void unlockScreen();

public:
    NfcAgentDialogPlugin* q;
    ConnectivityDialogServerInterface* server;
    NfcAdapter* adapter;
    NfcAgent* agent;
    NfcOverlay* overlay;
    QPointer<NfcAgentBluetoothRequest> pairingRequest;
    QPointer<NfcAgentTagReadRequest> tagReadRequest;
    QObjectCleanupHandler requests;
    NfcTagNotSupportedDialog* errorDialog;
    QElapsedTimer touchTimer;
};

} // namespace ConnUi

#endif
