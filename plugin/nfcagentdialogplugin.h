#ifndef NFCAGENTDIALOGPLUGIN_H
#define NFCAGENTDIALOGPLUGIN_H

#include <QByteArray>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "connectivitydialogplugininterface.h"
#include "ndefmessagehandler.h"


namespace ConnUi {

class NfcAgentDialogPluginPrivate;

// The NFC user-interface agent as a dialog server plugin. Its slots receive the NFC daemon's calls
// through the registered agent; the private half does the work.
class NfcAgentDialogPlugin : public QObject, public ConnectivityDialogPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(ConnectivityDialogPluginInterface)

public:
    NfcAgentDialogPlugin();
    ~NfcAgentDialogPlugin() override;

    void initialize(ConnectivityDialogServerInterface* server) override;
    void destroy() override;
    bool isInitialized() const override;
    QString service() const override;
    QString path() const override;
    QString interface() const override;
    bool handlesMethod(const QString& method) const override;
    bool requestDialog(QObject* caller, ConnectivityDialogRequest* request) override;

protected Q_SLOTS:
    void release();
    void cancel();
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
    Q_DISABLE_COPY(NfcAgentDialogPlugin)
    NfcAgentDialogPluginPrivate* d_ptr;
    friend class NfcAgentDialogPluginPrivate;
};

} // namespace ConnUi

#endif
