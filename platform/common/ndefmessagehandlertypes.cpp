#include "ndefmessagehandler.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace ConnUi {

NdefMessageHandler::NdefMessageHandler(const QString& applicationId, const QString& service,
                                       const QDBusObjectPath& path, bool runningOnForeground)
    : m_applicationId(applicationId), m_service(service), m_path(path), m_runningOnForeground(runningOnForeground)
{
}

bool NdefMessageHandler::operator==(const NdefMessageHandler& other) const
{
    return m_applicationId == other.m_applicationId && m_service == other.m_service
        && m_path == other.m_path && m_runningOnForeground == other.m_runningOnForeground;
}

// On the bus a handler is the structure (ssob).
QDBusArgument& operator<<(QDBusArgument& argument, const NdefMessageHandler& handler)
{
    argument.beginStructure();
    argument << handler.applicationId() << handler.service() << handler.path()
             << handler.isRunningOnForeground();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NdefMessageHandler& handler)
{
    QString applicationId;
    QString service;
    QDBusObjectPath path;
    bool foreground = false;
    argument.beginStructure();
    argument >> applicationId >> service >> path >> foreground;
    argument.endStructure();
    handler = NdefMessageHandler(applicationId, service, path, foreground);
    return argument;
}

void registerNdefMessageHandlerTypes()
{
    qRegisterMetaType<NdefMessageHandler>("ConnUi::NdefMessageHandler");
    qRegisterMetaType<NdefMessageHandlerList>("NdefMessageHandlerList");
    qDBusRegisterMetaType<NdefMessageHandler>();
    qDBusRegisterMetaType<NdefMessageHandlerList>();
}

} // namespace ConnUi
