// Tag reads through the plugin, from the agent's touch and delivery signals to the reply the daemon
// gets, and the touch notifications on their own.
#include <QtTest>

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QThreadPool>

#include "dialog.h"
#include "fakedialogserver.h"
#include "fakeplatform.h"
#include "messagebox.h"
#include "ndefmessagehandler.h"
#include "ndefwriter.h"
#include "nfcagent.h"
#include "nfcagentdialogplugin.h"
#include "nfcoverlay.h"
#include "nfcsharingselectiondialog.h"
#include "nfctagnotsupporteddialog.h"
#include "nfctagreadpermissiondialog.h"
#include "notesmock.h"
#include "offlinemode.h"
#include "pluginaccess.h"
#include "pluginfixture.h"
#include "tagreadsupport.h"
#include "testsupport.h"
#include "uiindications.h"

using ConnUi::Dialog;
using ConnUi::MessageBox;
using ConnUi::NdefMessageHandler;
using ConnUi::NfcAgentDialogPlugin;
using ConnUi::NfcTagNotSupportedDialog;
using ConnUi::NfcTagReadPermissionDialog;

using namespace TagReadSupport;

class tst_PluginTagRead : public QObject, public PluginFixture
{
    Q_OBJECT

private:
    NotesMock notes;
    QStringList dataFiles; // record data files seen by a test, removed in cleanup()

    // Delivers a tag of one URI that the applications open, and returns the confirmation it shows.
    NfcTagReadPermissionDialog* deliverUri(const QString& uri, const QStringList& applications)
    {
        FakePlatform::setStringActions(uri, applications);
        deliver(uriTag(uri));
        return onlyOpen<NfcTagReadPermissionDialog>();
    }

