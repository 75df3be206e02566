#ifndef NFCUI_NFCADAPTER_P_H
#define NFCUI_NFCADAPTER_P_H

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QObject>
#include <QString>

#include <memory>

class NfcAdapter;
class NfcAgent;
class NfcdManagerProxy;
class NfcdAdapterProxy;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

// Follows the daemon on the system bus: its name, its default adapter and the adapter's
// ConfirmationEnabled property. Every answer that arrives after the state it was asked for has changed
// is dropped (the generation counter), so a daemon that restarts quickly never leaves a stale adapter.
class NfcAdapterPrivate : public QObject
{
    Q_OBJECT
public:
    explicit NfcAdapterPrivate(NfcAdapter* q);
    ~NfcAdapterPrivate() override;

    // The state at construction is read synchronously: the caller asks isValid() right away.
    void readInitialState();
    void queryDefaultAdapter();
    void useAdapter(const QDBusObjectPath& path);
    void readProperties();
    void setValid(bool valid);
    void forgetAdapter();
    // Registers the agent with the current adapter; a daemon that does not answer within
    // StartupTimeoutMs is asked again, as long as the adapter and the agent are the same.
    void registerAgent(NfcAgent* agent);

    NfcAdapter* const q;
    QDBusConnection bus;
    std::unique_ptr<QDBusServiceWatcher> watcher;
    std::unique_ptr<NfcdManagerProxy> manager;
    std::unique_ptr<NfcdAdapterProxy> adapter;
    quint64 generation = 0;
    bool valid = false;
    bool confirmationEnabled = true;

public Q_SLOTS:
    void serviceOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);
    void adapterAdded(const QDBusObjectPath& path);
    void adapterRemoved(const QDBusObjectPath& path);
    void propertyChanged(const QString& name, const QDBusVariant& value);
};

#endif
