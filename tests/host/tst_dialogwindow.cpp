// The window of each dialog, offscreen: what it shows for every dialog variant, and that its buttons end
// the dialog with the right result.
#include <QtTest>

#include <QAbstractButton>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QLabel>
#include <QTemporaryDir>
#include <QTranslator>

#include "dialogwindow.h"

#include "messagebox.h"
#include "nfcpairingdialog.h"
#include "nfcsharingpermissiondialog.h"
#include "nfcsharingselectiondialog.h"
#include "nfctagnotsupporteddialog.h"
#include "nfctagreadpermissiondialog.h"
#include "ndefrecordtype.h"
#include "urindefrecord.h"

namespace {
// A URI record without an abbreviated prefix.
URINDEFRecord uriRecord(const char* uri)
{
    return URINDEFRecord(NDEFRecordType::URI, QByteArray(), QByteArray(1, '\0') + QByteArray(uri));
}
} // namespace

class tst_DialogWindow : public QObject
{
    Q_OBJECT

private:
    QTranslator m_english;

    // Shows the dialog as the server does and returns its window.
    std::unique_ptr<Host::DialogWindow> windowFor(ConnUi::Dialog* dialog)
    {
        dialog->appear();
        auto window = std::make_unique<Host::DialogWindow>(QStringLiteral("1"), dialog);
        window->show();
        return window;
    }

