#ifndef NFCUI_BLUEZ_H
#define NFCUI_BLUEZ_H

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDeadlineTimer>
#include <QMap>
#include <QString>
#include <QVariant>

#include "servicepause.h"

// Names of the BlueZ 4 API and helpers shared by the Bluetooth classes.
namespace Bluez {

inline const QString service = QStringLiteral("org.bluez");
inline const QString managerPath = QStringLiteral("/");

inline QDBusConnection systemBus()
{
    return QDBusConnection::systemBus();
}

// BlueZ's pause after a blocking question that got no answer in time (ServicePause): every blocking
// question to BlueZ asks it first and tells it of a failure.
ServicePause& pause();

// Whether a failed call says that the object or interface is not there at all, as opposed to a
// failure of the operation itself.
bool isMissingInterface(const QDBusError& error);

// A property map as BlueZ sends it, with object paths as path strings and arrays as lists, so that it
// can be kept in a BluetoothDevice and compared with plain values.
QMap<QString, QVariant> plainProperties(const QMap<QString, QVariant>& properties);

// The path of the default adapter, or an empty string. Calls in the time left by deadline; a BlueZ
// without org.bluez.Manager (BlueZ 5) is reported once.
QString defaultAdapterPath(const QDBusConnection& bus, const QDeadlineTimer& deadline);

// The device object of address on the adapter, or an empty string.
QString findDevicePath(const QDBusConnection& bus, const QString& adapterPath, const QString& address,
                       const QDeadlineTimer& deadline);

// The properties of the device object at path (with "Path"), or an empty map.
QMap<QString, QVariant> deviceProperties(const QDBusConnection& bus, const QString& path,
                                         const QDeadlineTimer& deadline);

// Runs handler with the finished call, unless context is gone by then. The watcher belongs to no one
// and deletes itself, so that context may be deleted inside handler.
template<typename Handler> void onFinished(const QDBusPendingCall& call, const QObject* context, Handler handler)
{
    auto* watcher = new QDBusPendingCallWatcher(call);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, &QObject::deleteLater);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, handler);
}

} // namespace Bluez

#endif
