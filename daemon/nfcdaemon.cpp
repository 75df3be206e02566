#include "nfcdaemon.h"
#include "bluetoothhandover.h"
#include "daemonlogging.h"
#include "ndefmessage.h"
#include "nfcdnames.h"

#include "nfcduiagentproxy.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QRegularExpression>

#include <unistd.h>

namespace {

// Bounds of the NDEF handler registry (see registerNdefHandler()).
constexpr int MaxApplicationIdLength = 255;
constexpr int MaxHandlersPerConnection = 32;
constexpr int MaxHandlers = 256;

QDBusError makeError(const char* name, const QString& message)
{
    return QDBusError(QDBusMessage::createError(QLatin1String(name), message));
}

QString describeData(const QByteArray& data)
{
    return QStringLiteral("%1 bytes").arg(data.size());
}

QString describeValue(const QVariant& value)
{
    if (value.canConvert<QString>())
        return QStringLiteral("\"%1\"").arg(value.toString());
    return QString::fromLatin1(value.typeName());
}

} // namespace

NfcDaemon::NfcDaemon(const QDBusConnection& bus, bool confirmationEnabled, int replyTimeoutMs, QObject* parent)
    : QObject(parent), m_bus(bus), m_confirmationEnabled(confirmationEnabled), m_replyTimeoutMs(replyTimeoutMs),
      m_watcher(std::make_unique<QDBusServiceWatcher>())
{
    ConnUi::registerNdefMessageHandlerTypes();
    m_watcher->setConnection(m_bus);
    m_watcher->setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(m_watcher.get(), &QDBusServiceWatcher::serviceUnregistered, this, &NfcDaemon::serviceGone);
}

NfcDaemon::~NfcDaemon() = default;

QDBusObjectPath NfcDaemon::adapterPath() const
{
    return QDBusObjectPath(QLatin1String(Nfcd::DefaultAdapterPath));
}

void NfcDaemon::setConfirmationEnabled(bool enabled)
{
    if (m_confirmationEnabled == enabled)
        return;
    m_confirmationEnabled = enabled;
    qCInfo(lcDaemon, "ConfirmationEnabled is now %s", enabled ? "true" : "false");
    Q_EMIT confirmationEnabledChanged(enabled);
}

bool NfcDaemon::hasAgent() const
{
    return m_agent != nullptr;
}

QString NfcDaemon::agentService() const
{
    return m_agent ? m_agent->service : QString();
}

bool NfcDaemon::isPrivileged(uint uid)
{
    return uid == 0 || uid == uint(::getuid());
}

bool NfcDaemon::maySetProperties(uint callerUid) const
{
    return isPrivileged(callerUid) || (m_agent && callerUid != UnknownUid && m_agent->uid == callerUid);
}

QDBusError NfcDaemon::registerAgent(const QString& sender, const QDBusObjectPath& path, uint callerUid)
{
    if (m_agent && m_agent->service == sender && m_agent->path == path) {
        qCInfo(lcDaemon, "UI agent %s %s registered again", qPrintable(sender), qPrintable(path.path()));
        return QDBusError();
    }
    if (m_agent && !isPrivileged(callerUid) && (callerUid == UnknownUid || callerUid != m_agent->uid)) {
        qCWarning(lcDaemon, "UI agent %s %s of user %u refused: the agent of user %u is registered",
                  qPrintable(sender), qPrintable(path.path()), callerUid, m_agent->uid);
        return QDBusError(QDBusError::AccessDenied, QStringLiteral("The UI agent of another user is registered"));
    }
    if (m_agent) {
        // The agent that is replaced is told so; nobody waits for its answer.
        qCInfo(lcDaemon, "call Release() on %s %s: a new agent replaces it", qPrintable(m_agent->service),
               qPrintable(m_agent->path.path()));
        callAgent(QStringLiteral("Release()"), m_agentProxy->Release(), QDBusObjectPath(), Done());
    }
    m_agent = std::make_unique<Agent>(Agent{sender, path, callerUid});
    m_agentProxy = std::make_unique<NfcdUIAgentProxy>(sender, path.path(), m_bus);
    m_agentProxy->setTimeout(m_replyTimeoutMs);
    watchService(sender);
    qCInfo(lcDaemon, "UI agent %s %s registered", qPrintable(sender), qPrintable(path.path()));
    Q_EMIT agentChanged();
    return QDBusError();
}

QDBusError NfcDaemon::unregisterAgent(const QString& sender, const QDBusObjectPath& path)
{
    if (!m_agent || m_agent->service != sender || m_agent->path != path) {
        return makeError(Nfcd::ErrorNotRegistered,
                         QStringLiteral("No UI agent %1 is registered by %2").arg(path.path(), sender));
    }
    forgetAgent("unregistered");
    return QDBusError();
}

