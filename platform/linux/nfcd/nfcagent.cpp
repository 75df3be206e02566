// NfcAgent on the system bus: exported at /com/orvan/nfc/ui_agent, each daemon call arrives as the signal
// of the same name. Calls that wait for the user are kept until the plugin answers through a reply
// method, which finds the call by its target path (by its sharing information for sharing calls),
// oldest first.
#include "nfcagent.h"
#include "nfcagent_p.h"
#include "nfcdnames.h"
#include "linuxlogging.h"
#include "uiagentxml.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QPointer>

namespace {

// A call the plugin never answers (a displaced request) is canceled after this long.
const qint64 DefaultPendingLimitMs = 10 * 60 * 1000;
// And no more than this many calls are kept; the oldest goes first.
const int DefaultPendingCountLimit = 256;

// The process exports one agent at a time: the newest.
QPointer<NfcAgent> exportedAgent;

qint64 pendingLimitFromEnvironment()
{
    bool ok = false;
    const qint64 limit = qEnvironmentVariable("NFCUI_AGENT_PENDING_LIMIT_MS").toLongLong(&ok);
    return ok && limit > 0 ? limit : DefaultPendingLimitMs;
}

int pendingCountFromEnvironment()
{
    bool ok = false;
    const int limit = qEnvironmentVariableIntValue("NFCUI_AGENT_PENDING_COUNT_LIMIT", &ok);
    return ok && limit > 0 ? limit : DefaultPendingCountLimit;
}

// A bus value as plain Qt values: structures and arrays as QVariantList, dictionaries as QVariantMap,
// object paths and signatures as strings. Sharing information comes back from the plugin in this form
// and is compared with ==, which compares these types by value.
QVariant plainValue(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return plainValue(value.value<QDBusVariant>().variant());
    if (value.userType() == qMetaTypeId<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    if (value.userType() == qMetaTypeId<QDBusSignature>())
        return value.value<QDBusSignature>().signature();
    if (value.userType() != qMetaTypeId<QDBusArgument>())
        return value;
    const QDBusArgument argument = value.value<QDBusArgument>();
    switch (argument.currentType()) {
    case QDBusArgument::BasicType:
    case QDBusArgument::VariantType:
        return plainValue(argument.asVariant());
    case QDBusArgument::ArrayType: {
        if (argument.currentSignature() == QLatin1String("ay")) {
            QByteArray bytes;
            argument >> bytes;
            return bytes;
        }
        QVariantList list;
        argument.beginArray();
        while (!argument.atEnd())
            list << plainValue(argument.asVariant());
        argument.endArray();
        return list;
    }
    case QDBusArgument::StructureType: {
        QVariantList list;
        argument.beginStructure();
        while (!argument.atEnd())
            list << plainValue(argument.asVariant());
        argument.endStructure();
        return list;
    }
    case QDBusArgument::MapType: {
        QVariantMap map;
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QVariant key = plainValue(argument.asVariant());
            const QVariant entry = plainValue(argument.asVariant());
            argument.endMapEntry();
            map.insert(key.toString(), entry);
        }
        argument.endMap();
        return map;
    }
    default:
        return QVariant();
    }
}

QString describe(const QVariant& info)
{
    const QVariant plain = plainValue(info);
    if (plain.canConvert<QString>() && plain.userType() != QMetaType::QVariantList)
        return plain.toString();
    return QString::fromLatin1(plain.typeName());
}

const char* kindName(NfcAgentPrivate::CallKind kind)
{
    switch (kind) {
    case NfcAgentPrivate::DataDelivery: return "DataDeliveryRequested";
    case NfcAgentPrivate::SharingPermission: return "SharingPermissionRequested";
    case NfcAgentPrivate::SharingSelection: return "SharingSelectionRequested";
    case NfcAgentPrivate::BtPairing: return "BtPairingRequested";
    case NfcAgentPrivate::BtConnection: return "BtConnectionRequested";
    case NfcAgentPrivate::BtDisconnection: return "BtDisconnectionRequested";
    }
    return "?";
}

const QList<NfcAgentPrivate::CallKind> TargetKinds = {NfcAgentPrivate::DataDelivery, NfcAgentPrivate::BtPairing,
                                                       NfcAgentPrivate::BtConnection,
                                                       NfcAgentPrivate::BtDisconnection};
const QList<NfcAgentPrivate::CallKind> SharingKinds = {NfcAgentPrivate::SharingPermission,
                                                        NfcAgentPrivate::SharingSelection};

} // namespace

