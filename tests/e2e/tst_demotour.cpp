// End to end: nfcui-daemon with its simulator, nfcui-host with the real plugin, and the mocks of BlueZ 4,
// oFono, notifications, the notes service and the session, as real processes on the private buses of
// scripts/isolated. Each case runs one step of scripts/demo-tour.py, which touches tags and devices
// through nfcui-sim, answers through the host's automation interface, and checks the daemon's exact
// reply, the dialog's properties and the side effect (the application opened, the call dialled, the
// note stored, the message sent, the headset connected).
#include <QtTest>

#include <QProcess>

#include "testtimeouts.h"

class tst_DemoTour : public QObject
{
    Q_OBJECT

private:
    void runStep(const QString& step)
    {
        QProcess tour;
        tour.setProcessChannelMode(QProcess::MergedChannels);
        tour.start(QStringLiteral("/usr/bin/python3"),
                   {QStringLiteral(NFCUI_DEMO_TOUR), QStringLiteral("--build"), QStringLiteral(NFCUI_BUILD_DIR),
                    QStringLiteral("--headless"), QStringLiteral("--step"), step});
        QVERIFY2(tour.waitForStarted(), "/usr/bin/python3 cannot be started");
        const bool finished = tour.waitForFinished(TestTimeouts::scaled(150000));
        const QString output = QString::fromUtf8(tour.readAll());
        if (!finished)
            tour.kill();
        QVERIFY2(finished, qPrintable(QStringLiteral("the step did not end:\n") + output));
        QVERIFY2(tour.exitStatus() == QProcess::NormalExit && tour.exitCode() == 0, qPrintable(output));
        QVERIFY2(output.contains(QStringLiteral("PASS ") + step), qPrintable(output));
        qInfo().noquote() << output.section(QLatin1Char('\n'), 0, 0);
    }

private Q_SLOTS:
    void aWebLinkOpensTheBrowser() { runStep(QStringLiteral("web_link")); }
    void aSmartPosterShowsItsTitleInTheUiLanguage() { runStep(QStringLiteral("smart_poster")); }
    void aPhoneNumberIsCalledDirectly() { runStep(QStringLiteral("call")); }
    void anSmsIsSentInFlightModeAfterYes() { runStep(QStringLiteral("sms_offline")); }
    void aContactCardOpensInTheContactsApplication() { runStep(QStringLiteral("contact_card")); }
    void aTextIsStoredAsANote() { runStep(QStringLiteral("text_note")); }
    void theChoiceAmongTwoBrowsersIsRemembered() { runStep(QStringLiteral("two_browsers")); }
    void anEmptyTagShowsTheErrorAndIsRejected() { runStep(QStringLiteral("empty_tag")); }
    void anUnreadableTagShowsTheError() { runStep(QStringLiteral("unreadable_tag")); }
    void aForegroundApplicationGetsTheDataWithoutADialog() { runStep(QStringLiteral("foreground_application")); }
    void aHeadsetIsPairedWithItsPinAndConnectedAfterTheOtherIsDisconnected() { runStep(QStringLiteral("headset")); }
    void sharingIsPermitted() { runStep(QStringLiteral("sharing")); }
    void withAFinnishLocaleTitlesAndQuestionsAreFinnish() { runStep(QStringLiteral("finnish")); }

    void theDaemonRestartingWhileADialogIsOpenLeavesTheNextTagWorking()
    {
        runStep(QStringLiteral("fault_daemon_restart"));
    }
    void theHostQuittingWithADialogOpenLeavesNothingHanging() { runStep(QStringLiteral("fault_host_quits")); }
    void anAbsentNotesServiceStillStoresTheText() { runStep(QStringLiteral("fault_notes_absent")); }
    void anUnwritableDefaultsFileKeepsTagsWorking() { runStep(QStringLiteral("fault_defaults_unwritable")); }
};

QTEST_GUILESS_MAIN(tst_DemoTour)
#include "tst_demotour.moc"
