// The dialog registry: ownership, appearing, finishing and closing, properties, answers and presenters.
#include <QtTest>

#include "dialogdata.h"
#include "dialogpresenter.h"
#include "dialogserver.h"

#include "messagebox.h"
#include "nfcpairingdialog.h"
#include "nfcsharingpermissiondialog.h"
#include "nfctagnotsupporteddialog.h"
#include "nfctagreadpermissiondialog.h"
#include "uiindications.h"

namespace {
class RecordingPresenter : public Host::DialogPresenter
{
public:
    QStringList events;
    void dialogShown(const QString& id, ConnUi::Dialog* dialog) override
    {
        events << QStringLiteral("shown %1 %2").arg(id, Host::DialogData::className(dialog));
    }
    void dialogClosed(const QString& id) override { events << QStringLiteral("closed %1").arg(id); }
    void indication(const QString& kind, const QString& detail) override
    {
        events << QStringLiteral("indication %1 %2").arg(kind, detail);
    }
};
} // namespace

class tst_DialogServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showDialogTakesOwnershipOfTheDialog()
    {
        QPointer<ConnUi::Dialog> dialog = new ConnUi::NfcPairingDialog(0x240404);
        {
            Host::DialogServer server;
            server.showDialog(dialog);
            QCOMPARE(dialog->parent(), &server);
            QCOMPARE(server.idOf(dialog), QStringLiteral("1"));
            QCOMPARE(server.dialog(QStringLiteral("1")), dialog.data());
        }
        QVERIFY(dialog.isNull());
    }

    void aDialogAppearsOnceTheCallerHasReturned()
    {
        Host::DialogServer server;
        RecordingPresenter presenter;
        server.addPresenter(&presenter);
        auto* dialog = new ConnUi::NfcPairingDialog(0x240404);
        QSignalSpy appeared(dialog, &ConnUi::Dialog::appeared);
        QSignalSpy shown(&server, &Host::DialogServer::dialogShown);
        server.showDialog(dialog);
        QCOMPARE(appeared.count(), 0);
        QVERIFY(server.openDialogIds().isEmpty());
        QVERIFY(shown.wait(1000));
        QCOMPARE(appeared.count(), 1);
        QVERIFY(dialog->isVisible());
        QCOMPARE(shown.first().at(0).toString(), QStringLiteral("1"));
        const QVariantMap properties = shown.first().at(1).toMap();
        QCOMPARE(properties.value(QStringLiteral("class")).toString(), QStringLiteral("NfcPairingDialog"));
        QCOMPARE(properties.value(QStringLiteral("classOfDevice")).toUInt(), 0x240404u);
        QCOMPARE(server.openDialogIds(), QStringList({"1"}));
        QCOMPARE(presenter.events, QStringList({"shown 1 NfcPairingDialog"}));
    }

    void eachDialogGetsItsOwnIdInOrder()
    {
        Host::DialogServer server;
        QSignalSpy shown(&server, &Host::DialogServer::dialogShown);
        server.showDialog(new ConnUi::NfcTagNotSupportedDialog(ConnUi::NfcTagNotSupportedDialog::EmptyTag));
        server.showDialog(new ConnUi::NfcSharingPermissionDialog({QStringLiteral("photo.jpg")}));
        QTRY_COMPARE(shown.count(), 2);
        QCOMPARE(server.openDialogIds(), QStringList({"1", "2"}));
        QCOMPARE(server.dialogProperties(QStringLiteral("1")).value(QStringLiteral("errorType")).toInt(), 1);
        QCOMPARE(server.dialogProperties(QStringLiteral("2")).value(QStringLiteral("resources")).toStringList(),
                 QStringList({"photo.jpg"}));
    }

    void aFinishedDialogIsReportedWithItsResultAndLeavesTheList()
    {
        Host::DialogServer server;
        RecordingPresenter presenter;
        server.addPresenter(&presenter);
        QPointer<ConnUi::Dialog> dialog = new ConnUi::NfcPairingDialog(0);
        QSignalSpy closed(&server, &Host::DialogServer::dialogClosed);
        server.showDialog(dialog);
        QTRY_COMPARE(server.openDialogIds().size(), 1);
        dialog->done(ConnUi::Dialog::Ok);
        QCOMPARE(closed.count(), 1);
        QCOMPARE(closed.first(), QVariantList({QStringLiteral("1"), 1024}));
        QVERIFY(server.openDialogIds().isEmpty());
        QCOMPARE(presenter.events, QStringList({"shown 1 NfcPairingDialog", "closed 1"}));
        // Until the plugin closes it, the server keeps it.
        QCoreApplication::processEvents();
        QVERIFY(!dialog.isNull());
    }

    void closeDialogHidesWithoutAFurtherFinishedAndDeletesLater()
    {
        Host::DialogServer server;
        QPointer<ConnUi::Dialog> dialog = new ConnUi::NfcPairingDialog(0);
        QSignalSpy finished(dialog.data(), &ConnUi::Dialog::finished);
        QSignalSpy closed(&server, &Host::DialogServer::dialogClosed);
        server.showDialog(dialog);
        QTRY_VERIFY(dialog->isVisible());
        server.closeDialog(dialog);
        QVERIFY(!dialog.isNull());
        QVERIFY(!dialog->isVisible());
        QCOMPARE(finished.count(), 0);
        QCOMPARE(closed.count(), 1);
        QCOMPARE(closed.first(), QVariantList({QStringLiteral("1"), 0}));
        QVERIFY(server.openDialogIds().isEmpty());
        QVERIFY(!server.dialog(QStringLiteral("1")));
        QTRY_VERIFY(dialog.isNull());
    }

    void closingAFinishedDialogReportsNothingMoreAndDeletesIt()
    {
        Host::DialogServer server;
        QPointer<ConnUi::Dialog> dialog = new ConnUi::NfcPairingDialog(0);
        QSignalSpy closed(&server, &Host::DialogServer::dialogClosed);
        server.showDialog(dialog);
        QTRY_VERIFY(dialog->isVisible());
        connect(dialog.data(), &ConnUi::Dialog::finished, &server, [&]() { server.closeDialog(dialog); });
        dialog->done(ConnUi::Dialog::Cancel);
        QCOMPARE(closed.count(), 1);
        QTRY_VERIFY(dialog.isNull());
    }

    void aDialogClosedBeforeItAppearedIsNeverPresented()
    {
        Host::DialogServer server;
        RecordingPresenter presenter;
        server.addPresenter(&presenter);
        QPointer<ConnUi::Dialog> dialog = new ConnUi::NfcPairingDialog(0);
        QSignalSpy appeared(dialog.data(), &ConnUi::Dialog::appeared);
        QSignalSpy shown(&server, &Host::DialogServer::dialogShown);
        server.showDialog(dialog);
        server.closeDialog(dialog);
        QTRY_VERIFY(dialog.isNull());
        QCOMPARE(appeared.count(), 0);
        QCOMPARE(shown.count(), 0);
        QVERIFY(presenter.events.isEmpty());
    }

    void closeDialogTakesADialogItNeverShowed()
    {
        Host::DialogServer server;
        QPointer<ConnUi::Dialog> dialog = new ConnUi::NfcPairingDialog(0);
        QSignalSpy closed(&server, &Host::DialogServer::dialogClosed);
        server.closeDialog(dialog);
        QCOMPARE(closed.count(), 0);
        QTRY_VERIFY(dialog.isNull());
    }

    void setPropertyKeepsTheValue()
    {
        Host::DialogServer server;
        QSignalSpy changed(&server, &Host::DialogServer::propertyChanged);
        server.setProperty(QStringLiteral("BtConnectIgnoreAddress"), QStringLiteral("00:11:22:33:44:55"));
        QCOMPARE(server.property(QStringLiteral("BtConnectIgnoreAddress")).toString(),
                 QStringLiteral("00:11:22:33:44:55"));
        server.setProperty(QStringLiteral("BtConnectIgnoreAddress"), QStringLiteral("66:77:88:99:AA:BB"));
        QCOMPARE(server.properties(),
                 QVariantMap({{QStringLiteral("BtConnectIgnoreAddress"), QStringLiteral("66:77:88:99:AA:BB")}}));
        QCOMPARE(changed.count(), 2);
    }

    void anInvalidValueRemovesTheKey()
    {
        Host::DialogServer server;
        server.setProperty(QStringLiteral("BtDisconnectIgnoreAddress"), QStringLiteral("00:11:22:33:44:55"));
        server.setProperty(QStringLiteral("Other"), 1);
        server.setProperty(QStringLiteral("BtDisconnectIgnoreAddress"), QVariant());
        QCOMPARE(server.properties(), QVariantMap({{QStringLiteral("Other"), 1}}));
        QVERIFY(!server.property(QStringLiteral("BtDisconnectIgnoreAddress")).isValid());
    }

    void answerEndsTheDialogWithTheResultAndTheChosenApplication()
    {
        Host::DialogServer server;
        auto* dialog = new ConnUi::NfcTagReadPermissionDialog(
            QStringList({QStringLiteral("firefox.desktop"), QStringLiteral("chromium.desktop")}),
            QStringLiteral("firefox.desktop"));
        QSignalSpy finished(dialog, &ConnUi::Dialog::finished);
        server.showDialog(dialog);
        QTRY_COMPARE(server.openDialogIds().size(), 1);
        QString error;
        QVERIFY(server.answer(QStringLiteral("1"), ConnUi::Dialog::Ok, QStringLiteral("chromium.desktop"), true, &error));
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.first().at(0).toInt(), 1024);
        QCOMPARE(dialog->selectedApplication(), QStringLiteral("chromium.desktop"));
        QVERIFY(dialog->isDirectActionSelected());
    }

    void answerWithoutApplicationKeepsThePreselectedOne()
    {
        Host::DialogServer server;
        auto* dialog = new ConnUi::NfcTagReadPermissionDialog(QStringList({QStringLiteral("a.desktop")}),
                                                              QStringLiteral("a.desktop"));
        server.showDialog(dialog);
        QTRY_COMPARE(server.openDialogIds().size(), 1);
        QVERIFY(server.answer(QStringLiteral("1"), ConnUi::Dialog::Cancel, QString(), false));
        QCOMPARE(dialog->selectedApplication(), QStringLiteral("a.desktop"));
        QCOMPARE(dialog->result(), int(ConnUi::Dialog::Cancel));
    }

    void answeringAnUnknownOrFinishedDialogFails()
    {
        Host::DialogServer server;
        QString error;
        QVERIFY(!server.answer(QStringLiteral("7"), ConnUi::Dialog::Ok, QString(), false, &error));
        QCOMPARE(error, QStringLiteral("No open dialog 7"));
        auto* dialog = new ConnUi::NfcPairingDialog(0);
        server.showDialog(dialog);
        QVERIFY(!server.answer(QStringLiteral("1"), ConnUi::Dialog::Ok, QString(), false, &error));
        QTRY_COMPARE(server.openDialogIds().size(), 1);
        QVERIFY(server.answer(QStringLiteral("1"), ConnUi::Dialog::Ok, QString(), false));
        QVERIFY(!server.answer(QStringLiteral("1"), ConnUi::Dialog::Ok, QString(), false, &error));
    }

    void indicationsOfTheToolkitReachPresentersAndSignal()
    {
        Host::DialogServer server;
        RecordingPresenter presenter;
        server.addPresenter(&presenter);
        QSignalSpy indications(&server, &Host::DialogServer::indicationShown);
        ConnUi::UiIndications::indicate(QStringLiteral("feedback"), QStringLiteral("priority2_grab"));
        QCOMPARE(indications.count(), 1);
        QCOMPARE(indications.first(), QVariantList({QStringLiteral("feedback"), QStringLiteral("priority2_grab")}));
        QCOMPARE(presenter.events, QStringList({"indication feedback priority2_grab"}));
    }

    void aRemovedPresenterIsToldNothingMore()
    {
        Host::DialogServer server;
        RecordingPresenter presenter;
        server.addPresenter(&presenter);
        server.addPresenter(&presenter);
        server.removePresenter(&presenter);
        server.showDialog(new ConnUi::NfcPairingDialog(0));
        QTRY_COMPARE(server.openDialogIds().size(), 1);
        QVERIFY(presenter.events.isEmpty());
    }

    void dialogPropertiesNameTheClassAndItsData_data()
    {
        QTest::addColumn<QObject*>("dialog");
        QTest::addColumn<QVariantMap>("expected");
        QTest::newRow("text") << static_cast<QObject*>(new ConnUi::NfcTagReadPermissionDialog(QStringLiteral("Hello")))
                              << QVariantMap({{"class", "NfcTagReadPermissionDialog"}, {"kind", "text"}, {"text", "Hello"}});
        QTest::newRow("external") << static_cast<QObject*>(new ConnUi::NfcTagReadPermissionDialog(
                                         QStringLiteral("example.com:t"), QStringLiteral("abc")))
                                  << QVariantMap({{"class", "NfcTagReadPermissionDialog"}, {"kind", "external"},
                                                  {"externalType", "example.com:t"}, {"externalContent", "abc"}});
        QTest::newRow("messagebox") << static_cast<QObject*>(new ConnUi::MessageBox(QStringLiteral("T"), QStringLiteral("X"),
                                                                                     ConnUi::Dialog::Yes | ConnUi::Dialog::No))
                                    << QVariantMap({{"class", "MessageBox"}, {"title", "T"}, {"text", "X"},
                                                    {"buttons", 0x14000}});
    }

    void dialogPropertiesNameTheClassAndItsData()
    {
        QFETCH(QObject*, dialog);
        QFETCH(QVariantMap, expected);
        const QVariantMap properties = Host::DialogData::properties(dialog);
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(properties.value(it.key()), it.value());
        QVERIFY(!properties.contains(QStringLiteral("objectName")));
        QVERIFY(!properties.contains(QStringLiteral("result")));
        delete dialog;
    }

    void messageBoxesAreConfirmedWithYesWhenTheyOfferIt()
    {
        ConnUi::MessageBox yesNo(QString(), QString(), ConnUi::Dialog::Yes | ConnUi::Dialog::No);
        ConnUi::MessageBox ok(QString(), QString(), ConnUi::Dialog::Ok);
        ConnUi::NfcPairingDialog pairing(0);
        QCOMPARE(Host::DialogData::confirmResult(&yesNo), int(ConnUi::Dialog::Yes));
        QCOMPARE(Host::DialogData::declineResult(&yesNo), int(ConnUi::Dialog::No));
        QCOMPARE(Host::DialogData::confirmResult(&ok), int(ConnUi::Dialog::Ok));
        QCOMPARE(Host::DialogData::declineResult(&ok), int(ConnUi::Dialog::Cancel));
        QCOMPARE(Host::DialogData::confirmResult(&pairing), int(ConnUi::Dialog::Ok));
        QCOMPARE(Host::DialogData::declineResult(&pairing), int(ConnUi::Dialog::Cancel));
    }
};

QTEST_GUILESS_MAIN(tst_DialogServer)
#include "tst_dialogserver.moc"
