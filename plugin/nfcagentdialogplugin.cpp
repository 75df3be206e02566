#include "nfcagentdialogplugin.h"
#include "nfcagentdialogplugin_p.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QLoggingCategory>
#include <QMutex>

#include "connectivitydialogserverinterface.h"
#include "connectivityuiutils.h"
#include "feedbackeffect.h"
#include "nfcadapter.h"
#include "nfcagent.h"
#include "nfcagentbluetoothrequest.h"
#include "nfcagentsharingrequest.h"
#include "nfcagenttagreadrequest.h"
#include "ndefrecordhandler.h"
#include "nfcoverlay.h"
#include "nfctagnotsupporteddialog.h"

// The dialog server loads plugins through these two entry points, as Qt 4 plugin loaders did.
extern "C" Q_DECL_EXPORT const char* qt_plugin_query_verification_data()
{
    return "pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.7.4\ndebug=false\nbuildkey=armv6 linux g++-4 full-config";
}

extern "C" Q_DECL_EXPORT QObject* qt_plugin_instance()
{
    // Constructed on first use (thread-safe local static), destroyed when the library is unloaded.
    static QPointer<QObject> instance;
    static QMutex mutex;
    QMutexLocker locker(&mutex);
    if (!instance)
        instance = new ConnUi::NfcAgentDialogPlugin;
    return instance;
}

