#ifndef NFCUI_MANAGEROBJECT_H
#define NFCUI_MANAGEROBJECT_H

#include "daemonbusobject.h"

#include <QDBusObjectPath>

class NfcDaemon;

// The daemon's com.orvan.nfc.Manager at "/": the default adapter and the applications registered for
// NDEF data. The generated adaptor calls these slots.
class ManagerObject : public DaemonBusObject
{
    Q_OBJECT
public:
    explicit ManagerObject(NfcDaemon* daemon);

public Q_SLOTS:
    QDBusObjectPath DefaultAdapter();
    void RegisterNdefHandler(const QString& applicationId, const QDBusObjectPath& path);
    void UnregisterNdefHandler(const QDBusObjectPath& path);
    void SetForeground(const QDBusObjectPath& path, bool foreground);

Q_SIGNALS:
    void AdapterAdded(const QDBusObjectPath& adapter);
    void AdapterRemoved(const QDBusObjectPath& adapter);
};

#endif
