#ifndef NFCAGENTDIALOGPLUGIN_P_H
#define NFCAGENTDIALOGPLUGIN_P_H

#include <QObject>
#include <QObjectCleanupHandler>
#include <QPointer>
#include <QString>
#include <QElapsedTimer>

#include "nfcagentbluetoothrequest.h"
#include "nfcagentsharingrequest.h"

class ConnectivityDialogServerInterface;
class NfcAdapter;
class NfcAgent;
class NfcOverlay;

namespace ConnUi {

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

    // The private half of a plugin, null before initialize() and after destroy().
    static NfcAgentDialogPluginPrivate* get(NfcAgentDialogPlugin* plugin);

    // Called by every reply slot after it has replied. Deliberately empty.
    void resetRequest();
    int elapsedSinceTouch() const;

    // Broadcasts on the system bus around an NFC pairing.
    void signalNfcPairingStarted();
    void signalNfcPairingFinished();

    void dropRequest(NfcAgentTagReadRequest* request);
    void cutOffFromPlugin(NfcAgentTagReadRequest* request);

    // Starts a request for a call of the NFC daemon, with its outcome signals going to the reply slots,
    // and keeps it among the live requests.
    void startSharingRequest(NfcAgentSharingRequest::Type type, const QString& carrier, const QVariant& info,
                             const QStringList& resources);
    // Bluetooth requests are made in two steps so that pairing can add to the request before it starts.
    NfcAgentBluetoothRequest* newBluetoothRequest(NfcAgentBluetoothRequest::Type type, const QDBusObjectPath& target,
                                                  const QString& addr, const QString& name, uint cod);
    void startBluetoothRequest(NfcAgentBluetoothRequest* request);

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

private:
    // The request that sent the signal being handled, or a warning naming the slot and null.
    template<typename Request>
    Request* senderRequest(const char* slot) const;
    void broadcastNfcPairing(const QString& member);

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
