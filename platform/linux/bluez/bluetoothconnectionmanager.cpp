// Audio connections of one device over BlueZ 4: org.bluez.Audio connects and disconnects every audio
// profile of the device at once; a device object without it is tried through org.bluez.Headset, then
// org.bluez.AudioSink. Failure reasons are BlueZ's error names.
//
// The plugin deletes a manager inside the manager's own connected() or disconnected() signal, so each
// signal is emitted as the very last thing, and nothing of the manager is used after it.
#include "bluetoothconnectionmanager.h"
#include "bluetoothconnectionmanager_p.h"
#include "bluetoothdevice.h"
#include "bluez.h"
#include "bluezaudioproxy.h"
#include "bluezaudiosinkproxy.h"
#include "bluezheadsetproxy.h"
#include "busdeadline.h"
#include "linuxlogging.h"

#include <QDBusPendingReply>
#include <QTimer>

namespace {

// The audio interfaces of a BlueZ 4 device, in the order they are tried.
const QString audioInterface = QStringLiteral("org.bluez.Audio");
const QString headsetInterface = QStringLiteral("org.bluez.Headset");
const QString audioSinkInterface = QStringLiteral("org.bluez.AudioSink");
// What a connection to a device that BlueZ does not know fails with.
const QString errorDoesNotExist = QStringLiteral("org.bluez.Error.DoesNotExist");

QString stateOf(const QVariantMap& properties)
{
    return properties.value(QStringLiteral("State")).toString();
}

QDBusPendingReply<QVariantMap> audioProperties(const QString& interface, const QString& path, int timeoutMs)
{
    const QDBusConnection bus = Bluez::systemBus();
    if (interface == audioInterface) {
        BluezAudioProxy audio(Bluez::service, path, bus);
        audio.setTimeout(timeoutMs);
        return audio.GetProperties();
    }
    if (interface == headsetInterface) {
        BluezHeadsetProxy headset(Bluez::service, path, bus);
        headset.setTimeout(timeoutMs);
        return headset.GetProperties();
    }
    BluezAudioSinkProxy sink(Bluez::service, path, bus);
    sink.setTimeout(timeoutMs);
    return sink.GetProperties();
}

QDBusPendingCall audioCall(BluetoothConnectionManagerPrivate::Operation operation, const QString& interface,
                           const QString& path)
{
    const QDBusConnection bus = Bluez::systemBus();
    const bool connect = operation == BluetoothConnectionManagerPrivate::Connect;
    if (interface == audioInterface) {
        BluezAudioProxy audio(Bluez::service, path, bus);
        return connect ? audio.Connect() : audio.Disconnect();
    }
    if (interface == headsetInterface) {
        BluezHeadsetProxy headset(Bluez::service, path, bus);
        return connect ? headset.Connect() : headset.Disconnect();
    }
    BluezAudioSinkProxy sink(Bluez::service, path, bus);
    return connect ? sink.Connect() : sink.Disconnect();
}

const char* nameOf(BluetoothConnectionManagerPrivate::Operation operation)
{
    return operation == BluetoothConnectionManagerPrivate::Connect ? "Connect" : "Disconnect";
}

} // namespace

BluetoothConnectionManagerPrivate::BluetoothConnectionManagerPrivate(BluetoothConnectionManager* q,
                                                                     const QMap<QString, QVariant>& device)
    : q(q), device(device), path(device.value(QStringLiteral("Path")).toString())
{
}

QStringList BluetoothConnectionManagerPrivate::audioInterfaces()
{
    return {audioInterface, headsetInterface, audioSinkInterface};
}

QStringList BluetoothConnectionManagerPrivate::connectableUuids()
{
    return {
        QStringLiteral("00001108-0000-1000-8000-00805f9b34fb"), // headset
        QStringLiteral("0000111e-0000-1000-8000-00805f9b34fb"), // hands-free
        QStringLiteral("0000110b-0000-1000-8000-00805f9b34fb"), // A2DP sink
    };
}

QString BluetoothConnectionManagerPrivate::devicePath(const QDeadlineTimer& deadline)
{
    if (path.isEmpty()) {
        const QDBusConnection bus = Bluez::systemBus();
        path = Bluez::findDevicePath(bus, Bluez::defaultAdapterPath(bus, deadline),
                                     device.value(QStringLiteral("Address")).toString(), deadline);
    }
    return path;
}

