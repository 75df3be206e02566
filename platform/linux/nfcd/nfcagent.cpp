// NfcAgent: not written yet. Reports its absence once and never receives a call.
#include "nfcagent.h"
#include "linuxlogging.h"
#include "placeholder.h"

class NfcAgentPrivate
{
};

NfcAgent::NfcAgent(QObject* parent)
    : QObject(parent), d(new NfcAgentPrivate)
{
    ConnUi::registerNdefMessageHandlerTypes();
    nfcuiMissing(lcNfcd(), "The NFC UI agent (NfcAgent)");
}

NfcAgent::~NfcAgent()
{
    delete d;
}

QDBusObjectPath NfcAgent::objectPath() const
{
    return QDBusObjectPath(QStringLiteral("/com/orvan/nfc/ui_agent"));
}

void NfcAgent::dataDeliveryGranted(const QDBusObjectPath&) {}
void NfcAgent::rejectDevice(const QDBusObjectPath&) {}
void NfcAgent::acceptSharing(const QVariant&) {}
void NfcAgent::rejectSharing(const QVariant&) {}
void NfcAgent::btPairingRequestGranted(const QDBusObjectPath&) {}
void NfcAgent::btConnectionRequestGranted(const QDBusObjectPath&) {}
void NfcAgent::btDisconnectionRequestGranted(const QDBusObjectPath&) {}
void NfcAgent::replyError(const QDBusObjectPath&, const QString&) {}
