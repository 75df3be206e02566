// Pairing over BlueZ 4: Adapter.CreatePairedDevice with an agent of this pairing, exported on a bus
// connection of its own (BlueZ sends the agent's requests to the connection that asked for the
// pairing). A device that is already paired counts as paired. After pairing, the device is made
// trusted when asked for, and its audio connected when asked for.
//
// error() is the BlueZ error name of a failed pairing, unchanged, because the plugin hands it on to the
// NFC daemon. A pairing that does not finish in time is cancelled with CancelDeviceCreation and fails
// with org.bluez.Error.AuthenticationTimeout; the request never waits on BlueZ without end. Once the
// device is paired, the timeout ends the process as a success: trust and connection are extras.
#include "bluetoothpairingprocess.h"
#include "bluetoothconnectionmanager.h"
#include "bluetoothdevice.h"
#include "bluetoothpairingprocess_p.h"
#include "bluez.h"
#include "bluezadapterproxy.h"
#include "bluezdeviceproxy.h"
#include "bluezmanagerproxy.h"
#include "bluezpairingagent.h"
#include "linuxlogging.h"
#include "simplenotification.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace {

int pairingTimeoutMs = 60000;

// An already paired device counts as a success; a pairing that hangs ends as timed out, one without
// an address as invalid.
const QString errorAlreadyExists = QStringLiteral("org.bluez.Error.AlreadyExists");
const QString errorAuthenticationTimeout = QStringLiteral("org.bluez.Error.AuthenticationTimeout");
const QString errorInvalidArguments = QStringLiteral("org.bluez.Error.InvalidArguments");

// Every pairing gets a connection name of its own: an earlier pairing's connection may still be
// closing.
QString newConnectionName()
{
    static QAtomicInt counter;
    return QStringLiteral("nfcui-bluez-pairing-%1").arg(counter.fetchAndAddRelaxed(1) + 1);
}

} // namespace

BluetoothPairingProcessPrivate::BluetoothPairingProcessPrivate(BluetoothPairingProcess* q) : q(q)
{
    timeout.setSingleShot(true);
    QObject::connect(&timeout, &QTimer::timeout, q, [this] { timedOut(); });
}

BluetoothPairingProcessPrivate::~BluetoothPairingProcessPrivate()
{
    // A pairing dropped halfway would keep BlueZ busy with that device.
    if (running)
        cancelInBluez();
    connectionManager.reset();
    closeConnection();
}

int BluetoothPairingProcessPrivate::timeoutMs()
{
    return pairingTimeoutMs;
}

void BluetoothPairingProcessPrivate::setTimeoutMs(int ms)
{
    pairingTimeoutMs = ms;
}

void BluetoothPairingProcessPrivate::closeConnection()
{
    if (connectionName.isEmpty())
        return;
    QDBusConnection connection(connectionName);
    connection.unregisterObject(BluezPairingAgent::path());
    agent.reset();
    QDBusConnection::disconnectFromBus(connectionName);
    connectionName.clear();
}

