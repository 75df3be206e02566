// The tag read request on its own: parsing, record selection, the confirmation and error dialogs, the
// actions on a confirmed tag and the text-to-notes action.
#include <QtTest>

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QLocale>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QThreadPool>

#include "defaultsfile.h"
#include "dialog.h"
#include "fakedialogserver.h"
#include "fakeplatform.h"
#include "messagebox.h"
#include "ndefmessagehandler.h"
#include "ndefwriter.h"
#include "nfcagenttagreadrequest.h"
#include "nfctagnotsupporteddialog.h"
#include "nfctagreadpermissiondialog.h"
#include "notesmock.h"
#include "outcome.h"
#include "tagreadsupport.h"
#include "testsupport.h"

using ConnUi::Dialog;
using ConnUi::MessageBox;
using ConnUi::NdefMessageHandler;
using ConnUi::NfcAgentTagReadRequest;
using ConnUi::NfcTagNotSupportedDialog;
using ConnUi::NfcTagReadPermissionDialog;

using namespace DefaultsFile;
using namespace TagReadSupport;

namespace {

// The default application database as the handlers write it: a Qt 4.6 data stream of the table.
void writeDefaults(const QHash<QString, QString>& table)
{
    QVERIFY(QDir().mkpath(nfcDirectoryPath()));
    QFile file(databasePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_4_6);
    stream << table;
}

QHash<QString, QString> readDefaults()
{
    QHash<QString, QString> table;
    QFile file(databasePath());
    if (!file.open(QIODevice::ReadOnly))
        return table;
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_4_6);
    stream >> table;
    return table;
}

// Two actions for the URI http://x.org.
void offerBrowserAndReader()
{
    FakePlatform::setStringActions(QStringLiteral("http://x.org"),
                                   {QStringLiteral("Browser"), QStringLiteral("Reader")});
}

// Two applications registered for NDEF data.
QList<NdefMessageHandler> twoHandlers()
{
    return {handler(QStringLiteral("app1")), handler(QStringLiteral("app2"))};
}

// A tag of one record whose type no action knows.
QByteArray unknownTypeTag()
{
    return NdefWriter::message({NdefWriter::raw(1, "Zz", "abc")});
}

// A tag of two URI records, http://x.org and http://y.org.
QByteArray twoUriTag()
{
    return NdefWriter::message(
        {NdefWriter::uri(QStringLiteral("http://x.org")), NdefWriter::uri(QStringLiteral("http://y.org"))});
}

// The user picks an entry of the confirmation dialog (an empty one: none) and confirms.
void confirmChoosing(NfcTagReadPermissionDialog* dialog, const QString& chosen)
{
    dialog->setSelectedApplication(chosen);
    dialog->done(Dialog::Ok);
}

// The user asks for the direct action in the confirmation dialog and confirms.
void confirmDirectAction(NfcTagReadPermissionDialog* dialog)
{
    dialog->setDirectActionSelected(true);
    dialog->done(Dialog::Ok);
}

QStringList callArgs(const FakeCall& call)
{
    QStringList args;
    for (const QVariant& arg : call.args)
        args.append(arg.toString());
    return args;
}

} // namespace

class tst_NfcAgentTagReadRequest : public QObject
{
    Q_OBJECT

private:
    NotesMock notes;
    QStringList dataFiles; // record data files seen by a test, removed in cleanup()

    static QDBusObjectPath target() { return QDBusObjectPath(QStringLiteral("/tag/1")); }

    // Starts a request for the records with the handlers; the caller owns it.
    static NfcAgentTagReadRequest* startRequest(FakeDialogServer* server, const QByteArray& data,
                                                const QList<NdefMessageHandler>& handlers = {})
    {
        NfcAgentTagReadRequest* request = new NfcAgentTagReadRequest(server, target(), data);
        if (!handlers.isEmpty())
            request->setMessageHandlers(handlers);
        request->start();
        return request;
    }

    // A request for a tag of one URI that the actions handle, started on a dialog server of its own, and the
    // record of how it ends, made once the request has started.
    struct UriTag
    {
        UriTag(const QString& uri, const QStringList& actions)
            : request(start(&server, uri, actions))
            , outcome(request.data())
        {
        }
        // The confirmation dialog, when it is the only dialog open.
        NfcTagReadPermissionDialog* confirmation() { return server.onlyOpen<NfcTagReadPermissionDialog>(); }

