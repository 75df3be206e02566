// Forwarding NDEF data to an application registered with the NFC daemon: HandleNdef on the application's
// bus name and path, without waiting for its answer.
#include "ndefmessagehandler.h"
#include "linuxlogging.h"
#include "nfcdnames.h"

#include "nfcdndefhandlerproxy.h"

#include <QDBusConnection>

void ConnUi::NdefMessageHandler::forwardData(const QDBusObjectPath& target, const QByteArray& data) const
{
    if (!Nfcd::isValidBusName(m_service)) {
        qCWarning(lcNfcd, "NdefMessageHandler: cannot forward data to \"%s\": bad bus name \"%s\"",
                  qPrintable(m_applicationId), qPrintable(m_service));
        return;
    }
    if (!Nfcd::isValidObjectPath(m_path.path())) {
        qCWarning(lcNfcd, "NdefMessageHandler: cannot forward data to \"%s\": bad object path \"%s\"",
                  qPrintable(m_applicationId), qPrintable(m_path.path()));
        return;
    }
    if (!Nfcd::isValidObjectPath(target.path())) {
        qCWarning(lcNfcd, "NdefMessageHandler: cannot forward data to \"%s\": bad target path \"%s\"",
                  qPrintable(m_applicationId), qPrintable(target.path()));
        return;
    }
    NfcdNdefHandlerProxy handler(m_service, m_path.path(), QDBusConnection::systemBus());
    handler.HandleNdef(target, data);
    qCDebug(lcNfcd, "NdefMessageHandler: forwarded %d bytes to \"%s\" at %s %s", int(data.size()),
            qPrintable(m_applicationId), qPrintable(m_service), qPrintable(m_path.path()));
}
