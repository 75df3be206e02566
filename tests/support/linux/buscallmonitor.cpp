#include "buscallmonitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>

#include "testtimeouts.h"

namespace {

// Calls of two of the bus daemon's methods mark the start and the end of the monitored stretch in what
// dbus-monitor printed. The monitor is read while a mark is repeated, so a mark may show more than
// once, but every start mark comes before the stretch and every end mark after it.
const char startMark[] = "GetId";
const char endMark[] = "ListActivatableNames";

QString line(const QString& member)
{
    return QLatin1Char('\t') + member + QLatin1Char('\n');
}

} // namespace

BusCallMonitor::~BusCallMonitor()
{
    if (m_monitor.state() != QProcess::NotRunning) {
        m_monitor.kill();
        m_monitor.waitForFinished();
    }
}

bool BusCallMonitor::mark(const QString& member)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    bus.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                            QStringLiteral("/org/freedesktop/DBus"),
                                            QStringLiteral("org.freedesktop.DBus"), member));
    m_monitor.waitForReadyRead(50);
    m_seen += QString::fromUtf8(m_monitor.readAllStandardOutput());
    return m_seen.contains(line(member));
}

void BusCallMonitor::alsoWatch(const QString& destination)
{
    m_destinations << destination;
}

bool BusCallMonitor::start()
{
    // dbus-monitor's profile output: a line per message, tab-separated, the member last.
    QStringList arguments{QStringLiteral("--session"), QStringLiteral("--profile")};
    for (const QString& destination : qAsConst(m_destinations))
        arguments << QStringLiteral("type='method_call',destination='%1'").arg(destination);
    m_monitor.start(QStringLiteral("dbus-monitor"), arguments);
    if (!m_monitor.waitForStarted())
        return false;
    QDeadlineTimer deadline(TestTimeouts::scaled(5000));
    while (!mark(QLatin1String(startMark))) {
        if (deadline.hasExpired() || m_monitor.state() == QProcess::NotRunning)
            return false;
    }
    return true;
}

QStringList BusCallMonitor::calls()
{
    QDeadlineTimer deadline(TestTimeouts::scaled(5000));
    bool ended = mark(QLatin1String(endMark));
    while (!ended && !deadline.hasExpired() && m_monitor.state() != QProcess::NotRunning)
        ended = mark(QLatin1String(endMark));
    m_monitor.kill();
    m_monitor.waitForFinished();
    if (!ended)
        return {QStringLiteral("(dbus-monitor stopped printing)")};

    const int from = m_seen.lastIndexOf(line(QLatin1String(startMark)));
    const int to = m_seen.indexOf(line(QLatin1String(endMark)));
    const QString me = QDBusConnection::sessionBus().baseService();
    QStringList members;
    for (const QString& text : m_seen.mid(from, to - from).split(QLatin1Char('\n'))) {
        const QStringList fields = text.split(QLatin1Char('\t'));
        if (fields.size() >= 8 && fields.at(0) == QLatin1String("mc") && fields.at(3) == me)
            members << fields.last();
    }
    return members;
}