void BluetoothConnectionManagerPrivate::call(Operation operation, int index)
{
    const QString interface = audioInterfaces().at(index);
    qCDebug(lcBluez, "BluetoothConnectionManager: %s.%s on %s", qUtf8Printable(interface), nameOf(operation),
            qUtf8Printable(path));
    Bluez::onFinished(audioCall(operation, interface, path), q, [this, operation, index](QDBusPendingCallWatcher* w) {
        const QDBusPendingReply<> reply = *w;
        if (!reply.isError()) {
            succeed(operation);
            return;
        }
        if (Bluez::isMissingInterface(reply.error()) && index + 1 < audioInterfaces().size()) {
            call(operation, index + 1);
            return;
        }
        fail(operation, reply.error().name());
    });
}

void BluetoothConnectionManagerPrivate::fail(Operation operation, const QString& reason)
{
    qCWarning(lcBluez, "BluetoothConnectionManager: %s %s failed: %s", nameOf(operation),
              qUtf8Printable(device.value(QStringLiteral("Address")).toString()), qUtf8Printable(reason));
    // Last: the receiver may delete the manager.
    if (operation == Connect)
        Q_EMIT q->connectionFailed(reason);
    else
        Q_EMIT q->disconnectionFailed(reason);
}

void BluetoothConnectionManagerPrivate::succeed(Operation operation)
{
    qCDebug(lcBluez, "BluetoothConnectionManager: %s %s done", nameOf(operation),
            qUtf8Printable(device.value(QStringLiteral("Address")).toString()));
    // Last: the receiver may delete the manager.
    if (operation == Connect)
        Q_EMIT q->connected();
    else
        Q_EMIT q->disconnected();
}

BluetoothConnectionManager::BluetoothConnectionManager(const BluetoothDevice& device, QObject* parent)
    : QObject(parent), d(new BluetoothConnectionManagerPrivate(this, device.properties()))
{
}

BluetoothConnectionManager::~BluetoothConnectionManager()
{
    delete d;
}

bool BluetoothConnectionManager::isConnectable(const BluetoothDevice& device)
{
    const QStringList wanted = BluetoothConnectionManagerPrivate::connectableUuids();
    const QStringList uuids = device.properties().value(QStringLiteral("UUIDs")).toStringList();
    for (const QString& uuid : uuids) {
        if (wanted.contains(uuid.toLower()))
            return true;
    }
    return false;
}

void BluetoothConnectionManager::connect()
{
    if (d->devicePath(BusDeadline::start()).isEmpty()) {
        // Reported from the event loop, as a call's answer would be.
        QTimer::singleShot(0, this, [this] { d->fail(BluetoothConnectionManagerPrivate::Connect, errorDoesNotExist); });
        return;
    }
    d->call(BluetoothConnectionManagerPrivate::Connect, 0);
}

void BluetoothConnectionManager::disconnect()
{
    if (d->devicePath(BusDeadline::start()).isEmpty()) {
        QTimer::singleShot(0, this,
                           [this] { d->fail(BluetoothConnectionManagerPrivate::Disconnect, errorDoesNotExist); });
        return;
    }
    d->call(BluetoothConnectionManagerPrivate::Disconnect, 0);
}

bool BluetoothConnectionManager::isAudioConnected() const
{
    const QDeadlineTimer deadline = BusDeadline::start();
    const QString path = d->devicePath(deadline);
    if (path.isEmpty())
        return false;
    for (const QString& interface : BluetoothConnectionManagerPrivate::audioInterfaces()) {
        if (deadline.hasExpired() || Bluez::pause().skips("audio GetProperties"))
            break;
        QDBusPendingReply<QVariantMap> properties = audioProperties(interface, path, BusDeadline::timeoutMs(deadline));
        properties.waitForFinished();
        if (!properties.isError()) {
            const QString state = stateOf(properties.value());
            return state == QLatin1String("connected") || state == QLatin1String("playing");
        }
        Bluez::pause().noteFailure("audio GetProperties", properties.error(), deadline);
        if (!Bluez::isMissingInterface(properties.error()))
            break;
    }
    return false;
}
