// The oFono types and questions shared by calls, messages and the offline mode, and the hand-over of
// tel: and sms: URIs to the desktop when there is no modem.
#include "ofonotypes.h"
#include "busdeadline.h"
#include "linuxlogging.h"
#include "ofonomanagerproxy.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingReply>
#include <QUrl>

#undef signals
#include <gio/gio.h>

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
    OfonoManagerProxy manager(service, QStringLiteral("/"), bus);
    manager.setTimeout(BusDeadline::budgetMs);
    QDBusPendingReply<OfonoObjectList> reply = manager.GetModems();
    reply.waitForFinished();
    if (reply.isError()) {
        qCDebug(lcOfono, "oFono: no modems: %s", qUtf8Printable(reply.error().name()));
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
    const QByteArray scheme = QUrl(uri).scheme().toUtf8();
    GAppInfo* app = g_app_info_get_default_for_uri_scheme(scheme.constData());
    if (!app) {
        qCWarning(lcOfono, "oFono: no modem and no application for %s: URIs; %s is not opened", scheme.constData(),
                  qUtf8Printable(uri));
        return false;
    }
    const QByteArray encoded = uri.toUtf8();
    GList* uris = g_list_append(nullptr, const_cast<char*>(encoded.constData()));
    GError* error = nullptr;
    const gboolean started = g_app_info_launch_uris(app, uris, nullptr, &error);
    g_list_free(uris);
    if (!started) {
        qCWarning(lcOfono, "oFono: %s cannot be started for %s: %s", g_app_info_get_id(app), qUtf8Printable(uri),
                  error ? error->message : "unknown error");
        g_clear_error(&error);
    } else {
        qCDebug(lcOfono, "oFono: %s opened with %s", qUtf8Printable(uri), g_app_info_get_id(app));
    }
    g_object_unref(app);
    return started;
}

} // namespace Ofono
