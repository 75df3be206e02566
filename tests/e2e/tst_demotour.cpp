// End to end: nfcui-daemon with its simulator, nfcui-host with the real plugin, and the mocks of BlueZ 4,
// oFono, notifications, the notes service and the session, as real processes on the private buses of
// scripts/isolated. Each case runs one step of scripts/demo-tour.py, which touches tags and devices
// through nfcui-sim, answers through the host's automation interface, and checks the daemon's exact
// reply, the dialog's properties and the side effect (the application opened, the call dialled, the
// note stored, the message sent, the headset connected).
#include <QtTest>

#include <QDir>
#include <QProcess>

#include <csignal>

#include "testtimeouts.h"

namespace {

// The processes whose parent is pid.
QList<qint64> childrenOf(qint64 pid)
{
    QList<qint64> children;
    for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile stat(QStringLiteral("/proc/") + entry + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // pid (comm) state ppid ...: the command name may hold spaces and parentheses.
        const QByteArray line = stat.readAll();
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 1 && fields.at(1).toLongLong() == pid)
            children << entry.toLongLong();
    }
    return children;
}

bool gone(qint64 pid)
{
    return !QFile::exists(QStringLiteral("/proc/%1").arg(pid));
}

} // namespace

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
    // The tour starts the system's programs in sessions of their own; a tour that is terminated (a
    // timeout, a closed terminal) stops them and removes its folder, as Ctrl+C does.
    void aTerminatedTourStopsEverythingItStarted()
    {
        QProcess tour;
        tour.setProcessChannelMode(QProcess::MergedChannels);
        tour.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral(NFCUI_DEMO_TOUR), QStringLiteral("--build"),
                                                        QStringLiteral(NFCUI_BUILD_DIR), QStringLiteral("--interactive")});
        QVERIFY2(tour.waitForStarted(), "/usr/bin/python3 cannot be started");
        QString output;
        QElapsedTimer timer;
        timer.start();
        while (!output.contains(QStringLiteral("Press Ctrl+C to stop.")) && timer.elapsed() < TestTimeouts::scaled(60000)
               && tour.state() == QProcess::Running) {
            tour.waitForReadyRead(1000);
            output += QString::fromUtf8(tour.readAll());
        }
        QVERIFY2(output.contains(QStringLiteral("Press Ctrl+C to stop.")), qPrintable(output));
        const QList<qint64> started = childrenOf(tour.processId());
        QVERIFY2(started.size() >= 5, qPrintable(QStringLiteral("%1 programs started").arg(started.size())));
        // Whatever this test finds still running is not left behind.
        const auto killLeftovers = qScopeGuard([&started] {
            for (const qint64 pid : started) {
                if (!gone(pid))
                    ::kill(pid_t(pid), SIGKILL);
            }
        });

        ::kill(pid_t(tour.processId()), SIGTERM);
        const bool finished = tour.waitForFinished(TestTimeouts::scaled(30000));
        output += QString::fromUtf8(tour.readAll());
        if (!finished)
            tour.kill();
        QVERIFY2(finished, qPrintable(output));
        QCOMPARE(tour.exitCode(), 128 + SIGTERM);
        for (const qint64 pid : started)
            QVERIFY2(gone(pid), qPrintable(QStringLiteral("process %1 outlived the tour").arg(pid)));
        const QRegularExpression logs(QStringLiteral("Logs \\(kept when a step fails\\): (\\S+)/logs"));
        const QRegularExpressionMatch folder = logs.match(output);
        QVERIFY2(folder.hasMatch(), qPrintable(output));
        QVERIFY2(!QFileInfo::exists(folder.captured(1)), qPrintable(folder.captured(1)));
    }

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
