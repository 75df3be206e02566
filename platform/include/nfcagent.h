#ifndef NFCAGENT_H
#define NFCAGENT_H

#include <QObject>
#include <QByteArray>
#include <QDBusObjectPath>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "ndefmessagehandler.h"

class NfcAgentPrivate;

// The UI agent the NFC daemon calls. Each daemon call is emitted as a signal; the calls that wait for
// an answer are answered through the reply methods, which find the pending call by its target path
// (by its sharing information for sharing calls), oldest first.
class NfcAgent : public QObject
{
    Q_OBJECT
public:
    explicit NfcAgent(QObject* parent = nullptr);
    ~NfcAgent() override;

    // Object path under which the agent is exported.
    QDBusObjectPath objectPath() const;

    void dataDeliveryGranted(const QDBusObjectPath& target);
    void rejectDevice(const QDBusObjectPath& target);
    void acceptSharing(const QVariant& info);
    void rejectSharing(const QVariant& info);
    void btPairingRequestGranted(const QDBusObjectPath& target);
    void btConnectionRequestGranted(const QDBusObjectPath& target);
    void btDisconnectionRequestGranted(const QDBusObjectPath& target);
    void replyError(const QDBusObjectPath& target, const QString& reason);

Q_SIGNALS:
    void release();
    void btPairingRequested(const QDBusObjectPath& target, const QString& addr, const QString& name, uint cod,
                            const QString& pin);
    void btConnectionRequested(const QDBusObjectPath& target, const QString& addr, const QString& name, uint cod);
    void btDisconnectionRequested(const QDBusObjectPath& target, const QString& addr, const QString& name,
                                  uint cod);
    void sharingPermissionRequested(const QString& carrier, const QVariant& info, const QStringList& resources);
    void sharingSelectionRequested(const QString& carrier, const QVariant& info);
    void notifyTouch(const QDBusObjectPath& target, int touchStatus);
    void dataDeliveryRequested(const NdefMessageHandlerList& handlers, const QDBusObjectPath& target,
                               const QByteArray& data);

private:
    Q_DISABLE_COPY(NfcAgent)
    NfcAgentPrivate* const d;
    friend class NfcAgentPrivate;
};

#endif