NfcAgentPrivate::NfcAgentPrivate(NfcAgent* q)
    : q(q), bus(QDBusConnection::systemBus()), pendingLimitMs(pendingLimitFromEnvironment()),
      pendingCountLimit(pendingCountFromEnvironment())
{
    expiryTimer.setSingleShot(true);
    connect(&expiryTimer, &QTimer::timeout, this, [this] { expire(); });
    if (!bus.isConnected()) {
        qCWarning(lcNfcd, "NfcAgent: no system bus: %s", qPrintable(bus.lastError().message()));
        return;
    }
    watcher = std::make_unique<QDBusServiceWatcher>(QLatin1String(Nfcd::ServiceName), bus,
                                                    QDBusServiceWatcher::WatchForOwnerChange);
    connect(watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) { daemonOwner = newOwner; });
    const QDBusReply<QString> owner = bus.interface()->serviceOwner(QLatin1String(Nfcd::ServiceName));
    if (owner.isValid())
        daemonOwner = owner.value();
}

NfcAgentPrivate::~NfcAgentPrivate() = default;

void NfcAgentPrivate::export_()
{
    if (!bus.isConnected())
        return;
    const QString path = QLatin1String(Nfcd::AgentPath);
    if (exportedAgent && exportedAgent != q) {
        qCInfo(lcNfcd, "NfcAgent: a newer agent takes over %s", qPrintable(path));
        exportedAgent->d->unexport();
    }
    exported = bus.registerVirtualObject(path, this, QDBusConnection::SingleNode);
    if (!exported) {
        qCWarning(lcNfcd, "NfcAgent: cannot export the agent at %s: %s", qPrintable(path),
                  qPrintable(bus.lastError().message()));
        return;
    }
    exportedAgent = q;
}

void NfcAgentPrivate::unexport()
{
    if (!exported)
        return;
    bus.unregisterObject(QLatin1String(Nfcd::AgentPath));
    exported = false;
    if (exportedAgent == q)
        exportedAgent = nullptr;
}

QString NfcAgentPrivate::introspect(const QString&) const
{
    const QString xml = QString::fromUtf8(nfcuiUIAgentXml);
    const int begin = xml.indexOf(QLatin1String("<interface"));
    const QString end = QStringLiteral("</interface>");
    const int last = xml.lastIndexOf(end);
    if (begin < 0 || last < 0)
        return QString();
    return xml.mid(begin, last + end.size() - begin) + QLatin1Char('\n');
}

bool NfcAgentPrivate::handleMessage(const QDBusMessage& message, const QDBusConnection&)
{
    const QString interface = message.interface();
    // Introspection and the other standard interfaces are left to QtDBus.
    if (interface.startsWith(QLatin1String("org.freedesktop.DBus.")))
        return false;
    if (interface.isEmpty() && message.member() == QLatin1String("Introspect"))
        return false;
    if (message.type() != QDBusMessage::MethodCallMessage)
        return false;
    if (!interface.isEmpty() && interface != QLatin1String(Nfcd::AgentInterface)) {
        bus.send(message.createErrorReply(QLatin1String(Nfcd::BusErrorUnknownMethod),
                                          QStringLiteral("No interface %1 at %2").arg(interface, message.path())));
        return true;
    }
    if (message.service() == daemonOwner && !daemonOwner.isEmpty()) {
        dispatch(message);
        return true;
    }
    // The sender may be a daemon that has just taken the name: ask the bus before refusing.
    unverified.append(message);
    if (!verifying) {
        verifying = true;
        auto* call = new QDBusPendingCallWatcher(
            bus.interface()->asyncCall(QStringLiteral("GetNameOwner"), QLatin1String(Nfcd::ServiceName)), this);
        connect(call, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
            call->deleteLater();
            QDBusPendingReply<QString> reply = *call;
            daemonOwner = reply.isError() ? QString() : reply.value();
            verifying = false;
            const QList<QDBusMessage> messages = unverified;
            unverified.clear();
            for (const QDBusMessage& message : messages)
                dispatch(message);
        });
    }
    return true;
}

