// QSystemDeviceInfo::lockStatus() on Linux: PinLocked while the logind session of this process has
// LockedHint true; without a logind session the screen saver's GetActive decides; with neither the
// status is unknown. A service that hangs is given up within the platform's budget.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QtTest>

#include "mocksuite.h"
#include "phonemocks.h"
#include "qsystemdeviceinfo.h"

using QtMobility::QSystemDeviceInfo;

namespace {

const QString sessionPath = MockSuite::loginSessionPath();

QSystemDeviceInfo::LockTypeFlags lockStatus()
{
    QSystemDeviceInfo info;
    return info.lockStatus();
}

} // namespace

class tst_QSystemDeviceInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void lockedSessionIsPinLocked();
    void unlockedSessionIsNotLocked();
    void sessionIsTheOneOfThisProcess();
    void sessionHintWinsOverTheScreenSaver();
    void sessionFoundThroughXdgSessionId();
    void withoutLogindSessionActiveScreenSaverIsPinLocked();
    void withoutLogindSessionInactiveScreenSaverIsNotLocked();
    void withNeitherTheStatusIsUnknown();
    void hungLogindIsGivenUpWithinOneBusTimeout();

private:
    void startLogind(bool findsThisProcess, bool locked);
    void startScreenSaver(bool active);

    std::unique_ptr<MockService> m_logind;
    std::unique_ptr<MockService> m_screenSaver;
};

void tst_QSystemDeviceInfo::initTestCase()
{
    MockSuite::requirePrivateBuses();
}

void tst_QSystemDeviceInfo::init()
{
    qunsetenv("XDG_SESSION_ID");
}

void tst_QSystemDeviceInfo::cleanup()
{
    m_logind.reset();
    m_screenSaver.reset();
}

// logind with session c1 of this user; findsThisProcess makes GetSessionByPID answer c1, as logind does
// for a process of that session (the template lacks the method).
void tst_QSystemDeviceInfo::startLogind(bool findsThisProcess, bool locked)
{
    m_logind = PhoneMocks::logind();
    MockSuite::startOnPrivateBus(*m_logind);
    MockSuite::addLoginSession(*m_logind, locked);
    if (findsThisProcess) {
        QVERIFY2(m_logind->addMethod(PhoneMocks::logindPath(), QStringLiteral("org.freedesktop.login1.Manager"),
                                     QStringLiteral("GetSessionByPID"), QStringLiteral("u"), QStringLiteral("o"),
                                     QStringLiteral("ret = dbus.ObjectPath('%1')").arg(sessionPath)),
                 qPrintable(m_logind->lastError()));
    }
    QVERIFY(m_logind->clearCalls(PhoneMocks::logindPath()));
}

void tst_QSystemDeviceInfo::startScreenSaver(bool active)
{
    m_screenSaver = PhoneMocks::screenSaver();
    MockSuite::startOnPrivateBus(*m_screenSaver, {{QStringLiteral("Active"), active}});
}

void tst_QSystemDeviceInfo::lockedSessionIsPinLocked()
{
    startLogind(true, true);
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::PinLocked));
}

void tst_QSystemDeviceInfo::unlockedSessionIsNotLocked()
{
    startLogind(true, false);
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::UnknownLock));
    QVERIFY(!lockStatus().testFlag(QSystemDeviceInfo::PinLocked));
}

void tst_QSystemDeviceInfo::sessionIsTheOneOfThisProcess()
{
    startLogind(true, true);
    lockStatus();
    const QList<MockCall> calls = m_logind->calls(PhoneMocks::logindPath());
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("GetSessionByPID"));
    QCOMPARE(calls.first().args, QVariantList({uint(QCoreApplication::applicationPid())}));
}

void tst_QSystemDeviceInfo::sessionHintWinsOverTheScreenSaver()
{
    startLogind(true, false);
    startScreenSaver(true);
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::UnknownLock));
    QCOMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()), QStringList());
}

void tst_QSystemDeviceInfo::sessionFoundThroughXdgSessionId()
{
    startLogind(false, true);
    qputenv("XDG_SESSION_ID", "c1");
    startScreenSaver(false);
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::PinLocked));
    const QList<MockCall> calls = m_logind->calls(PhoneMocks::logindPath());
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().method, QStringLiteral("GetSession"));
    QCOMPARE(calls.first().args, QVariantList({QStringLiteral("c1")}));
}

void tst_QSystemDeviceInfo::withoutLogindSessionActiveScreenSaverIsPinLocked()
{
    startLogind(false, true);
    startScreenSaver(true);
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::PinLocked));
    QCOMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()), QStringList({QStringLiteral("GetActive")}));
}

void tst_QSystemDeviceInfo::withoutLogindSessionInactiveScreenSaverIsNotLocked()
{
    startScreenSaver(false);
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::UnknownLock));
    QCOMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()), QStringList({QStringLiteral("GetActive")}));
}

void tst_QSystemDeviceInfo::withNeitherTheStatusIsUnknown()
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::UnknownLock));
    QVERIFY(timer.elapsed() < 1000);
}

void tst_QSystemDeviceInfo::hungLogindIsGivenUpWithinOneBusTimeout()
{
    startLogind(false, true);
    QVERIFY2(m_logind->addMethod(PhoneMocks::logindPath(), QStringLiteral("org.freedesktop.login1.Manager"),
                                 QStringLiteral("GetSessionByPID"), QStringLiteral("u"), QStringLiteral("o"),
                                 QStringLiteral("time.sleep(30)")),
             qPrintable(m_logind->lastError()));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(lockStatus(), QSystemDeviceInfo::LockTypeFlags(QSystemDeviceInfo::UnknownLock));
    // The bus's own reply timeout is 25 s.
    QVERIFY2(timer.elapsed() < 25000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(tst_QSystemDeviceInfo)

#include "tst_qsystemdeviceinfo.moc"
