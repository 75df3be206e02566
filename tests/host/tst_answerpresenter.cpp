// --answer: every dialog answered at once, with its defaults.
#include <QtTest>

#include "answerpresenter.h"
#include "dialogserver.h"

#include "messagebox.h"
#include "nfcpairingdialog.h"
#include "nfctagreadpermissiondialog.h"

class tst_AnswerPresenter : public QObject
{
    Q_OBJECT

private:
    // Shows the dialog on a server answered with the given answer and returns its result code once it
    // finished (0 if it is still open after the event loop has run).
    int resultOf(ConnUi::Dialog* dialog, Host::AnswerPresenter::Answer answer)
    {
        Host::DialogServer server;
        Host::AnswerPresenter presenter(answer);
        server.addPresenter(&presenter);
        QSignalSpy finished(dialog, &ConnUi::Dialog::finished);
        server.showDialog(dialog);
        finished.wait(answer == Host::AnswerPresenter::None ? 100 : 2000);
        const int result = finished.isEmpty() ? 0 : finished.first().at(0).toInt();
        server.closeDialog(dialog);
        return result;
    }

private Q_SLOTS:
    void theAnswerIsParsedFromItsName()
    {
        Host::AnswerPresenter::Answer answer = Host::AnswerPresenter::None;
        QVERIFY(Host::AnswerPresenter::parse(QStringLiteral("ok"), &answer));
        QCOMPARE(answer, Host::AnswerPresenter::Ok);
        QVERIFY(Host::AnswerPresenter::parse(QStringLiteral("cancel"), &answer));
        QCOMPARE(answer, Host::AnswerPresenter::Cancel);
        QVERIFY(Host::AnswerPresenter::parse(QStringLiteral("none"), &answer));
        QCOMPARE(answer, Host::AnswerPresenter::None);
        QVERIFY(!Host::AnswerPresenter::parse(QStringLiteral("yes"), &answer));
    }

    void okConfirmsADialog()
    {
        QCOMPARE(resultOf(new ConnUi::NfcPairingDialog(0), Host::AnswerPresenter::Ok), int(ConnUi::Dialog::Ok));
    }

    void okConfirmsAQuestionWithYes()
    {
        auto* box = new ConnUi::MessageBox(QStringLiteral("Exit offline mode?"), QString(),
                                           ConnUi::Dialog::Yes | ConnUi::Dialog::No);
        QCOMPARE(resultOf(box, Host::AnswerPresenter::Ok), int(ConnUi::Dialog::Yes));
    }

    void cancelDeclinesAQuestionWithNo()
    {
        auto* box = new ConnUi::MessageBox(QString(), QString(), ConnUi::Dialog::Yes | ConnUi::Dialog::No);
        QCOMPARE(resultOf(box, Host::AnswerPresenter::Cancel), int(ConnUi::Dialog::No));
    }

    void cancelDeclinesADialog()
    {
        QCOMPARE(resultOf(new ConnUi::NfcPairingDialog(0), Host::AnswerPresenter::Cancel),
                 int(ConnUi::Dialog::Cancel));
    }

    void noneLeavesTheDialogOpen()
    {
        QCOMPARE(resultOf(new ConnUi::NfcPairingDialog(0), Host::AnswerPresenter::None), 0);
    }

    void okKeepsThePreselectedApplication()
    {
        QPointer<ConnUi::NfcTagReadPermissionDialog> dialog = new ConnUi::NfcTagReadPermissionDialog(
            QStringList({QStringLiteral("a.desktop"), QStringLiteral("b.desktop")}), QStringLiteral("b.desktop"));
        Host::DialogServer server;
        Host::AnswerPresenter presenter(Host::AnswerPresenter::Ok);
        server.addPresenter(&presenter);
        server.showDialog(dialog);
        QTRY_COMPARE(dialog->result(), int(ConnUi::Dialog::Ok));
        QCOMPARE(dialog->selectedApplication(), QStringLiteral("b.desktop"));
        QVERIFY(!dialog->isDirectActionSelected());
    }

    void okChoosesTheFirstApplicationWhenNoneIsPreselected()
    {
        QPointer<ConnUi::NfcTagReadPermissionDialog> dialog = new ConnUi::NfcTagReadPermissionDialog(
            QStringList({QStringLiteral("a.desktop"), QStringLiteral("b.desktop")}), QString());
        Host::DialogServer server;
        Host::AnswerPresenter presenter(Host::AnswerPresenter::Ok);
        server.addPresenter(&presenter);
        server.showDialog(dialog);
        QTRY_COMPARE(dialog->result(), int(ConnUi::Dialog::Ok));
        QCOMPARE(dialog->selectedApplication(), QStringLiteral("a.desktop"));
    }
};

QTEST_GUILESS_MAIN(tst_AnswerPresenter)
#include "tst_answerpresenter.moc"
