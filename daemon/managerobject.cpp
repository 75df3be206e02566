#include "managerobject.h"
#include "nfcdaemon.h"
#include "nfcdnames.h"

#include "manageradaptor.h"

ManagerObject::ManagerObject(NfcDaemon* daemon)
    : DaemonBusObject(daemon, QLatin1String(Nfcd::ManagerPath))
{
    new ManagerAdaptor(this);
}

QDBusObjectPath ManagerObject::DefaultAdapter()
{
    return m_daemon->adapterPath();
}

void ManagerObject::RegisterNdefHandler(const QString& applicationId, const QDBusObjectPath& path)
{
    answer(m_daemon->registerNdefHandler(message().service(), applicationId, path));
}

void ManagerObject::UnregisterNdefHandler(const QDBusObjectPath& path)
{
    answer(m_daemon->unregisterNdefHandler(message().service(), path));
}

void ManagerObject::SetForeground(const QDBusObjectPath& path, bool foreground)
{
    answer(m_daemon->setForeground(message().service(), path, foreground));
}
