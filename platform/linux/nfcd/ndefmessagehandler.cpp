// Forwarding NDEF data to registered applications: not written yet.
#include "ndefmessagehandler.h"
#include "linuxlogging.h"
#include "placeholder.h"

void ConnUi::NdefMessageHandler::forwardData(const QDBusObjectPath&, const QByteArray&) const
{
    nfcuiMissing(lcNfcd(), "Forwarding NDEF data to applications (NdefMessageHandler)");
}
