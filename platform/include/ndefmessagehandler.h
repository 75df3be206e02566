#ifndef NDEFMESSAGEHANDLER_H
#define NDEFMESSAGEHANDLER_H

#include <QByteArray>
#include <QDBusObjectPath>
#include <QList>
#include <QMetaType>
#include <QString>

class QDBusArgument;

namespace ConnUi {

// An application registered with the NFC daemon for NDEF data, as the daemon describes it in a
// delivery: (application id, bus name, object path, running in the foreground).
class NdefMessageHandler
{
public:
    NdefMessageHandler() = default;
    NdefMessageHandler(const QString& applicationId, const QString& service, const QDBusObjectPath& path,
                       bool runningOnForeground);

    QString applicationId() const { return m_applicationId; }
    QString service() const { return m_service; }
    QDBusObjectPath path() const { return m_path; }
    bool isRunningOnForeground() const { return m_runningOnForeground; }

    // Hands the NDEF data to the application (HandleNdef on its bus name and path), without waiting.
    void forwardData(const QDBusObjectPath& target, const QByteArray& data) const;

    bool operator==(const NdefMessageHandler& other) const;

private:
    QString m_applicationId;
    QString m_service;
    QDBusObjectPath m_path;
    bool m_runningOnForeground = false;
};

QDBusArgument& operator<<(QDBusArgument& argument, const NdefMessageHandler& handler);
const QDBusArgument& operator>>(const QDBusArgument& argument, NdefMessageHandler& handler);

// Registers the metatypes with Qt and QtDBus; safe to call more than once.
void registerNdefMessageHandlerTypes();

} // namespace ConnUi

// Spelled at global scope: signal and slot signatures name the list as "NdefMessageHandlerList".
typedef QList<ConnUi::NdefMessageHandler> NdefMessageHandlerList;

Q_DECLARE_METATYPE(ConnUi::NdefMessageHandler)
Q_DECLARE_METATYPE(NdefMessageHandlerList)

#endif
