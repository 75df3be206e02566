#ifndef NFCUI_RECORDINGDIALOGSERVER_H
#define NFCUI_RECORDINGDIALOGSERVER_H

#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "connectivitydialogserverinterface.h"
#include "dialog.h"

// A dialog server for suites that run the plugin's requests with the real Linux platform (the fake
// platform's server cannot be linked there). It records what the requests ask of it as events
// ("show NfcPairingDialog", "close NfcPairingDialog", "setProperty BtConnectIgnoreAddress 00:11:..."),
// keeps the properties, and can answer every dialog it is given: the dialog appears at once and is
// answered with the chosen result code when control is back in the event loop.
class RecordingDialogServer : public ConnectivityDialogServerInterface
{
public:
    RecordingDialogServer() = default;
    ~RecordingDialogServer() override;

    void showDialog(ConnUi::Dialog* dialog) override;
    void closeDialog(ConnUi::Dialog* dialog) override;
    void setProperty(const QString& key, const QVariant& value) override;

    // From now on each shown dialog is answered with result (ConnUi::Dialog::Ok, Yes, No, ...).
    void answerWith(int result) { m_answer = result; m_answering = true; }
    // From now on dialogs wait for the test.
    void stopAnswering() { m_answering = false; }

    QStringList events() const { return m_events; }
    QVariantMap properties() const { return m_properties; }
    QList<QPointer<ConnUi::Dialog>> shownDialogs() const { return m_shown; }
    ConnUi::Dialog* lastShown() const { return m_shown.isEmpty() ? nullptr : m_shown.last().data(); }

private:
    Q_DISABLE_COPY(RecordingDialogServer)
    bool m_answering = false;
    int m_answer = 0;
    QStringList m_events;
    QVariantMap m_properties;
    QList<QPointer<ConnUi::Dialog>> m_shown;
};

#endif
