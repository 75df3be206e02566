// Banners as desktop notifications. The banner's text is the notification's summary, its detail the
// body, its icon the application icon. The event type ("x-orvan.nfc.connected") is the notification's category,
// already in the "x-vendor.class" form of the notification protocol. Banners are transient: they
// need not stay in the notification history.
//
// The call is not waited for. A session without a notification service is reported once; the banner is
// still reported to UiIndications, so that the dialog server can show it some other way.
#include "simplenotification.h"
#include "applicationproxy.h"
#include "linuxlogging.h"
#include "notificationsproxy.h"
#include "simplenotification_p.h"
#include "uiindications.h"
#include "unwaitedcall.h"

#include <QDBusConnection>

namespace {

const char notificationsService[] = "org.freedesktop.Notifications";
const char notificationsPath[] = "/org/freedesktop/Notifications";

// One warning per kind of failure for the life of the process: banners come often.
void warnOnce(const QString& errorName, const QString& message)
{
    static UnwaitedCall::ReportedOnce reported;
    if (!reported.firstTime(errorName))
        return;
    qCWarning(lcNotifications, "SimpleNotification: banners cannot be shown: %s (%s)", qUtf8Printable(message),
              qUtf8Printable(errorName));
}

} // namespace

namespace ConnUi {

QString SimpleNotificationPrivate::applicationName()
{
    return QStringLiteral("nfc-ui");
}

QString SimpleNotificationPrivate::desktopEntry()
{
    return QStringLiteral("nfc-ui");
}

QVariantMap SimpleNotificationPrivate::hints(const QString& eventType)
{
    QVariantMap hints;
    if (!eventType.isEmpty())
        hints.insert(QStringLiteral("category"), eventType);
    hints.insert(QStringLiteral("transient"), true);
    hints.insert(QStringLiteral("desktop-entry"), desktopEntry());
    return hints;
}

void SimpleNotification::show(const QString& eventType, const QString& detail, const QString& text, const QString& icon)
{
    UiIndications::indicate(QStringLiteral("banner"), eventType + QLatin1Char(' ') + text);

    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        warnOnce(QStringLiteral("org.freedesktop.DBus.Error.NoServer"), QStringLiteral("no session bus"));
        return;
    }

    NotificationsProxy* notifications =
        applicationProxy<NotificationsProxy>(bus, notificationsService, notificationsPath);
    UnwaitedCall::onFailure(notifications->Notify(SimpleNotificationPrivate::applicationName(), 0, icon, text, detail,
                                                 QStringList(), SimpleNotificationPrivate::hints(eventType), -1),
                            [](const QDBusError& error) { warnOnce(error.name(), error.message()); });
}

} // namespace ConnUi
