#include "adapterobject.h"
#include "nfcdaemon.h"
#include "nfcdnames.h"

#include "adapteradaptor.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

AdapterObject::AdapterObject(NfcDaemon* daemon)
    : DaemonBusObject(daemon, daemon->adapterPath().path())
{
    new AdapterAdaptor(this);
    connect(daemon, &NfcDaemon::confirmationEnabledChanged, this, [this](bool enabled) {
        Q_EMIT PropertyChanged(QLatin1String(Nfcd::ConfirmationEnabledProperty), QDBusVariant(enabled));
    });
}

namespace {

// The user of the connection that sent the call being handled; NfcDaemon::UnknownUid when the bus
// cannot tell.
uint callerUid(const QDBusConnection& bus, const QString& sender)
{
    const QDBusReply<uint> uid = bus.interface()->serviceUid(sender);
    return uid.isValid() ? uid.value() : NfcDaemon::UnknownUid;
}

} // namespace

void AdapterObject::RegisterUIAgent(const QDBusObjectPath& agent)
{
    answer(m_daemon->registerAgent(message().service(), agent, callerUid(connection(), message().service())));
}

void AdapterObject::UnregisterUIAgent(const QDBusObjectPath& agent)
{
    answer(m_daemon->unregisterAgent(message().service(), agent));
}

QVariantMap AdapterObject::GetProperties()
{
    return {{QLatin1String(Nfcd::PoweredProperty), true},
            {QLatin1String(Nfcd::ConfirmationEnabledProperty), m_daemon->isConfirmationEnabled()}};
}

void AdapterObject::SetProperty(const QString& name, const QDBusVariant& value)
{
    if (name == QLatin1String(Nfcd::ConfirmationEnabledProperty)) {
        if (!m_daemon->maySetProperties(callerUid(connection(), message().service()))) {
            sendErrorReply(QDBusError::AccessDenied,
                           QStringLiteral("Only root, the daemon's user and the UI agent's user change "
                                          "ConfirmationEnabled"));
            return;
        }
        if (value.variant().userType() != QMetaType::Bool) {
            sendErrorReply(QLatin1String(Nfcd::ErrorInvalidArguments),
                           QStringLiteral("ConfirmationEnabled takes a boolean"));
            return;
        }
        m_daemon->setConfirmationEnabled(value.variant().toBool());
    } else if (name == QLatin1String(Nfcd::PoweredProperty)) {
        sendErrorReply(QLatin1String(Nfcd::ErrorReadOnly), QStringLiteral("Powered cannot be set"));
    } else {
        sendErrorReply(QLatin1String(Nfcd::ErrorInvalidArguments), QStringLiteral("No property %1").arg(name));
    }
}
