// The default Bluetooth adapter over BlueZ 4. The adapter object follows org.bluez.Manager's default
// adapter as it changes, and keeps its power state from the adapter's PropertyChanged signals, so that
// isPowered() answers without a call. The devices are asked for when the plugin asks (FindDevice,
// ListDevices and each device's GetProperties), within one time budget per question.
//
// Without BlueZ, or with a BlueZ that lacks the BlueZ 4 manager interface, the adapter is invalid.
#include "bluetoothadapter.h"
#include "bluetoothadapter_p.h"
#include "bluez.h"
#include "bluezadapterproxy.h"
#include "bluezmanagerproxy.h"
#include "busdeadline.h"
#include "linuxlogging.h"

#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

BluetoothAdapterPrivate::BluetoothAdapterPrivate(BluetoothAdapter* q) : q(q)
{
}

BluetoothAdapterPrivate::~BluetoothAdapterPrivate() = default;

void BluetoothAdapterPrivate::follow(const QString& newPath)
{
    adapter.reset();
    path = newPath;
    valid = false;
    if (path.isEmpty()) {
        setPowered(false, false);
        return;
    }

    adapter = std::make_unique<BluezAdapterProxy>(Bluez::service, path, Bluez::systemBus());
    QObject::connect(adapter.get(), &BluezAdapterProxy::PropertyChanged, q,
                     [this](const QString& name, const QDBusVariant& value) {
                         // Every report counts, even one that repeats the state: the plugin treats a
                         // report of an adapter that is off as a failed power-up.
                         if (name == QLatin1String("Powered"))
                             setPowered(value.variant().toBool(), true);
                     });
    if (Bluez::pause().skips("Adapter.GetProperties")) {
        setPowered(false, false);
        return;
    }
    const QDeadlineTimer deadline = BusDeadline::start();
    adapter->setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<QVariantMap> properties = adapter->GetProperties();
    properties.waitForFinished();
    if (properties.isError()) {
        qCWarning(lcBluez, "BluetoothAdapter: properties of %s cannot be read: %s", qUtf8Printable(path),
                  qUtf8Printable(properties.error().name()));
        Bluez::pause().noteFailure("Adapter.GetProperties", properties.error(), deadline);
        setPowered(false, false);
        return;
    }
    valid = true;
    setPowered(properties.value().value(QStringLiteral("Powered")).toBool(), false);
}

void BluetoothAdapterPrivate::refollow()
{
    Bluez::onFinished(manager->DefaultAdapter(), q, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusObjectPath> reply = *finished;
        const QString newPath = reply.isError() ? QString() : reply.value().path();
        if (newPath != path || !valid)
            follow(newPath);
    });
}

void BluetoothAdapterPrivate::setPowered(bool on, bool reported)
{
    if (on == powered && !reported)
        return;
    powered = on;
    qCDebug(lcBluez, "BluetoothAdapter: %s is %s", qUtf8Printable(path), on ? "powered" : "not powered");
    Q_EMIT q->propertyChanged(QStringLiteral("powered"));
}

BluetoothAdapter* BluetoothAdapter::defaultAdapter()
{
    auto* created = new BluetoothAdapter;
    BluetoothAdapterPrivate* d = created->d;
    const QDBusConnection bus = Bluez::systemBus();

    d->manager = std::make_unique<BluezManagerProxy>(Bluez::service, Bluez::managerPath, bus);
    QObject::connect(d->manager.get(), &BluezManagerProxy::DefaultAdapterChanged, created,
                     [d](const QDBusObjectPath& adapter) { d->follow(adapter.path()); });
    QObject::connect(d->manager.get(), &BluezManagerProxy::AdapterRemoved, created,
                     [d](const QDBusObjectPath& adapter) {
                         if (adapter.path() == d->path)
                             d->refollow();
                     });
    // BlueZ restarting: the adapter comes back with it.
    d->watcher = std::make_unique<QDBusServiceWatcher>(Bluez::service, bus, QDBusServiceWatcher::WatchForOwnerChange);
    QObject::connect(d->watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, created,
                     [d](const QString&, const QString&, const QString& newOwner) {
                         if (newOwner.isEmpty())
                             d->follow(QString());
                         else
                             d->refollow();
                     });

    d->follow(Bluez::defaultAdapterPath(bus, BusDeadline::start()));
    return created;
}

BluetoothAdapter::BluetoothAdapter(QObject* parent) : QObject(parent), d(new BluetoothAdapterPrivate(this))
{
}

BluetoothAdapter::~BluetoothAdapter()
{
    delete d;
}

bool BluetoothAdapter::isValid() const
{
    return d->valid;
}

bool BluetoothAdapter::isPowered() const
{
    return d->valid && d->powered;
}

BluetoothDevice BluetoothAdapter::deviceForAddress(const QString& address) const
{
    if (!d->valid)
        return BluetoothDevice();
    const QDeadlineTimer deadline = BusDeadline::start();
    const QString path = Bluez::findDevicePath(Bluez::systemBus(), d->path, address, deadline);
    const QMap<QString, QVariant> properties = Bluez::deviceProperties(Bluez::systemBus(), path, deadline);
    if (properties.isEmpty())
        return BluetoothDevice();
    return BluetoothDevice(properties);
}

QList<BluetoothDevice> BluetoothAdapter::listDevices() const
{
    if (!d->valid || Bluez::pause().skips("ListDevices"))
        return {};
    const QDeadlineTimer deadline = BusDeadline::start();
    d->adapter->setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<QList<QDBusObjectPath>> listed = d->adapter->ListDevices();
    listed.waitForFinished();
    if (listed.isError())
        Bluez::pause().noteFailure("ListDevices", listed.error(), deadline);
    QStringList paths;
    if (!listed.isError()) {
        for (const QDBusObjectPath& path : listed.value())
            paths.append(path.path());
    } else if (Bluez::isMissingInterface(listed.error()) && !deadline.hasExpired()) {
        // ListDevices is deprecated in later BlueZ 4 releases; the Devices property has the same order.
        d->adapter->setTimeout(BusDeadline::timeoutMs(deadline));
        QDBusPendingReply<QVariantMap> properties = d->adapter->GetProperties();
        properties.waitForFinished();
        if (!properties.isError())
            paths = Bluez::plainProperties(properties.value()).value(QStringLiteral("Devices")).toStringList();
        else
            Bluez::pause().noteFailure("Adapter.GetProperties", properties.error(), deadline);
    } else {
        qCWarning(lcBluez, "BluetoothAdapter: devices of %s cannot be listed: %s", qUtf8Printable(d->path),
                  qUtf8Printable(listed.error().name()));
    }
    QList<BluetoothDevice> devices;
    for (const QString& path : qAsConst(paths)) {
        const QMap<QString, QVariant> properties = Bluez::deviceProperties(Bluez::systemBus(), path, deadline);
        if (!properties.isEmpty())
            devices.append(BluetoothDevice(properties));
    }
    return devices;
}
