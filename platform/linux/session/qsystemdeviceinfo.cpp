// The lock status of the user's session. logind knows whether the session of this process is locked
// (its LockedHint, which the desktop's locker keeps up to date); without logind, or outside any logind
// session, the screen saver's activity stands for the lock. A locked session counts as PIN-locked: it
// takes the user's secret to open it. All calls of one question share one time budget.
#include "qsystemdeviceinfo.h"
#include "busdeadline.h"
#include "dbuspropertiesproxy.h"
#include "linuxlogging.h"
#include "logindmanagerproxy.h"
#include "screensaverproxy.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace {

const char logindService[] = "org.freedesktop.login1";
const char logindPath[] = "/org/freedesktop/login1";
const char sessionInterface[] = "org.freedesktop.login1.Session";
const char screenSaverService[] = "org.freedesktop.ScreenSaver";
const char screenSaverPath[] = "/org/freedesktop/ScreenSaver";

enum class Lock { Locked, Unlocked, Unknown };

Lock lockOf(bool locked)
{
    return locked ? Lock::Locked : Lock::Unlocked;
}

// The logind session this process belongs to: the one logind finds for its process id, else the one
// XDG_SESSION_ID names. Empty when there is none.
QString sessionPath(const QDBusConnection& system, const QDeadlineTimer& deadline)
{
    LogindManagerProxy logind(QLatin1String(logindService), QLatin1String(logindPath), system);
    if (!logind.isValid())
        return QString();

    logind.setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<QDBusObjectPath> session = logind.GetSessionByPID(uint(QCoreApplication::applicationPid()));
    session.waitForFinished();
    if (!session.isError())
        return session.value().path();
    qCDebug(lcSession, "QSystemDeviceInfo: logind has no session for this process: %s",
            qUtf8Printable(session.error().name()));

    const QString id = qEnvironmentVariable("XDG_SESSION_ID");
    if (id.isEmpty() || deadline.hasExpired())
        return QString();
    logind.setTimeout(BusDeadline::timeoutMs(deadline));
    session = logind.GetSession(id);
    session.waitForFinished();
    if (!session.isError())
        return session.value().path();
    qCDebug(lcSession, "QSystemDeviceInfo: logind has no session %s: %s", qUtf8Printable(id),
            qUtf8Printable(session.error().name()));
    return QString();
}

Lock logindLock(const QDeadlineTimer& deadline)
{
    const QDBusConnection system = QDBusConnection::systemBus();
    if (!system.isConnected())
        return Lock::Unknown;
    const QString path = sessionPath(system, deadline);
    if (path.isEmpty() || deadline.hasExpired())
        return Lock::Unknown;

    DBusPropertiesProxy session(QLatin1String(logindService), path, system);
    session.setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<QDBusVariant> hint = session.Get(QLatin1String(sessionInterface), QStringLiteral("LockedHint"));
    hint.waitForFinished();
    if (hint.isError()) {
        qCDebug(lcSession, "QSystemDeviceInfo: no LockedHint on %s: %s", qUtf8Printable(path),
                qUtf8Printable(hint.error().name()));
        return Lock::Unknown;
    }
    const bool locked = hint.value().variant().toBool();
    qCDebug(lcSession, "QSystemDeviceInfo: session %s LockedHint %s", qUtf8Printable(path), locked ? "true" : "false");
    return lockOf(locked);
}

Lock screenSaverLock(const QDeadlineTimer& deadline)
{
    const QDBusConnection session = QDBusConnection::sessionBus();
    if (!session.isConnected() || deadline.hasExpired())
        return Lock::Unknown;
    ScreenSaverProxy screenSaver(QLatin1String(screenSaverService), QLatin1String(screenSaverPath), session);
    if (!screenSaver.isValid())
        return Lock::Unknown;
    screenSaver.setTimeout(BusDeadline::timeoutMs(deadline));
    QDBusPendingReply<bool> active = screenSaver.GetActive();
    active.waitForFinished();
    if (active.isError()) {
        qCDebug(lcSession, "QSystemDeviceInfo: the screen saver does not tell whether it is active: %s",
                qUtf8Printable(active.error().name()));
        return Lock::Unknown;
    }
    qCDebug(lcSession, "QSystemDeviceInfo: screen saver active %s", active.value() ? "true" : "false");
    return lockOf(active.value());
}

} // namespace

namespace QtMobility {

class QSystemDeviceInfoPrivate
{
};

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent)
    : QObject(parent), d(new QSystemDeviceInfoPrivate)
{
}

QSystemDeviceInfo::~QSystemDeviceInfo()
{
    delete d;
}

QSystemDeviceInfo::LockTypeFlags QSystemDeviceInfo::lockStatus() const
{
    const QDeadlineTimer deadline = BusDeadline::start();
    Lock lock = logindLock(deadline);
    if (lock == Lock::Unknown)
        lock = screenSaverLock(deadline);
    if (lock == Lock::Unknown)
        qCDebug(lcSession, "QSystemDeviceInfo: neither logind nor the screen saver tells the lock status");
    return lock == Lock::Locked ? LockTypeFlags(PinLocked) : LockTypeFlags(UnknownLock);
}

} // namespace QtMobility
