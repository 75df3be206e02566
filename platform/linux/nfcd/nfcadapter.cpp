// NfcAdapter over the NFC daemon on the system bus: follows the daemon's name and default adapter,
// reads and follows ConfirmationEnabled, and registers the UI agent with the adapter.
#include "nfcadapter.h"
#include "nfcadapter_p.h"
#include "nfcagent.h"
#include "nfcagent_p.h"
#include "nfcdnames.h"
#include "linuxlogging.h"

#include "nfcdadapterproxy.h"
#include "nfcdmanagerproxy.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>
#include <QPointer>

namespace {
// Replies at start-up are waited for; a daemon that does not answer within this is taken as absent.
const int StartupTimeoutMs = 5000;
}

NfcAdapterPrivate::NfcAdapterPrivate(NfcAdapter* q)
    : q(q), bus(QDBusConnection::systemBus())
{
    if (!bus.isConnected()) {
        qCWarning(lcNfcd, "NfcAdapter: no system bus: %s", qPrintable(bus.lastError().message()));
        return;
    }
    watcher = std::make_unique<QDBusServiceWatcher>(QLatin1String(Nfcd::ServiceName), bus,
                                                    QDBusServiceWatcher::WatchForOwnerChange);
    connect(watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this, &NfcAdapterPrivate::serviceOwnerChanged);
    manager = std::make_unique<NfcdManagerProxy>(QLatin1String(Nfcd::ServiceName), QLatin1String(Nfcd::ManagerPath),
                                                 bus);
    connect(manager.get(), &NfcdManagerProxy::AdapterAdded, this, &NfcAdapterPrivate::adapterAdded);
    connect(manager.get(), &NfcdManagerProxy::AdapterRemoved, this, &NfcAdapterPrivate::adapterRemoved);
}

NfcAdapterPrivate::~NfcAdapterPrivate() = default;

void NfcAdapterPrivate::readInitialState()
{
    if (!manager || !bus.interface()->isServiceRegistered(QLatin1String(Nfcd::ServiceName)))
        return;
    // The two questions share the time.
    const QDeadlineTimer deadline(StartupTimeoutMs);
    manager->setTimeout(StartupTimeoutMs);
    QDBusPendingReply<QDBusObjectPath> reply = manager->DefaultAdapter();
    reply.waitForFinished();
    manager->setTimeout(-1);
    if (reply.isError()) {
        if (reply.error().type() == QDBusError::NoReply) {
            // A daemon that is busy or stopped for a while: its answer is taken whenever it comes.
            qCWarning(lcNfcd, "NfcAdapter: the NFC daemon did not name its default adapter within %d ms; "
                      "asking again without waiting", StartupTimeoutMs);
            queryDefaultAdapter();
            return;
        }
        qCInfo(lcNfcd, "NfcAdapter: no default adapter: %s", qPrintable(reply.error().message()));
        return;
    }
    useAdapter(reply.value());
    adapter->setTimeout(int(qBound<qint64>(1, deadline.remainingTime(), StartupTimeoutMs)));
    QDBusPendingReply<QVariantMap> properties = adapter->GetProperties();
    properties.waitForFinished();
    adapter->setTimeout(-1);
    if (properties.isError()) {
        qCWarning(lcNfcd, "NfcAdapter: cannot read the adapter's properties: %s",
                  qPrintable(properties.error().message()));
    } else {
        const QVariant confirmation = properties.value().value(QLatin1String(Nfcd::ConfirmationEnabledProperty));
        confirmationEnabled = !confirmation.isValid() || confirmation.toBool();
    }
    valid = true;
}

void NfcAdapterPrivate::queryDefaultAdapter()
{
    const quint64 asked = ++generation;
    auto* call = new QDBusPendingCallWatcher(manager->DefaultAdapter(), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, asked](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        QDBusPendingReply<QDBusObjectPath> reply = *call;
        if (asked != generation)
            return;
        if (reply.isError()) {
            if (reply.error().type() == QDBusError::NoReply) {
                // Not answering (yet): asked again, one call at a time. A daemon that is gone makes the
                // next call fail at once, as nobody owns the name.
                qCInfo(lcNfcd, "NfcAdapter: the NFC daemon has not named its default adapter yet; asking again");
                queryDefaultAdapter();
                return;
            }
            qCInfo(lcNfcd, "NfcAdapter: no default adapter: %s", qPrintable(reply.error().message()));
            return;
        }
        useAdapter(reply.value());
        readProperties();
    });
}

void NfcAdapterPrivate::useAdapter(const QDBusObjectPath& path)
{
    adapter = std::make_unique<NfcdAdapterProxy>(QLatin1String(Nfcd::ServiceName), path.path(), bus);
    connect(adapter.get(), &NfcdAdapterProxy::PropertyChanged, this, &NfcAdapterPrivate::propertyChanged);
}

// The adapter counts as valid once its properties are known (or cannot be read), so that
// isConfirmationEnabled() answers for the adapter that adapterValid() announced.
void NfcAdapterPrivate::readProperties()
{
    const quint64 asked = generation;
    auto* call = new QDBusPendingCallWatcher(adapter->GetProperties(), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, asked](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        QDBusPendingReply<QVariantMap> reply = *call;
        if (asked != generation)
            return;
        if (reply.isError()) {
            qCWarning(lcNfcd, "NfcAdapter: cannot read the adapter's properties: %s",
                      qPrintable(reply.error().message()));
            confirmationEnabled = true;
        } else {
            const QVariant confirmation = reply.value().value(QLatin1String(Nfcd::ConfirmationEnabledProperty));
            confirmationEnabled = !confirmation.isValid() || confirmation.toBool();
        }
        setValid(true);
    });
}

