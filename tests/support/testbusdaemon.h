// A dbus-daemon of the test's own, besides the private buses every test runs on: one the test can take
// away from a program to see what it does then, or one with a configuration of its own. The kernel
// kills it when the test process dies (setpriv --pdeathsig), so a test that crashes or is killed by
// its time limit leaves no bus behind; otherwise it is stopped when the object goes.
#ifndef NFCUI_TESTBUSDAEMON_H
#define NFCUI_TESTBUSDAEMON_H

#include <QDeadlineTimer>
#include <QProcess>
#include <QString>
#include <QStringList>

#include "testtimeouts.h"

class TestBusDaemon
{
public:
    TestBusDaemon() = default;
    ~TestBusDaemon()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000))
                kill();
        }
    }

    // Starts dbus-daemon with the arguments (a bus type or a configuration file; --nofork and
    // --print-address are added) and waits for its address. False, with the reason in *error, when it
    // cannot be started or prints no address.
    bool start(const QStringList& arguments, QString* error)
    {
        m_process.start(QStringLiteral("setpriv"), QStringList {QStringLiteral("--pdeathsig"), QStringLiteral("KILL"),
                                                                QStringLiteral("dbus-daemon"), QStringLiteral("--nofork"),
                                                                QStringLiteral("--print-address=1")}
                                                       + arguments);
        if (!m_process.waitForStarted(TestTimeouts::scaled(10000))) {
            *error = QStringLiteral("dbus-daemon cannot be started: ") + m_process.errorString();
            return false;
        }
        const QDeadlineTimer deadline(TestTimeouts::scaled(10000));
        while (!m_process.canReadLine() && m_process.state() == QProcess::Running && !deadline.hasExpired())
            m_process.waitForReadyRead(int(deadline.remainingTime()));
        m_address = QString::fromUtf8(m_process.readLine()).trimmed();
        if (m_address.isEmpty()) {
            *error = QStringLiteral("dbus-daemon printed no address: ")
                + QString::fromLocal8Bit(m_process.readAllStandardError());
            return false;
        }
        return true;
    }

    // The address clients connect to.
    QString address() const { return m_address; }

    // Kills the bus without warning, as a crash would, and waits until it is gone.
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(TestTimeouts::scaled(10000));
    }

private:
    Q_DISABLE_COPY(TestBusDaemon)
    QProcess m_process;
    QString m_address;
};

#endif
