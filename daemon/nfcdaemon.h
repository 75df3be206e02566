#ifndef NFCUI_NFCDAEMON_H
#define NFCUI_NFCDAEMON_H

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>

#include "ndefmessagehandler.h"

class NfcdUIAgentProxy;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

// The daemon's state and its side of the agent link: the one adapter and its ConfirmationEnabled
// setting, the registered UI agent, the applications registered for NDEF data, and the sequence of
// agent calls for every touch. The bus objects (manager, adapter, simulator) and the tag sources call
// into it.
class NfcDaemon : public QObject
{
    Q_OBJECT
public:
    // The outcome of an agent call: no error when the agent granted, else the agent's error (or the
    // daemon's, when it could not ask or stopped waiting). target names the tag or device of the touch.
    using Done = std::function<void(const QDBusError& error, const QDBusObjectPath& target)>;

    // A delivery's list of applications given by the caller instead of the registered ones.
    struct HandlerOverride
    {
        QString applicationId;
        bool foreground = false;
    };

    NfcDaemon(const QDBusConnection& bus, bool confirmationEnabled, int replyTimeoutMs, QObject* parent = nullptr);
    ~NfcDaemon() override;

    QDBusConnection bus() const { return m_bus; }
    QDBusObjectPath adapterPath() const;

    // Adapter properties.
    bool isConfirmationEnabled() const { return m_confirmationEnabled; }
    void setConfirmationEnabled(bool enabled);

    // The UI agent. Errors are returned as (name, message); an empty name is success. callerUid is the
    // user of the calling connection: a registered agent is replaced only by one of its own user, root or
    // the daemon's user, so that another user of the machine cannot take the tags' data and the pairing
    // PINs over (UnknownUid when the bus could not tell).
    static constexpr uint UnknownUid = uint(-1);
    QDBusError registerAgent(const QString& sender, const QDBusObjectPath& path, uint callerUid);
    QDBusError unregisterAgent(const QString& sender, const QDBusObjectPath& path);
    bool hasAgent() const;
    // The connection of the registered agent; empty without one.
    QString agentService() const;
    // Whether a user may change the adapter's settings (ConfirmationEnabled): root, the daemon's user and
    // the user of the registered agent.
    bool maySetProperties(uint callerUid) const;

    // Applications for NDEF data, each from its own connection.
    QDBusError registerNdefHandler(const QString& sender, const QString& applicationId, const QDBusObjectPath& path);
    QDBusError unregisterNdefHandler(const QString& sender, const QDBusObjectPath& path);
    QDBusError setForeground(const QString& sender, const QDBusObjectPath& path, bool foreground);
    NdefMessageHandlerList registeredHandlers() const;

    // Touches and requests: each makes the agent calls and reports the agent's answer through done.
    // overrideHandlers replaces the registered applications when useOverride is set; callerService names
    // the caller for applications it lists that are not registered.
    void touchTag(const QByteArray& ndef, const Done& done, bool useOverride = false,
                  const QList<HandlerOverride>& overrideHandlers = {}, const QString& callerService = QString());
    void touchUnreadableTag(const Done& done);
    void requestPairing(const QString& address, const QString& name, uint classOfDevice, const QString& pin,
                        const Done& done);
    void requestConnection(const QString& address, const QString& name, uint classOfDevice, const Done& done);
    void requestDisconnection(const QString& address, const QString& name, uint classOfDevice, const Done& done);
    void requestSharingPermission(const QString& carrier, const QVariant& info, const QStringList& resources,
                                  const Done& done);
    void requestSharingSelection(const QString& carrier, const QVariant& info, const Done& done);

    // From tag sources: a tag read or a tag that cannot be read, answered only in the log.
    void tagRead(const QByteArray& uid, const QByteArray& ndef);
    void tagUnreadable(const QByteArray& uid);

    static bool isValidAddress(const QString& address);

Q_SIGNALS:
    void confirmationEnabledChanged(bool enabled);
    // The agent changed (registered, replaced, unregistered, gone).
    void agentChanged();

private:
    struct Agent
    {
        QString service;
        QDBusObjectPath path;
        uint uid = UnknownUid;
    };
    // Root or the daemon's own user.
    static bool isPrivileged(uint uid);
    struct Handler
    {
        QString applicationId;
        QString service;
        QDBusObjectPath path;
        bool foreground = false;
    };
    // An agent call the daemon waits for.
    struct Outstanding
    {
        QPointer<QDBusPendingCallWatcher> watcher;
        QString description;
        QDBusObjectPath target;
        Done done;
    };
    enum Slot { NoSlot, TagReadSlot, PairingSlot };

    // A connection or disconnection call of the agent, which share their arguments.
    using DeviceCall = QDBusPendingReply<> (NfcdUIAgentProxy::*)(const QDBusObjectPath&, const QString&,
                                                                 const QString&, uint);

    QDBusObjectPath nextTarget(const char* kind);
    void requestDeviceChange(DeviceCall call, const char* method, const char* what, const QString& address,
                             const QString& name, uint classOfDevice, const Done& done);
    QDBusPendingCallWatcher* callAgent(const QString& description, const QDBusPendingCall& call,
                                       const QDBusObjectPath& target, const Done& done, Slot slot = NoSlot);
    void supersede(Slot slot);
    bool refuseWithoutAgent(const char* what, const Done& done);
    void watchService(const QString& service);
    void serviceGone(const QString& service);
    void forgetAgent(const char* why);

    QDBusConnection m_bus;
    bool m_confirmationEnabled;
    int m_replyTimeoutMs;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    std::unique_ptr<Agent> m_agent;
    std::unique_ptr<NfcdUIAgentProxy> m_agentProxy;
    QList<Handler> m_handlers;
    quint64 m_tagCount = 0;
    quint64 m_deviceCount = 0;
    // The tag read and the pairing the agent still works on; a newer one displaces them.
    std::shared_ptr<Outstanding> m_tagRead;
    std::shared_ptr<Outstanding> m_pairing;
};

#endif