void NfcAdapterPrivate::setValid(bool nowValid)
{
    if (valid == nowValid)
        return;
    valid = nowValid;
    qCInfo(lcNfcd, "NfcAdapter: adapter %s", nowValid ? "valid" : "invalid");
    if (nowValid)
        Q_EMIT q->adapterValid();
    else
        Q_EMIT q->adapterInvalid();
}

void NfcAdapterPrivate::forgetAdapter()
{
    ++generation;
    adapter.reset();
    confirmationEnabled = true;
    setValid(false);
}

void NfcAdapterPrivate::serviceOwnerChanged(const QString&, const QString& oldOwner, const QString& newOwner)
{
    if (!oldOwner.isEmpty())
        forgetAdapter();
    if (!newOwner.isEmpty())
        queryDefaultAdapter();
}

void NfcAdapterPrivate::adapterAdded(const QDBusObjectPath&)
{
    if (!adapter)
        queryDefaultAdapter();
}

void NfcAdapterPrivate::adapterRemoved(const QDBusObjectPath& path)
{
    if (adapter && adapter->path() == path.path()) {
        forgetAdapter();
        // The daemon may still have another adapter to offer as its default.
        queryDefaultAdapter();
    }
}

void NfcAdapterPrivate::propertyChanged(const QString& name, const QDBusVariant& value)
{
    if (name == QLatin1String(Nfcd::ConfirmationEnabledProperty)) {
        confirmationEnabled = value.variant().toBool();
        qCDebug(lcNfcd, "NfcAdapter: ConfirmationEnabled is %s", confirmationEnabled ? "true" : "false");
    }
}

NfcAdapter* NfcAdapter::defaultAdapter()
{
    return new NfcAdapter;
}

NfcAdapter::NfcAdapter(QObject* parent)
    : QObject(parent), d(new NfcAdapterPrivate(this))
{
    d->readInitialState();
}

NfcAdapter::~NfcAdapter()
{
    delete d;
}

bool NfcAdapter::isValid() const
{
    return d->valid;
}

bool NfcAdapter::isConfirmationEnabled() const
{
    return d->confirmationEnabled;
}

namespace {
void callAdapter(NfcdAdapterProxy* adapter, const char* method, NfcAgent* agent)
{
    if (!agent) {
        qCWarning(lcNfcd, "NfcAdapter: %s without an agent", method);
        return;
    }
    if (!adapter) {
        qCWarning(lcNfcd, "NfcAdapter: %s while there is no adapter", method);
        return;
    }
    const QDBusObjectPath path = agent->objectPath();
    QDBusPendingCall pending = qstrcmp(method, "RegisterUIAgent") == 0 ? adapter->RegisterUIAgent(path)
                                                                        : adapter->UnregisterUIAgent(path);
    qCDebug(lcNfcd, "NfcAdapter: %s(%s)", method, qPrintable(path.path()));
    auto* watcher = new QDBusPendingCallWatcher(pending);
    const QString name = QLatin1String(method);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [name](QDBusPendingCallWatcher* watcher) {
        watcher->deleteLater();
        if (watcher->isError()) {
            qCWarning(lcNfcd, "NfcAdapter: %s failed: %s: %s", qPrintable(name), qPrintable(watcher->error().name()),
                      qPrintable(watcher->error().message()));
        }
    });
}
} // namespace

void NfcAdapterPrivate::registerAgent(NfcAgent* agent)
{
    if (!agent || !adapter) {
        callAdapter(adapter.get(), "RegisterUIAgent", agent);
        return;
    }
    const QDBusObjectPath path = agent->objectPath();
    qCDebug(lcNfcd, "NfcAdapter: RegisterUIAgent(%s)", qPrintable(path.path()));
    adapter->setTimeout(StartupTimeoutMs);
    auto* call = new QDBusPendingCallWatcher(adapter->RegisterUIAgent(path), this);
    adapter->setTimeout(-1);
    const quint64 asked = generation;
    QPointer<NfcAgent> registered(agent);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, asked, registered](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        if (!call->isError())
            return;
        if (call->error().type() == QDBusError::NoReply && registered && asked == generation && adapter) {
            // A daemon that is busy or stopped for a while: without an agent it would never call the UI.
            qCWarning(lcNfcd, "NfcAdapter: RegisterUIAgent got no answer within %d ms; asking again",
                      StartupTimeoutMs);
            registerAgent(registered);
            return;
        }
        qCWarning(lcNfcd, "NfcAdapter: RegisterUIAgent failed: %s: %s", qPrintable(call->error().name()),
                  qPrintable(call->error().message()));
    });
}

void NfcAdapter::registerAgent(NfcAgent* agent)
{
    d->registerAgent(agent);
}

void NfcAdapter::unregisterAgent(NfcAgent* agent)
{
    callAdapter(d->adapter.get(), "UnregisterUIAgent", agent);
    if (agent)
        NfcAgentPrivate::unregistered(agent);
}