void NfcDaemon::forgetAgent(const char* why)
{
    qCInfo(lcDaemon, "UI agent %s %s %s", qPrintable(m_agent->service), qPrintable(m_agent->path.path()), why);
    m_agent.reset();
    m_agentProxy.reset();
    Q_EMIT agentChanged();
}

QDBusError NfcDaemon::registerNdefHandler(const QString& sender, const QString& applicationId,
                                          const QDBusObjectPath& path)
{
    if (applicationId.isEmpty())
        return makeError(Nfcd::ErrorInvalidArguments, QStringLiteral("The application id is empty"));
    // Every delivery carries the registered applications, and every registration is logged: an id of any
    // length or with line breaks would make deliveries too large for the bus and forge log lines.
    if (applicationId.size() > MaxApplicationIdLength)
        return makeError(Nfcd::ErrorInvalidArguments,
                         QStringLiteral("The application id is longer than %1 characters").arg(MaxApplicationIdLength));
    for (const QChar c : applicationId) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line
            || c.category() == QChar::Separator_Paragraph)
            return makeError(Nfcd::ErrorInvalidArguments, QStringLiteral("The application id has control characters"));
    }
    int ofSender = 0;
    for (Handler& handler : m_handlers) {
        if (handler.service == sender && handler.path == path) {
            handler.applicationId = applicationId;
            qCInfo(lcDaemon, "NDEF handler \"%s\" %s %s registered again", qPrintable(applicationId),
                   qPrintable(sender), qPrintable(path.path()));
            return QDBusError();
        }
        if (handler.service == sender)
            ++ofSender;
    }
    if (ofSender >= MaxHandlersPerConnection || m_handlers.size() >= MaxHandlers) {
        return QDBusError(QDBusError::LimitsExceeded,
                          QStringLiteral("No more NDEF handlers: %1 per connection and %2 in all")
                              .arg(MaxHandlersPerConnection)
                              .arg(MaxHandlers));
    }
    m_handlers.append(Handler{applicationId, sender, path, false});
    watchService(sender);
    qCInfo(lcDaemon, "NDEF handler \"%s\" %s %s registered", qPrintable(applicationId), qPrintable(sender),
           qPrintable(path.path()));
    return QDBusError();
}

QDBusError NfcDaemon::unregisterNdefHandler(const QString& sender, const QDBusObjectPath& path)
{
    for (int i = 0; i < m_handlers.size(); ++i) {
        if (m_handlers.at(i).service == sender && m_handlers.at(i).path == path) {
            qCInfo(lcDaemon, "NDEF handler \"%s\" %s %s unregistered", qPrintable(m_handlers.at(i).applicationId),
                   qPrintable(sender), qPrintable(path.path()));
            m_handlers.removeAt(i);
            return QDBusError();
        }
    }
    return makeError(Nfcd::ErrorNotRegistered,
                     QStringLiteral("No NDEF handler %1 is registered by %2").arg(path.path(), sender));
}

QDBusError NfcDaemon::setForeground(const QString& sender, const QDBusObjectPath& path, bool foreground)
{
    for (Handler& handler : m_handlers) {
        if (handler.service == sender && handler.path == path) {
            handler.foreground = foreground;
            qCInfo(lcDaemon, "NDEF handler \"%s\" is %s", qPrintable(handler.applicationId),
                   foreground ? "in the foreground" : "in the background");
            return QDBusError();
        }
    }
    return makeError(Nfcd::ErrorNotRegistered,
                     QStringLiteral("No NDEF handler %1 is registered by %2").arg(path.path(), sender));
}

NdefMessageHandlerList NfcDaemon::registeredHandlers() const
{
    NdefMessageHandlerList list;
    for (const Handler& handler : m_handlers)
        list << ConnUi::NdefMessageHandler(handler.applicationId, handler.service, handler.path, handler.foreground);
    return list;
}

void NfcDaemon::watchService(const QString& service)
{
    if (!m_watcher->watchedServices().contains(service))
        m_watcher->addWatchedService(service);
}

void NfcDaemon::serviceGone(const QString& service)
{
    m_watcher->removeWatchedService(service);
    for (int i = m_handlers.size() - 1; i >= 0; --i) {
        if (m_handlers.at(i).service == service) {
            qCInfo(lcDaemon, "NDEF handler \"%s\" %s forgotten: its connection is gone",
                   qPrintable(m_handlers.at(i).applicationId), qPrintable(service));
            m_handlers.removeAt(i);
        }
    }
    if (m_agent && m_agent->service == service)
        forgetAgent("forgotten: its connection is gone");
}

