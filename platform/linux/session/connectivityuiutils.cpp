// Screen control through the session's screen saver. Both operations ask it to treat the moment as user
// activity, which wakes a blanked screen and, in a locked session, brings up the unlock prompt: the user
// still has to unlock. Nothing here unlocks by itself, so a touched tag never opens a locked desktop.
// The call is not waited for; a session without a screen saver is reported once. Both are also
// reported to UiIndications for the dialog server.
#include "connectivityuiutils.h"
#include "linuxlogging.h"
#include "screensaverproxy.h"
#include "uiindications.h"
#include "unwaitedcall.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QPointer>

namespace {

const char screenSaverService[] = "org.freedesktop.ScreenSaver";
const char screenSaverPath[] = "/org/freedesktop/ScreenSaver";

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
    // One proxy for the life of the application. A proxy made for each call would add a match rule, a
    // blocking GetNameOwner round trip and the match rule's removal to every tag touch, and keep the
    // bus busy just when the answer to the touch's dialog is sent.
    static QPointer<ScreenSaverProxy> screenSaver;
    if (!screenSaver || screenSaver->connection().name() != bus.name()) {
        delete screenSaver.data();
        screenSaver = new ScreenSaverProxy(QLatin1String(screenSaverService), QLatin1String(screenSaverPath), bus,
                                           QCoreApplication::instance());
    }
    UnwaitedCall::onFailure(screenSaver->SimulateUserActivity(),
                            [](const QDBusError& error) { warnOnce(error.name(), error.message()); });
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
