#ifndef NFCUI_SIMULATORTAGSOURCE_H
#define NFCUI_SIMULATORTAGSOURCE_H

#include "tagsource.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>

class NfcDaemon;

// The simulated tag source: com.orvan.nfc.Simulator at /com/orvan/nfc/simulator, driven by nfcui-sim
// and the tests. Unlike a reader, each call waits for the UI agent and returns its answer, so it talks
// to the daemon directly rather than through the TagSource signals.
class SimulatorTagSource : public TagSource, protected QDBusContext
{
    Q_OBJECT
public:
    SimulatorTagSource(NfcDaemon* daemon, const QDBusConnection& bus);
    bool start() override;

public Q_SLOTS:
    QDBusObjectPath TouchTag(const QByteArray& data, const QStringList& handlers, const QStringList& foreground);
    QDBusObjectPath TouchUnreadableTag();
    QDBusObjectPath RequestPairing(const QString& address, const QString& name, uint classOfDevice,
                                   const QString& pin);
    QDBusObjectPath RequestConnection(const QString& address, const QString& name, uint classOfDevice);
    QDBusObjectPath RequestDisconnection(const QString& address, const QString& name, uint classOfDevice);
    void RequestSharingPermission(const QString& carrier, const QDBusVariant& info, const QStringList& resources);
    void RequestSharingSelection(const QString& carrier, const QDBusVariant& info);

private:
    // The answer to the current call, sent when the daemon has the agent's reply.
    std::function<void(const QDBusError&, const QDBusObjectPath&)> replyLater(bool returnsTarget);
    bool checkAddress(const QString& address);

    NfcDaemon* const m_daemon;
    QDBusConnection m_bus;
};

#endif
