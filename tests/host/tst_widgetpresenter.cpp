// The Qt Widgets presenter on a dialog server, offscreen: a window per dialog that goes with the dialog,
// screenshots as dialogs appear, and indications in the status line.
#include <QtTest>
#include <QTimer>

#include <QAbstractButton>
#include <QApplication>
#include <QImage>
#include <QTemporaryDir>
#include <QTranslator>

#include "dialogserver.h"
#include "dialogwindow.h"
#include "widgetpresenter.h"

#include "messagebox.h"
#include "nfcpairingdialog.h"
#include "nfctagreadpermissiondialog.h"
#include "uiindications.h"

class tst_WidgetPresenter : public QObject
{
    Q_OBJECT

private:
    QTranslator m_english;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_english.load(QStringLiteral(NFCUI_HOST_QM_EN)), NFCUI_HOST_QM_EN);
        QCoreApplication::installTranslator(&m_english);
    }

    void eachDialogGetsAWindowThatGoesWithIt()
    {
        Host::WidgetPresenter presenter;
        Host::DialogServer server;
        server.addPresenter(&presenter);
        QPointer<ConnUi::Dialog> first = new ConnUi::NfcPairingDialog(0x240404);
        QPointer<ConnUi::Dialog> second = new ConnUi::NfcTagReadPermissionDialog(QStringLiteral("Hello"));
        server.showDialog(first);
        server.showDialog(second);
        QTRY_COMPARE(presenter.windowIds(), QStringList({"1", "2"}));
        QPointer<Host::DialogWindow> window = presenter.window(QStringLiteral("1"));
        QVERIFY(window->isVisible());
        QCOMPARE(window->dialog(), first.data());
        QTest::mouseClick(window->button(ConnUi::Dialog::Ok), Qt::LeftButton);
        QCOMPARE(first->result(), int(ConnUi::Dialog::Ok));
        QCOMPARE(presenter.windowIds(), QStringList({"2"}));
        QTRY_VERIFY(window.isNull());
        server.closeDialog(second);
        QVERIFY(presenter.windowIds().isEmpty());
        server.removePresenter(&presenter);
    }

    void closingTheLastWindowLeavesTheServerRunning()
    {
        Host::WidgetPresenter presenter;
        Host::DialogServer server;
        server.addPresenter(&presenter);
        QPointer<ConnUi::Dialog> dialog = new ConnUi::NfcPairingDialog(0x240404);
        server.showDialog(dialog);
        QTRY_VERIFY(presenter.window(QStringLiteral("1")) && presenter.window(QStringLiteral("1"))->isVisible());
        // The window closed as a window manager closes it, with the dialog server's event loop running.
        bool stillRunning = false;
        QTimer::singleShot(0, presenter.window(QStringLiteral("1")), &QWidget::close);
        QTimer::singleShot(300, [&stillRunning] {
            stillRunning = true;
            QCoreApplication::quit();
        });
        QCoreApplication::exec();
        QVERIFY(stillRunning);
        QVERIFY(dialog);
        QCOMPARE(dialog->result(), int(ConnUi::Dialog::Cancel));
        QTRY_VERIFY(presenter.windowIds().isEmpty());
        server.removePresenter(&presenter);
    }

    void screenshotsAreSavedAsDialogsAppear()
    {
        QTemporaryDir dir;
        Host::WidgetPresenter presenter(false);
        presenter.setScreenshotDirectory(dir.filePath(QStringLiteral("shots")));
        Host::DialogServer server;
        server.addPresenter(&presenter);
        QSignalSpy saved(&presenter, &Host::WidgetPresenter::screenshotSaved);
        server.showDialog(new ConnUi::MessageBox(QStringLiteral("Exit offline mode?"), QStringLiteral("Send?"),
                                                 ConnUi::Dialog::Yes | ConnUi::Dialog::No));
        server.showDialog(new ConnUi::NfcTagReadPermissionDialog(QStringLiteral("Hello")));
        QTRY_COMPARE(saved.count(), 2);
        const QString first = dir.filePath(QStringLiteral("shots/001-MessageBox.png"));
        const QString second = dir.filePath(QStringLiteral("shots/002-NfcTagReadPermissionDialog-text.png"));
        QCOMPARE(saved.at(0).at(0).toString(), first);
        QCOMPARE(saved.at(1).at(0).toString(), second);
        const QImage image(first);
        QVERIFY(!image.isNull());
        QCOMPARE(image.size(), QSize(360, 640));
        QVERIFY(!presenter.window(QStringLiteral("1"))->isVisible());
        server.removePresenter(&presenter);
    }

    void indicationsShowInTheStatusLine_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QString>("text");
        QTest::newRow("touch") << "touch-overlay" << "" << "Touched";
        QTest::newRow("feedback") << "feedback" << "priority2_grab" << "Feedback: priority2_grab";
        QTest::newRow("banner") << "banner" << "Connected to Headset" << "Banner: Connected to Headset";
        QTest::newRow("unblank") << "unblank" << "" << "Screen turned on";
        QTest::newRow("unlock") << "unlock" << "" << "Unlock the screen";
        QTest::newRow("other") << "other" << "x" << "other: x";
    }

    void indicationsShowInTheStatusLine()
    {
        QFETCH(QString, kind);
        QFETCH(QString, detail);
        QFETCH(QString, text);
        Host::WidgetPresenter presenter;
        Host::DialogServer server;
        server.addPresenter(&presenter);
        QCOMPARE(presenter.statusText(), QStringLiteral("Touch a tag or a device"));
        ConnUi::UiIndications::indicate(kind, detail);
        QCOMPARE(presenter.statusText(), text);
        server.removePresenter(&presenter);
    }
};

QTEST_MAIN(tst_WidgetPresenter)
#include "tst_widgetpresenter.moc"
