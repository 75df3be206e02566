#ifndef NFCUI_BUSCALLMONITOR_H
#define NFCUI_BUSCALLMONITOR_H

#include <QProcess>
#include <QString>
#include <QStringList>

// The methods of the bus daemon itself (AddMatch, GetNameOwner, NameHasOwner...) that this process's
// session bus connection calls between start() and calls(), in order, as dbus-monitor sees them on the
// private session bus. For the tests that a repeated operation adds no bus traffic of its own: a proxy
// made per call shows as a GetNameOwner, an AddMatch and a RemoveMatch each time. Calls to other names
// given to alsoWatch() are listed with them, whether anything owns those names or not.
class BusCallMonitor
{
public:
    BusCallMonitor() = default;
    ~BusCallMonitor();

    // Lists the calls to destination as well; before start().
    void alsoWatch(const QString& destination);
    // Starts dbus-monitor and waits until it sees this process's calls; false if it cannot.
    bool start();
    // Stops monitoring and returns the methods called since start().
    QStringList calls();

private:
    Q_DISABLE_COPY(BusCallMonitor)
    // Calls the bus daemon's method and reads what the monitor printed; true once it printed that call.
    bool mark(const QString& member);

    QStringList m_destinations{QStringLiteral("org.freedesktop.DBus")};
    QProcess m_monitor;
    QString m_seen;
};

#endif
