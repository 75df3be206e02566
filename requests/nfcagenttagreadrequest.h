#ifndef NFCAGENTTAGREADREQUEST_H
#define NFCAGENTTAGREADREQUEST_H

#include <QByteArray>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

#include "ndefmessagehandler.h"
#include "nfctagnotsupporteddialog.h"

class ConnectivityDialogServerInterface;
class NDEFMessage;

namespace ConnUi {

class Dialog;
class NdefRecordHandler;

// One delivery of NDEF data read from a tag: parses it, hands it to a registered application in the
// foreground or picks the record the system can act on, confirms with the user and acts. Ends with
// accepted() or rejected().
class NfcAgentTagReadRequest : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QDBusObjectPath targetPath READ targetPath)

public:
    NfcAgentTagReadRequest(ConnectivityDialogServerInterface* server, const QDBusObjectPath& targetPath,
                           const QByteArray& ndefData);
    ~NfcAgentTagReadRequest() override;

    void setMessageHandlers(const QList<NdefMessageHandler>& handlers);
    QDBusObjectPath targetPath() const;

    // Acts on the selected record after confirmation; true when the request is to be accepted now.
    bool processTag();
    // Chooses the record to act on; true when a confirmation dialog is to be shown.
    bool selectSupportedRecord();

    // Stores the text as a note and opens it in the notes application. Runs in a worker thread.
    static void handleText(const QString& text);

Q_SIGNALS:
    void dialogShown();
    void accepted();
    void rejected();

public Q_SLOTS:
    void start();
    void stop();
    void dialogFinished();
    void showErrorDialog(NfcTagNotSupportedDialog::ErrorType errorType = NfcTagNotSupportedDialog::ContentNotSupported);
    void showConfirmationDialog();
    bool handleSmsUri(const QByteArray& uriData);
    void handleCallUri(const QByteArray& uriData);
    bool handleContent();
    void handleApplication();
    void sendSms();

private:
    Q_DISABLE_COPY(NfcAgentTagReadRequest)
    ConnectivityDialogServerInterface* server;
    QDBusObjectPath m_targetPath;
    QByteArray ndefData;
    std::unique_ptr<NDEFMessage> message;
    QList<NdefMessageHandler> messageHandlers;
    QString selectedApplication;
    std::unique_ptr<NdefRecordHandler> recordHandler;
    Dialog* dialog;
    QString defaultApplicationKey;
    bool directActionSelected;
    QStringList smsRecipients;
    QString smsBody;
};

} // namespace ConnUi

#endif