void BluetoothPairingProcessPrivate::createPairedDevice(const QString& adapter)
{
    adapterPath = adapter;
    QDBusConnection connection(connectionName);
    agent = std::make_unique<BluezPairingAgent>(pinCode, ignoreLegacyPairing);
    if (!connection.registerObject(BluezPairingAgent::path(), agent.get(), QDBusConnection::ExportAllSlots)) {
        qCWarning(lcBluez, "BluetoothPairingProcess: the pairing agent cannot be exported");
        finish(QStringLiteral("org.bluez.Error.Failed"));
        return;
    }

    BluezAdapterProxy bluezAdapter(Bluez::service, adapterPath, connection);
    // The pairing's own timer ends it; the call itself may take as long as that.
    bluezAdapter.setTimeout(timeoutMs() + 5000);
    qCDebug(lcBluez, "BluetoothPairingProcess: pairing with %s", qUtf8Printable(address));
    const QDBusPendingCall call =
        bluezAdapter.CreatePairedDevice(address, QDBusObjectPath(BluezPairingAgent::path()), capability());
    Bluez::onFinished(call, q, [this](QDBusPendingCallWatcher* finished) {
        if (!running)
            return;
        const QDBusPendingReply<QDBusObjectPath> reply = *finished;
        if (!reply.isError()) {
            paired(reply.value().path());
            return;
        }
        if (reply.error().name() == errorAlreadyExists) {
            qCDebug(lcBluez, "BluetoothPairingProcess: %s is already paired", qUtf8Printable(address));
            BluezAdapterProxy existing(Bluez::service, adapterPath, Bluez::systemBus());
            Bluez::onFinished(existing.FindDevice(address), q, [this](QDBusPendingCallWatcher* found) {
                if (!running)
                    return;
                const QDBusPendingReply<QDBusObjectPath> device = *found;
                paired(device.isError() ? QString() : device.value().path());
            });
            return;
        }
        qCWarning(lcBluez, "BluetoothPairingProcess: pairing with %s failed: %s: %s", qUtf8Printable(address),
                  qUtf8Printable(reply.error().name()), qUtf8Printable(reply.error().message()));
        finish(reply.error().name());
    });
}

void BluetoothPairingProcessPrivate::paired(const QString& devicePath)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: %s paired as %s", qUtf8Printable(address), qUtf8Printable(devicePath));
    isPaired = true;
    closeConnection();
    if (!autoTrusted || devicePath.isEmpty()) {
        trusted();
        return;
    }
    BluezDeviceProxy device(Bluez::service, devicePath, Bluez::systemBus());
    Bluez::onFinished(device.SetProperty(QStringLiteral("Trusted"), QDBusVariant(true)), q,
                      [this](QDBusPendingCallWatcher* finished) {
                          if (!running)
                              return;
                          const QDBusPendingReply<> reply = *finished;
                          if (reply.isError())
                              qCWarning(lcBluez, "BluetoothPairingProcess: %s cannot be made trusted: %s",
                                        qUtf8Printable(address), qUtf8Printable(reply.error().name()));
                          trusted();
                      });
}

void BluetoothPairingProcessPrivate::trusted()
{
    if (!autoConnected) {
        finish(QString());
        return;
    }
    QMap<QString, QVariant> properties;
    properties.insert(QStringLiteral("Address"), address);
    connectionManager = std::make_unique<BluetoothConnectionManager>(BluetoothDevice(properties));
    auto done = [this] { finish(QString()); };
    QObject::connect(connectionManager.get(), &BluetoothConnectionManager::connected, q, done);
    QObject::connect(connectionManager.get(), &BluetoothConnectionManager::connectionFailed, q,
                     [this](const QString& reason) {
                         // The pairing itself worked; the connection is the user's to retry.
                         qCWarning(lcBluez, "BluetoothPairingProcess: %s paired but not connected: %s",
                                   qUtf8Printable(address), qUtf8Printable(reason));
                         finish(QString());
                     });
    connectionManager->connect();
}

void BluetoothPairingProcessPrivate::cancelInBluez()
{
    if (connectionName.isEmpty() || adapterPath.isEmpty())
        return;
    // Asked on the pairing's own connection, which BlueZ knows as the one that pairs. The answer is not
    // waited for, but the connection stays open until it comes, so that the call is sent.
    QDBusConnection connection(connectionName);
    connection.unregisterObject(BluezPairingAgent::path());
    agent.reset();
    BluezAdapterProxy adapter(Bluez::service, adapterPath, connection);
    auto* watcher = new QDBusPendingCallWatcher(adapter.CancelDeviceCreation(address));
    const QString name = connectionName;
    connectionName.clear();
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [name](QDBusPendingCallWatcher* done) {
        QDBusConnection::disconnectFromBus(name);
        done->deleteLater();
    });
}

