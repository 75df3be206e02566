#ifndef NFCUI_MANAGEROBJECT_H
#define NFCUI_MANAGEROBJECT_H

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QObject>

class NfcDaemon;

// The daemon's com.orvan.nfc.Manager at "/": the default adapter and the applications registered for
// NDEF data. The generated adaptor calls these slots.
class ManagerObject : public QObject, protected QDBusContext
{
    Q_OBJECT
public:
    explicit ManagerObject(NfcDaemon* daemon);
    bool exportOn(QDBusConnection bus);

public Q_SLOTS:
    QDBusObjectPath DefaultAdapter();
    void RegisterNdefHandler(const QString& applicationId, const QDBusObjectPath& path);
    void UnregisterNdefHandler(const QDBusObjectPath& path);
    void SetForeground(const QDBusObjectPath& path, bool foreground);

Q_SIGNALS:
    void AdapterAdded(const QDBusObjectPath& adapter);
    void AdapterRemoved(const QDBusObjectPath& adapter);

private:
    void answer(const QDBusError& error);
    NfcDaemon* const m_daemon;
};

#endif
