#include "phonemocks.h"

namespace PhoneMocks {

std::unique_ptr<MockService> bluez4()
{
    return std::make_unique<MockService>(MockService::projectTemplate(QStringLiteral("bluez4.py")),
                                         MockService::SystemBus, QStringLiteral("org.bluez"), QStringLiteral("/"));
}

QString bluezAdapterPath()
{
    return QStringLiteral("/org/bluez/1000/hci0");
}

QString bluezDevicePath(const QString& address)
{
    return bluezAdapterPath() + QStringLiteral("/dev_") + address.toUpper().replace(QLatin1Char(':'), QLatin1Char('_'));
}

std::unique_ptr<MockService> ofono()
{
    return std::make_unique<MockService>(MockService::projectTemplate(QStringLiteral("ofono.py")),
                                         MockService::SystemBus, QStringLiteral("org.ofono"), QStringLiteral("/"));
}

QString ofonoModemPath()
{
    return QStringLiteral("/ril_0");
}

std::unique_ptr<MockService> notifications()
{
    return std::make_unique<MockService>(QStringLiteral("notification_daemon"), MockService::SessionBus,
                                         QStringLiteral("org.freedesktop.Notifications"), notificationsPath());
}

QString notificationsPath()
{
    return QStringLiteral("/org/freedesktop/Notifications");
}

std::unique_ptr<MockService> screenSaver()
{
    return std::make_unique<MockService>(MockService::projectTemplate(QStringLiteral("screensaver.py")),
                                         MockService::SessionBus, QStringLiteral("org.freedesktop.ScreenSaver"),
                                         screenSaverPath());
}

QString screenSaverPath()
{
    return QStringLiteral("/org/freedesktop/ScreenSaver");
}

std::unique_ptr<MockService> logind()
{
    return std::make_unique<MockService>(QStringLiteral("logind"), MockService::SystemBus,
                                         QStringLiteral("org.freedesktop.login1"), logindPath());
}

QString logindPath()
{
    return QStringLiteral("/org/freedesktop/login1");
}

std::unique_ptr<MockService> feedbackd()
{
    return std::make_unique<MockService>(MockService::projectTemplate(QStringLiteral("feedbackd.py")),
                                         MockService::SessionBus, QStringLiteral("org.sigxcpu.Feedback"),
                                         feedbackdPath());
}

QString feedbackdPath()
{
    return QStringLiteral("/org/sigxcpu/Feedback");
}

QList<Notification> notificationsShown(const MockService& mock)
{
    QList<Notification> shown;
    for (const MockCall& call : mock.calls(notificationsPath())) {
        if (call.method != QLatin1String("Notify") || call.args.size() != 8)
            continue;
        Notification notification;
        notification.appName = call.args.at(0).toString();
        notification.replacesId = call.args.at(1).toUInt();
        notification.icon = call.args.at(2).toString();
        notification.summary = call.args.at(3).toString();
        notification.body = call.args.at(4).toString();
        notification.actions = call.args.at(5).toStringList();
        notification.hints = call.args.at(6).toMap();
        notification.expireTimeout = call.args.at(7).toInt();
        shown.append(notification);
    }
    return shown;
}

QStringList callNames(const MockService& mock, const QString& path)
{
    // The BlueZ mock's test controls end in the log of the object they were called on.
    static const QStringList controls {
        QStringLiteral("SetError"), QStringLiteral("ClearErrors"), QStringLiteral("RemoveAdapter"),
        QStringLiteral("AddAdapter"), QStringLiteral("LeaveBusAfter"), QStringLiteral("SetAdapterProperty"),
        QStringLiteral("GetSignatures"), QStringLiteral("AddDevice"), QStringLiteral("SetDeviceProperty"),
        QStringLiteral("SetAudioState"), QStringLiteral("SetPairing"), QStringLiteral("HangMethod"),
        QStringLiteral("AgentReplies")};
    QStringList names;
    for (const MockCall& call : mock.calls(path)) {
        if (!controls.contains(call.method))
            names.append(call.method);
    }
    return names;
}

} // namespace PhoneMocks
