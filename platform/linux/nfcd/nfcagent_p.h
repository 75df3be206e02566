#ifndef NFCUI_NFCAGENT_P_H
#define NFCUI_NFCAGENT_P_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <memory>

class NfcAgent;
class QDBusServiceWatcher;

// The agent's object on the system bus. Written by hand rather than generated because most calls are
// answered later, from the reply methods of NfcAgent, and because every call is checked for its sender
// before it reaches the plugin. Introspect answers with the interface from data/dbus.
class NfcAgentPrivate : public QDBusVirtualObject
{
    Q_OBJECT
public:
    enum CallKind { DataDelivery, SharingPermission, SharingSelection, BtPairing, BtConnection, BtDisconnection };

    // A call waiting for the plugin's answer.
    struct PendingCall
    {
        CallKind kind;
        QDBusObjectPath target; // calls about a tag or device
        QVariant info;          // sharing calls
        QDBusMessage message;
        QElapsedTimer age;
    };

    explicit NfcAgentPrivate(NfcAgent* q);
    ~NfcAgentPrivate() override;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

    void export_();
    void unexport();
    // Checks the sender, the method and its signature, then answers or keeps the call, and hands it to
    // the plugin.
    void dispatch(const QDBusMessage& message);
    void deliver(const QDBusMessage& message);
    void keep(CallKind kind, const QDBusMessage& message, const QDBusObjectPath& target, const QVariant& info);

    // Takes the oldest pending call that matches; false when there is none.
    bool takeByTarget(const QList<CallKind>& kinds, const QDBusObjectPath& target, PendingCall* call);
    bool takeByInfo(const QList<CallKind>& kinds, const QVariant& info, PendingCall* call);
    void answer(const char* replyMethod, bool found, const PendingCall& call, const QDBusMessage& reply);
    void replyTarget(const char* replyMethod, const QList<CallKind>& kinds, const QDBusObjectPath& target,
                     const QString& errorName, const QString& errorMessage);
    void replySharing(const char* replyMethod, const QVariant& info, const QString& errorName,
                      const QString& errorMessage);

    // The agent was unregistered from the daemon: nobody will answer its calls any more (the plugin
    // deletes its requests without replies), so they are canceled now rather than when they expire.
    static void unregistered(NfcAgent* agent);

    void scheduleExpiry();
    void expire();
    void cancel(const PendingCall& call, const char* why);

    NfcAgent* const q;
    QDBusConnection bus;
    bool exported = false;
    QString daemonOwner;
    std::unique_ptr<QDBusServiceWatcher> watcher;
    // Calls whose sender is not the known owner of the daemon's name wait here while the owner is asked
    // again, so that a restarted daemon's first call is not refused because its NameOwnerChanged is late.
    QList<QDBusMessage> unverified;
    bool verifying = false;
    QList<PendingCall> pending;
    QTimer expiryTimer;
    qint64 pendingLimitMs;
    int pendingCountLimit;
};

#endif
