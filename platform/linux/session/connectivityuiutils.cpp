// Screen control through the session's screen saver. Both operations ask it to treat the moment as user
// activity, which wakes a blanked screen and, in a locked session, brings up the unlock prompt: the user
// still has to unlock. Nothing here unlocks by itself, so a touched tag never opens a locked desktop.
// The call is not waited for, and not sent while earlier ones are still unanswered. A session without a
// screen saver is reported once, and no call is sent to it until a screen saver takes the name: every tag
// touch would otherwise cost two calls and their two errors for nothing. Both operations are also
// reported to UiIndications for the dialog server.
#include "connectivityuiutils.h"
#include "applicationproxy.h"
#include "linuxlogging.h"
#include "screensaverproxy.h"
#include "uiindications.h"
#include "unwaitedcall.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPointer>

namespace {

const char screenSaverService[] = "org.freedesktop.ScreenSaver";
const char screenSaverPath[] = "/org/freedesktop/ScreenSaver";
// Pokes sent and not answered yet beyond which a new one is not sent.
const int maxUnansweredPokes = 16;
// A poke is given up after this long (the bus would wait 25 s).
const int pokeTimeoutMs = 5000;

// One warning per kind of failure for the life of the process: every tag touch wakes the screen.
void warnOnce(const QString& errorName, const QString& message)
{
    static UnwaitedCall::ReportedOnce reported;
    if (!reported.firstTime(errorName))
        return;
    qCWarning(lcSession, "ConnectivityUIUtils: the screen cannot be woken: %s (%s)", qUtf8Printable(message),
              qUtf8Printable(errorName));
}

// Set while the bus has said that nobody owns the screen saver's name and nobody has taken it since.
bool screenSaverAbsent = false;
QPointer<QDBusServiceWatcher> arrivalWatcher;

void screenSaverArrived()
{
    screenSaverAbsent = false;
    if (arrivalWatcher)
        arrivalWatcher->deleteLater();
    arrivalWatcher.clear();
}

// The bus answered a poke with ServiceUnknown: nothing owns the name and nothing can be started for it.
// Pokes stop until the name gets an owner. The watch is set up before the owner is asked for, so a screen
// saver that starts in between is seen by one or the other. The watch belongs to the application, so a
// process without one keeps sending every poke.
void screenSaverMissing(const QDBusConnection& bus)
{
    if (screenSaverAbsent || !QCoreApplication::instance())
        return;
    screenSaverAbsent = true;
    auto* watcher = new QDBusServiceWatcher(QString::fromLatin1(screenSaverService), bus,
                                            QDBusServiceWatcher::WatchForRegistration, QCoreApplication::instance());
    arrivalWatcher = watcher;
    QObject::connect(watcher, &QDBusServiceWatcher::serviceRegistered, watcher, [] { screenSaverArrived(); });
    // Gone with the application: pokes start again as in a process that has never missed one.
    QObject::connect(watcher, &QObject::destroyed, [] {
        if (!arrivalWatcher)
            screenSaverAbsent = false;
    });
    auto* owner = new QDBusPendingCallWatcher(
        bus.interface()->asyncCall(QStringLiteral("NameHasOwner"), QString::fromLatin1(screenSaverService)),
        watcher);
    QObject::connect(owner, &QDBusPendingCallWatcher::finished, owner, [](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<bool> hasOwner = *finished;
        if (!hasOwner.isError() && hasOwner.value())
            screenSaverArrived();
    });
}

void simulateUserActivity()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        warnOnce(QStringLiteral("org.freedesktop.DBus.Error.NoServer"), QStringLiteral("no session bus"));
        return;
    }
    // A screen saver that has not answered the pokes already sent needs no more of them: a burst of
    // tags, or a screen saver that hangs, would otherwise pile up calls waiting for their replies.
    static int unanswered = 0;
    if (unanswered >= maxUnansweredPokes || screenSaverAbsent)
        return;
    ScreenSaverProxy* screenSaver = applicationProxy<ScreenSaverProxy>(bus, screenSaverService, screenSaverPath);
    screenSaver->setTimeout(pokeTimeoutMs);
    ++unanswered;
    auto* watcher = new QDBusPendingCallWatcher(screenSaver->SimulateUserActivity());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [bus](QDBusPendingCallWatcher* finished) {
        --unanswered;
        if (finished->isError()) {
            warnOnce(finished->error().name(), finished->error().message());
            if (finished->error().type() == QDBusError::ServiceUnknown)
                screenSaverMissing(bus);
        }
        finished->deleteLater();
    });
}

} // namespace

namespace ConnUi {

void ConnectivityUIUtils::unblankDisplay()
{
    UiIndications::indicate(QStringLiteral("unblank"));
    simulateUserActivity();
}

void ConnectivityUIUtils::unlockScreen()
{
    UiIndications::indicate(QStringLiteral("unlock"));
    simulateUserActivity();
}

} // namespace ConnUi