void BluetoothPairingProcessPrivate::timedOut()
{
    if (!running)
        return;
    if (isPaired) {
        // The pairing worked; only making the device trusted or connecting it is still under way.
        qCWarning(lcBluez, "BluetoothPairingProcess: %s is paired, but making it trusted or connecting it took "
                  "longer than %d ms; not waited for", qUtf8Printable(address), timeoutMs());
        finish(QString());
        return;
    }
    qCWarning(lcBluez, "BluetoothPairingProcess: pairing with %s took longer than %d ms; cancelled",
              qUtf8Printable(address), timeoutMs());
    cancelInBluez();
    finish(errorAuthenticationTimeout);
}

void BluetoothPairingProcessPrivate::finish(const QString& failure)
{
    if (!running)
        return;
    running = false;
    timeout.stop();
    error = failure;
    if (connectionManager)
        connectionManager.release()->deleteLater();
    closeConnection();

    if (!error.isEmpty() && errorNotification) {
        const QString who = deviceName.isEmpty() ? address : deviceName;
        ConnUi::SimpleNotification::show(
            QStringLiteral("x-orvan.nfc.error"), QString(),
            QCoreApplication::translate("BluetoothPairingProcess", "Pairing with %1 failed").arg(who), QString());
    }
    Q_EMIT q->finished();
}

BluetoothPairingProcess::BluetoothPairingProcess(QObject* parent)
    : QObject(parent), d(new BluetoothPairingProcessPrivate(this))
{
}

BluetoothPairingProcess::~BluetoothPairingProcess()
{
    delete d;
}

void BluetoothPairingProcess::setErrorNotification(bool enabled)
{
    d->errorNotification = enabled;
}

void BluetoothPairingProcess::setDialogServer(ConnectivityDialogServerInterface* server)
{
    d->server = server;
}

void BluetoothPairingProcess::setPinCode(const QString& pin)
{
    d->pinCode = pin;
}

void BluetoothPairingProcess::setIgnoreLegacyPairing(bool ignore)
{
    d->ignoreLegacyPairing = ignore;
}

void BluetoothPairingProcess::setAutoTrusted(bool trusted)
{
    d->autoTrusted = trusted;
}

void BluetoothPairingProcess::setAutoConnected(bool connected)
{
    d->autoConnected = connected;
}

void BluetoothPairingProcess::start(const BluetoothDevice& device)
{
    if (d->running) {
        qCWarning(lcBluez, "BluetoothPairingProcess: already pairing with %s", qUtf8Printable(d->address));
        return;
    }
    d->running = true;
    d->isPaired = false;
    d->error.clear();
    d->address = device.address().toUpper();
    d->adapterPath.clear();
    d->deviceName = device.name();
    d->timeout.start(BluetoothPairingProcessPrivate::timeoutMs());

    if (d->address.isEmpty()) {
        QTimer::singleShot(0, this, [this] { d->finish(errorInvalidArguments); });
        return;
    }

    d->connectionName = newConnectionName();
    QDBusConnection connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, d->connectionName);
    if (!connection.isConnected()) {
        const QString failure = connection.lastError().isValid()
            ? connection.lastError().name()
            : QStringLiteral("org.freedesktop.DBus.Error.NoServer");
        qCWarning(lcBluez, "BluetoothPairingProcess: no system bus: %s", qUtf8Printable(failure));
        QTimer::singleShot(0, this, [this, failure] { d->finish(failure); });
        return;
    }

    BluezManagerProxy manager(Bluez::service, Bluez::managerPath, connection);
    Bluez::onFinished(manager.DefaultAdapter(), this, [this](QDBusPendingCallWatcher* finished) {
        if (!d->running)
            return;
        const QDBusPendingReply<QDBusObjectPath> adapter = *finished;
        if (adapter.isError()) {
            qCWarning(lcBluez, "BluetoothPairingProcess: no Bluetooth adapter: %s",
                      qUtf8Printable(adapter.error().name()));
            d->finish(adapter.error().name());
            return;
        }
        d->createPairedDevice(adapter.value().path());
    });
}

QString BluetoothPairingProcess::error() const
{
    return d->error;
}
