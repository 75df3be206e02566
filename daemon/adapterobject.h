#ifndef NFCUI_ADAPTEROBJECT_H
#define NFCUI_ADAPTEROBJECT_H

#include "daemonbusobject.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QVariantMap>

class NfcDaemon;

// The daemon's one adapter, com.orvan.nfc.Adapter at /com/orvan/nfc/adapter0: the UI agent's
// registration and the adapter's properties. The generated adaptor calls these slots.
class AdapterObject : public DaemonBusObject
{
    Q_OBJECT
public:
    explicit AdapterObject(NfcDaemon* daemon);

public Q_SLOTS:
    void RegisterUIAgent(const QDBusObjectPath& agent);
    void UnregisterUIAgent(const QDBusObjectPath& agent);
    QVariantMap GetProperties();
    void SetProperty(const QString& name, const QDBusVariant& value);

Q_SIGNALS:
    void PropertyChanged(const QString& name, const QDBusVariant& value);
};

#endif
