// The sharing request on its own: confirmation setting, resource check, dialogs and results.
#include <QtTest>

#include "fakedialogserver.h"
#include "fakeplatform.h"
#include "nfcadapter.h"
#include "nfcagentsharingrequest.h"
#include "nfcsharingpermissiondialog.h"
#include "nfcsharingselectiondialog.h"
#include "outcome.h"

using ConnUi::Dialog;
using ConnUi::NfcAgentSharingRequest;

class tst_NfcAgentSharingRequest : public QObject
{
    Q_OBJECT

private:
    static NfcAgentSharingRequest* permission(FakeDialogServer* server, const QStringList& resources,
                                              const QVariant& info = QVariant(1))
    {
        return new NfcAgentSharingRequest(NfcAgentSharingRequest::SharingPermission, server,
                                          QStringLiteral("bluetooth"), info, resources);
    }

private Q_SLOTS:
    void init()
    {
        FakePlatform::reset();
    }

    void metaObjectHasSignalsThenSlots()
    {
        const QMetaObject* meta = &NfcAgentSharingRequest::staticMetaObject;
        QStringList methods;
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
            methods << QString::fromLatin1(meta->method(i).methodSignature());
        QCOMPARE(methods, QStringList({"dialogShown()", "accepted()", "rejected()", "start()", "dialogFinished()"}));
        QCOMPARE(meta->method(meta->indexOfSlot("start()")).access(), QMetaMethod::Public);
        QCOMPARE(meta->method(meta->indexOfSlot("dialogFinished()")).access(), QMetaMethod::Private);
    }

