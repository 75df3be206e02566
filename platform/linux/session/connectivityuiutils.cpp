// Screen control through the session's screen saver. Both operations ask it to treat the moment as user
// activity, which wakes a blanked screen and, in a locked session, brings up the unlock prompt: the user
// still has to unlock. Nothing here unlocks by itself, so a touched tag never opens a locked desktop.
// The call is not waited for, and not sent while earlier ones are still unanswered; a session without a
// screen saver is reported once. Both are also
// reported to UiIndications for the dialog server.
#include "connectivityuiutils.h"
#include "applicationproxy.h"
#include "linuxlogging.h"
#include "screensaverproxy.h"
#include "uiindications.h"
#include "unwaitedcall.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>

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
    if (unanswered >= maxUnansweredPokes)
        return;
    ScreenSaverProxy* screenSaver = applicationProxy<ScreenSaverProxy>(bus, screenSaverService, screenSaverPath);
    screenSaver->setTimeout(pokeTimeoutMs);
    ++unanswered;
    auto* watcher = new QDBusPendingCallWatcher(screenSaver->SimulateUserActivity());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [](QDBusPendingCallWatcher* finished) {
        --unanswered;
        if (finished->isError())
            warnOnce(finished->error().name(), finished->error().message());
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