QDBusObjectPath NfcDaemon::nextTarget(const char* kind)
{
    const quint64 number = qstrcmp(kind, "tag") == 0 ? m_tagCount++ : m_deviceCount++;
    return QDBusObjectPath(QStringLiteral("%1/%2%3").arg(QLatin1String(Nfcd::DefaultAdapterPath),
                                                         QLatin1String(kind)).arg(number));
}

bool NfcDaemon::refuseWithoutAgent(const char* what, const Done& done)
{
    if (m_agent)
        return false;
    qCInfo(lcDaemon, "%s: no UI agent is registered", what);
    if (done)
        done(makeError(Nfcd::ErrorNoAgent, QStringLiteral("No UI agent is registered")), QDBusObjectPath());
    return true;
}

// Makes one agent call: a log line now and one when the answer comes. A call in a slot (the tag read,
// the pairing) displaces the one there before.
QDBusPendingCallWatcher* NfcDaemon::callAgent(const QString& description, const QDBusPendingCall& call,
                                              const QDBusObjectPath& target, const Done& done, Slot slot)
{
    qCInfo(lcDaemon, "call %s", qPrintable(description));
    auto outstanding = std::make_shared<Outstanding>();
    outstanding->description = description;
    outstanding->target = target;
    outstanding->done = done;
    auto* watcher = new QDBusPendingCallWatcher(call, this);
    outstanding->watcher = watcher;
    if (slot == TagReadSlot)
        m_tagRead = outstanding;
    else if (slot == PairingSlot)
        m_pairing = outstanding;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, outstanding, slot](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        if (slot == TagReadSlot && m_tagRead == outstanding)
            m_tagRead.reset();
        if (slot == PairingSlot && m_pairing == outstanding)
            m_pairing.reset();
        const QDBusError error = w->error();
        if (error.isValid()) {
            qCInfo(lcDaemon, "reply %s: %s: %s", qPrintable(outstanding->description), qPrintable(error.name()),
                   qPrintable(error.message()));
        } else {
            qCInfo(lcDaemon, "reply %s: ok", qPrintable(outstanding->description));
        }
        if (outstanding->done)
            outstanding->done(error, outstanding->target);
    });
    return watcher;
}

void NfcDaemon::supersede(Slot slot)
{
    std::shared_ptr<Outstanding>& current = slot == TagReadSlot ? m_tagRead : m_pairing;
    if (!current)
        return;
    const std::shared_ptr<Outstanding> displaced = current;
    current.reset();
    qCInfo(lcDaemon, "superseded %s: the agent will not answer it", qPrintable(displaced->description));
    delete displaced->watcher.data();
    if (displaced->done) {
        displaced->done(makeError(Nfcd::ErrorSuperseded,
                                  QStringLiteral("A newer touch or request displaced %1").arg(displaced->target.path())),
                        displaced->target);
    }
}

void NfcDaemon::touchTag(const QByteArray& ndef, const Done& done, bool useOverride,
                         const QList<HandlerOverride>& overrideHandlers, const QString& callerService)
{
    if (refuseWithoutAgent("tag touched", done))
        return;
    const QDBusObjectPath target = nextTarget("tag");
    callAgent(QStringLiteral("NotifyTouch(%1, %2)").arg(target.path()).arg(Nfcd::TouchRead),
              m_agentProxy->NotifyTouch(target, Nfcd::TouchRead), target, Done());

    if (!std::unique_ptr<NDEFMessage>(NDEFMessage::createFromData(ndef))) {
        qCInfo(lcDaemon, "tag %s: the %d bytes are not an NDEF message; delivered as they are",
               qPrintable(target.path()), int(ndef.size()));
    }
    const BluetoothHandover handover = BluetoothHandover::parse(ndef);
    if (handover.kind() == BluetoothHandover::Malformed) {
        qCInfo(lcDaemon, "tag %s: malformed Bluetooth handover (%s), delivered as plain data",
               qPrintable(target.path()), qPrintable(handover.problem()));
    }
    if (handover.kind() == BluetoothHandover::Handover) {
        supersede(PairingSlot);
        callAgent(QStringLiteral("BtPairingRequested(%1, %2, \"%3\", 0x%4, \"\")")
                      .arg(target.path(), handover.address(), handover.name())
                      .arg(handover.classOfDevice(), 6, 16, QLatin1Char('0')),
                  m_agentProxy->BtPairingRequested(target, handover.address(), handover.name(),
                                                   handover.classOfDevice(), QString()),
                  target, done, PairingSlot);
        return;
    }

    NdefMessageHandlerList handlers;
    if (useOverride) {
        for (const HandlerOverride& wanted : overrideHandlers) {
            QString service = callerService;
            QDBusObjectPath path(QStringLiteral("/"));
            for (const Handler& registered : qAsConst(m_handlers)) {
                if (registered.applicationId == wanted.applicationId) {
                    service = registered.service;
                    path = registered.path;
                    break;
                }
            }
            handlers << ConnUi::NdefMessageHandler(wanted.applicationId, service, path, wanted.foreground);
        }
    } else {
        handlers = registeredHandlers();
    }
    supersede(TagReadSlot);
    callAgent(QStringLiteral("DataDeliveryRequested(%1 handlers, %2, %3)")
                  .arg(handlers.size())
                  .arg(target.path(), describeData(ndef)),
              m_agentProxy->DataDeliveryRequested(handlers, target, ndef), target, done, TagReadSlot);
}

