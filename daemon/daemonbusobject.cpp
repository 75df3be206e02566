#include "daemonbusobject.h"
#include "nfcdaemon.h"

#include <QDBusError>

DaemonBusObject::DaemonBusObject(NfcDaemon* daemon, const QString& path)
    : QObject(daemon), m_daemon(daemon), m_path(path)
{
}

bool DaemonBusObject::exportOn(QDBusConnection bus)
{
    return bus.registerObject(m_path, this);
}

void DaemonBusObject::answer(const QDBusError& error)
{
    if (error.isValid())
        sendErrorReply(error.name(), error.message());
}
