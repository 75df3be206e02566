#include "automation.h"
#include "dialogserver.h"
#include "hostlogging.h"

#include "automationadaptor.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QPointer>

namespace Host {

const char* const Automation::serviceName = "com.orvan.DialogServer";
const char* const Automation::objectPath = "/";
const char* const Automation::interfaceName = "com.orvan.DialogServer.Automation";
const char* const Automation::unknownDialogError = "com.orvan.DialogServer.Error.UnknownDialog";

namespace {
// D-Bus carries only what it can marshal; anything else in a dialog's properties goes as text.
QVariantMap busSafe(const QVariantMap& map)
{
    QVariantMap safe;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const QVariant& value = it.value();
        switch (value.userType()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
        case QMetaType::QString:
        case QMetaType::QStringList:
        case QMetaType::QByteArray:
            safe.insert(it.key(), value);
            break;
        default:
            safe.insert(it.key(), value.toString());
            break;
        }
    }
    return safe;
}
} // namespace

class AutomationPrivate
{
public:
    QPointer<DialogServer> server;
    QDBusConnection connection{QString()};
    bool exported = false;
};

Automation::Automation(DialogServer* server, QObject* parent)
    : QObject(parent), d(new AutomationPrivate)
{
    registerAutomationTypes();
    d->server = server;
    new AutomationAdaptor(this);
    connect(server, &DialogServer::dialogShown, this,
            [this](const QString& id, const QVariantMap& properties) { Q_EMIT DialogShown(id, busSafe(properties)); });
    connect(server, &DialogServer::dialogClosed, this, &Automation::DialogClosed);
    connect(server, &DialogServer::indicationShown, this, &Automation::Indication);
}

Automation::~Automation()
{
    unexport();
}

bool Automation::exportOn(const QDBusConnection& connection, QString* error)
{
    auto failWith = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (!connection.isConnected()) {
        return failWith(QStringLiteral("cannot reach the session bus: %1")
                            .arg(connection.lastError().message().isEmpty() ? QStringLiteral("not connected")
                                                                            : connection.lastError().message()));
    }
    QDBusConnection bus(connection);
    if (!bus.registerObject(QLatin1String(objectPath), this)) {
        return failWith(QStringLiteral("cannot export %1 on the session bus: %2")
                            .arg(QLatin1String(objectPath), bus.lastError().message()));
    }
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply = bus.interface()->registerService(
        QLatin1String(serviceName), QDBusConnectionInterface::DontQueueService,
        QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) {
        bus.unregisterObject(QLatin1String(objectPath));
        return failWith(QStringLiteral("cannot take the name %1 on the session bus: %2")
                            .arg(QLatin1String(serviceName), reply.error().message()));
    }
    if (reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        bus.unregisterObject(QLatin1String(objectPath));
        return failWith(QStringLiteral("the name %1 is already taken on the session bus (another nfcui-host "
                                       "with --automation?)").arg(QLatin1String(serviceName)));
    }
    d->connection = bus;
    d->exported = true;
    qCInfo(lcHostAutomation).noquote() << "Automation interface on the session bus as" << serviceName;
    return true;
}

void Automation::unexport()
{
    if (!d->exported)
        return;
    d->connection.unregisterObject(QLatin1String(objectPath));
    d->connection.unregisterService(QLatin1String(serviceName));
    d->exported = false;
}

AutomationDialogList Automation::ListDialogs()
{
    AutomationDialogList list;
    if (!d->server)
        return list;
    const QStringList ids = d->server->openDialogIds();
    for (const QString& id : ids)
        list.append(AutomationDialog{id, busSafe(d->server->dialogProperties(id))});
    return list;
}

void Automation::Answer(const QString& id, int result, const QString& selectedApplication, bool directAction)
{
    QString error;
    if (!d->server || !d->server->answer(id, result, selectedApplication, directAction, &error)) {
        if (calledFromDBus())
            sendErrorReply(QLatin1String(unknownDialogError), error);
        else
            qCWarning(lcHostAutomation).noquote() << error;
    }
}

QVariantMap Automation::ServerProperties()
{
    return d->server ? busSafe(d->server->properties()) : QVariantMap();
}

} // namespace Host
