#include "nfcagenttagreadrequest.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QThreadPool>
#include <QTimeZone>
#include <QUrl>
#include <QUrlQuery>
#include <QtConcurrent>

#include "calluiserviceapi.h"
#include "connectivitydialogserverinterface.h"
#include "connectivityuiutils.h"
#include "extendedcalendar.h"
#include "extendedstorage.h"
#include "messagebox.h"
#include "messagingif.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefrecordhandler.h"
#include "ndefrecordtype.h"
#include "nfctagreadpermissiondialog.h"
#include "offlinemode.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

namespace ConnUi {

namespace {
// The notebook the notes application shows.
const char* const NotesNotebookUid = "66666666-7777-8888-9999-000000000000";
} // namespace

NfcAgentTagReadRequest::NfcAgentTagReadRequest(ConnectivityDialogServerInterface* server,
                                               const QDBusObjectPath& targetPath, const QByteArray& ndefData)
    : server(server), m_targetPath(targetPath), ndefData(ndefData),
      message(NDEFMessage::createFromData(ndefData)), dialog(nullptr),
      directActionSelected(false)
{
}

// Deleting a request whose dialog is still shown closes the dialog and rejects. The record handler goes
// before the message its record belongs to.
NfcAgentTagReadRequest::~NfcAgentTagReadRequest()
{
    stop();
    recordHandler.reset();
    message.reset();
}

void NfcAgentTagReadRequest::setMessageHandlers(const QList<NdefMessageHandler>& handlers)
{
    messageHandlers = handlers;
}

QDBusObjectPath NfcAgentTagReadRequest::targetPath() const
{
    return m_targetPath;
}

void NfcAgentTagReadRequest::start()
{
    ConnectivityUIUtils::unblankDisplay();

    if (!message) {
        qWarning("NfcAgentTagRequest::start() received ndef data could not be parsed");
        showErrorDialog(NfcTagNotSupportedDialog::ContentNotSupported);
        return;
    }

    const QList<const NDEFRecord*> records = message->getRecords();
    if (records.isEmpty()) {
        qWarning("NfcAgentTagRequest::start() No NDEF messages in the tag.");
        showErrorDialog(NfcTagNotSupportedDialog::EmptyTag);
        return;
    }

    // An application that registered for the data and runs in the foreground gets it without asking.
    for (const NdefMessageHandler& handler : qAsConst(messageHandlers)) {
        if (handler.isRunningOnForeground()) {
            handler.forwardData(m_targetPath, ndefData);
            Q_EMIT accepted();
            return;
        }
    }

    if (selectSupportedRecord()) {
        showConfirmationDialog();
        return;
    }

    bool allEmpty = true;
    for (const NDEFRecord* record : records) {
        if (!record->getPayload().isEmpty()) {
            allEmpty = false;
            break;
        }
    }
    if (allEmpty) {
        qWarning("NfcAgentTagReadRequest::start() All NDEF records were empty");
        showErrorDialog(NfcTagNotSupportedDialog::EmptyTag);
    } else {
        qWarning("NfcAgentTagRequest::start() No supported NDEF records found");
        showErrorDialog(NfcTagNotSupportedDialog::ContentNotSupported);
    }
}

bool NfcAgentTagReadRequest::selectSupportedRecord()
{
    defaultApplicationKey.clear();
    const QList<const NDEFRecord*> records = message->getRecords();

    bool selected = false;
    bool textResult = false;
    for (int i = 0; i < records.size(); ++i) {
        const NDEFRecord* record = records.at(i);
        recordHandler.reset(); // the previous handler goes before the next is made
        recordHandler.reset(new NdefRecordHandler(record));

        // With registered applications the first record goes to them, whatever it is.
        if (!messageHandlers.isEmpty()) {
            selected = true;
            break;
        }

        const NDEFRecordType type = record->getType();
        if (!recordHandler->isSupported()) {
            QByteArray name = type.getName();
            const int nul = name.indexOf('\0');
            if (nul >= 0)
                name.truncate(nul);
            defaultApplicationKey += QString::fromLatin1(name);
            qWarning("Record type `%.*s' not supported", int(name.length()), name.constData());
            recordHandler.reset();
            continue;
        }

        if (type == NDEFRecordType::SmartPoster) {
            selected = true;
            break;
        }

        if (type == NDEFRecordType::Text) {
            // The same text may come in several languages: choose among this and every later Text record.
            QList<const TextNDEFRecord*> texts;
            for (int j = i; j < records.size(); ++j) {
                if (records.at(j)->getType() == NDEFRecordType::Text)
                    texts.append(static_cast<const TextNDEFRecord*>(records.at(j)));
            }
            recordHandler.reset();
            recordHandler.reset(new NdefRecordHandler(NdefRecordHandler::selectTextRecord(texts)));
            textResult = !recordHandler->textString().isEmpty();
            selected = true;
            break;
        }

        if (recordHandler->uriRecord() || !recordHandler->mimeType().isEmpty()
            || !recordHandler->externalType().isEmpty()) {
            selected = true;
            break;
        }

        recordHandler.reset();
    }

    if (!selected) {
        recordHandler.reset();
        recordHandler.reset(new NdefRecordHandler(records.first()));
    }

    recordHandler->setDefaultApplicationKey(defaultApplicationKey);

    return textResult || !messageHandlers.isEmpty() || !recordHandler->actions().isEmpty();
}

void NfcAgentTagReadRequest::showConfirmationDialog()
{
    NfcTagReadPermissionDialog* confirmation = nullptr;

    if (recordHandler->hasPredefinedSupport()) {
        const URINDEFRecord* uriRecord = recordHandler->uriRecord();
        const QString mimeType = recordHandler->mimeType();
        const QString text = recordHandler->textString();
        const QString externalType = recordHandler->externalType();
        const QString externalContent = recordHandler->externalTypeContent();

        if (uriRecord && mimeType.isEmpty()) {
            confirmation = new NfcTagReadPermissionDialog(uriRecord, text);
        } else if (!mimeType.isEmpty() && text.isEmpty()) {
            // By name: the dialog needs no file object, which would outlive the handler.
            confirmation = new NfcTagReadPermissionDialog(mimeType, QFileInfo(recordHandler->dataFileName()));
        } else if (!text.isEmpty() && externalType.isEmpty()) {
            confirmation = new NfcTagReadPermissionDialog(text);
        } else if (!externalContent.isEmpty()) {
            confirmation = new NfcTagReadPermissionDialog(externalType, externalContent);
        }
    } else {
        QStringList choices;
        const QList<ContentAction::Action> actions = recordHandler->actions();
        for (const ContentAction::Action& action : actions)
            choices.append(action.name());
        for (const NdefMessageHandler& handler : qAsConst(messageHandlers))
            choices.append(handler.applicationId());

        QString preselected = recordHandler->defaultApplication();
        if (preselected.isEmpty()) {
            if (message->getRecords().size() < 2) {
                if (!actions.isEmpty())
                    preselected = actions.first().name();
            } else if (!messageHandlers.isEmpty()) {
                preselected = messageHandlers.first().applicationId();
            } else if (!actions.isEmpty()) {
                preselected = actions.first().name();
            }
        }
        confirmation = new NfcTagReadPermissionDialog(choices, preselected);
    }

    if (!confirmation) {
        // Nothing the user could be shown or asked for this record: the request ends here, declined.
        Q_EMIT rejected();
        return;
    }

    dialog = confirmation;
    connect(dialog, SIGNAL(finished(int)), this, SLOT(dialogFinished()));
    connect(dialog, SIGNAL(appeared()), this, SIGNAL(dialogShown()));
    server->showDialog(dialog);
}

void NfcAgentTagReadRequest::dialogFinished()
{
    if (!dialog) {
        qWarning("NfcAgentTagReadRequest::dialogFinished() lacks dialog");
        return;
    }

    if (dialog->result() != Dialog::Ok) {
        Q_EMIT rejected();
        return;
    }

    if (NfcTagReadPermissionDialog* confirmation = qobject_cast<NfcTagReadPermissionDialog*>(dialog)) {
        selectedApplication = confirmation->selectedApplication();
        directActionSelected = confirmation->isDirectActionSelected();
    }

    if (processTag())
        Q_EMIT accepted();
}

bool NfcAgentTagReadRequest::processTag()
{
    if (recordHandler->record()->getType() == NDEFRecordType::Text) {
        // Stored in the background; the request is accepted without waiting for it.
        QtConcurrent::run(QThreadPool::globalInstance(), &NfcAgentTagReadRequest::handleText,
                          recordHandler->textString());
        return true;
    }

    QStringList applicationIds;
    for (const NdefMessageHandler& handler : qAsConst(messageHandlers))
        applicationIds.append(handler.applicationId());

    if (!messageHandlers.isEmpty()
        && (recordHandler->actions().isEmpty() || applicationIds.contains(selectedApplication))) {
        if (selectedApplication.isEmpty())
            selectedApplication = messageHandlers.first().applicationId();
        recordHandler->setDefaultApplication(selectedApplication);
        handleApplication();
        return true;
    }

    if (recordHandler->isSupported() && !recordHandler->actions().isEmpty()) {
        recordHandler->setDefaultApplication(selectedApplication);
        return handleContent();
    }

    showErrorDialog(NfcTagNotSupportedDialog::ContentNotSupported);
    return false;
}

void NfcAgentTagReadRequest::showErrorDialog(NfcTagNotSupportedDialog::ErrorType errorType)
{
    if (dialog)
        server->closeDialog(dialog);

    dialog = new NfcTagNotSupportedDialog(errorType);
    connect(dialog, SIGNAL(appeared()), this, SIGNAL(dialogShown()));
    connect(dialog, SIGNAL(finished(int)), this, SLOT(stop()));
    server->showDialog(dialog);
}

void NfcAgentTagReadRequest::stop()
{
    if (dialog && server) {
        QObject::disconnect(dialog, nullptr, this, nullptr);
        server->closeDialog(dialog);
        dialog = nullptr;
        Q_EMIT rejected();
    }
}

// ---------------------------------------------------------------------------------------------------
// Actions on a confirmed tag

void NfcAgentTagReadRequest::handleApplication()
{
    if (messageHandlers.isEmpty()) {
        qWarning("NfcAgentTagReadRequest: No handlers for application tag read request!");
        return;
    }

    NdefMessageHandler chosen = messageHandlers.first();
    if (!selectedApplication.isEmpty()) {
        for (const NdefMessageHandler& handler : qAsConst(messageHandlers)) {
            if (handler.applicationId() == selectedApplication) {
                chosen = handler;
                break;
            }
        }
    }
    chosen.forwardData(m_targetPath, ndefData);
}

bool NfcAgentTagReadRequest::handleContent()
{
    if (recordHandler->isSmsUri())
        return handleSmsUri(recordHandler->uriRecord()->getURI());

    // A call URI is called only when the user asked for that; otherwise the chosen application opens it.
    if (recordHandler->isCallUri() && directActionSelected) {
        handleCallUri(recordHandler->uriRecord()->getURI());
        return true;
    }

    const QList<ContentAction::Action> actions = recordHandler->actions();
    ContentAction::Action action = actions.first();
    for (const ContentAction::Action& candidate : actions) {
        if (candidate.name() == selectedApplication)
            action = candidate;
    }
    action.trigger();
    return true;
}

void NfcAgentTagReadRequest::handleCallUri(const QByteArray& uriData)
{
    const QUrl url(QUrl::fromPercentEncoding(uriData));
    CallUi::CallUiServiceApi callService;
    callService.RequestCellularCall(url.toString(QUrl::RemoveScheme | QUrl::RemoveQuery));
}

bool NfcAgentTagReadRequest::handleSmsUri(const QByteArray& uriData)
{
    // Decoded before parsing: an encoded '?', '&' or ',' in the URI separates like a plain one.
    const QUrl url(QUrl::fromPercentEncoding(uriData));
    smsRecipients = url.path().split(QLatin1Char(','), Qt::KeepEmptyParts, Qt::CaseSensitive);
    smsBody = QUrlQuery(url).queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded);