    int click(Host::DialogWindow* window, int result)
    {
        QAbstractButton* button = window->button(result);
        if (!button)
            return -1;
        QSignalSpy finished(window->dialog(), &ConnUi::Dialog::finished);
        QTest::mouseClick(button, Qt::LeftButton);
        return finished.isEmpty() ? 0 : finished.first().at(0).toInt();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_english.load(QStringLiteral(NFCUI_HOST_QM_EN)), NFCUI_HOST_QM_EN);
        QCoreApplication::installTranslator(&m_english);
    }

    void theWindowIsPhoneSized()
    {
        ConnUi::NfcPairingDialog dialog(0);
        auto window = windowFor(&dialog);
        QCOMPARE(window->size(), QSize(360, 640));
    }

    void aWebAddressShowsItsTitleAndAddress()
    {
        const URINDEFRecord record = uriRecord("https://example.com/");
        ConnUi::NfcTagReadPermissionDialog dialog(&record, QStringLiteral("Example"));
        auto window = windowFor(&dialog);
        QCOMPARE(window->titleText(), QStringLiteral("Open content from the tag?"));
        QCOMPARE(window->contentTexts(), QStringList({"Example", "https://example.com/"}));
        QVERIFY(!window->directAction());
        QCOMPARE(window->button(ConnUi::Dialog::Ok)->text(), QStringLiteral("Open"));
        QCOMPARE(window->screenshotName(), QStringLiteral("001-NfcTagReadPermissionDialog-uri.png"));
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
        QVERIFY(!dialog.isDirectActionSelected());
    }

    void aBareAddressShowsOnlyTheAddress()
    {
        const URINDEFRecord record = uriRecord("https://example.com/");
        ConnUi::NfcTagReadPermissionDialog dialog(&record, QString());
        auto window = windowFor(&dialog);
        QCOMPARE(window->contentTexts(), QStringList({"https://example.com/"}));
    }

    void aPhoneNumberOffersToCallNow()
    {
        const URINDEFRecord record = uriRecord("tel:+358401234567");
        ConnUi::NfcTagReadPermissionDialog dialog(&record, QString());
        auto window = windowFor(&dialog);
        QVERIFY(window->directAction());
        QCOMPARE(window->directAction()->text(), QStringLiteral("Call now"));
        window->directAction()->setChecked(true);
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
        QVERIFY(dialog.isDirectActionSelected());
    }

    void anSmsOffersToSendNow()
    {
        const URINDEFRecord record = uriRecord("sms:+358401234567?body=Hi");
        ConnUi::NfcTagReadPermissionDialog dialog(&record, QString());
        auto window = windowFor(&dialog);
        QVERIFY(window->directAction());
        QCOMPARE(window->directAction()->text(), QStringLiteral("Send now"));
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
        QVERIFY(!dialog.isDirectActionSelected());
    }

    void aFileShowsItsTypeAndAnImagePreview()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("nfc-mime-tag-content-abc"));
        QImage image(40, 20, QImage::Format_RGB32);
        image.fill(Qt::red);
        QVERIFY(image.save(file, "PNG"));
        ConnUi::NfcTagReadPermissionDialog dialog(QStringLiteral("image/png"), QFileInfo(file));
        auto window = windowFor(&dialog);
        QCOMPARE(window->contentTexts(), QStringList({"File of type image/png", "nfc-mime-tag-content-abc"}));
        auto* preview = window->findChild<QLabel*>(QStringLiteral("preview"));
        QVERIFY(preview);
        QVERIFY(!preview->pixmap(Qt::ReturnByValue).isNull());
    }

    void aFileThatIsNoImageHasNoPreview()
    {
        ConnUi::NfcTagReadPermissionDialog dialog(QStringLiteral("text/vcard"), QFileInfo(QStringLiteral("/tmp/x")));
        auto window = windowFor(&dialog);
        QCOMPARE(window->contentTexts(), QStringList({"File of type text/vcard", "x"}));
        QVERIFY(!window->findChild<QLabel*>(QStringLiteral("preview")));
    }

    void aTextShowsTheText()
    {
        ConnUi::NfcTagReadPermissionDialog dialog(QStringLiteral("Remember the milk"));
        auto window = windowFor(&dialog);
        QCOMPARE(window->contentTexts(), QStringList({"Remember the milk"}));
        QCOMPARE(click(window.get(), ConnUi::Dialog::Cancel), int(ConnUi::Dialog::Cancel));
    }

    void anExternalTypeShowsTypeAndContent()
    {
        ConnUi::NfcTagReadPermissionDialog dialog(QStringLiteral("example.com:game"), QStringLiteral("level=3"));
        auto window = windowFor(&dialog);
        QCOMPARE(window->contentTexts(), QStringList({"Data of type example.com:game", "level=3"}));
    }

    void aChoiceListsTheApplicationsWithThePreselectedOneChecked()
    {
        ConnUi::NfcTagReadPermissionDialog dialog(
            QStringList({QStringLiteral("firefox.desktop"), QStringLiteral("chromium.desktop")}),
            QStringLiteral("chromium.desktop"));
        auto window = windowFor(&dialog);
        QCOMPARE(window->contentTexts(), QStringList({"Open with"}));
        QButtonGroup* group = window->applications();
        QVERIFY(group);
        QCOMPARE(group->buttons().size(), 2);
        QCOMPARE(group->buttons().at(0)->text(), QStringLiteral("firefox"));
        QCOMPARE(group->checkedButton(), group->buttons().at(1));
        group->buttons().at(0)->setChecked(true);
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
        QCOMPARE(dialog.selectedApplication(), QStringLiteral("firefox.desktop"));
    }

    void aChoiceWithoutPreselectionChecksNothing()
    {
        ConnUi::NfcTagReadPermissionDialog dialog(QStringList({QStringLiteral("a.desktop")}), QString());
        auto window = windowFor(&dialog);
        QVERIFY(!window->applications()->checkedButton());
    }

    void theSharingDialogShowsItsResources()
    {
        ConnUi::NfcSharingPermissionDialog dialog({QStringLiteral("holiday.jpg"), QStringLiteral("notes.txt")});
        auto window = windowFor(&dialog);
        QCOMPARE(window->titleText(), QStringLiteral("Share with the touched device?"));
        QCOMPARE(window->contentTexts(), QStringList({"holiday.jpg", "notes.txt"}));
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
    }

    void theSharingSelectionShowsWhatCanBeChosen_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        QTest::newRow("any") << 0 << "Any content";
        QTest::newRow("files") << 1 << "Files";
        QTest::newRow("contacts") << 2 << "Contacts";
    }

    void theSharingSelectionShowsWhatCanBeChosen()
    {
        QFETCH(int, type);
        QFETCH(QString, text);
        ConnUi::NfcSharingSelectionDialog dialog(static_cast<ConnUi::NfcSharingSelectionDialog::SelectionType>(type));
        auto window = windowFor(&dialog);
        QCOMPARE(window->titleText(), QStringLiteral("Choose what to share"));
        QCOMPARE(window->contentTexts(), QStringList({text}));
        QCOMPARE(click(window.get(), ConnUi::Dialog::Cancel), int(ConnUi::Dialog::Cancel));
    }

    void thePairingDialogShowsTheDeviceClass_data()
    {
        QTest::addColumn<uint>("classOfDevice");
        QTest::addColumn<QString>("text");
        QTest::newRow("headset") << 0x240404u << "Device class: Audio and video (headset, speaker)";
        QTest::newRow("phone") << 0x5a020cu << "Device class: Phone";
        QTest::newRow("computer") << 0x10010cu << "Device class: Computer";
        QTest::newRow("unknown") << 0u << "Device class: Uncategorized";
    }

    void thePairingDialogShowsTheDeviceClass()
    {
        QFETCH(uint, classOfDevice);
        QFETCH(QString, text);
        ConnUi::NfcPairingDialog dialog(classOfDevice);
        auto window = windowFor(&dialog);
        QCOMPARE(window->titleText(), QStringLiteral("Pair with this device?"));
        QCOMPARE(window->contentTexts().value(0), text);
        QCOMPARE(window->button(ConnUi::Dialog::Ok)->text(), QStringLiteral("Pair"));
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
    }

    void theErrorDialogHasItsTwoKinds()
    {
        ConnUi::NfcTagNotSupportedDialog empty(ConnUi::NfcTagNotSupportedDialog::EmptyTag);
        auto emptyWindow = windowFor(&empty);
        QCOMPARE(emptyWindow->titleText(), QStringLiteral("The tag is empty"));
        ConnUi::NfcTagNotSupportedDialog unsupported(ConnUi::NfcTagNotSupportedDialog::ContentNotSupported);
        auto unsupportedWindow = windowFor(&unsupported);
        QCOMPARE(unsupportedWindow->titleText(), QStringLiteral("Tag not supported"));
        QVERIFY(!unsupportedWindow->button(ConnUi::Dialog::Cancel));
        QCOMPARE(click(unsupportedWindow.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
    }

    void theOfflineQuestionHasYesAndNo()
    {
        ConnUi::MessageBox box(QStringLiteral("Exit offline mode?"), QStringLiteral("Send?"),
                               ConnUi::Dialog::Yes | ConnUi::Dialog::No);
        auto window = windowFor(&box);
        QCOMPARE(window->titleText(), QStringLiteral("Exit offline mode?"));
        QCOMPARE(window->contentTexts(), QStringList({"Send?"}));
        QVERIFY(window->button(ConnUi::Dialog::Yes));
        QVERIFY(window->button(ConnUi::Dialog::No));
        QVERIFY(!window->button(ConnUi::Dialog::Ok));
        QCOMPARE(click(window.get(), ConnUi::Dialog::No), int(ConnUi::Dialog::No));
    }

    void yesOnTheOfflineQuestionAccepts()
    {
        ConnUi::MessageBox box(QString(), QString(), ConnUi::Dialog::Yes | ConnUi::Dialog::No);
        auto window = windowFor(&box);
        QSignalSpy accepted(&box, &ConnUi::Dialog::accepted);
        QCOMPARE(click(window.get(), ConnUi::Dialog::Yes), int(ConnUi::Dialog::Yes));
        QCOMPARE(accepted.count(), 1);
    }

    void aFinishedDialogIgnoresFurtherClicks()
    {
        ConnUi::NfcPairingDialog dialog(0);
        auto window = windowFor(&dialog);
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
        QCOMPARE(click(window.get(), ConnUi::Dialog::Cancel), 0);
        QCOMPARE(dialog.result(), int(ConnUi::Dialog::Ok));
    }

    void closingTheWindowCancelsTheDialog()
    {
        ConnUi::NfcPairingDialog dialog(0);
        auto window = windowFor(&dialog);
        QSignalSpy rejected(&dialog, &ConnUi::Dialog::rejected);
        QVERIFY(window->close());
        QCOMPARE(dialog.result(), int(ConnUi::Dialog::Cancel));
        QCOMPARE(rejected.count(), 1);
    }

    void closingTheOfflineQuestionsWindowAnswersNo()
    {
        ConnUi::MessageBox box(QString(), QString(), ConnUi::Dialog::Yes | ConnUi::Dialog::No);
        auto window = windowFor(&box);
        QVERIFY(window->close());
        QCOMPARE(box.result(), int(ConnUi::Dialog::No));
    }

    void closingTheErrorDialogsWindowGivesItsOnlyAnswer()
    {
        ConnUi::NfcTagNotSupportedDialog dialog(ConnUi::NfcTagNotSupportedDialog::EmptyTag);
        auto window = windowFor(&dialog);
        QSignalSpy finished(&dialog, &ConnUi::Dialog::finished);
        QVERIFY(window->close());
        QCOMPARE(finished.count(), 1);
        QCOMPARE(dialog.result(), int(ConnUi::Dialog::Ok));
    }

    void aDialogWithOnlyPositiveAnswersKeepsItsWindowOpen()
    {
        ConnUi::MessageBox box(QString(), QString(), ConnUi::Dialog::Yes | ConnUi::Dialog::Ok);
        auto window = windowFor(&box);
        QSignalSpy finished(&box, &ConnUi::Dialog::finished);
        QVERIFY(!window->close());
        QVERIFY(window->isVisible());
        QCOMPARE(finished.count(), 0);
    }

    void closingAFinishedDialogsWindowAnswersNothingMore()
    {
        ConnUi::NfcPairingDialog dialog(0);
        auto window = windowFor(&dialog);
        QCOMPARE(click(window.get(), ConnUi::Dialog::Ok), int(ConnUi::Dialog::Ok));
        QSignalSpy finished(&dialog, &ConnUi::Dialog::finished);
        QVERIFY(window->close());
        QCOMPARE(finished.count(), 0);
        QCOMPARE(dialog.result(), int(ConnUi::Dialog::Ok));
    }

    void withFinnishTextsTheWindowIsInFinnish()
    {
        QTranslator finnish;
        QVERIFY(finnish.load(QStringLiteral(NFCUI_HOST_QM_FI)));
        QCoreApplication::installTranslator(&finnish);
        ConnUi::NfcPairingDialog dialog(0x240404);
        auto window = windowFor(&dialog);
        QCoreApplication::removeTranslator(&finnish);
        QCOMPARE(window->titleText(), QStringLiteral("Muodostetaanko pari tämän laitteen kanssa?"));
        QCOMPARE(window->button(ConnUi::Dialog::Cancel)->text(), QStringLiteral("Peruuta"));
    }
};

QTEST_MAIN(tst_DialogWindow)
#include "tst_dialogwindow.moc"