void NfcAgentPrivate::dispatch(const QDBusMessage& message)
{
    if (daemonOwner.isEmpty() || message.service() != daemonOwner) {
        qCWarning(lcNfcd, "NfcAgent: refused %s from %s, which is not the NFC daemon", qPrintable(message.member()),
                  qPrintable(message.service()));
        bus.send(message.createErrorReply(QLatin1String(Nfcd::BusErrorAccessDenied),
                                          QStringLiteral("Only the NFC daemon may call the UI agent")));
        return;
    }

    static const QHash<QString, QString> signatures = {
        {QStringLiteral("Release"), QString()},
        {QStringLiteral("NotifyTouch"), QStringLiteral("oi")},
        {QStringLiteral("DataDeliveryRequested"), QStringLiteral("a(ssob)oay")},
        {QStringLiteral("SharingPermissionRequested"), QStringLiteral("svas")},
        {QStringLiteral("SharingSelectionRequested"), QStringLiteral("sv")},
        {QStringLiteral("BtPairingRequested"), QStringLiteral("ossus")},
        {QStringLiteral("BtConnectionRequested"), QStringLiteral("ossu")},
        {QStringLiteral("BtDisconnectionRequested"), QStringLiteral("ossu")},
    };
    const auto expected = signatures.constFind(message.member());
    if (expected == signatures.constEnd()) {
        bus.send(message.createErrorReply(
            QLatin1String(Nfcd::BusErrorUnknownMethod),
            QStringLiteral("No method %1 in interface %2").arg(message.member(), QLatin1String(Nfcd::AgentInterface))));
        return;
    }
    if (message.signature() != *expected) {
        qCWarning(lcNfcd, "NfcAgent: refused %s with arguments \"%s\"", qPrintable(message.member()),
                  qPrintable(message.signature()));
        bus.send(message.createErrorReply(QLatin1String(Nfcd::BusErrorInvalidArgs),
                                          QStringLiteral("%1 takes \"%2\", not \"%3\"")
                                              .arg(message.member(), *expected, message.signature())));
        return;
    }
    deliver(message);
}

void NfcAgentPrivate::deliver(const QDBusMessage& message)
{
    const QString member = message.member();
    const QVariantList args = message.arguments();
    qCDebug(lcNfcd, "NfcAgent: %s from the daemon", qPrintable(member));

    // The signals are emitted from the event loop, after QtDBus has finished with the message, so that
    // the plugin may call the bus (even synchronously) from its slots.
    QPointer<NfcAgent> agent(q);
    auto later = [agent](auto emitter) {
        QTimer::singleShot(0, agent.data(), [agent, emitter] {
            if (agent)
                emitter(agent.data());
        });
    };

    if (member == QLatin1String("Release")) {
        bus.send(message.createReply());
        later([](NfcAgent* a) { Q_EMIT a->release(); });
    } else if (member == QLatin1String("NotifyTouch")) {
        const QDBusObjectPath target = args.at(0).value<QDBusObjectPath>();
        const int status = args.at(1).toInt();
        bus.send(message.createReply());
        later([target, status](NfcAgent* a) { Q_EMIT a->notifyTouch(target, status); });
    } else if (member == QLatin1String("DataDeliveryRequested")) {
        const NdefMessageHandlerList handlers = qdbus_cast<NdefMessageHandlerList>(args.at(0));
        const QDBusObjectPath target = args.at(1).value<QDBusObjectPath>();
        const QByteArray data = args.at(2).toByteArray();
        keep(DataDelivery, message, target, QVariant());
        later([handlers, target, data](NfcAgent* a) { Q_EMIT a->dataDeliveryRequested(handlers, target, data); });
    } else if (member == QLatin1String("SharingPermissionRequested")) {
        const QString carrier = args.at(0).toString();
        const QVariant info = plainValue(args.at(1));
        const QStringList resources = qdbus_cast<QStringList>(args.at(2));
        keep(SharingPermission, message, QDBusObjectPath(), info);
        later([carrier, info, resources](NfcAgent* a) { Q_EMIT a->sharingPermissionRequested(carrier, info, resources); });
    } else if (member == QLatin1String("SharingSelectionRequested")) {
        const QString carrier = args.at(0).toString();
        const QVariant info = plainValue(args.at(1));
        keep(SharingSelection, message, QDBusObjectPath(), info);
        later([carrier, info](NfcAgent* a) { Q_EMIT a->sharingSelectionRequested(carrier, info); });
    } else {
        const QDBusObjectPath target = args.at(0).value<QDBusObjectPath>();
        const QString address = args.at(1).toString();
        const QString name = args.at(2).toString();
        const uint cod = args.at(3).toUInt();
        if (member == QLatin1String("BtPairingRequested")) {
            const QString pin = args.at(4).toString();
            keep(BtPairing, message, target, QVariant());
            later([=](NfcAgent* a) { Q_EMIT a->btPairingRequested(target, address, name, cod, pin); });
        } else if (member == QLatin1String("BtConnectionRequested")) {
            keep(BtConnection, message, target, QVariant());
            later([=](NfcAgent* a) { Q_EMIT a->btConnectionRequested(target, address, name, cod); });
        } else {
            keep(BtDisconnection, message, target, QVariant());
            later([=](NfcAgent* a) { Q_EMIT a->btDisconnectionRequested(target, address, name, cod); });
        }
    }
}

