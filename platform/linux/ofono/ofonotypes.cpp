// The oFono types and questions shared by calls, messages and the offline mode, and the hand-over of
// tel: and sms: URIs to the desktop when there is no modem.
#include "ofonotypes.h"
#include "busdeadline.h"
#include "contentaction.h"
#include "linuxlogging.h"
#include "ofonomanagerproxy.h"
#include "servicepause.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingReply>
#include <QDeadlineTimer>
#include <QUrl>

QDBusArgument& operator<<(QDBusArgument& argument, const OfonoObject& object)
{
    argument.beginStructure();
    argument << object.path << object.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, OfonoObject& object)
{
    argument.beginStructure();
    argument >> object.path >> object.properties;
    argument.endStructure();
    return argument;
}

namespace Ofono {

OfonoObjectList modems()
{
    static const bool registered = [] {
        qDBusRegisterMetaType<OfonoObject>();
        qDBusRegisterMetaType<OfonoObjectList>();
        return true;
    }();
    Q_UNUSED(registered)

    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return {};
    // One tag asks several questions in a row (the offline mode, then a message per recipient).
    static ServicePause pause("oFono", "org.ofono", lcOfono);
    if (pause.skips("GetModems"))
        return {};
    OfonoManagerProxy manager(service, QStringLiteral("/"), bus);
    manager.setTimeout(BusDeadline::budgetMs);
    const QDeadlineTimer deadline = BusDeadline::start();
    QDBusPendingReply<OfonoObjectList> reply = manager.GetModems();
    reply.waitForFinished();
    if (reply.isError()) {
        qCDebug(lcOfono, "oFono: no modems: %s", qUtf8Printable(reply.error().name()));
        pause.noteFailure("GetModems", reply.error(), deadline);
        return {};
    }
    return reply.value();
}

const OfonoObject* modemFor(const OfonoObjectList& modems, const QString& interface)
{
    for (const OfonoObject& modem : modems) {
        if (modem.properties.value(QStringLiteral("Interfaces")).toStringList().contains(interface))
            return &modem;
    }
    return modems.isEmpty() ? nullptr : &modems.first();
}

bool openWithSchemeHandler(const QString& uri)
{
    // The content actions' default for the scheme, started on their launcher's thread: the event loop
    // does not wait for the program to start, and a failure to start it is logged there.
    const QList<ContentAction::Action> actions = ContentAction::Action::actionsForScheme(uri);
    if (actions.isEmpty()) {
        qCWarning(lcOfono, "oFono: no modem and no application for %s: URIs; %s is not opened",
                  qUtf8Printable(QUrl(uri).scheme()), qUtf8Printable(uri));
        return false;
    }
    actions.first().trigger();
    qCDebug(lcOfono, "oFono: %s opened with %s", qUtf8Printable(uri), qUtf8Printable(actions.first().name()));
    return true;
}

} // namespace Ofono