    void constructorDoesNothingElse()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentSharingRequest> request(permission(&server, {QStringLiteral("a")}));
        QVERIFY(FakePlatform::calls().isEmpty());
        QVERIFY(!request->parent());
    }

    void confirmationDisabledAcceptsWithoutDialogEvenWithoutResources()
    {
        FakePlatform::setConfirmationEnabled(false);
        FakeDialogServer server;
        QScopedPointer<NfcAgentSharingRequest> request(permission(&server, {}));
        Outcome outcome(request.data());
        request->start();
        QCOMPARE(outcome.accepted.count(), 1);
        QCOMPARE(outcome.rejected.count(), 0);
        QVERIFY(server.shownDialogs().isEmpty());
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unblankDisplay")), 0);
        // The adapter object asked for the setting is deleted again.
        QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::~NfcAdapter")), 1);
        QVERIFY(FakePlatform::objects<NfcAdapter>().isEmpty());
    }

    void confirmationDisabledAcceptsEvenAnUnknownType()
    {
        FakePlatform::setConfirmationEnabled(false);
        FakeDialogServer server;
        NfcAgentSharingRequest request(NfcAgentSharingRequest::Type(7), &server, QString(), 3, {});
        Outcome outcome(&request);
        request.start();
        QCOMPARE(outcome.accepted.count(), 1);
        QVERIFY(server.shownDialogs().isEmpty());
    }

    void permissionWithoutResourcesIsRejected()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentSharingRequest> request(permission(&server, {}));
        Outcome outcome(request.data());
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentDialogPlugin: Unable to handle resources size < 1, rejecting");
        request->start();
        QCOMPARE(outcome.rejected.count(), 1);
        QCOMPARE(outcome.accepted.count(), 0);
        QVERIFY(server.shownDialogs().isEmpty());
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unblankDisplay")), 0);
        QVERIFY(FakePlatform::objects<NfcAdapter>().isEmpty());
    }

    void unknownTypeIsRejectedAfterUnblanking()
    {
        FakeDialogServer server;
        NfcAgentSharingRequest request(NfcAgentSharingRequest::Type(2), &server, QString(), 3, {});
        Outcome outcome(&request);
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentSharingRequest: Unable to handle request type: 2");
        request.start();
        QCOMPARE(outcome.rejected.count(), 1);
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unblankDisplay")), 1);
        QVERIFY(server.shownDialogs().isEmpty());
    }

    void permissionShowsResourcesAfterUnblanking()
    {
        FakeDialogServer server;
        const QStringList resources = {QStringLiteral("file:///a.jpg"), QStringLiteral("file:///b.vcf")};
        QScopedPointer<NfcAgentSharingRequest> request(permission(&server, resources));
        Outcome outcome(request.data());
        request->start();
        QCOMPARE(FakePlatform::callNames(),
                 QStringList({"NfcAdapter::defaultAdapter", "NfcAdapter::isConfirmationEnabled",
                              "NfcAdapter::~NfcAdapter", "ConnectivityUIUtils::unblankDisplay",
                              "Server::showDialog"}));
        auto* dialog = server.lastShownOf<ConnUi::NfcSharingPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->resources(), resources);
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
    }

    void selectionShowsSelectionDialogOfTypeZero()
    {
        FakeDialogServer server;
        NfcAgentSharingRequest request(NfcAgentSharingRequest::SharingSelection, &server, QString(), 4, {});
        Outcome outcome(&request);
        request.start();
        auto* dialog = server.lastShownOf<ConnUi::NfcSharingSelectionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->selectionType(), 0);
        QCOMPARE(outcome.rejected.count(), 0);
    }

    void dialogAppearanceIsRelayed()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentSharingRequest> request(permission(&server, {QStringLiteral("r")}));
        Outcome outcome(request.data());
        request->start();
        server.lastShown()->appear();
        QCOMPARE(outcome.dialogShown.count(), 1);
    }

    void okResultAccepts()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentSharingRequest> request(permission(&server, {QStringLiteral("r")}));
        Outcome outcome(request.data());
        request->start();
        Dialog* dialog = server.lastShown();
        FakePlatform::clearCalls();
        dialog->done(1024);
        QCOMPARE(outcome.accepted.count(), 1);
        QCOMPARE(outcome.rejected.count(), 0);
        QCOMPARE(FakePlatform::callNames(), QStringList({"Server::closeDialog"}));
        QCOMPARE(FakePlatform::calls().first().args.value(1).value<QObject*>(), static_cast<QObject*>(dialog));
    }

    void otherResultsReject_data()
    {
        QTest::addColumn<int>("result");
        QTest::newRow("zero") << 0;
        QTest::newRow("cancel") << int(Dialog::Cancel);
        QTest::newRow("yes") << int(Dialog::Yes);
        QTest::newRow("no") << int(Dialog::No);
    }

    void otherResultsReject()
    {
        QFETCH(int, result);
        FakeDialogServer server;
        NfcAgentSharingRequest request(NfcAgentSharingRequest::SharingSelection, &server, QString(), 4, {});
        Outcome outcome(&request);
        request.start();
        server.lastShown()->done(result);
        QCOMPARE(outcome.rejected.count(), 1);
        QCOMPARE(outcome.accepted.count(), 0);
        QVERIFY(server.openDialogs().isEmpty());
    }

    void dialogFinishedWithoutDialogOnlyWarns()
    {
        FakeDialogServer server;
        QScopedPointer<NfcAgentSharingRequest> request(permission(&server, {QStringLiteral("r")}));
        Outcome outcome(request.data());
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentSharingRequest::dialogFinished() lacks dialog");
        QVERIFY(QMetaObject::invokeMethod(request.data(), "dialogFinished", Qt::DirectConnection));
        // A sender that is not a dialog counts as none.
        QObject stranger;
        connect(&stranger, SIGNAL(destroyed()), request.data(), SLOT(dialogFinished()));
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentSharingRequest::dialogFinished() lacks dialog");
        emit stranger.destroyed();
        QCOMPARE(outcome.accepted.count() + outcome.rejected.count(), 0);
        QVERIFY(FakePlatform::callsTo(QStringLiteral("Server::closeDialog")).isEmpty());
    }

    void sharingInfoIsTheDaemonsValue_data()
    {
        QTest::addColumn<QVariant>("info");
        QTest::newRow("int") << QVariant(42);
        QTest::newRow("string") << QVariant(QStringLiteral("share-1"));
        QTest::newRow("map") << QVariant(QVariantMap{{"carrier", "bt"}, {"id", 9}});
        QTest::newRow("invalid") << QVariant();
        QTest::newRow("bytes") << QVariant(QByteArray("\x00\x01", 2));
    }

    void sharingInfoIsTheDaemonsValue()
    {
        QFETCH(QVariant, info);
        NfcAgentSharingRequest request(NfcAgentSharingRequest::SharingPermission, nullptr, QString(), info, {});
        QCOMPARE(request.sharingInfo(), info);
        QCOMPARE(request.sharingInfo().userType(), info.userType());
    }

    void destructorLeavesShownDialogWithServer()
    {
        FakeDialogServer server;
        QPointer<Dialog> dialog;
        {
            NfcAgentSharingRequest request(NfcAgentSharingRequest::SharingSelection, &server, QString(), 4, {});
            request.start();
            dialog = server.lastShown();
        }
        QVERIFY(!dialog.isNull());
        QVERIFY(server.isOpen(dialog));
    }
};

QTEST_GUILESS_MAIN(tst_NfcAgentSharingRequest)
#include "tst_nfcagentsharingrequest.moc"