void NfcAgentPrivate::keep(CallKind kind, const QDBusMessage& message, const QDBusObjectPath& target,
                           const QVariant& info)
{
    message.setDelayedReply(true);
    PendingCall call{kind, target, info, message, QElapsedTimer()};
    call.age.start();
    pending.append(call);
    while (pending.size() > pendingCountLimit)
        cancel(pending.takeFirst(), "too many calls are waiting");
    scheduleExpiry();
}

bool NfcAgentPrivate::takeByTarget(const QList<CallKind>& kinds, const QDBusObjectPath& target, PendingCall* call)
{
    for (int i = 0; i < pending.size(); ++i) {
        if (kinds.contains(pending.at(i).kind) && pending.at(i).target == target) {
            *call = pending.takeAt(i);
            return true;
        }
    }
    return false;
}

bool NfcAgentPrivate::takeByInfo(const QList<CallKind>& kinds, const QVariant& info, PendingCall* call)
{
    const QVariant plain = plainValue(info);
    for (int i = 0; i < pending.size(); ++i) {
        if (kinds.contains(pending.at(i).kind) && pending.at(i).info == plain) {
            *call = pending.takeAt(i);
            return true;
        }
    }
    return false;
}

void NfcAgentPrivate::replyTarget(const char* replyMethod, const QList<CallKind>& kinds,
                                  const QDBusObjectPath& target, const QString& errorName,
                                  const QString& errorMessage)
{
    PendingCall call;
    if (!takeByTarget(kinds, target, &call)) {
        qCWarning(lcNfcd, "NfcAgent::%s: no call is waiting for %s", replyMethod, qPrintable(target.path()));
        return;
    }
    const QDBusMessage reply = errorName.isEmpty() ? call.message.createReply()
                                                   : call.message.createErrorReply(errorName, errorMessage);
    qCDebug(lcNfcd, "NfcAgent::%s: answers %s for %s%s%s", replyMethod, kindName(call.kind),
            qPrintable(target.path()), errorName.isEmpty() ? "" : " with ", qPrintable(errorName));
    bus.send(reply);
    scheduleExpiry();
}

void NfcAgentPrivate::replySharing(const char* replyMethod, const QVariant& info, const QString& errorName,
                                   const QString& errorMessage)
{
    PendingCall call;
    if (!takeByInfo(SharingKinds, info, &call)) {
        qCWarning(lcNfcd, "NfcAgent::%s: no sharing call is waiting for %s", replyMethod, qPrintable(describe(info)));
        return;
    }
    const QDBusMessage reply = errorName.isEmpty() ? call.message.createReply()
                                                   : call.message.createErrorReply(errorName, errorMessage);
    qCDebug(lcNfcd, "NfcAgent::%s: answers %s%s%s", replyMethod, kindName(call.kind),
            errorName.isEmpty() ? "" : " with ", qPrintable(errorName));
    bus.send(reply);
    scheduleExpiry();
}

