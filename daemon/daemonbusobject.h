#ifndef NFCUI_DAEMONBUSOBJECT_H
#define NFCUI_DAEMONBUSOBJECT_H

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

class NfcDaemon;
class QDBusError;

// An object the daemon serves on the bus: it answers for the daemon at one path, through the adaptor
// generated for its interface, and turns the daemon's errors into error replies.
class DaemonBusObject : public QObject, protected QDBusContext
{
    Q_OBJECT
public:
    bool exportOn(QDBusConnection bus);

protected:
    DaemonBusObject(NfcDaemon* daemon, const QString& path);
    // Answers the call being served with the error, if there is one; no error leaves the normal reply.
    void answer(const QDBusError& error);

    NfcDaemon* const m_daemon;

private:
    const QString m_path;
};

#endif