    // The one open dialog is the error dialog of that type, and closing it rejects the tag, not before.
    // Last in a test: a failure ends the helper only.
    void closingTheErrorDialogRejects(NfcTagNotSupportedDialog::ErrorType type)
    {
        auto* error = onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(type));
        QVERIFY(TestSupport::agentReplies().isEmpty());
        error->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectDevice /tag/1"}));
    }

    // Delivers a tag of one URI and confirms it, with or without the direct action; false when it showed
    // no confirmation.
    bool confirmUri(const QString& uri, const QStringList& applications, bool directAction)
    {
        NfcTagReadPermissionDialog* dialog = deliverUri(uri, applications);
        if (!dialog)
            return false;
        dialog->setDirectActionSelected(directAction);
        dialog->done(Dialog::Ok);
        return true;
    }

    // An SMS tag confirmed with its direct action while the phone is offline: the question that follows,
    // null when the tag was not confirmed or nothing was asked.
    MessageBox* sendSmsWhileOffline()
    {
        FakePlatform::setOfflineStatus(ConnUi::OfflineMode::Offline);
        if (!confirmUri(QStringLiteral("sms:+15551234?body=Hello"), {QStringLiteral("Messages")}, true))
            return nullptr;
        return server->lastShownOf<MessageBox>();
    }

    void deliver(const QByteArray& data, const NdefMessageHandlerList& handlers = NdefMessageHandlerList(),
                 const QString& target = QStringLiteral("/tag/1"))
    {
        emit agent()->dataDeliveryRequested(handlers, QDBusObjectPath(target), data);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestSupport::loadTranslations());
    }

    void init()
    {
        QDir(QDir::homePath() + QStringLiteral("/.nfc")).removeRecursively();
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        setUp();
    }

    void cleanup()
    {
        QThreadPool::globalInstance()->waitForDone();
        tearDown();
        notes.stop();
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        for (const QString& path : qAsConst(dataFiles))
            QFile::remove(path);
        dataFiles.clear();
    }

    // --- Whole flows ----------------------------------------------------------------------------

    void webAddressConfirmedIsGranted()
    {
        auto* dialog = deliverUri(QStringLiteral("http://example.com/page"), {QStringLiteral("Browser")});
        QVERIFY(dialog);
        QCOMPARE(dialog->uri(), QStringLiteral("http://example.com/page"));
        QVERIFY(TestSupport::agentReplies().isEmpty());

        dialog->done(Dialog::Ok);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("ContentAction::trigger")).value(0).args.value(0).toString(),
                 QStringLiteral("Browser"));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
        QVERIFY(d()->tagReadRequest);
        TestSupport::deleteLaterNow();
        // Deleted without a second reply; the confirmation dialog goes back to the server.
        QVERIFY(!d()->tagReadRequest);
        QVERIFY(d()->requests.isEmpty());
        QVERIFY(!server->isOpen(dialog));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void webAddressDeclinedIsRejected()
    {
        auto* dialog = deliverUri(QStringLiteral("http://example.com/page"), {QStringLiteral("Browser")});
        QVERIFY(dialog);
        dialog->done(Dialog::Cancel);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectDevice /tag/1"}));
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::trigger")), 0);
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectDevice /tag/1"}));
    }

    void tagForForegroundApplicationIsForwardedWithoutDialog()
    {
        FakePlatform::setStringActions(QStringLiteral("http://example.com/page"), {QStringLiteral("Browser")});
        const QByteArray data = uriTag(QStringLiteral("http://example.com/page"));
        deliver(data, {handler(QStringLiteral("app.bg")), handler(QStringLiteral("app.fg"), true)});
        QVERIFY(server->shownDialogs().isEmpty());
        const QList<FakeCall> forwards = FakePlatform::callsTo(QStringLiteral("NdefMessageHandler::forwardData"));
        QCOMPARE(forwards.size(), 1);
        QCOMPARE(forwards.first().args, QVariantList({QStringLiteral("app.fg"), QStringLiteral("/tag/1"), data}));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void backgroundHandlersAreOfferedAfterTheActions()
    {
        FakePlatform::setStringActions(QStringLiteral("http://example.com/page"),
                         {QStringLiteral("Browser"), QStringLiteral("Reader")});
        const QByteArray data = uriTag(QStringLiteral("http://example.com/page"));
        deliver(data, {handler(QStringLiteral("app1")), handler(QStringLiteral("app2"))});
        auto* dialog = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->choices(), QStringList({"Browser", "Reader", "app1", "app2"}));
        QCOMPARE(dialog->preselected(), QStringLiteral("Browser"));
        dialog->setSelectedApplication(QStringLiteral("app2"));
        dialog->done(Dialog::Ok);
        const QList<FakeCall> forwards = FakePlatform::callsTo(QStringLiteral("NdefMessageHandler::forwardData"));
        QCOMPARE(forwards.size(), 1);
        QCOMPARE(forwards.first().args, QVariantList({QStringLiteral("app2"), QStringLiteral("/tag/1"), data}));
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::trigger")), 0);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void textInTheUserLanguageIsStoredAsNote()
    {
        QVERIFY(notes.start());
        QLocale::setDefault(QLocale(QStringLiteral("fi_FI")));
        deliver(NdefWriter::message({NdefWriter::text("en-GB", QStringLiteral("Buy milk")),
                                     NdefWriter::text("fi-FI", QStringLiteral("Osta maitoa")),
                                     NdefWriter::text("sv-FI", QStringLiteral("Köp mjölk"))}));
        auto* dialog = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->text(), QStringLiteral("Osta maitoa"));
        dialog->done(Dialog::Ok);
        // Granted at once; the note is stored in the background.
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
        QThreadPool::globalInstance()->waitForDone();

        const QList<FakeCall> saves = FakePlatform::callsTo(QStringLiteral("ExtendedStorage::save"));
        QCOMPARE(saves.size(), 1);
        QCOMPARE(saves.first().args.size(), 1);
        const QVariantMap journal = saves.first().args.first().toMap();
        QCOMPARE(journal.value(QStringLiteral("description")).toString(), QStringLiteral("Osta maitoa"));
        QCOMPARE(journal.value(QStringLiteral("notebook")).toString(), QLatin1String(notesNotebook));
        const QString uid = journal.value(QStringLiteral("uid")).toString();
        QVERIFY(!uid.isEmpty());
        QCOMPARE(notes.openNoteCalls(), QList<QStringList>({{uid}}));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void textWithoutNotesServiceIsStoredAndOnlyTheFailureLogged()
    {
        QVERIFY(!notes.isRunning());
        NotesWarningLog log;
        const QRegularExpression failure = openNoteFailure();
        QTest::ignoreMessage(QtWarningMsg, failure);
        deliver(NdefWriter::message({NdefWriter::text("en", QStringLiteral("Buy milk"))}));
        server->lastShown()->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
        QThreadPool::globalInstance()->waitForDone();
        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(failure.match(log.warnings().first()).hasMatch());
        // Logged by the worker thread that stored the note, not by the dialog server's thread.
        QVERIFY(log.threads().first() != QThread::currentThread());
        const QList<FakeCall> saves = FakePlatform::callsTo(QStringLiteral("ExtendedStorage::save"));
        QCOMPARE(saves.size(), 1);
        QCOMPARE(saves.first().args.first().toMap().value(QStringLiteral("description")).toString(),
                 QStringLiteral("Buy milk"));
    }

    void smsTagOpensTheEditor()
    {
        const QString uri = QStringLiteral("sms:+15551234?body=Hello");
        QVERIFY(confirmUri(uri, {QStringLiteral("Messages")}, false));
        const QList<FakeCall> editors = FakePlatform::callsTo(QStringLiteral("MessagingIf::showSmsEditor"));
        QCOMPARE(editors.size(), 1);
        QCOMPARE(editors.first().args.value(0).toStringList(), QStringList({"+15551234"}));
        QCOMPARE(editors.first().args.value(1).toString(), QStringLiteral("Hello"));
        QVERIFY(editors.first().args.value(2).toString().isEmpty());
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")), 0);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void smsTagSendsDirectly()
    {
        const QString uri = QStringLiteral("sms:+15551234,+15555678?body=Hello");
        QVERIFY(confirmUri(uri, {QStringLiteral("Messages")}, true));
        const QList<FakeCall> sent = FakePlatform::callsTo(QStringLiteral("MessagingIf::sendSMS"));
        QCOMPARE(sent.size(), 2);
        QCOMPARE(sent.at(0).args, QVariantList({QStringLiteral("+15551234"), QStringLiteral("Hello"), true}));
        QCOMPARE(sent.at(1).args, QVariantList({QStringLiteral("+15555678"), QStringLiteral("Hello"), true}));
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::showSmsEditor")), 0);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void smsTagInOfflineModeAnsweredYesSendsAndIsGranted()
    {
        auto* box = sendSmsWhileOffline();
        QVERIFY(box);
        QCOMPARE(box->title(), QStringLiteral("Exit offline mode?"));
        QCOMPARE(box->buttons(), int(Dialog::Yes | Dialog::No));
        QVERIFY(TestSupport::agentReplies().isEmpty());
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")), 0);

        box->done(Dialog::Yes);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("MessagingIf::sendSMS")).value(0).args,
                 QVariantList({QStringLiteral("+15551234"), QStringLiteral("Hello"), true}));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
        TestSupport::deleteLaterNow();
        QVERIFY(!server->isOpen(box));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void smsTagInOfflineModeAnsweredNoIsRejected()
    {
        auto* box = sendSmsWhileOffline();
        QVERIFY(box);
        box->done(Dialog::No);
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")), 0);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectDevice /tag/1"}));
        TestSupport::deleteLaterNow();
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectDevice /tag/1"}));
    }

    void telTagWithDirectActionPlacesTheCall()
    {
        const QString uri = QStringLiteral("tel:+15551234");
        auto* dialog = deliverUri(uri, {QStringLiteral("Phone")});
        QVERIFY(dialog);
        QCOMPARE(dialog->uri(), uri);
        dialog->setDirectActionSelected(true);
        dialog->done(Dialog::Ok);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("CallUiServiceApi::RequestCellularCall")).value(0).args,
                 QVariantList({QStringLiteral("+15551234")}));
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::trigger")), 0);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void telTagWithoutDirectActionOpensTheAction()
    {
        const QString uri = QStringLiteral("tel:+15551234");
        QVERIFY(confirmUri(uri, {QStringLiteral("Phone")}, false));
        QCOMPARE(FakePlatform::count(QStringLiteral("CallUiServiceApi::RequestCellularCall")), 0);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("ContentAction::trigger")).value(0).args.value(0).toString(),
                 QStringLiteral("Phone"));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void contactCardOpensWithTheContactsApplication()
    {
        const QByteArray card("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Test Person\r\nEND:VCARD\r\n");
        FakePlatform::setDefaultFileAction(QStringLiteral("*"), QStringLiteral("text/x-vCard"), QStringLiteral("Contacts"));
        deliver(NdefWriter::message({NdefWriter::mime("text/x-vCard", card)}));
        auto* dialog = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        dataFiles.append(dialog->file());
        QCOMPARE(dialog->kind(), QStringLiteral("file"));
        QCOMPARE(dialog->mimeType(), QStringLiteral("text/x-vCard"));
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("ContactExporter::resolveContactInfo")).value(0).args,
                 QVariantList({dialog->file()}));
        dialog->done(Dialog::Ok);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("ContentAction::trigger")).value(0).args.value(0).toString(),
                 QStringLiteral("Contacts"));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void emptyTagIsRejectedWhenItsErrorDialogCloses()
    {
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No NDEF messages in the tag.");
        deliver(QByteArray());
        auto* error = onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::EmptyTag));
        QVERIFY(TestSupport::agentReplies().isEmpty());
        error->done(Dialog::Ok);
        QVERIFY(!server->isOpen(error));
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectDevice /tag/1"}));
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectDevice /tag/1"}));
    }

    void unparsableDataIsRejectedWhenItsErrorDialogCloses()
    {
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() received ndef data could not be parsed");
        deliver(QByteArray::fromHex("d10102"));
        closingTheErrorDialogRejects(NfcTagNotSupportedDialog::ContentNotSupported);
    }

    void unsupportedTagIsRejectedWhenItsErrorDialogCloses()
    {
        QTest::ignoreMessage(QtWarningMsg, "Record type `Zz' not supported");
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No supported NDEF records found");
        deliver(NdefWriter::message({NdefWriter::raw(1, "Zz", "payload")}));
        closingTheErrorDialogRejects(NfcTagNotSupportedDialog::ContentNotSupported);
    }

    // --- Displacement ---------------------------------------------------------------------------

    void secondDeliveryDisplacesLiveTagReadWithoutReply()
    {
        FakePlatform::setStringActions(QStringLiteral("http://a.org"), {QStringLiteral("Browser")});
        FakePlatform::setStringActions(QStringLiteral("http://b.org"), {QStringLiteral("Browser")});
        deliver(uriTag(QStringLiteral("http://a.org")));
        QPointer<QObject> first = d()->tagReadRequest.data();
        auto* firstDialog = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(firstDialog);

        deliver(uriTag(QStringLiteral("http://b.org")), NdefMessageHandlerList(), QStringLiteral("/tag/2"));
        QVERIFY(!server->isOpen(firstDialog));
        QVERIFY(d()->tagReadRequest.data() != first.data());
        auto* secondDialog = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(secondDialog);
        QCOMPARE(secondDialog->uri(), QStringLiteral("http://b.org"));
        TestSupport::deleteLaterNow();
        QVERIFY(first.isNull());
        QVERIFY(TestSupport::agentReplies().isEmpty());

        secondDialog->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/2"}));
    }

    void sharingCallDisplacesLiveTagReadWithoutReply()
    {
        auto* tagDialog = deliverUri(QStringLiteral("http://a.org"), {QStringLiteral("Browser")});
        QVERIFY(tagDialog);
        QPointer<QObject> tagRead = d()->tagReadRequest.data();

        emit agent()->sharingSelectionRequested(QStringLiteral("bluetooth"), QVariant(7));
        QVERIFY(!server->isOpen(tagDialog));
        TestSupport::deleteLaterNow();
        QVERIFY(tagRead.isNull());
        QVERIFY(TestSupport::agentReplies().isEmpty());

        auto* sharing = onlyOpen<ConnUi::NfcSharingSelectionDialog>();
        QVERIFY(sharing);
        sharing->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing 7"}));
    }

    void touchWithStatus1DisplacesLiveTagReadWithoutReply()
    {
        auto* tagDialog = deliverUri(QStringLiteral("http://a.org"), {QStringLiteral("Browser")});
        QVERIFY(tagDialog);
        QPointer<QObject> tagRead = d()->tagReadRequest.data();

        emit agent()->notifyTouch(QDBusObjectPath(QStringLiteral("/tag/2")), 1);
        QVERIFY(!server->isOpen(tagDialog));
        auto* error = onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::EmptyTag));
        QCOMPARE(d()->errorDialog, error);
        TestSupport::deleteLaterNow();
        QVERIFY(tagRead.isNull());

        error->done(Dialog::Ok);
        QVERIFY(!server->isOpen(error));
        QVERIFY(!d()->errorDialog);
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }

    void deliveryClosesTheTouchErrorDialog()
    {
        emit agent()->notifyTouch(QDBusObjectPath(QStringLiteral("/tag/1")), 1);
        auto* error = onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        FakePlatform::setStringActions(QStringLiteral("http://a.org"), {QStringLiteral("Browser")});
        deliver(uriTag(QStringLiteral("http://a.org")));
        QVERIFY(!server->isOpen(error));
        QVERIFY(!d()->errorDialog);
        QVERIFY(onlyOpen<NfcTagReadPermissionDialog>());
    }

    // --- Remembered choice ----------------------------------------------------------------------

    void chosenApplicationIsRememberedAndPreselectedNextTime()
    {
        FakePlatform::setStringActions(QStringLiteral("http://a.org"), {QStringLiteral("Browser"), QStringLiteral("Reader")});
        FakePlatform::setStringActions(QStringLiteral("http://b.org"), {QStringLiteral("Browser"), QStringLiteral("Reader")});
        deliver(uriTag(QStringLiteral("http://a.org")));
        auto* first = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(first);
        QCOMPARE(first->preselected(), QStringLiteral("Browser"));
        first->setSelectedApplication(QStringLiteral("Reader"));
        first->done(Dialog::Ok);
        TestSupport::deleteLaterNow();

        deliver(uriTag(QStringLiteral("http://b.org")), NdefMessageHandlerList(), QStringLiteral("/tag/2"));
        auto* second = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(second);
        QCOMPARE(second->choices(), QStringList({"Browser", "Reader"}));
        QCOMPARE(second->preselected(), QStringLiteral("Reader"));
        second->done(Dialog::Ok);
        const QList<FakeCall> triggers = FakePlatform::callsTo(QStringLiteral("ContentAction::trigger"));
        QCOMPARE(triggers.size(), 2);
        QCOMPARE(triggers.at(1).args.value(0).toString(), QStringLiteral("Reader"));
        QCOMPARE(TestSupport::agentReplies(),
                 QStringList({"dataDeliveryGranted /tag/1", "dataDeliveryGranted /tag/2"}));
    }

    // --- Touch notifications --------------------------------------------------------------------

    void touchWithStatusOtherThan1GivesFeedbackAndIndicationOnly_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("0") << 0;
        QTest::newRow("2") << 2;
        QTest::newRow("-1") << -1;
    }

    void touchWithStatusOtherThan1GivesFeedbackAndIndicationOnly()
    {
        QFETCH(int, status);
        auto* tagDialog = deliverUri(QStringLiteral("http://a.org"), {QStringLiteral("Browser")});
        QVERIFY(tagDialog);
        QSignalSpy indications(ConnUi::UiIndications::instance(), SIGNAL(indication(QString,QString)));
        FakePlatform::clearCalls();

        emit agent()->notifyTouch(QDBusObjectPath(QStringLiteral("/tag/1")), status);
        QCOMPARE(indications.count(), 2);
        QCOMPARE(indications.at(0), QVariantList({QStringLiteral("feedback"), QStringLiteral("priority1_nfc_touch")}));
        QCOMPARE(indications.at(1).value(0).toString(), QStringLiteral("touch-overlay"));
        QVERIFY(d()->overlay);
        QCOMPARE(d()->overlay->shownCount(), 1);
        QVERIFY(!d()->errorDialog);
        QVERIFY(FakePlatform::calls().isEmpty());

        // The tag read goes on as before.
        TestSupport::deleteLaterNow();
        QVERIFY(d()->tagReadRequest);
        QVERIFY(server->isOpen(tagDialog));
        tagDialog->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"dataDeliveryGranted /tag/1"}));
    }

    void touchWithStatus1TwiceShowsOneErrorDialog()
    {
        QSignalSpy indications(ConnUi::UiIndications::instance(), SIGNAL(indication(QString,QString)));
        emit agent()->notifyTouch(QDBusObjectPath(QStringLiteral("/tag/1")), 1);
        auto* error = onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        emit agent()->notifyTouch(QDBusObjectPath(QStringLiteral("/tag/1")), 1);
        QCOMPARE(FakePlatform::count(QStringLiteral("Server::showDialog")), 1);
        QCOMPARE(FakePlatform::count(QStringLiteral("Server::closeDialog")), 0);
        QCOMPARE(onlyOpen<NfcTagNotSupportedDialog>(), error);
        QCOMPARE(d()->errorDialog, error);
        QCOMPARE(d()->overlay->shownCount(), 2);
        int feedback = 0;
        for (const QVariantList& args : qAsConst(indications)) {
            if (args == QVariantList({QStringLiteral("feedback"), QStringLiteral("priority1_nfc_touch")}))
                ++feedback;
        }
        QCOMPARE(feedback, 2);
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }

    // Without handlers the request skips an unsupported first record, which it would select if any
    // handler had been set.
    void deliveryWithEmptyHandlerListSetsNoHandlers()
    {
        FakePlatform::setStringActions(QStringLiteral("http://a.org"), {QStringLiteral("Browser"), QStringLiteral("Reader")});
        QTest::ignoreMessage(QtWarningMsg, "Record type `Zz' not supported");
        deliver(NdefWriter::message({NdefWriter::raw(1, "Zz", "abc"), NdefWriter::uri(QStringLiteral("http://a.org"))}),
                NdefMessageHandlerList());
        auto* dialog = onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->choices(), QStringList({"Browser", "Reader"}));
    }

    // --- Logs and the screen --------------------------------------------------------------------

    void deliveryLogsTheDataInHexAndTheStartTime()
    {
        FakePlatform::setStringActions(QStringLiteral("http://a.org"), {QStringLiteral("Browser")});
        const QByteArray data = uriTag(QStringLiteral("http://a.org"));
        QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("NDEF data received: ")
                                                    + QString::fromLatin1(data.toHex())));
        QTest::ignoreMessage(QtDebugMsg,
                             QRegularExpression(QStringLiteral("^Tag reading request started \\d+ms after touch$")));
        deliver(data);
        QVERIFY(d()->touchTimer.isValid());
    }

    void shownDialogLogsTheReadingTimeAndUnlocksTheScreen()
    {
        FakePlatform::setStringActions(QStringLiteral("http://a.org"), {QStringLiteral("Browser")});
        deliver(uriTag(QStringLiteral("http://a.org")));
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unlockScreen")), 0);
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("^NFC tag reading took \\d+ms$")));
        server->lastShown()->appear();
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unlockScreen")), 1);
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }

    void shownErrorDialogAlsoUnlocksTheScreen()
    {
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No NDEF messages in the tag.");
        deliver(QByteArray());
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("^NFC tag reading took \\d+ms$")));
        server->lastShown()->appear();
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unlockScreen")), 1);
    }

    void touchErrorDialogDoesNotUnlockTheScreen()
    {
        emit agent()->notifyTouch(QDBusObjectPath(QStringLiteral("/tag/1")), 1);
        server->lastShown()->appear();
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unlockScreen")), 0);
    }
};

QTEST_GUILESS_MAIN(tst_PluginTagRead)
#include "tst_plugintagread.moc"