        static NfcAgentTagReadRequest* start(FakeDialogServer* server, const QString& uri, const QStringList& actions)
        {
            FakePlatform::setStringActions(uri, actions);
            return startRequest(server, uriTag(uri));
        }

        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request;
        Outcome outcome;
    };

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestSupport::loadTranslations());
    }

    void init()
    {
        FakePlatform::reset();
        QDir(nfcDirectoryPath()).removeRecursively();
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
    }

    void cleanup()
    {
        QThreadPool::globalInstance()->waitForDone();
        notes.stop();
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        for (const QString& path : qAsConst(dataFiles))
            QFile::remove(path);
        dataFiles.clear();
    }

    // --- The class ------------------------------------------------------------------------------

    void metaObjectListsSignalsSlotsAndProperty()
    {
        const QMetaObject* meta = &NfcAgentTagReadRequest::staticMetaObject;
        QStringList methods;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            const QMetaMethod method = meta->method(i);
            QCOMPARE(method.access(), QMetaMethod::Public);
            methods << QString::fromLatin1(method.methodSignature());
        }
        QCOMPARE(methods, QStringList({"dialogShown()", "accepted()", "rejected()", "start()", "stop()",
                                       "dialogFinished()", "showErrorDialog(NfcTagNotSupportedDialog::ErrorType)",
                                       "showErrorDialog()", "showConfirmationDialog()", "handleSmsUri(QByteArray)",
                                       "handleCallUri(QByteArray)", "handleContent()", "handleApplication()",
                                       "sendSms()"}));
        for (int i = meta->methodOffset(); i < meta->methodOffset() + 3; ++i)
            QCOMPARE(meta->method(i).methodType(), QMetaMethod::Signal);
        for (int i = meta->methodOffset() + 3; i < meta->methodCount(); ++i)
            QCOMPARE(meta->method(i).methodType(), QMetaMethod::Slot);

        const QMetaMethod errorWithType =
            meta->method(meta->indexOfSlot("showErrorDialog(NfcTagNotSupportedDialog::ErrorType)"));
        QCOMPARE(errorWithType.parameterNames(), QList<QByteArray>({"errorType"}));
        const QMetaMethod errorDefault = meta->method(meta->indexOfSlot("showErrorDialog()"));
        QVERIFY(errorDefault.attributes() & QMetaMethod::Cloned);
        const QMetaMethod sms = meta->method(meta->indexOfSlot("handleSmsUri(QByteArray)"));
        QCOMPARE(sms.parameterNames(), QList<QByteArray>({"uriData"}));
        QCOMPARE(QByteArray(sms.typeName()), QByteArray("bool"));
        QCOMPARE(QByteArray(meta->method(meta->indexOfSlot("handleContent()")).typeName()), QByteArray("bool"));
        QCOMPARE(QByteArray(meta->method(meta->indexOfSlot("handleCallUri(QByteArray)")).typeName()),
                 QByteArray("void"));

        QCOMPARE(meta->propertyCount() - meta->propertyOffset(), 1);
        const QMetaProperty property = meta->property(meta->propertyOffset());
        QCOMPARE(QByteArray(property.name()), QByteArray("targetPath"));
        QCOMPARE(QByteArray(property.typeName()), QByteArray("QDBusObjectPath"));
        QVERIFY(property.isReadable());
        QVERIFY(!property.isWritable());
    }

    void constructorOnlyStoresWhatItIsGiven()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, QDBusObjectPath(QStringLiteral("/tag/9")),
                                       NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org"))}));
        QVERIFY(!request.parent());
        QCOMPARE(request.targetPath().path(), QStringLiteral("/tag/9"));
        QCOMPARE(request.property("targetPath").value<QDBusObjectPath>().path(), QStringLiteral("/tag/9"));
        QVERIFY(FakePlatform::calls().isEmpty());
        QVERIFY(server.shownDialogs().isEmpty());
    }

    // --- start() --------------------------------------------------------------------------------

    void unparsableBytesShowContentNotSupportedDialog()
    {
        FakeDialogServer server;
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() received ndef data could not be parsed");
        QScopedPointer<NfcAgentTagReadRequest> request(new NfcAgentTagReadRequest(&server, target(),
                                                                                  QByteArray::fromHex("d1")));
        Outcome outcome(request.data());
        request->start();
        QCOMPARE(FakePlatform::callNames().value(0), QStringLiteral("ConnectivityUIUtils::unblankDisplay"));
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::ContentNotSupported));
        QVERIFY(!server.lastShownOf<NfcTagReadPermissionDialog>());
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
    }

    void emptyDataShowsEmptyTagDialog()
    {
        FakeDialogServer server;
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No NDEF messages in the tag.");
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, QByteArray()));
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::EmptyTag));
    }

    void allEmptyUnsupportedPayloadsShowEmptyTagDialog()
    {
        FakeDialogServer server;
        QTest::ignoreMessage(QtWarningMsg, "Record type `Zz' not supported");
        QTest::ignoreMessage(QtWarningMsg, "Record type `Yy' not supported");
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagReadRequest::start() All NDEF records were empty");
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::raw(1, "Zz", QByteArray()),
                                          NdefWriter::raw(1, "Yy", QByteArray())})));
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::EmptyTag));
    }

    void oneNonEmptyUnsupportedPayloadShowsContentNotSupported()
    {
        FakeDialogServer server;
        QTest::ignoreMessage(QtWarningMsg, "Record type `Zz' not supported");
        QTest::ignoreMessage(QtWarningMsg, "Record type `Yy' not supported");
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No supported NDEF records found");
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::raw(1, "Zz", QByteArray()),
                                          NdefWriter::raw(1, "Yy", "data")})));
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::ContentNotSupported));
    }

    void foregroundHandlerGetsDataWithoutDialog()
    {
        FakePlatform::setStringActions(QStringLiteral("http://x.org"), {QStringLiteral("Browser")});
        const QByteArray data = NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org"))});
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(new NfcAgentTagReadRequest(&server, target(), data));
        request->setMessageHandlers({handler(QStringLiteral("app.bg")), handler(QStringLiteral("app.fg"), true),
                                     handler(QStringLiteral("app.fg2"), true)});
        Outcome outcome(request.data());
        request->start();
        const QList<FakeCall> forwards = FakePlatform::callsTo(QStringLiteral("NdefMessageHandler::forwardData"));
        QCOMPARE(forwards.size(), 1);
        QCOMPARE(forwards.first().args, QVariantList({QStringLiteral("app.fg"), QStringLiteral("/tag/1"), data}));
        QCOMPARE(outcome.accepted.count(), 1);
        QCOMPARE(outcome.rejected.count(), 0);
        QVERIFY(server.shownDialogs().isEmpty());
        // The supported record was not even looked at.
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::actionsForString")), 0);
    }

    void backgroundHandlersSelectFirstRecordWhateverItsType()
    {
        FakePlatform::setStringActions(QStringLiteral("http://x.org"), {QStringLiteral("Browser")});
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server,
            NdefWriter::message({NdefWriter::raw(1, "Zz", "abc"), NdefWriter::uri(QStringLiteral("http://x.org"))}),
            twoHandlers()));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("choice"));
        // The unsupported record has no actions: only the handlers are offered.
        QCOMPARE(dialog->choices(), QStringList({"app1", "app2"}));
        QCOMPARE(dialog->preselected(), QStringLiteral("app1"));
        // The URI record was never asked about.
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::actionsForString")), 0);
    }

    void choicesAreActionsThenHandlerIdsAndSingleRecordPreselectsFirstAction()
    {
        offerBrowserAndReader();
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org"))}), twoHandlers()));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->choices(), QStringList({"Browser", "Reader", "app1", "app2"}));
        QCOMPARE(dialog->preselected(), QStringLiteral("Browser"));
    }

    void singleRecordWithoutActionsPreselectsNothingEvenWithHandlers()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, unknownTypeTag(), {handler(QStringLiteral("app1"))}));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->choices(), QStringList({"app1"}));
        QVERIFY(dialog->preselected().isEmpty());
    }

    void multiRecordPreselectsFirstHandlerId()
    {
        offerBrowserAndReader();
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, twoUriTag(), twoHandlers()));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->choices(), QStringList({"Browser", "Reader", "app1", "app2"}));
        QCOMPARE(dialog->preselected(), QStringLiteral("app1"));
    }

    void multiRecordWithoutHandlersPreselectsFirstAction()
    {
        offerBrowserAndReader();
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org")),
                                          NdefWriter::raw(1, "Zz", "abc")})));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->choices(), QStringList({"Browser", "Reader"}));
        QCOMPARE(dialog->preselected(), QStringLiteral("Browser"));
    }

    void storedDefaultApplicationIsPreselected()
    {
        writeDefaults({{QStringLiteral("http"), QStringLiteral("Reader")}});
        offerBrowserAndReader();
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, twoUriTag(), {handler(QStringLiteral("app1"))}));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->preselected(), QStringLiteral("Reader"));
    }

    void unsupportedRecordsBeforeUriGiveTheKeyPrefix_data()
    {
        QTest::addColumn<QList<QByteArray>>("unsupportedTypes");
        QTest::addColumn<QStringList>("warnedNames");
        QTest::addColumn<QString>("expectedKey");
        QTest::newRow("one") << QList<QByteArray>({"Zz"}) << QStringList({"Zz"}) << QStringLiteral("Zzhttp");
        QTest::newRow("two joined") << QList<QByteArray>({"Zz", "Yy"}) << QStringList({"Zz", "Yy"})
                                    << QStringLiteral("ZzYyhttp");
        QTest::newRow("name up to NUL") << QList<QByteArray>({QByteArray("Ab\0cd", 5)}) << QStringList({"Ab"})
                                        << QStringLiteral("Abhttp");
    }

    void unsupportedRecordsBeforeUriGiveTheKeyPrefix()
    {
        QFETCH(QList<QByteArray>, unsupportedTypes);
        QFETCH(QStringList, warnedNames);
        QFETCH(QString, expectedKey);
        offerBrowserAndReader();
        QList<NdefWriter::Record> records;
        for (const QByteArray& type : unsupportedTypes)
            records.append(NdefWriter::raw(1, type, "abc"));
        records.append(NdefWriter::uri(QStringLiteral("http://x.org")));
        for (const QString& name : warnedNames)
            QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("Record type `%1' not supported").arg(name)));

        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, NdefWriter::message(records)));
        Outcome outcome(request.data());
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->choices(), QStringList({"Browser", "Reader"}));
        confirmChoosing(dialog, QStringLiteral("Reader"));
        QCOMPARE(outcome.accepted.count(), 1);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("ContentAction::trigger")).value(0).args.value(0).toString(),
                 QStringLiteral("Reader"));
        const QHash<QString, QString> expected{{expectedKey, QStringLiteral("Reader")}};
        QCOMPARE(readDefaults(), expected);
    }

    void textUriTextSelectsTextByLanguage_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("expectedText");
        QTest::newRow("language and country") << QStringLiteral("fi_FI") << QStringLiteral("Hei");
        QTest::newRow("English") << QStringLiteral("en_US") << QStringLiteral("Hello");
        QTest::newRow("English fallback") << QStringLiteral("de_DE") << QStringLiteral("Hello");
    }

    void textUriTextSelectsTextByLanguage()
    {
        QFETCH(QString, locale);
        QFETCH(QString, expectedText);
        QLocale::setDefault(QLocale(locale));
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::text("en-US", QStringLiteral("Hello")),
                                          NdefWriter::uri(QStringLiteral("http://x.org")),
                                          NdefWriter::text("fi-FI", QStringLiteral("Hei"))})));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("text"));
        QCOMPARE(dialog->text(), expectedText);
        // The URI record between the two texts is skipped, never asked about.
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::actionsForString")), 0);
    }

    void emptySelectedTextFindsNoSupportedRecord()
    {
        QLocale::setDefault(QLocale(QStringLiteral("fi_FI")));
        FakeDialogServer server;
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No supported NDEF records found");
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::text("en", QStringLiteral("Hello")),
                                          NdefWriter::text("fi", QString())})));
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::ContentNotSupported));
    }

    // --- The confirmation dialog ----------------------------------------------------------------

    void smartPosterShowsUriWithItsTitle()
    {
        FakePlatform::setStringActions(QStringLiteral("tel:+358401234"), {QStringLiteral("Phone")});
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::smartPoster(QStringLiteral("tel:+358401234"),
                                                                  {{"en", QStringLiteral("Call us")}})})));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("uri"));
        QCOMPARE(dialog->uri(), QStringLiteral("tel:+358401234"));
        QCOMPARE(dialog->text(), QStringLiteral("Call us"));
    }

    void bareUriShowsUriWithoutTitle()
    {
        FakePlatform::setStringActions(QStringLiteral("tel:+358401234"), {QStringLiteral("Phone")});
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::uri(QStringLiteral("tel:+358401234"))})));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("uri"));
        QCOMPARE(dialog->uri(), QStringLiteral("tel:+358401234"));
        QVERIFY(dialog->text().isEmpty());
    }

    void contactCardShowsMimeTypeAndDataFile()
    {
        const QByteArray card("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Test\r\nEND:VCARD\r\n");
        FakePlatform::setDefaultFileAction(QStringLiteral("*"), QStringLiteral("text/x-vCard"), QStringLiteral("Contacts"));
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::mime("text/x-vCard", card)})));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        dataFiles.append(dialog->file());
        QCOMPARE(dialog->kind(), QStringLiteral("file"));
        QCOMPARE(dialog->mimeType(), QStringLiteral("text/x-vCard"));
        QVERIFY2(dialog->file().startsWith(QStringLiteral("/tmp/nfc-mime-tag-content-")), qPrintable(dialog->file()));
        QFile file(dialog->file());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), card);
    }

    void textShowsTheText()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::text("en", QStringLiteral("Buy milk"))})));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("text"));
        QCOMPARE(dialog->text(), QStringLiteral("Buy milk"));
    }

    void storeLinkShowsExternalTypeAndContent()
    {
        FakePlatform::setLauncherAction(QStringLiteral("quandelclient.desktop"), QStringLiteral("Store"));
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::external("quandel:link", "app:42")})));
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("external"));
        QCOMPARE(dialog->externalType(), QStringLiteral("quandel:link"));
        QCOMPARE(dialog->externalContent(), QStringLiteral("app:42"));
    }

    // A store link without content has predefined support but nothing any dialog could show: no dialog,
    // and the request ends at once with a rejection.
    void predefinedRecordMatchingNoRuleRejectsWithoutDialog()
    {
        FakePlatform::setLauncherAction(QStringLiteral("quandelclient.desktop"), QStringLiteral("Store"));
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(new NfcAgentTagReadRequest(
            &server, target(), NdefWriter::message({NdefWriter::external("quandel:link", QByteArray())})));
        Outcome outcome(request.data());
        request->start();
        QVERIFY(server.shownDialogs().isEmpty());
        QCOMPARE(outcome.rejected.count(), 1);
        QCOMPARE(outcome.accepted.count(), 0);
        request.reset();
        QCOMPARE(outcome.rejected.count(), 1);
    }

    void shownDialogAppearingEmitsDialogShown()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::text("en", QStringLiteral("Hi"))})));
        Outcome outcome(request.data());
        server.lastShown()->appear();
        QCOMPARE(outcome.dialogShown.count(), 1);
    }

    void errorDialogAppearingEmitsDialogShown()
    {
        FakeDialogServer server;
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() No NDEF messages in the tag.");
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, QByteArray()));
        Outcome outcome(request.data());
        server.lastShown()->appear();
        QCOMPARE(outcome.dialogShown.count(), 1);
    }

    // --- dialogFinished() -------------------------------------------------------------------------

    void dialogFinishedWithoutDialogOnlyWarns()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        Outcome outcome(&request);
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagReadRequest::dialogFinished() lacks dialog");
        request.dialogFinished();
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
        QVERIFY(server.shownDialogs().isEmpty());
    }

    void confirmationWithOtherResultThanOkRejects_data()
    {
        QTest::addColumn<int>("result");
        QTest::newRow("Cancel") << int(Dialog::Cancel);
        QTest::newRow("No") << int(Dialog::No);
        QTest::newRow("Yes") << int(Dialog::Yes);
        QTest::newRow("none") << int(Dialog::NoButton);
    }

    void confirmationWithOtherResultThanOkRejects()
    {
        QFETCH(int, result);
        FakePlatform::setStringActions(QStringLiteral("http://x.org"), {QStringLiteral("Browser")});
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org"))})));
        Outcome outcome(request.data());
        server.lastShown()->done(result);
        QCOMPARE(outcome.rejected.count(), 1);
        QCOMPARE(outcome.accepted.count(), 0);
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::trigger")), 0);
        QVERIFY(!QFile::exists(databasePath()));
    }

    // --- processTag() ---------------------------------------------------------------------------

    void confirmedTextIsStoredAsNoteInTheBackground()
    {
        QVERIFY(notes.start());
        QLocale::setDefault(QLocale(QStringLiteral("fi_FI")));
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(
            &server, NdefWriter::message({NdefWriter::text("en", QStringLiteral("Milk")),
                                          NdefWriter::text("fi", QStringLiteral("Maitoa"))})));
        Outcome outcome(request.data());
        server.lastShown()->done(Dialog::Ok);
        QCOMPARE(outcome.accepted.count(), 1);
        QCOMPARE(outcome.rejected.count(), 0);
        QThreadPool::globalInstance()->waitForDone();

        const QList<FakeCall> saves = FakePlatform::callsTo(QStringLiteral("ExtendedStorage::save"));
        QCOMPARE(saves.size(), 1);
        QCOMPARE(saves.first().args.size(), 1);
        const QVariantMap journal = saves.first().args.first().toMap();
        QCOMPARE(journal.value(QStringLiteral("description")).toString(), QStringLiteral("Maitoa"));
        QCOMPARE(journal.value(QStringLiteral("notebook")).toString(), QLatin1String(notesNotebook));
        QCOMPARE(notes.openNoteCalls(), QList<QStringList>({{journal.value(QStringLiteral("uid")).toString()}}));
        // No application was chosen for a text, so nothing is remembered.
        QVERIFY(!QFile::exists(databasePath()));
    }

    void confirmedTextIsStoredOutsideTheEventLoopThread()
    {
        QVERIFY(!notes.isRunning());
        NotesWarningLog log;
        const QRegularExpression failure = openNoteFailure();
        QTest::ignoreMessage(QtWarningMsg, failure);
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::text("en", QStringLiteral("Milk"))})));
        Outcome outcome(request.data());
        server.lastShown()->done(Dialog::Ok);
        QCOMPARE(outcome.accepted.count(), 1);
        QThreadPool::globalInstance()->waitForDone();
        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(failure.match(log.warnings().first()).hasMatch());
        QVERIFY(log.threads().first() != QThread::currentThread());
        QCOMPARE(FakePlatform::count(QStringLiteral("ExtendedStorage::save")), 1);
    }

    void chosenHandlerGetsDataAndIsRemembered()
    {
        const QByteArray data = unknownTypeTag();
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, data, twoHandlers()));
        Outcome outcome(request.data());
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        confirmChoosing(dialog, QStringLiteral("app2"));
        QCOMPARE(outcome.accepted.count(), 1);
        const QList<FakeCall> forwards = FakePlatform::callsTo(QStringLiteral("NdefMessageHandler::forwardData"));
        QCOMPARE(forwards.size(), 1);
        QCOMPARE(forwards.first().args, QVariantList({QStringLiteral("app2"), QStringLiteral("/tag/1"), data}));
        const QHash<QString, QString> expected{{QStringLiteral("Zz"), QStringLiteral("app2")}};
        QCOMPARE(readDefaults(), expected);
    }

    void handlersWithNothingChosenGoToTheFirstHandler()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, unknownTypeTag(), twoHandlers()));
        Outcome outcome(request.data());
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        QVERIFY(dialog->selectedApplication().isEmpty());
        dialog->done(Dialog::Ok);
        QCOMPARE(outcome.accepted.count(), 1);
        const QList<FakeCall> forwards = FakePlatform::callsTo(QStringLiteral("NdefMessageHandler::forwardData"));
        QCOMPARE(forwards.size(), 1);
        QCOMPARE(forwards.first().args.value(0).toString(), QStringLiteral("app1"));
        const QHash<QString, QString> expected{{QStringLiteral("Zz"), QStringLiteral("app1")}};
        QCOMPARE(readDefaults(), expected);
    }

    void choiceMatchingNoHandlerGoesToTheFirstHandler()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, unknownTypeTag(), twoHandlers()));
        Outcome outcome(request.data());
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        confirmChoosing(dialog, QStringLiteral("app.gone"));
        QCOMPARE(outcome.accepted.count(), 1);
        const QList<FakeCall> forwards = FakePlatform::callsTo(QStringLiteral("NdefMessageHandler::forwardData"));
        QCOMPARE(forwards.size(), 1);
        QCOMPARE(forwards.first().args.value(0).toString(), QStringLiteral("app1"));
        const QHash<QString, QString> expected{{QStringLiteral("Zz"), QStringLiteral("app.gone")}};
        QCOMPARE(readDefaults(), expected);
    }

    void chosenActionBesideHandlersTriggersTheAction()
    {
        offerBrowserAndReader();
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org"))}),
                         {handler(QStringLiteral("app1"))}));
        Outcome outcome(request.data());
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        confirmChoosing(dialog, QStringLiteral("Reader"));
        QCOMPARE(outcome.accepted.count(), 1);
        QCOMPARE(FakePlatform::count(QStringLiteral("NdefMessageHandler::forwardData")), 0);
        const QList<FakeCall> triggers = FakePlatform::callsTo(QStringLiteral("ContentAction::trigger"));
        QCOMPARE(triggers.size(), 1);
        QCOMPARE(triggers.first().args.value(0).toString(), QStringLiteral("Reader"));
        const QHash<QString, QString> expected{{QStringLiteral("http"), QStringLiteral("Reader")}};
        QCOMPARE(readDefaults(), expected);
    }

    void chosenActionIsTriggered_data()
    {
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<QString>("triggered");
        QTest::newRow("first") << QStringLiteral("Browser") << QStringLiteral("Browser");
        QTest::newRow("middle") << QStringLiteral("Reader") << QStringLiteral("Reader");
        QTest::newRow("last") << QStringLiteral("Saver") << QStringLiteral("Saver");
        QTest::newRow("unknown name falls back to the first") << QStringLiteral("Gone") << QStringLiteral("Browser");
    }

    void chosenActionIsTriggered()
    {
        QFETCH(QString, chosen);
        QFETCH(QString, triggered);
        FakePlatform::setStringActions(QStringLiteral("http://x.org"),
                         {QStringLiteral("Browser"), QStringLiteral("Reader"), QStringLiteral("Saver")});
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org"))})));
        Outcome outcome(request.data());
        auto* dialog = server.onlyOpen<NfcTagReadPermissionDialog>();
        QVERIFY(dialog);
        confirmChoosing(dialog, chosen);
        QCOMPARE(outcome.accepted.count(), 1);
        const QList<FakeCall> triggers = FakePlatform::callsTo(QStringLiteral("ContentAction::trigger"));
        QCOMPARE(triggers.size(), 1);
        QCOMPARE(triggers.first().args.value(0).toString(), triggered);
        const QHash<QString, QString> expected{{QStringLiteral("http"), chosen}};
        QCOMPARE(readDefaults(), expected);
    }

    void processTagWithNothingToActOnShowsErrorDialog()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), unknownTypeTag());
        Outcome outcome(&request);
        QTest::ignoreMessage(QtWarningMsg, "Record type `Zz' not supported");
        QVERIFY(!request.selectSupportedRecord());
        QVERIFY(!request.processTag());
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::ContentNotSupported));
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
        error->done(Dialog::Ok);
        QCOMPARE(outcome.rejected.count(), 1);
    }

    // The confirmation dialog goes back to the server before the error dialog replaces it.
    void errorDialogReplacesAnOpenDialog()
    {
        offerBrowserAndReader();
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::uri(QStringLiteral("http://x.org"))})));
        Outcome outcome(request.data());
        Dialog* confirmation = server.lastShown();
        request->showErrorDialog();
        QVERIFY(!server.isOpen(confirmation));
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::ContentNotSupported));
        request->showErrorDialog(NfcTagNotSupportedDialog::EmptyTag);
        QVERIFY(!server.isOpen(error));
        error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        QCOMPARE(error->errorType(), int(NfcTagNotSupportedDialog::EmptyTag));
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
    }

    // --- stop(), the error dialog and the destructor ----------------------------------------------

    void stopWithoutDialogEmitsNothing()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        Outcome outcome(&request);
        request.stop();
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
        QVERIFY(FakePlatform::callsTo(QStringLiteral("Server::closeDialog")).isEmpty());
    }

    void stopClosesTheShownDialogAndRejects()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentTagReadRequest> request(
            startRequest(&server, NdefWriter::message({NdefWriter::text("en", QStringLiteral("Hi"))})));
        Outcome outcome(request.data());
        Dialog* dialog = server.lastShown();
        request->stop();
        QCOMPARE(outcome.rejected.count(), 1);
        QVERIFY(!server.isOpen(dialog));
        // Cut off: the dialog's later signals no longer reach the request.
        dialog->done(Dialog::Ok);
        dialog->appear();
        QCOMPARE(outcome.accepted.count(), 0);
        QCOMPARE(outcome.dialogShown.count(), 0);
        request->stop();
        QCOMPARE(outcome.rejected.count(), 1);
        request.reset();
        QCOMPARE(outcome.rejected.count(), 1);
    }

    void closingTheErrorDialogRejectsExactlyOnce()
    {
        FakeDialogServer server;
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() received ndef data could not be parsed");
        QScopedPointer<NfcAgentTagReadRequest> request(startRequest(&server, QByteArray::fromHex("d1")));
        Outcome outcome(request.data());
        auto* error = server.onlyOpen<NfcTagNotSupportedDialog>();
        QVERIFY(error);
        error->done(Dialog::Ok);
        QCOMPARE(outcome.rejected.count(), 1);
        QVERIFY(!server.isOpen(error));
        request->stop();
        request.reset();
        QCOMPARE(outcome.rejected.count(), 1);
        QCOMPARE(outcome.accepted.count(), 0);
    }

    void destructorClosesTheShownDialogAndRejects()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest* request =
            startRequest(&server, NdefWriter::message({NdefWriter::text("en", QStringLiteral("Hi"))}));
        Outcome outcome(request);
        Dialog* dialog = server.lastShown();
        QVERIFY(server.isOpen(dialog));
        delete request;
        QCOMPARE(outcome.rejected.count(), 1);
        QCOMPARE(outcome.accepted.count(), 0);
        QVERIFY(!server.isOpen(dialog));
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("Server::closeDialog")).size(), 1);
    }

    void destructorWithoutDialogEmitsNothing()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest* request = new NfcAgentTagReadRequest(&server, target(), QByteArray());
        Outcome outcome(request);
        delete request;
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
    }

    // --- handleApplication() --------------------------------------------------------------------

    void handleApplicationWithoutHandlersOnlyWarns()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagReadRequest: No handlers for application tag read request!");
        request.handleApplication();
        QCOMPARE(FakePlatform::count(QStringLiteral("NdefMessageHandler::forwardData")), 0);
    }

    void handleApplicationWithNothingSelectedForwardsToTheFirstHandler()
    {
        const QByteArray data = unknownTypeTag();
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), data);
        request.setMessageHandlers(twoHandlers());
        request.handleApplication();
        const QList<FakeCall> forwards = FakePlatform::callsTo(QStringLiteral("NdefMessageHandler::forwardData"));
        QCOMPARE(forwards.size(), 1);
        QCOMPARE(forwards.first().args, QVariantList({QStringLiteral("app1"), QStringLiteral("/tag/1"), data}));
    }

    // --- SMS and calls --------------------------------------------------------------------------

    void smsUriWithoutBodyOpensEditorWithEmptyBody()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        QVERIFY(request.handleSmsUri("sms:+15551234"));
        const QList<FakeCall> editors = FakePlatform::callsTo(QStringLiteral("MessagingIf::showSmsEditor"));
        QCOMPARE(editors.size(), 1);
        QCOMPARE(editors.first().args.value(0).toStringList(), QStringList({"+15551234"}));
        QVERIFY(editors.first().args.value(1).toString().isEmpty());
        QVERIFY(editors.first().args.value(2).toString().isEmpty());
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("MessagingIf::MessagingIf")).value(0).args,
                 QVariantList({QString()}));
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")), 0);
        QCOMPARE(FakePlatform::count(QStringLiteral("OfflineMode::currentStatus")), 0);
    }

    void smsUriOpensEditorWithRecipientsAndBody()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        QVERIFY(request.handleSmsUri("sms:+15551234,+15555678?body=Hello%20there"));
        const QList<FakeCall> editors = FakePlatform::callsTo(QStringLiteral("MessagingIf::showSmsEditor"));
        QCOMPARE(editors.size(), 1);
        QCOMPARE(editors.first().args.value(0).toStringList(), QStringList({"+15551234", "+15555678"}));
        QCOMPARE(editors.first().args.value(1).toString(), QStringLiteral("Hello there"));
        QCOMPARE(editors.first().args.value(2).userType(), int(QMetaType::QString));
        QVERIFY(editors.first().args.value(2).toString().isEmpty());
    }

    // Decoded before parsing, so an encoded '?', '&' or ',' separates like a plain one.
    void encodedSeparatorsSplitAfterDecoding_data()
    {
        QTest::addColumn<QByteArray>("uri");
        QTest::addColumn<QStringList>("recipients");
        QTest::addColumn<QString>("body");
        QTest::newRow("question mark starts the query")
            << QByteArray("sms:+15551234%3Fbody=Hi") << QStringList({"+15551234"}) << QStringLiteral("Hi");
        QTest::newRow("ampersand ends the body") << QByteArray("sms:+15551234?body=Salt%26pepper=yes")
                                                 << QStringList({"+15551234"}) << QStringLiteral("Salt");
        QTest::newRow("comma splits recipients")
            << QByteArray("sms:+15551234%2C+15555678") << QStringList({"+15551234", "+15555678"}) << QString();
    }

    void encodedSeparatorsSplitAfterDecoding()
    {
        QFETCH(QByteArray, uri);
        QFETCH(QStringList, recipients);
        QFETCH(QString, body);
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        QVERIFY(request.handleSmsUri(uri));
        const QList<FakeCall> editors = FakePlatform::callsTo(QStringLiteral("MessagingIf::showSmsEditor"));
        QCOMPARE(editors.size(), 1);
        QCOMPARE(editors.first().args.value(0).toStringList(), recipients);
        QCOMPARE(editors.first().args.value(1).toString(), body);
    }

    void sendSmsWithoutRecipientsSendsNothing()
    {
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        request.sendSms();
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")), 0);
    }

    void directSmsGoesToEveryRecipientIncludingEmptyOnes()
    {
        UriTag tag(QStringLiteral("sms:+1,,+2"), {QStringLiteral("Messages")});
        auto* dialog = tag.confirmation();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("uri"));
        confirmDirectAction(dialog);
        QCOMPARE(tag.outcome.accepted.count(), 1);
        const QList<FakeCall> sent = FakePlatform::callsTo(QStringLiteral("MessagingIf::sendSMS"));
        QCOMPARE(sent.size(), 3);
        QCOMPARE(sent.at(0).args, QVariantList({QStringLiteral("+1"), QString(), true}));
        QCOMPARE(sent.at(1).args, QVariantList({QString(), QString(), true}));
        QCOMPARE(sent.at(2).args, QVariantList({QStringLiteral("+2"), QString(), true}));
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::showSmsEditor")), 0);
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::trigger")), 0);
    }

    void confirmedSmsWithoutDirectActionOpensEditor()
    {
        UriTag tag(QStringLiteral("sms:+15551234?body=Hi"), {QStringLiteral("Messages")});
        tag.server.lastShown()->done(Dialog::Ok);
        QCOMPARE(tag.outcome.accepted.count(), 1);
        const QList<FakeCall> editors = FakePlatform::callsTo(QStringLiteral("MessagingIf::showSmsEditor"));
        QCOMPARE(editors.size(), 1);
        QCOMPARE(editors.first().args.value(0).toStringList(), QStringList({"+15551234"}));
        QCOMPARE(editors.first().args.value(1).toString(), QStringLiteral("Hi"));
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::trigger")), 0);
    }

    void offlineDirectSmsAsksToLeaveOfflineMode_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("sends");
        QTest::newRow("Yes") << int(Dialog::Yes) << true;
        QTest::newRow("No") << int(Dialog::No) << false;
    }

    void offlineDirectSmsAsksToLeaveOfflineMode()
    {
        QFETCH(int, answer);
        QFETCH(bool, sends);
        FakePlatform::setOfflineStatus(0);
        UriTag tag(QStringLiteral("sms:+15551234?body=Hi"), {QStringLiteral("Messages")});
        int sentWhenAccepted = -1;
        connect(tag.request.data(), &NfcAgentTagReadRequest::accepted, this,
                [&] { sentWhenAccepted = FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")); });
        auto* confirmation = tag.confirmation();
        QVERIFY(confirmation);
        confirmDirectAction(confirmation);
        QCOMPARE(tag.outcome.accepted.count() + tag.outcome.rejected.count(), 0);
        QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")), 0);

        auto* box = tag.server.lastShownOf<MessageBox>();
        QVERIFY(box);
        QVERIFY(tag.server.isOpen(box));
        QCOMPARE(box->title(), QStringLiteral("Exit offline mode?"));
        QCOMPARE(box->text(), QStringLiteral("The message can only be sent with offline mode off. "
                                             "Turn offline mode off and send the message?"));
        QCOMPARE(box->buttons(), 0x14000);
        box->appear();
        QCOMPARE(tag.outcome.dialogShown.count(), 0);

        box->done(answer);
        if (sends) {
            QCOMPARE(tag.outcome.accepted.count(), 1);
            QCOMPARE(tag.outcome.rejected.count(), 0);
            QCOMPARE(sentWhenAccepted, 1);
            QCOMPARE(FakePlatform::callsTo(QStringLiteral("MessagingIf::sendSMS")).value(0).args,
                     QVariantList({QStringLiteral("+15551234"), QStringLiteral("Hi"), true}));
        } else {
            QCOMPARE(tag.outcome.rejected.count(), 1);
            QCOMPARE(tag.outcome.accepted.count(), 0);
            QCOMPARE(FakePlatform::count(QStringLiteral("MessagingIf::sendSMS")), 0);
        }
        // The box is the request's dialog now: stopping the request hands it back.
        tag.request->stop();
        QVERIFY(!tag.server.isOpen(box));
    }

    void handleCallUriDropsSchemeAndQuery_data()
    {
        QTest::addColumn<QByteArray>("uri");
        QTest::addColumn<QString>("number");
        QTest::newRow("query") << QByteArray("tel:+15551234?x=1") << QStringLiteral("+15551234");
        QTest::newRow("encoded") << QByteArray("tel:%2B15551234") << QStringLiteral("+15551234");
        QTest::newRow("callto") << QByteArray("callto:5551234") << QStringLiteral("5551234");
    }

    void handleCallUriDropsSchemeAndQuery()
    {
        QFETCH(QByteArray, uri);
        QFETCH(QString, number);
        FakeDialogServer server;
        NfcAgentTagReadRequest request(&server, target(), QByteArray());
        request.handleCallUri(uri);
        const QList<FakeCall> calls = FakePlatform::callsTo(QStringLiteral("CallUiServiceApi::RequestCellularCall"));
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls.first().args, QVariantList({number}));
    }

    void callUriWithDirectActionPlacesTheCall()
    {
        UriTag tag(QStringLiteral("tel:+15551234?x=1"), {QStringLiteral("Phone"), QStringLiteral("Skype")});
        auto* dialog = tag.confirmation();
        QVERIFY(dialog);
        QCOMPARE(dialog->kind(), QStringLiteral("uri"));
        confirmDirectAction(dialog);
        QCOMPARE(tag.outcome.accepted.count(), 1);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("CallUiServiceApi::RequestCellularCall")).value(0).args,
                 QVariantList({QStringLiteral("+15551234")}));
        QCOMPARE(FakePlatform::count(QStringLiteral("CallUiServiceApi::RequestCellularCall")), 1);
        QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::trigger")), 0);
    }

    void callUriWithoutDirectActionTriggersTheChosenAction_data()
    {
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<QString>("triggered");
        QTest::newRow("nothing chosen") << QString() << QStringLiteral("Phone");
        QTest::newRow("second action") << QStringLiteral("Skype") << QStringLiteral("Skype");
    }

    void callUriWithoutDirectActionTriggersTheChosenAction()
    {
        QFETCH(QString, chosen);
        QFETCH(QString, triggered);
        UriTag tag(QStringLiteral("tel:+15551234"), {QStringLiteral("Phone"), QStringLiteral("Skype")});
        auto* dialog = tag.confirmation();
        QVERIFY(dialog);
        confirmChoosing(dialog, chosen);
        QCOMPARE(tag.outcome.accepted.count(), 1);
        QCOMPARE(FakePlatform::count(QStringLiteral("CallUiServiceApi::RequestCellularCall")), 0);
        const QList<FakeCall> triggers = FakePlatform::callsTo(QStringLiteral("ContentAction::trigger"));
        QCOMPARE(triggers.size(), 1);
        QCOMPARE(triggers.first().args.value(0).toString(), triggered);
    }

    // --- Text to notes ----------------------------------------------------------------------------

    void handleTextStoresJournalInNotesNotebookAndOpensIt()
    {
        QVERIFY(notes.start());
        NotesWarningLog log;
        NfcAgentTagReadRequest::handleText(QStringLiteral("Buy milk"));
        QVERIFY(log.warnings().isEmpty());

        QCOMPARE(TestSupport::callsWithPrefix(QStringLiteral("Extended")),
                 QStringList({"ExtendedStorage::defaultStorage", "ExtendedStorage::open", "ExtendedStorage::load",
                              "ExtendedCalendar::addJournal", "ExtendedCalendar::setNotebook",
                              "ExtendedStorage::save", "ExtendedStorage::close"}));
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("ExtendedStorage::defaultStorage")).value(0).args,
                 QVariantList({false}));
        const QList<FakeCall> saves = FakePlatform::callsTo(QStringLiteral("ExtendedStorage::save"));
        QCOMPARE(saves.value(0).args.size(), 1);
        const QVariantMap journal = saves.first().args.first().toMap();
        const QString uid = journal.value(QStringLiteral("uid")).toString();
        QVERIFY(!uid.isEmpty());
        QCOMPARE(journal.value(QStringLiteral("description")).toString(), QStringLiteral("Buy milk"));
        QCOMPARE(journal.value(QStringLiteral("notebook")).toString(), QLatin1String(notesNotebook));
        QCOMPARE(notes.openNoteCalls(), QList<QStringList>({{uid}}));
    }

    void handleTextStoresAnEmptyText()
    {
        QVERIFY(notes.start());
        NfcAgentTagReadRequest::handleText(QString());
        const QList<FakeCall> saves = FakePlatform::callsTo(QStringLiteral("ExtendedStorage::save"));
        QCOMPARE(saves.size(), 1);
        QCOMPARE(saves.first().args.size(), 1);
        const QVariantMap journal = saves.first().args.first().toMap();
        QVERIFY(journal.value(QStringLiteral("description")).toString().isEmpty());
        QCOMPARE(journal.value(QStringLiteral("notebook")).toString(), QLatin1String(notesNotebook));
        QCOMPARE(notes.openNoteCalls(), QList<QStringList>({{journal.value(QStringLiteral("uid")).toString()}}));
    }

    void handleTextWhenStorageDoesNotOpenDoesNothingElse()
    {
        QVERIFY(notes.start());
        FakePlatform::setNotesStorageOpenFails(true);
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagReadRequest::handleText() Could not open storage!");
        NfcAgentTagReadRequest::handleText(QStringLiteral("Buy milk"));
        QCOMPARE(TestSupport::callsWithPrefix(QStringLiteral("Extended")),
                 QStringList({"ExtendedStorage::defaultStorage", "ExtendedStorage::open"}));
        QVERIFY(notes.openNoteCalls().isEmpty());
    }

    void handleTextWhenAddingFailsStillSavesAndOpensTheNote()
    {
        QVERIFY(notes.start());
        FakePlatform::setJournalAddFails(true);
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagReadRequest:: adding journal failed");
        NfcAgentTagReadRequest::handleText(QStringLiteral("Buy milk"));
        QCOMPARE(TestSupport::callsWithPrefix(QStringLiteral("Extended")),
                 QStringList({"ExtendedStorage::defaultStorage", "ExtendedStorage::open", "ExtendedStorage::load",
                              "ExtendedCalendar::addJournal", "ExtendedCalendar::setNotebook",
                              "ExtendedStorage::save", "ExtendedStorage::close"}));
        const QString uid =
            FakePlatform::callsTo(QStringLiteral("ExtendedCalendar::addJournal")).value(0).args.value(0).toString();
        QVERIFY(!uid.isEmpty());
        QCOMPARE(callArgs(FakePlatform::callsTo(QStringLiteral("ExtendedCalendar::setNotebook")).value(0)),
                 QStringList({uid, QLatin1String(notesNotebook)}));
        QCOMPARE(notes.openNoteCalls(), QList<QStringList>({{uid}}));
    }

    void handleTextWithoutNotesServiceOnlyLogsTheFailure()
    {
        QVERIFY(!notes.isRunning());
        NotesWarningLog log;
        const QRegularExpression failure = openNoteFailure();
        QTest::ignoreMessage(QtWarningMsg, failure);
        NfcAgentTagReadRequest::handleText(QStringLiteral("Buy milk"));
        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(failure.match(log.warnings().first()).hasMatch());
        // The journal is saved all the same, and the storage closed after the failed call.
        const QList<FakeCall> saves = FakePlatform::callsTo(QStringLiteral("ExtendedStorage::save"));
        QCOMPARE(saves.size(), 1);
        QCOMPARE(saves.first().args.first().toMap().value(QStringLiteral("description")).toString(),
                 QStringLiteral("Buy milk"));
        QCOMPARE(FakePlatform::callNames().last(), QStringLiteral("ExtendedStorage::close"));
    }

    void handleTextLogsTheErrorNameAndMessageOfOpenNote()
    {
        QVERIFY(notes.start());
        QVERIFY(notes.setOpenNoteError(QStringLiteral("com.orvan.Notes.Error.Failed"), QStringLiteral("no such note")));
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagReadRequest: Calling openNote() fails: "
                                           "com.orvan.Notes.Error.Failed no such note");
        NfcAgentTagReadRequest::handleText(QStringLiteral("Buy milk"));
        QCOMPARE(notes.openNoteCalls().size(), 1);
        QCOMPARE(FakePlatform::count(QStringLiteral("ExtendedStorage::save")), 1);
        QCOMPARE(FakePlatform::callNames().last(), QStringLiteral("ExtendedStorage::close"));
    }
};

QTEST_GUILESS_MAIN(tst_NfcAgentTagReadRequest)
#include "tst_nfcagenttagreadrequest.moc"