void NfcAgentPrivate::cancel(const PendingCall& call, const char* why)
{
    qCInfo(lcNfcd, "NfcAgent: %s for %s canceled: %s", kindName(call.kind),
           qPrintable(call.target.path().isEmpty() ? describe(call.info) : call.target.path()), why);
    bus.send(call.message.createErrorReply(QLatin1String(Nfcd::AgentErrorCanceled), QString::fromLatin1(why)));
}

void NfcAgentPrivate::unregistered(NfcAgent* agent)
{
    NfcAgentPrivate* d = agent->d;
    const QList<PendingCall> calls = d->pending;
    d->pending.clear();
    for (const PendingCall& call : calls)
        d->cancel(call, "the UI agent was unregistered");
    d->scheduleExpiry();
}

void NfcAgentPrivate::scheduleExpiry()
{
    if (pending.isEmpty()) {
        expiryTimer.stop();
        return;
    }
    const qint64 left = pendingLimitMs - pending.first().age.elapsed();
    expiryTimer.start(int(qBound<qint64>(0, left, 24 * 3600 * 1000)));
}

void NfcAgentPrivate::expire()
{
    while (!pending.isEmpty() && pending.first().age.elapsed() >= pendingLimitMs)
        cancel(pending.takeFirst(), "nobody answered in time");
    scheduleExpiry();
}

NfcAgent::NfcAgent(QObject* parent)
    : QObject(parent), d(new NfcAgentPrivate(this))
{
    ConnUi::registerNdefMessageHandlerTypes();
    d->export_();
}

NfcAgent::~NfcAgent()
{
    d->unexport();
    for (const NfcAgentPrivate::PendingCall& call : qAsConst(d->pending))
        d->cancel(call, "the UI agent went away");
    d->pending.clear();
    for (const QDBusMessage& message : qAsConst(d->unverified)) {
        d->bus.send(message.createErrorReply(QLatin1String(Nfcd::AgentErrorCanceled),
                                             QStringLiteral("the UI agent went away")));
    }
    delete d;
}

QDBusObjectPath NfcAgent::objectPath() const
{
    return QDBusObjectPath(QLatin1String(Nfcd::AgentPath));
}

void NfcAgent::dataDeliveryGranted(const QDBusObjectPath& target)
{
    d->replyTarget("dataDeliveryGranted", {NfcAgentPrivate::DataDelivery}, target, QString(), QString());
}

void NfcAgent::rejectDevice(const QDBusObjectPath& target)
{
    d->replyTarget("rejectDevice", TargetKinds, target, QLatin1String(Nfcd::AgentErrorRejected),
                   QStringLiteral("Rejected"));
}

void NfcAgent::acceptSharing(const QVariant& info)
{
    d->replySharing("acceptSharing", info, QString(), QString());
}

void NfcAgent::rejectSharing(const QVariant& info)
{
    d->replySharing("rejectSharing", info, QLatin1String(Nfcd::AgentErrorRejected), QStringLiteral("Rejected"));
}

void NfcAgent::btPairingRequestGranted(const QDBusObjectPath& target)
{
    d->replyTarget("btPairingRequestGranted", {NfcAgentPrivate::BtPairing}, target, QString(), QString());
}

void NfcAgent::btConnectionRequestGranted(const QDBusObjectPath& target)
{
    d->replyTarget("btConnectionRequestGranted", {NfcAgentPrivate::BtConnection}, target, QString(), QString());
}

void NfcAgent::btDisconnectionRequestGranted(const QDBusObjectPath& target)
{
    d->replyTarget("btDisconnectionRequestGranted", {NfcAgentPrivate::BtDisconnection}, target, QString(),
                   QString());
}

// A reason that is an error name is the error itself; any other text is the message of Failed.
void NfcAgent::replyError(const QDBusObjectPath& target, const QString& reason)
{
    if (Nfcd::isValidErrorName(reason))
        d->replyTarget("replyError", TargetKinds, target, reason, reason);
    else
        d->replyTarget("replyError", TargetKinds, target, QLatin1String(Nfcd::AgentErrorFailed), reason);
}
