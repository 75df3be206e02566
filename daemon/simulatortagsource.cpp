#include "simulatortagsource.h"
#include "daemonlogging.h"
#include "nfcdaemon.h"
#include "nfcdnames.h"

#include "simulatoradaptor.h"

SimulatorTagSource::SimulatorTagSource(NfcDaemon* daemon, const QDBusConnection& bus)
    : TagSource(daemon), m_daemon(daemon), m_bus(bus)
{
    new SimulatorAdaptor(this);
}

bool SimulatorTagSource::start()
{
    if (!m_bus.registerObject(QLatin1String(Nfcd::SimulatorPath), this)) {
        qCWarning(lcDaemon, "cannot export the simulator at %s: %s", Nfcd::SimulatorPath,
                  qPrintable(m_bus.lastError().message()));
        return false;
    }
    return true;
}

std::function<void(const QDBusError&, const QDBusObjectPath&)> SimulatorTagSource::replyLater(bool returnsTarget)
{
    setDelayedReply(true);
    const QDBusMessage call = message();
    QDBusConnection bus = m_bus;
    return [bus, call, returnsTarget](const QDBusError& error, const QDBusObjectPath& target) mutable {
        if (error.isValid())
            bus.send(call.createErrorReply(error.name(), error.message()));
        else if (returnsTarget)
            bus.send(call.createReply(QVariant::fromValue(target)));
        else
            bus.send(call.createReply());
    };
}

bool SimulatorTagSource::checkAddress(const QString& address)
{
    if (NfcDaemon::isValidAddress(address))
        return true;
    sendErrorReply(QLatin1String(Nfcd::ErrorInvalidArguments),
                   QStringLiteral("\"%1\" is not a Bluetooth address (AA:BB:CC:DD:EE:FF)").arg(address));
    return false;
}

QDBusObjectPath SimulatorTagSource::TouchTag(const QByteArray& data, const QStringList& handlers,
                                             const QStringList& foreground)
{
    QList<NfcDaemon::HandlerOverride> overrides;
    for (const QString& id : handlers) {
        if (id.isEmpty()) {
            sendErrorReply(QLatin1String(Nfcd::ErrorInvalidArguments), QStringLiteral("An application id is empty"));
            return QDBusObjectPath();
        }
        overrides.append({id, foreground.contains(id)});
    }
    for (const QString& id : foreground) {
        if (!handlers.contains(id)) {
            sendErrorReply(QLatin1String(Nfcd::ErrorInvalidArguments),
                           QStringLiteral("\"%1\" is in the foreground but not among the handlers").arg(id));
            return QDBusObjectPath();
        }
    }
    const QString caller = message().service();
    m_daemon->touchTag(data, replyLater(true), !handlers.isEmpty(), overrides, caller);
    return QDBusObjectPath();
}

QDBusObjectPath SimulatorTagSource::TouchUnreadableTag()
{
    m_daemon->touchUnreadableTag(replyLater(true));
    return QDBusObjectPath();
}

QDBusObjectPath SimulatorTagSource::RequestPairing(const QString& address, const QString& name, uint classOfDevice,
                                                   const QString& pin)
{
    if (checkAddress(address))
        m_daemon->requestPairing(address, name, classOfDevice, pin, replyLater(true));
    return QDBusObjectPath();
}

QDBusObjectPath SimulatorTagSource::RequestConnection(const QString& address, const QString& name,
                                                      uint classOfDevice)
{
    if (checkAddress(address))
        m_daemon->requestConnection(address, name, classOfDevice, replyLater(true));
    return QDBusObjectPath();
}

QDBusObjectPath SimulatorTagSource::RequestDisconnection(const QString& address, const QString& name,
                                                         uint classOfDevice)
{
    if (checkAddress(address))
        m_daemon->requestDisconnection(address, name, classOfDevice, replyLater(true));
    return QDBusObjectPath();
}

void SimulatorTagSource::RequestSharingPermission(const QString& carrier, const QDBusVariant& info,
                                                  const QStringList& resources)
{
    m_daemon->requestSharingPermission(carrier, info.variant(), resources, replyLater(false));
}

void SimulatorTagSource::RequestSharingSelection(const QString& carrier, const QDBusVariant& info)
{
    m_daemon->requestSharingSelection(carrier, info.variant(), replyLater(false));
}
