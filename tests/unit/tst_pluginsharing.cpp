// Sharing calls through the plugin, from the agent's signal to the reply the daemon gets.
#include <QtTest>

#include "fakedialogserver.h"
#include "fakeplatform.h"
#include "nfcagent.h"
#include "nfcagentdialogplugin.h"
#include "nfcsharingpermissiondialog.h"
#include "nfcsharingselectiondialog.h"
#include "nfctagnotsupporteddialog.h"
#include "pluginaccess.h"
#include "pluginfixture.h"
#include "testsupport.h"

using ConnUi::Dialog;
using ConnUi::NfcAgentDialogPlugin;

class tst_PluginSharing : public QObject, public PluginFixture
{
    Q_OBJECT

private:

private Q_SLOTS:
    void init()
    {
        setUp();
    }

    void cleanup()
    {
        tearDown();
    }

    void permissionConfirmedIsAcceptedWithItsInfo()
    {
        emit agent()->sharingPermissionRequested(QStringLiteral("bluetooth"), QVariant(QStringLiteral("info-1")),
                                                 {QStringLiteral("file:///a.jpg")});
        auto* dialog = server->lastShownOf<ConnUi::NfcSharingPermissionDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->resources(), QStringList({"file:///a.jpg"}));
        QVERIFY(TestSupport::agentReplies().isEmpty());
        dialog->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing info-1"}));
        QVERIFY(!d()->requests.isEmpty());
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
    }

    void permissionDeclinedIsRejectedWithItsInfo()
    {
        emit agent()->sharingPermissionRequested(QStringLiteral("bluetooth"), QVariant(5), {QStringLiteral("r")});
        server->lastShown()->done(Dialog::Cancel);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectSharing 5"}));
    }

    void selectionConfirmedIsAccepted()
    {
        emit agent()->sharingSelectionRequested(QStringLiteral("wifi"), QVariant(6));
        auto* dialog = server->lastShownOf<ConnUi::NfcSharingSelectionDialog>();
        QVERIFY(dialog);
        dialog->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing 6"}));
    }

    void confirmationOffAcceptsAtOnce()
    {
        FakePlatform::setConfirmationEnabled(false);
        emit agent()->sharingPermissionRequested(QStringLiteral("bluetooth"), QVariant(8), {});
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing 8"}));
        QVERIFY(server->shownDialogs().isEmpty());
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
    }

    void permissionWithoutResourcesIsRejectedAtOnce()
    {
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentDialogPlugin: Unable to handle resources size < 1, rejecting");
        emit agent()->sharingPermissionRequested(QStringLiteral("bluetooth"), QVariant(9), {});
        QCOMPARE(TestSupport::agentReplies(), QStringList({"rejectSharing 9"}));
    }

    void twoSharingCallsRunSideBySide()
    {
        emit agent()->sharingPermissionRequested(QStringLiteral("bt"), QVariant(1), {QStringLiteral("r")});
        emit agent()->sharingSelectionRequested(QStringLiteral("bt"), QVariant(2));
        const QList<Dialog*> dialogs = server->openDialogs();
        QCOMPARE(dialogs.size(), 2);
        dialogs.at(1)->done(Dialog::Ok);
        dialogs.at(0)->done(Dialog::Cancel);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing 2", "rejectSharing 1"}));
    }

    void sharingDialogDoesNotUnlockTheScreen()
    {
        emit agent()->sharingSelectionRequested(QStringLiteral("bt"), QVariant(2));
        server->lastShown()->appear();
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unlockScreen")), 0);
    }

    // A tag read request showing its dialog is displaced by a sharing call, without a reply.
    void sharingCallDisplacesTagReadWithoutReply()
    {
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentTagRequest::start() received ndef data could not be parsed");
        emit agent()->dataDeliveryRequested(NdefMessageHandlerList(), QDBusObjectPath("/tag/1"),
                                            QByteArray::fromHex("d1"));
        QPointer<QObject> tagRead = d()->tagReadRequest.data();
        QVERIFY(tagRead);
        auto* tagDialog = server->lastShownOf<ConnUi::NfcTagNotSupportedDialog>();
        QVERIFY(tagDialog);

        emit agent()->sharingSelectionRequested(QStringLiteral("bt"), QVariant(3));
        QVERIFY(!server->isOpen(tagDialog));
        QVERIFY(server->lastShownOf<ConnUi::NfcSharingSelectionDialog>());
        TestSupport::deleteLaterNow();
        QVERIFY(tagRead.isNull());
        QVERIFY(TestSupport::agentReplies().isEmpty());

        server->lastShownOf<ConnUi::NfcSharingSelectionDialog>()->done(Dialog::Ok);
        QCOMPARE(TestSupport::agentReplies(), QStringList({"acceptSharing 3"}));
    }

    void sharingCallClosesTheTagErrorDialog()
    {
        emit agent()->notifyTouch(QDBusObjectPath("/tag/2"), 1);
        auto* errorDialog = server->lastShownOf<ConnUi::NfcTagNotSupportedDialog>();
        QVERIFY(errorDialog);
        emit agent()->sharingPermissionRequested(QStringLiteral("bt"), QVariant(4), {QStringLiteral("r")});
        QVERIFY(!server->isOpen(errorDialog));
        QVERIFY(!d()->errorDialog);
    }
};

QTEST_GUILESS_MAIN(tst_PluginSharing)
#include "tst_pluginsharing.moc"
