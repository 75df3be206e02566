// scripts/with-private-buses and scripts/isolated: the buses and temporary directories of a run go
// away with it however it ends: a normal exit, a crash of the command, a termination, or the
// script killed outright as a test timeout does.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <signal.h>
#include <sys/types.h>
#include <utime.h>
#include <unistd.h>

namespace {

const QString scriptsDir = QStringLiteral(NFCUI_SCRIPTS_DIR);

// Alive and not a zombie waiting to be reaped (a container's first process may never reap it).
bool isRunning(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray line = stat.readAll();
    const int end = line.lastIndexOf(')');
    return end > 0 && line.size() > end + 2 && line.at(end + 2) != 'Z' && line.at(end + 2) != 'X';
}

bool allGone(const QList<qint64>& pids, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        bool any = false;
        for (qint64 pid : pids)
            any = any || isRunning(pid);
        if (!any)
            return true;
        if (timer.elapsed() > timeoutMs)
            return false;
        QTest::qSleep(20);
    }
}

// One run of a script around a command: the script's process, the ids of its two bus daemons and the id of
// the command.
struct ScriptRun
{
    QProcess process;
    QList<qint64> buses;
    qint64 command = 0;
};

} // namespace

class tst_PrivateBuses : public QObject
{
    Q_OBJECT

private:
    // Starts the script with a command that prints the bus daemons' ids, its own id and its
    // temporary directory, then runs tail (the command's rest). Fills in what was printed.
    bool startScript(ScriptRun& run, const QString& script, const QString& tail)
    {
        QProcess& process = run.process;
        const QString command = QStringLiteral("echo \"$NFCUI_PRIVATE_BUS_PIDS\"; echo $$; ") + tail;
        process.setProgram(scriptsDir + QLatin1Char('/') + script);
        process.setArguments({QStringLiteral("sh"), QStringLiteral("-c"), command});
        // Each run outside the caller's own isolation, so that isolated sets up its own.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("NFCUI_ISOLATED"));
        environment.insert(QStringLiteral("TMPDIR"), m_tmp.path());
        process.setProcessEnvironment(environment);
        process.start();
        if (!process.waitForStarted(5000))
            return false;
        QByteArray out;
        while (out.count('\n') < 2) {
            if (!process.waitForReadyRead(10000))
                return false;
            out += process.readAllStandardOutput();
        }
        const QList<QByteArray> lines = out.split('\n');
        for (const QByteArray& pid : lines.at(0).split(' ')) {
            if (!pid.isEmpty())
                run.buses.append(pid.toLongLong());
        }
        run.command = lines.at(1).toLongLong();
        return run.buses.size() == 2 && run.command > 0;
    }

    // The folders of the scripts in the temporary directory, sorted by name.
    QStringList leftovers() const
    {
        QStringList found =
            QDir(m_tmp.path()).entryList({QStringLiteral("nfcui-*")}, QDir::Dirs | QDir::NoDotAndDotDot);
        found.sort();
        return found;
    }

    // Runs scripts/isolated once with a command that does nothing; true when it and its buses ended.
    bool runIsolatedOnce()
    {
        ScriptRun run;
        return startScript(run, QStringLiteral("isolated"), QStringLiteral("exit 0"))
            && run.process.waitForFinished(10000) && run.process.exitCode() == 0 && allGone(run.buses, 5000);
    }

    // Makes a folder, as a run would, that nobody has touched for an hour.
    bool makeOldFolder(const QString& name) const
    {
        const QDir tmp(m_tmp.path());
        const time_t hourAgo = time(nullptr) - 3600;
        const utimbuf times{hourAgo, hourAgo};
        return tmp.mkpath(name + QStringLiteral("/home"))
            && ::utime(QFile::encodeName(tmp.filePath(name)).constData(), &times) == 0;
    }