    if (!directActionSelected) {
        MessagingIf messaging{QString()};
        messaging.showSmsEditor(smsRecipients, smsBody, QString());
        return true;
    }

    OfflineMode offlineMode;
    if (offlineMode.currentStatus() != OfflineMode::Offline) {
        sendSms();
        return true;
    }

    // Offline: the message can go only if the user leaves offline mode; the answer decides the outcome.
    MessageBox* box = new MessageBox(qtTrId("vyk_offl_exiting_title"), qtTrId("vyk_offl_exiting"),
                                     Dialog::Yes | Dialog::No);
    dialog = box;
    connect(box, SIGNAL(accepted()), this, SLOT(sendSms()));
    connect(box, SIGNAL(accepted()), this, SIGNAL(accepted()));
    connect(box, SIGNAL(rejected()), this, SIGNAL(rejected()));
    server->showDialog(box);
    return false;
}

void NfcAgentTagReadRequest::sendSms()
{
    MessagingIf messaging{QString()};
    for (const QString& recipient : qAsConst(smsRecipients))
        messaging.sendSMS(recipient, smsBody, true);
}

// ---------------------------------------------------------------------------------------------------
// Text to notes. Runs in a worker thread and touches nothing of any request.

void NfcAgentTagReadRequest::handleText(const QString& text)
{
    using CalendarStorage::ExtendedCalendar;
    using CalendarStorage::ExtendedStorage;

    ExtendedCalendar::Ptr calendar(new ExtendedCalendar(QTimeZone::systemTimeZone()));
    ExtendedStorage::Ptr storage = ExtendedStorage::defaultStorage(calendar, false);
    if (!storage->open()) {
        qWarning("NfcAgentTagReadRequest::handleText() Could not open storage!");
        return;
    }
    storage->load();

    KCalendarCore::Journal::Ptr journal(new KCalendarCore::Journal);
    journal->setDescription(text);
    if (!calendar->addJournal(journal))
        qWarning("NfcAgentTagReadRequest:: adding journal failed");
    calendar->setNotebook(journal, QLatin1String(NotesNotebookUid));
    storage->save();

    const QStringList uids(journal->uid());
    QDBusInterface notes(QStringLiteral("com.orvan.Notes"), QStringLiteral("/"),
                         QStringLiteral("com.orvan.kirsa.silvane.NotesInterface"), QDBusConnection::sessionBus());
    const QDBusMessage reply = notes.call(QStringLiteral("openNote"), uids);
    const QDBusError error(reply);
    if (error.isValid()) {
        qWarning("NfcAgentTagReadRequest: Calling openNote() fails: %s %s", error.name().toLocal8Bit().constData(),
                 error.message().toLocal8Bit().constData());
    }

    storage->close();
}

} // namespace ConnUi