namespace ConnUi {

// ---------------------------------------------------------------------------------------------------
// The plugin shell

NfcAgentDialogPlugin::NfcAgentDialogPlugin()
    : d_ptr(nullptr)
{
}

// The private half lives until destroy(); deleting the plugin without it leaves the half alive.
NfcAgentDialogPlugin::~NfcAgentDialogPlugin() = default;

void NfcAgentDialogPlugin::initialize(ConnectivityDialogServerInterface* server)
{
    d_ptr = new NfcAgentDialogPluginPrivate(server, this);
    if (d_ptr->adapter) {
        connect(d_ptr->adapter, SIGNAL(adapterValid()), d_ptr, SLOT(updateAgent()));
        connect(d_ptr->adapter, SIGNAL(adapterInvalid()), d_ptr, SLOT(updateAgent()));
    }
    d_ptr->updateAgent();
}

void NfcAgentDialogPlugin::destroy()
{
    if (d_ptr && d_ptr->adapter) {
        if (d_ptr->agent)
            d_ptr->adapter->unregisterAgent(d_ptr->agent);
        delete d_ptr->adapter;
        d_ptr->adapter = nullptr;
    }
    delete d_ptr;
    d_ptr = nullptr;
    // The record data files of the requests just deleted do not wait for an event loop that may
    // not run again.
    NdefRecordHandler::removePendingDataFiles();
}

bool NfcAgentDialogPlugin::isInitialized() const
{
    return d_ptr != nullptr;
}

QString NfcAgentDialogPlugin::service() const
{
    return QStringLiteral("");
}

QString NfcAgentDialogPlugin::path() const
{
    return QStringLiteral("");
}

QString NfcAgentDialogPlugin::interface() const
{
    return QStringLiteral("");
}

bool NfcAgentDialogPlugin::handlesMethod(const QString& method) const
{
    Q_UNUSED(method)
    return false;
}

bool NfcAgentDialogPlugin::requestDialog(QObject* caller, ConnectivityDialogRequest* request)
{
    Q_UNUSED(caller)
    Q_UNUSED(request)
    return false;
}

void NfcAgentDialogPlugin::release()
{
}

void NfcAgentDialogPlugin::cancel()
{
}

// ---------------------------------------------------------------------------------------------------
// Touch and tag delivery calls

void NfcAgentDialogPlugin::notifyTouch(const QDBusObjectPath& target, int touchStatus)
{
    Q_UNUSED(target)
    NfcAgentDialogPluginPrivate* d = d_ptr;
    if (!d)
        return; // a late call after destroy()

    FeedbackEffect::play(QStringLiteral("priority1_nfc_touch"));
    if (!d->overlay)
        d->overlay = new NfcOverlay;
    d->overlay->showIndication();

    // Status 1: the touched tag cannot be handled. Every other status only gives the feedback.
    if (touchStatus != 1)
        return;
    if (d->errorDialog)
        return;

    if (d->tagReadRequest)
        d->dropRequest(d->tagReadRequest);

    d->errorDialog = new NfcTagNotSupportedDialog(NfcTagNotSupportedDialog::EmptyTag);
    connect(d->errorDialog, SIGNAL(finished(int)), d, SLOT(errorDialogFinished()));
    d->server->showDialog(d->errorDialog);
}

void NfcAgentDialogPlugin::dataDeliveryRequested(const NdefMessageHandlerList& handlers,
                                                 const QDBusObjectPath& target, const QByteArray& data)
{
    NfcAgentDialogPluginPrivate* d = d_ptr;
    if (!d)
        return; // a late call after destroy()

    // The hex dump of a whole message is only made when someone reads it.
    if (QLoggingCategory::defaultCategory()->isDebugEnabled())
        qDebug("NDEF data received: %s", data.toHex().constData());
    d->touchTimer.start();
    d->closeTagReadRequest();

    NfcAgentTagReadRequest* request = new NfcAgentTagReadRequest(d->server, target, data);
    d->tagReadRequest = request;
    if (!handlers.isEmpty())
        request->setMessageHandlers(handlers);

    connect(request, SIGNAL(accepted()), d, SLOT(tagReadAccepted()));
    connect(request, SIGNAL(rejected()), d, SLOT(tagReadRejected()));
    connect(request, SIGNAL(dialogShown()), d, SLOT(tagReadDialogShown()));
    connect(request, SIGNAL(dialogShown()), d, SLOT(unlockScreen()));

    request->start();
    d->requests.add(request);

    // Reading the clock is left to runs with debug output on, like every argument of a debug line.
    if (QLoggingCategory::defaultCategory()->isDebugEnabled())
        qDebug("Tag reading request started %dms after touch", d->elapsedSinceTouch());
}

// ---------------------------------------------------------------------------------------------------
// Sharing calls

void NfcAgentDialogPlugin::sharingPermissionRequested(const QString& carrier, const QVariant& info,
                                                      const QStringList& resources)
{
    NfcAgentDialogPluginPrivate* d = d_ptr;
    if (!d)
        return; // a late call after destroy()
    d->closeTagReadRequest();
    d->startSharingRequest(NfcAgentSharingRequest::SharingPermission, carrier, info, resources);
}

void NfcAgentDialogPlugin::sharingSelectionRequested(const QString& carrier, const QVariant& info)
{
    NfcAgentDialogPluginPrivate* d = d_ptr;
    if (!d)
        return; // a late call after destroy()
    d->closeTagReadRequest();
    d->startSharingRequest(NfcAgentSharingRequest::SharingSelection, carrier, info, QStringList());
}

// ---------------------------------------------------------------------------------------------------
// Bluetooth calls

void NfcAgentDialogPlugin::btPairingRequested(const QDBusObjectPath& target, const QString& addr,
                                              const QString& name, uint cod, const QString& pin)
{
    NfcAgentDialogPluginPrivate* d = d_ptr;
    if (!d)
        return; // a late call after destroy()

    // A new pairing displaces the previous one, which then gets no reply and no broadcast.
    if (d->pairingRequest) {
        d->pairingRequest->stop();
        d->pairingRequest->deleteLater();
    }

    d->signalNfcPairingStarted();

    NfcAgentBluetoothRequest* request =
        d->newBluetoothRequest(NfcAgentBluetoothRequest::Pairing, target, addr, name, cod);
    d->pairingRequest = request;
    request->setPinCode(pin);
    connect(request, SIGNAL(dialogShown()), d, SLOT(unlockScreen()));
    d->startBluetoothRequest(request);
}

void NfcAgentDialogPlugin::btConnectionRequested(const QDBusObjectPath& target, const QString& addr,
                                                 const QString& name, uint cod)
{
    NfcAgentDialogPluginPrivate* d = d_ptr;
    if (!d)
        return; // a late call after destroy()
    d->startBluetoothRequest(d->newBluetoothRequest(NfcAgentBluetoothRequest::Connect, target, addr, name, cod));
}

void NfcAgentDialogPlugin::btDisconnectionRequested(const QDBusObjectPath& target, const QString& addr,
                                                    const QString& name, uint cod)
{
    NfcAgentDialogPluginPrivate* d = d_ptr;
    if (!d)
        return; // a late call after destroy()
    d->startBluetoothRequest(d->newBluetoothRequest(NfcAgentBluetoothRequest::Disconnect, target, addr, name, cod));
}

// ---------------------------------------------------------------------------------------------------
// The private half

NfcAgentDialogPluginPrivate::NfcAgentDialogPluginPrivate(ConnectivityDialogServerInterface* server,
                                                         NfcAgentDialogPlugin* q)
    : q(q), server(server), adapter(NfcAdapter::defaultAdapter()), agent(nullptr), overlay(nullptr),
      errorDialog(nullptr)
{
}

// Live requests go with the cleanup handler, without replies. The adapter and the agent are left alone:
// destroy() deletes the adapter, and the agent is never deleted here.
NfcAgentDialogPluginPrivate::~NfcAgentDialogPluginPrivate()
{
    delete overlay;
    // A tag read request that still shows a dialog rejects as it goes; with the agent forgotten here
    // (not deleted) that rejection reaches nobody.
    agent = nullptr;
    requests.clear();
}

NfcAgentDialogPluginPrivate* NfcAgentDialogPluginPrivate::get(NfcAgentDialogPlugin* plugin)
{
    return plugin->d_ptr;
}

void NfcAgentDialogPluginPrivate::resetRequest()
{
}

void NfcAgentDialogPluginPrivate::startSharingRequest(NfcAgentSharingRequest::Type type, const QString& carrier,
                                                      const QVariant& info, const QStringList& resources)
{
    NfcAgentSharingRequest* request = new NfcAgentSharingRequest(type, server, carrier, info, resources);
    connect(request, SIGNAL(accepted()), this, SLOT(sharingAccepted()));
    connect(request, SIGNAL(rejected()), this, SLOT(sharingRejected()));
    request->start();
    requests.add(request);
}

NfcAgentBluetoothRequest* NfcAgentDialogPluginPrivate::newBluetoothRequest(NfcAgentBluetoothRequest::Type type,
                                                                           const QDBusObjectPath& target,
                                                                           const QString& addr, const QString& name,
                                                                           uint cod)
{
    NfcAgentBluetoothRequest* request = new NfcAgentBluetoothRequest(type, server, target, addr, name, cod);
    connect(request, SIGNAL(accepted()), this, SLOT(bluetoothRequestAccepted()));
    connect(request, SIGNAL(rejected()), this, SLOT(bluetoothRequestRejected()));
    connect(request, SIGNAL(failed(QString)), this, SLOT(bluetoothRequestFailed(QString)));
    return request;
}

void NfcAgentDialogPluginPrivate::startBluetoothRequest(NfcAgentBluetoothRequest* request)
{
    request->start();
    requests.add(request);
}

// Milliseconds since the last NDEF data arrived; 0 before any data arrived (a null timer).
int NfcAgentDialogPluginPrivate::elapsedSinceTouch() const
{
    return touchTimer.isValid() ? int(touchTimer.elapsed()) : 0;
}

// Stops a tag read request that a newer call displaces. Its signals are cut off first: the rejection it
// emits when stop() closes its dialog must not reach the daemon, since a displaced request gets no reply.
void NfcAgentDialogPluginPrivate::dropRequest(NfcAgentTagReadRequest* request)
{
    cutOffFromPlugin(request);
    request->stop();
    request->deleteLater();
}

// After its reply a tag read request is deleted later; the rejection its destructor emits when it
// closes the dialog it still holds must not give a second reply, so none of its signals reach the plugin.
void NfcAgentDialogPluginPrivate::cutOffFromPlugin(NfcAgentTagReadRequest* request)
{
    QObject::disconnect(request, nullptr, this, nullptr);
}

void NfcAgentDialogPluginPrivate::updateAgent()
{
    if (agent) {
        delete agent;
        agent = nullptr;
        if (!requests.isEmpty()) {
            qWarning("NfcAgentDialogPlugin: UI agent deleted when there was ongoing requests!");
            requests.clear();
        }
    }

    if (!adapter || !adapter->isValid())
        return;

    agent = new NfcAgent;
    connect(agent, SIGNAL(release()), q, SLOT(release()));
    connect(agent, SIGNAL(btPairingRequested( QDBusObjectPath, QString, QString, uint, QString)),
            q, SLOT(btPairingRequested( QDBusObjectPath, QString, QString, uint, QString)));
    connect(agent, SIGNAL(btConnectionRequested( QDBusObjectPath, QString, QString, uint)),
            q, SLOT(btConnectionRequested( QDBusObjectPath, QString, QString, uint)));
    connect(agent, SIGNAL(btDisconnectionRequested( QDBusObjectPath, QString, QString, uint)),
            q, SLOT(btDisconnectionRequested( QDBusObjectPath, QString, QString, uint)));
    connect(agent, SIGNAL(sharingPermissionRequested(QString,QVariant,QStringList)),
            q, SLOT(sharingPermissionRequested(QString,QVariant,QStringList)));
    connect(agent, SIGNAL(sharingSelectionRequested(QString, QVariant)),
            q, SLOT(sharingSelectionRequested(QString, QVariant)));
    connect(agent, SIGNAL(notifyTouch(QDBusObjectPath, int)), q, SLOT(notifyTouch(QDBusObjectPath, int)));
    connect(agent, SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)),
            q, SLOT(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
    adapter->registerAgent(agent);
}

void NfcAgentDialogPluginPrivate::closeTagReadRequest()
{
    if (tagReadRequest)
        dropRequest(tagReadRequest);
    if (errorDialog) {
        server->closeDialog(errorDialog);
        errorDialog = nullptr;
    }
}

void NfcAgentDialogPluginPrivate::errorDialogFinished()
{
    if (errorDialog) {
        server->closeDialog(errorDialog);
        errorDialog = nullptr;
    }
}

void NfcAgentDialogPluginPrivate::unlockScreen()
{
    ConnectivityUIUtils::unlockScreen();
}

void NfcAgentDialogPluginPrivate::tagReadDialogShown()
{
    if (QLoggingCategory::defaultCategory()->isDebugEnabled())
        qDebug("NFC tag reading took %dms", elapsedSinceTouch());
}

// Reply slots. Each finds its request as the sender; without one it only warns. The reply needs the
// agent; the request is deleted later in any case, since it may still be inside its own signal.

template<typename Request>
Request* NfcAgentDialogPluginPrivate::senderRequest(const char* slot) const
{
    Request* request = qobject_cast<Request*>(sender());
    if (!request)
        qWarning("NfcAgentDialogPluginPrivate::%s() called without request!", slot);
    return request;
}

void NfcAgentDialogPluginPrivate::tagReadAccepted()
{
    NfcAgentTagReadRequest* request = senderRequest<NfcAgentTagReadRequest>("tagReadAccepted");
    if (!request)
        return;
    if (agent)
        agent->dataDeliveryGranted(request->targetPath());
    cutOffFromPlugin(request);
    request->deleteLater();
    resetRequest();
}

void NfcAgentDialogPluginPrivate::tagReadRejected()
{
    NfcAgentTagReadRequest* request = senderRequest<NfcAgentTagReadRequest>("tagReadRejected");
    if (!request)
        return;
    if (agent)
        agent->rejectDevice(request->targetPath());
    cutOffFromPlugin(request);
    request->deleteLater();
    resetRequest();
}

void NfcAgentDialogPluginPrivate::sharingAccepted()
{
    NfcAgentSharingRequest* request = senderRequest<NfcAgentSharingRequest>("sharingAccepted");
    if (!request)
        return;
    if (agent)
        agent->acceptSharing(request->sharingInfo());
    request->deleteLater();
    resetRequest();
}

void NfcAgentDialogPluginPrivate::sharingRejected()
{
    NfcAgentSharingRequest* request = senderRequest<NfcAgentSharingRequest>("sharingRejected");
    if (!request)
        return;
    if (agent)
        agent->rejectSharing(request->sharingInfo());
    request->deleteLater();
    resetRequest();
}

void NfcAgentDialogPluginPrivate::bluetoothRequestAccepted()
{
    NfcAgentBluetoothRequest* request = senderRequest<NfcAgentBluetoothRequest>("bluetoothRequestAccepted");
    if (!request)
        return;
    const QDBusObjectPath target = request->targetPath();
    switch (request->type()) {
    case NfcAgentBluetoothRequest::Pairing:
        if (agent)
            agent->btPairingRequestGranted(target);
        signalNfcPairingFinished();
        break;
    case NfcAgentBluetoothRequest::Connect:
        if (agent)
            agent->btConnectionRequestGranted(target);
        break;
    case NfcAgentBluetoothRequest::Disconnect:
        if (agent)
            agent->btDisconnectionRequestGranted(target);
        break;
    default:
        qWarning("Unknown NfcAgentBluetoothRequest type: %d", int(request->type()));
        break;
    }
    resetRequest();
    request->deleteLater();
}

void NfcAgentDialogPluginPrivate::bluetoothRequestRejected()
{
    NfcAgentBluetoothRequest* request = senderRequest<NfcAgentBluetoothRequest>("bluetoothRequestRejected");
    if (!request)
        return;
    if (request == pairingRequest)
        signalNfcPairingFinished();
    if (agent)
        agent->rejectDevice(request->targetPath());
    resetRequest();
    request->deleteLater();
}

void NfcAgentDialogPluginPrivate::bluetoothRequestFailed(const QString& reason)
{
    // The text names the accept slot; it has always read so and log watchers match it.
    NfcAgentBluetoothRequest* request = senderRequest<NfcAgentBluetoothRequest>("bluetoothRequestAccepted");
    if (!request)
        return;
    if (request == pairingRequest)
        signalNfcPairingFinished();
    if (agent)
        agent->replyError(request->targetPath(), reason);
    resetRequest();
    request->deleteLater();
}

// The rest of the phone learns on the system bus when an NFC pairing starts and ends, so that it can
// keep its own Bluetooth dialogs out of the way. The outcome of the send is not checked.
void NfcAgentDialogPluginPrivate::signalNfcPairingStarted()
{
    broadcastNfcPairing(QStringLiteral("NfcPairingStarts"));
}

void NfcAgentDialogPluginPrivate::signalNfcPairingFinished()
{
    broadcastNfcPairing(QStringLiteral("NfcPairingFinished"));
}

void NfcAgentDialogPluginPrivate::broadcastNfcPairing(const QString& member)
{
    QDBusMessage message =
        QDBusMessage::createSignal(QStringLiteral("/com/orvan/nfc_ui"), QStringLiteral("com.orvan.nfc_ui"), member);
    QDBusConnection::systemBus().send(message);
}

} // namespace ConnUi