    QTemporaryDir m_tmp;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_tmp.isValid(), "no temporary directory");
        QVERIFY2(QFileInfo(scriptsDir + QStringLiteral("/with-private-buses")).isExecutable(),
                 "scripts/with-private-buses is missing");
    }

    void init()
    {
        for (const QString& dir : leftovers())
            QDir(m_tmp.path() + QLatin1Char('/') + dir).removeRecursively();
    }

    void commandExitStopsTheBusesAndPassesItsStatusOn()
    {
        ScriptRun run;
        QVERIFY(startScript(run, QStringLiteral("with-private-buses"), QStringLiteral("read line; exit 3")));
        QVERIFY(isRunning(run.buses.at(0)) && isRunning(run.buses.at(1)));
        run.process.write("go\n");
        QVERIFY(run.process.waitForFinished(10000));
        QCOMPARE(run.process.exitCode(), 3);
        QVERIFY(allGone(run.buses, 5000));
        QVERIFY(leftovers().isEmpty());
    }

    void crashedCommandStopsTheBuses()
    {
        ScriptRun run;
        QVERIFY(startScript(run, QStringLiteral("with-private-buses"), QStringLiteral("kill -SEGV $$")));
        QVERIFY(run.process.waitForFinished(10000));
        QCOMPARE(run.process.exitCode(), 128 + SIGSEGV);
        QVERIFY(allGone(run.buses, 5000));
        QVERIFY(leftovers().isEmpty());
    }

    void terminatedScriptStopsItsCommandAndBusesAtOnce()
    {
        ScriptRun run;
        QVERIFY(startScript(run, QStringLiteral("with-private-buses"), QStringLiteral("exec sleep 600")));
        run.process.terminate();
        QVERIFY2(run.process.waitForFinished(5000), "the script waited for its command instead of ending");
        QVERIFY(allGone(run.buses << run.command, 5000));
        QVERIFY(leftovers().isEmpty());
    }

    void killedScriptTakesItsBusesAlong()
    {
        ScriptRun run;
        QVERIFY(startScript(run, QStringLiteral("with-private-buses"), QStringLiteral("exec sleep 600")));
        run.process.kill(); // SIGKILL: no trap runs, as when a test runner's timeout strikes
        QVERIFY(run.process.waitForFinished(5000));
        const bool gone = allGone(run.buses, 5000);
        ::kill(pid_t(run.command), SIGKILL);
        QVERIFY2(gone, "a bus daemon outlived its script");
    }

    void killedIsolatedRunTakesItsBusesAlongAndItsDirectoriesGoNextRun()
    {
        ScriptRun run;
        QVERIFY(startScript(run, QStringLiteral("isolated"), QStringLiteral("exec sleep 600")));
        QCOMPARE(leftovers().size(), 2); // the buses' directory and the test's home
        run.process.kill();
        QVERIFY(run.process.waitForFinished(5000));
        const bool gone = allGone(run.buses, 5000);
        ::kill(pid_t(run.command), SIGKILL);
        QVERIFY2(gone, "a bus daemon outlived its script");
        QVERIFY(allGone({run.command}, 5000));

        ScriptRun next;
        QVERIFY(startScript(next, QStringLiteral("isolated"), QStringLiteral("exit 0")));
        QVERIFY(next.process.waitForFinished(10000));
        QCOMPARE(next.process.exitCode(), 0);
        QVERIFY(allGone(next.buses, 5000));
        QVERIFY2(leftovers().isEmpty(), qPrintable(leftovers().join(QLatin1Char(' '))));
    }

    // A run killed between making its directory and writing its owner into it leaves a directory
    // without one: the next run removes it once nobody has touched it for ten minutes, and leaves a
    // younger one alone (a run that is just starting).
    void directoriesWithoutOwnerGoWhenTheyAreOld()
    {
        const QStringList old{QStringLiteral("nfcui-buses.ownerless-old"), QStringLiteral("nfcui-test.ownerless-old")};
        const QStringList young{QStringLiteral("nfcui-buses.ownerless-new"), QStringLiteral("nfcui-test.ownerless-new")};
        for (const QString& dir : old)
            QVERIFY(makeOldFolder(dir));
        for (const QString& dir : young)
            QVERIFY(QDir(m_tmp.path()).mkpath(dir + QStringLiteral("/home")));

        QVERIFY(runIsolatedOnce());
        QStringList expected = young;
        expected.sort();
        QCOMPARE(leftovers(), expected);
    }

    void anotherUsersDirectoriesAreLeftAlone()
    {
        if (::geteuid() != 0)
            QSKIP("giving a folder to another user needs root");
        const QStringList theirs{QStringLiteral("nfcui-buses.theirs"), QStringLiteral("nfcui-test.theirs")};
        for (const QString& dir : theirs) {
            QVERIFY(makeOldFolder(dir));
            QVERIFY(::chown(QFile::encodeName(QDir(m_tmp.path()).filePath(dir)).constData(), 65534, 65534) == 0);
        }

        QVERIFY(runIsolatedOnce());
        QStringList expected = theirs;
        expected.sort();
        QCOMPARE(leftovers(), expected);
    }
};

QTEST_GUILESS_MAIN(tst_PrivateBuses)
#include "tst_privatebuses.moc"
