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

    // Starts the tour with the arguments, sends it the signals once its output shows marker, and checks
    // that it ends with 128 + one of them and that every program it started is gone. Gives the tour's
    // folder.
    void terminateTour(const QStringList& arguments, const QString& marker, QString* folder,
                       const QList<int>& signalNumbers = {SIGTERM})
    {
        QProcess tour;
        tour.setProcessChannelMode(QProcess::MergedChannels);
        tour.start(QStringLiteral("/usr/bin/python3"),
                   QStringList {QStringLiteral(NFCUI_DEMO_TOUR), QStringLiteral("--build"), QStringLiteral(NFCUI_BUILD_DIR)}
                       + arguments);
        QVERIFY2(tour.waitForStarted(), "/usr/bin/python3 cannot be started");
        QString output;
        QElapsedTimer timer;
        timer.start();
        while (!output.contains(marker) && timer.elapsed() < TestTimeouts::scaled(150000)
               && tour.state() == QProcess::Running) {
            tour.waitForReadyRead(1000);
            output += QString::fromUtf8(tour.readAll());
        }
        QVERIFY2(output.contains(marker), qPrintable(output));
        const QList<qint64> started = childrenOf(tour.processId());
        QVERIFY2(started.size() >= 5, qPrintable(QStringLiteral("%1 programs started").arg(started.size())));
        // Whatever this test finds still running is not left behind.
        const auto killLeftovers = qScopeGuard([&started] {
            for (const qint64 pid : started) {
                if (!gone(pid))
                    ::kill(pid_t(pid), SIGKILL);
            }
        });

        for (const int signalNumber : signalNumbers)
            ::kill(pid_t(tour.processId()), signalNumber);
        const bool finished = tour.waitForFinished(TestTimeouts::scaled(30000));
        output += QString::fromUtf8(tour.readAll());
        if (!finished)
            tour.kill();
        QVERIFY2(finished, qPrintable(output));
        // 128 + the signal the tour saw first (two that arrive together are seen in the order of their numbers).
        QVERIFY2(signalNumbers.contains(tour.exitCode() - 128), qPrintable(QString::number(tour.exitCode())));
        for (const qint64 pid : started)
            QVERIFY2(gone(pid), qPrintable(QStringLiteral("process %1 outlived the tour").arg(pid)));
        const QRegularExpression logs(QStringLiteral("Logs \\(kept unless the tour ends as it should\\): (\\S+)/logs"));
        const QRegularExpressionMatch match = logs.match(output);
        QVERIFY2(match.hasMatch(), qPrintable(output));
        *folder = match.captured(1);
    }

private Q_SLOTS:
    // The tour starts the system's programs in sessions of their own; a tour that is terminated (a
    // timeout, a closed terminal) stops them. An interactive tour ends that way, and removes its folder
    // as Ctrl+C does.
    void aTerminatedTourStopsEverythingItStarted()
    {
        QString folder;
        terminateTour({QStringLiteral("--interactive")}, QStringLiteral("Press Ctrl+C to stop."), &folder);
        if (QTest::currentTestFailed())
            return;
        QVERIFY2(!QFileInfo::exists(folder), qPrintable(folder));
    }

    // A session's end often sends SIGTERM and then SIGHUP: the second does not cut the clean-up short.
    void aSecondTerminationDoesNotCutTheCleanUpShort()
    {
        QString folder;
        terminateTour({QStringLiteral("--interactive")}, QStringLiteral("Press Ctrl+C to stop."), &folder,
                      {SIGTERM, SIGHUP});
        if (QTest::currentTestFailed())
            return;
        QVERIFY2(!QFileInfo::exists(folder), qPrintable(folder));
    }

    // A tour of steps cut short by a termination did not end as it should: its logs stay for a look.
    void aTourTerminatedBeforeItsLastStepKeepsItsLogs()
    {
        // Enough steps after the first that the tour cannot reach its end before the termination does.
        QStringList arguments {QStringLiteral("--headless")};
        for (const char* step : {"web_link", "smart_poster", "call", "sms_offline", "contact_card", "text_note",
                                 "two_browsers", "headset", "sharing"})
            arguments << QStringLiteral("--step") << QString::fromLatin1(step);
        QString folder;
        terminateTour(arguments, QStringLiteral("PASS web_link"), &folder);
        if (QTest::currentTestFailed())
            return;
        const auto removeFolder = qScopeGuard([&folder] { QDir(folder).removeRecursively(); });
        QVERIFY2(QFileInfo::exists(folder + QStringLiteral("/logs/host.log")), qPrintable(folder));
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
