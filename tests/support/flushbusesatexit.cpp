// Linked into every test program (nfcui_add_test): before the application object goes away, one round
// trip on each default bus connection the program opened. Qt's D-Bus thread goes on handling an answer
// after it has woken the caller (an error answer is also reported to the connection), and a program that
// ends meanwhile leaves that answer allocated, which LeakSanitizer then reports. The round trip comes
// back only once the thread is done with what came before it.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

namespace {

void flushDefaultBuses()
{
    // The names under which Qt keeps the default connections; asking by name does not connect.
    for (const char* name : {"qt_default_session_bus", "qt_default_system_bus"}) {
        QDBusConnection bus(QString::fromLatin1(name));
        if (!bus.isConnected())
            continue;
        bus.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                QStringLiteral("/org/freedesktop/DBus"),
                                                QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")),
                 QDBus::Block, 2000);
    }
}

void flushDefaultBusesAtExit()
{
    qAddPostRoutine(flushDefaultBuses);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(flushDefaultBusesAtExit)
