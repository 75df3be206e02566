#include "nfcdtestsupport.h"
#include "nfcdnames.h"
#include "testtimeouts.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTest>

DaemonRole::DaemonRole(const QString& connectionName)
    : m_name(connectionName), m_bus(QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName))
{
}

DaemonRole::~DaemonRole()
{
    if (m_bus.isConnected())
        m_bus.unregisterService(QLatin1String(Nfcd::ServiceName));
    QDBusConnection::disconnectFromBus(m_name);
}

bool DaemonRole::ownName()
{
    return m_bus.isConnected() && m_bus.registerService(QLatin1String(Nfcd::ServiceName));
}

QDBusPendingCall DaemonRole::callAgent(const QString& method, const QVariantList& args, const QString& interface) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                          QLatin1String(Nfcd::AgentPath), interface, method);
    message.setArguments(args);
    return m_bus.asyncCall(message, 60000);
}

namespace {

QDBusMessage daemonCall(const char* path, const char* interface, const QString& method, const QVariantList& args)
{
    QDBusMessage message = QDBusMessage::createMethodCall(QLatin1String(Nfcd::ServiceName), QLatin1String(path),
                                                          QLatin1String(interface), method);
    message.setArguments(args);
    return message;
}

} // namespace

QDBusMessage adapterCall(const QString& method, const QVariantList& args)
{
    return daemonCall(Nfcd::DefaultAdapterPath, Nfcd::AdapterInterface, method, args);
}

QDBusMessage managerCall(const QString& method, const QVariantList& args)
{
    return daemonCall(Nfcd::ManagerPath, Nfcd::ManagerInterface, method, args);
}

QDBusConnection strangerConnection(const QString& connectionName)
{
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName);
}

DaemonProcess::DaemonProcess(const QStringList& arguments)
    : m_arguments(arguments)
{
}

DaemonProcess::~DaemonProcess()
{
    if (m_process && m_process->state() != QProcess::NotRunning)
        stop();
}

bool DaemonProcess::start()
{
    m_output.clear();
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    m_process->start(QStringLiteral(NFCUI_DAEMON_PROGRAM), m_arguments);
    if (!m_process->waitForStarted(TestTimeouts::scaled(10000))) {
        m_error = QStringLiteral("cannot start %1: %2").arg(QStringLiteral(NFCUI_DAEMON_PROGRAM),
                                                            m_process->errorString());
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    while (!daemonNameOwned()) {
        if (m_process->state() == QProcess::NotRunning || timer.elapsed() > TestTimeouts::scaled(10000)) {
            m_error = QStringLiteral("nfcui-daemon did not take its name: %1").arg(output());
            return false;
        }
        QTest::qWait(20);
    }
    return true;
}

bool DaemonProcess::stop()
{
    if (!m_process || m_process->state() == QProcess::NotRunning)
        return true;
    m_process->terminate();
    QElapsedTimer timer;
    timer.start();
    while (m_process->state() != QProcess::NotRunning && timer.elapsed() < TestTimeouts::scaled(10000))
        QTest::qWait(20);
    if (m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished(TestTimeouts::scaled(5000));
    }
    while (daemonNameOwned() && timer.elapsed() < TestTimeouts::scaled(15000))
        QTest::qWait(20);
    return !daemonNameOwned();
}

void DaemonProcess::kill()
{
    if (!m_process)
        return;
    m_process->kill();
    m_process->waitForFinished(TestTimeouts::scaled(5000));
}

QString DaemonProcess::output() const
{
    if (m_process)
        m_output += QString::fromUtf8(m_process->readAll());
    return m_output;
}

bool finishes(QDBusPendingCall& call, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!call.isFinished() && timer.elapsed() < TestTimeouts::scaled(timeoutMs))
        QTest::qWait(5);
    return call.isFinished();
}

bool staysUnanswered(QDBusPendingCall& call)
{
    QTest::qWait(150);
    return !call.isFinished();
}

bool daemonNameOwned()
{
    return QDBusConnection::systemBus().interface()->isServiceRegistered(QLatin1String(Nfcd::ServiceName));
}

int runSim(const QStringList& arguments, QByteArray* out, QByteArray* err, int timeoutMs)
{
    QProcess sim;
    sim.start(QStringLiteral(NFCUI_SIM_PROGRAM), arguments);
    if (!sim.waitForStarted(TestTimeouts::scaled(10000)))
        return -1;
    sim.closeWriteChannel();
    QElapsedTimer timer;
    timer.start();
    while (sim.state() != QProcess::NotRunning && timer.elapsed() < TestTimeouts::scaled(timeoutMs))
        QTest::qWait(10);
    if (sim.state() != QProcess::NotRunning) {
        sim.kill();
        sim.waitForFinished(2000);
        return -2;
    }
    if (out)
        *out = sim.readAllStandardOutput();
    if (err)
        *err = sim.readAllStandardError();
    return sim.exitStatus() == QProcess::NormalExit ? sim.exitCode() : -3;
}
