#ifndef NFCAGENTSHARINGREQUEST_H
#define NFCAGENTSHARINGREQUEST_H

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

class ConnectivityDialogServerInterface;

namespace ConnUi {

// One ask of the NFC daemon about sharing content with a touched device: permission to share the
// given resources, or the user's choice of what to share. Ends with accepted() or rejected().
class NfcAgentSharingRequest : public QObject
{
    Q_OBJECT
public:
    // A fixed underlying type, so that any value the daemon's call carries is a valid Type and an
    // unknown one reaches the refusal in start() without undefined behaviour.
    enum Type : int {
        SharingPermission = 0,
        SharingSelection = 1
    };

    NfcAgentSharingRequest(Type type, ConnectivityDialogServerInterface* server, const QString& carrier,
                           const QVariant& info, const QStringList& resources);
    ~NfcAgentSharingRequest() override;

    // The daemon's sharing information, unchanged, for the reply.
    QVariant sharingInfo() const;

Q_SIGNALS:
    void dialogShown();
    void accepted();
    void rejected();

public Q_SLOTS:
    void start();

private Q_SLOTS:
    void dialogFinished();

private:
    Q_DISABLE_COPY(NfcAgentSharingRequest)
    Type type;
    ConnectivityDialogServerInterface* server;
    QVariant info;
    QStringList resources;
};

} // namespace ConnUi

#endif