void NfcDaemon::touchUnreadableTag(const Done& done)
{
    if (refuseWithoutAgent("unreadable tag touched", done))
        return;
    const QDBusObjectPath target = nextTarget("tag");
    callAgent(QStringLiteral("NotifyTouch(%1, %2)").arg(target.path()).arg(Nfcd::TouchUnreadable),
              m_agentProxy->NotifyTouch(target, Nfcd::TouchUnreadable), target, done);
}

bool NfcDaemon::isValidAddress(const QString& address)
{
    static const QRegularExpression pattern(QStringLiteral("^[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}$"));
    return pattern.match(address).hasMatch();
}

void NfcDaemon::requestPairing(const QString& address, const QString& name, uint classOfDevice, const QString& pin,
                               const Done& done)
{
    if (refuseWithoutAgent("pairing asked", done))
        return;
    const QDBusObjectPath target = nextTarget("device");
    supersede(PairingSlot);
    callAgent(QStringLiteral("BtPairingRequested(%1, %2, \"%3\", 0x%4, \"%5\")")
                  .arg(target.path(), address, name)
                  .arg(classOfDevice, 6, 16, QLatin1Char('0'))
                  .arg(pin),
              m_agentProxy->BtPairingRequested(target, address, name, classOfDevice, pin), target, done,
              PairingSlot);
}

void NfcDaemon::requestConnection(const QString& address, const QString& name, uint classOfDevice, const Done& done)
{
    requestDeviceChange(&NfcdUIAgentProxy::BtConnectionRequested, "BtConnectionRequested", "connection asked", address,
                        name, classOfDevice, done);
}

void NfcDaemon::requestDisconnection(const QString& address, const QString& name, uint classOfDevice,
                                     const Done& done)
{
    requestDeviceChange(&NfcdUIAgentProxy::BtDisconnectionRequested, "BtDisconnectionRequested",
                        "disconnection asked", address, name, classOfDevice, done);
}

void NfcDaemon::requestDeviceChange(DeviceCall call, const char* method, const char* what, const QString& address,
                                    const QString& name, uint classOfDevice, const Done& done)
{
    if (refuseWithoutAgent(what, done))
        return;
    const QDBusObjectPath target = nextTarget("device");
    callAgent(QStringLiteral("%1(%2, %3, \"%4\", 0x%5)")
                  .arg(QLatin1String(method), target.path(), address, name)
                  .arg(classOfDevice, 6, 16, QLatin1Char('0')),
              (m_agentProxy.get()->*call)(target, address, name, classOfDevice), target, done);
}

void NfcDaemon::requestSharingPermission(const QString& carrier, const QVariant& info, const QStringList& resources,
                                         const Done& done)
{
    if (refuseWithoutAgent("sharing permission asked", done))
        return;
    // A sharing request stops the tag read in progress, as a new touch does.
    supersede(TagReadSlot);
    callAgent(QStringLiteral("SharingPermissionRequested(\"%1\", %2, [%3])")
                  .arg(carrier, describeValue(info), resources.join(QStringLiteral(", "))),
              m_agentProxy->SharingPermissionRequested(carrier, QDBusVariant(info), resources), QDBusObjectPath(),
              done);
}

void NfcDaemon::requestSharingSelection(const QString& carrier, const QVariant& info, const Done& done)
{
    if (refuseWithoutAgent("sharing selection asked", done))
        return;
    supersede(TagReadSlot);
    callAgent(QStringLiteral("SharingSelectionRequested(\"%1\", %2)").arg(carrier, describeValue(info)),
              m_agentProxy->SharingSelectionRequested(carrier, QDBusVariant(info)), QDBusObjectPath(), done);
}

void NfcDaemon::tagRead(const QByteArray& uid, const QByteArray& ndef)
{
    qCInfo(lcDaemon, "tag %s read: %d bytes of NDEF", uid.isEmpty() ? "(no id)" : uid.toHex().constData(),
           int(ndef.size()));
    touchTag(ndef, Done());
}

void NfcDaemon::tagUnreadable(const QByteArray& uid)
{
    qCInfo(lcDaemon, "tag %s cannot be read as NDEF", uid.isEmpty() ? "(no id)" : uid.toHex().constData());
    touchUnreadableTag(Done());
}
