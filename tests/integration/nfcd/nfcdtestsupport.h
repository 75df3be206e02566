#ifndef NFCUI_NFCDTESTSUPPORT_H
#define NFCUI_NFCDTESTSUPPORT_H

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <memory>

// The test playing the NFC daemon itself: a connection of its own on the private system bus that owns
// com.orvan.nfc and calls the agent, as nfcui-daemon would.
class DaemonRole
{
public:
    explicit DaemonRole(const QString& connectionName = QStringLiteral("nfcd-daemon-role"));
    ~DaemonRole(); // gives the name back and disconnects

    bool ownName();
    QDBusConnection connection() const { return m_bus; }
    QString uniqueName() const { return m_bus.baseService(); }

    // A call to the agent at /com/orvan/nfc/ui_agent, not waited for.
    QDBusPendingCall callAgent(const QString& method, const QVariantList& args = QVariantList(),
                               const QString& interface = QStringLiteral("com.orvan.nfc.UIAgent")) const;

private:
    QString m_name;
    QDBusConnection m_bus;
};

// Method calls to nfcui-daemon's adapter and manager, to send on any connection.
QDBusMessage adapterCall(const QString& method, const QVariantList& args = {});
QDBusMessage managerCall(const QString& method, const QVariantList& args = {});

// A connection of another process's kind: not the daemon.
QDBusConnection strangerConnection(const QString& connectionName = QStringLiteral("nfcd-stranger"));

// nfcui-daemon as a process on the private system bus, its output collected.
class DaemonProcess
{
public:
    explicit DaemonProcess(const QStringList& arguments = {QStringLiteral("--simulator")});
    ~DaemonProcess();

    // Starts the daemon and waits until it owns its name; false with the reason in error().
    bool start();
    // Stops it (SIGTERM) and waits until the name is gone.
    bool stop();
    void kill();
    // What the daemon printed since it was last started.
    QString output() const;
    QString error() const { return m_error; }
    QProcess* process() const { return m_process.get(); }

private:
    QStringList m_arguments;
    std::unique_ptr<QProcess> m_process;
    QString m_error;
    mutable QString m_output;
};

// Waits, spinning the event loop, until the call is answered; false when it is not within the time
// (scaled for instrumented builds, tests/support/testtimeouts.h, like every limit here).
bool finishes(QDBusPendingCall& call, int timeoutMs = 10000);
// True when the call is still unanswered after the event loop has had time to answer it.
bool staysUnanswered(QDBusPendingCall& call);

// Whether anybody owns the daemon's name on the private system bus.
bool daemonNameOwned();
// Runs nfcui-sim with the arguments while the event loop spins (the agent may live in this process);
// returns its exit status, and its output through the pointers.
int runSim(const QStringList& arguments, QByteArray* out = nullptr, QByteArray* err = nullptr,
           int timeoutMs = 30000);

#endif
