// Helpers shared by the Bluetooth classes: the blocking questions about the adapter and its devices,
// each within the time budget of the question that asks them.
#include "bluez.h"
#include "bluezadapterproxy.h"
#include "bluezdeviceproxy.h"
#include "bluezmanagerproxy.h"
#include "busdeadline.h"
#include "linuxlogging.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QStringList>

namespace {

const QString errorNoSuchAdapter = QStringLiteral("org.bluez.Error.NoSuchAdapter");

// One line per kind of trouble for the life of the process: the adapter is asked for often.
void reportOnce(const QString& key, const char* text, const QString& detail)
{
    static QMutex mutex;
    static QSet<QString> reported;
    QMutexLocker locker(&mutex);
    if (reported.contains(key))
        return;
    reported.insert(key);
    qCWarning(lcBluez, "%s (%s)", text, qUtf8Printable(detail));
}

QVariant plainValue(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return plainValue(value.value<QDBusVariant>().variant());
    if (value.userType() == qMetaTypeId<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        const QDBusArgument argument = value.value<QDBusArgument>();
        if (argument.currentType() == QDBusArgument::ArrayType) {
            QStringList items;
            argument.beginArray();
            while (!argument.atEnd()) {
                const QVariant item = plainValue(argument.asVariant());
                items.append(item.toString());
            }
            argument.endArray();
            return items;
        }
        return QVariant();
    }
    return value;
}

} // namespace

namespace Bluez {

bool isMissingInterface(const QDBusError& error)
{
    switch (error.type()) {
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownObject:
        return true;
    default:
        return false;
    }
}

QMap<QString, QVariant> plainProperties(const QMap<QString, QVariant>& properties)
{
    QMap<QString, QVariant> plain;
    for (auto it = properties.constBegin(); it != properties.constEnd(); ++it)
        plain.insert(it.key(), plainValue(it.value()));
    return plain;
}

ServicePause& pause()
{
    static ServicePause bluez("BlueZ", "org.bluez", lcBluez);
    return bluez;
}

QString defaultAdapterPath(const QDBusConnection& bus, const QDeadlineTimer& deadline)
{
    if (pause().skips("DefaultAdapter"))
        return QString();
    BluezManagerProxy manager(service, managerPath, bus);
    manager.setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<QDBusObjectPath> adapter = manager.DefaultAdapter();
    adapter.waitForFinished();
    if (!adapter.isError())
        return adapter.value().path();

    const QDBusError error = adapter.error();
    pause().noteFailure("DefaultAdapter", error, deadline);
    if (isMissingInterface(error)) {
        reportOnce(QStringLiteral("bluez5"),
                   "Bluetooth: BlueZ does not offer org.bluez.Manager; Bluetooth handover needs the BlueZ 4 "
                   "interface",
                   error.name());
    } else if (error.type() == QDBusError::ServiceUnknown) {
        reportOnce(QStringLiteral("nobluez"), "Bluetooth: no BlueZ on the system bus", error.name());
    } else if (error.name() == errorNoSuchAdapter) {
        qCDebug(lcBluez, "Bluetooth: BlueZ has no adapter");
    } else {
        qCWarning(lcBluez, "Bluetooth: org.bluez.Manager.DefaultAdapter failed: %s: %s", qUtf8Printable(error.name()),
                  qUtf8Printable(error.message()));
    }
    return QString();
}

QString findDevicePath(const QDBusConnection& bus, const QString& adapterPath, const QString& address,
                       const QDeadlineTimer& deadline)
{
    if (adapterPath.isEmpty() || address.isEmpty() || deadline.hasExpired() || pause().skips("FindDevice"))
        return QString();
    BluezAdapterProxy adapter(service, adapterPath, bus);
    adapter.setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<QDBusObjectPath> device = adapter.FindDevice(address);
    device.waitForFinished();
    if (device.isError()) {
        qCDebug(lcBluez, "Bluetooth: no device %s: %s", qUtf8Printable(address), qUtf8Printable(device.error().name()));
        pause().noteFailure("FindDevice", device.error(), deadline);
        return QString();
    }
    return device.value().path();
}

QMap<QString, QVariant> deviceProperties(const QDBusConnection& bus, const QString& path,
                                         const QDeadlineTimer& deadline)
{
    if (path.isEmpty() || deadline.hasExpired() || pause().skips("Device.GetProperties"))
        return {};
    BluezDeviceProxy device(service, path, bus);
    device.setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<QVariantMap> properties = device.GetProperties();
    properties.waitForFinished();
    if (properties.isError()) {
        qCWarning(lcBluez, "Bluetooth: properties of %s cannot be read: %s", qUtf8Printable(path),
                  qUtf8Printable(properties.error().name()));
        pause().noteFailure("Device.GetProperties", properties.error(), deadline);
        return {};
    }
    QMap<QString, QVariant> plain = plainProperties(properties.value());
    plain.insert(QStringLiteral("Path"), path);
    return plain;
}

} // namespace Bluez
