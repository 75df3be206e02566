// ConnectivityUIUtils on Linux: waking the screen and asking for the unlock prompt are both
// org.freedesktop.ScreenSaver.SimulateUserActivity, never waited for; nothing ever unlocks the session.
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include "connectivityuiutils.h"
#include "mocksuite.h"
#include "phonemocks.h"
#include "uiindications.h"
#include "warningcounter.h"

using ConnUi::ConnectivityUIUtils;

namespace {

const QString sessionPath = MockSuite::loginSessionPath();

} // namespace

class tst_ConnectivityUIUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void unblankDisplaySimulatesUserActivity();
    void unlockScreenOnlyAsksForTheUnlockPrompt();
    void lockedSessionStaysLocked();
    void bothAreReportedAsIndications();
    void screenSaverIsNotWaitedFor();
    // Runs last: the warning is given once per process.
    void withoutScreenSaverOneWarningAndNoWait();

private:
    std::unique_ptr<MockService> m_screenSaver;
    std::unique_ptr<MockService> m_logind;
};

void tst_ConnectivityUIUtils::initTestCase()
{
    m_screenSaver = PhoneMocks::screenSaver();
    MockSuite::startOnPrivateBus(*m_screenSaver, {{QStringLiteral("Active"), true}});
    m_logind = PhoneMocks::logind();
    MockSuite::startOnPrivateBus(*m_logind);
}

void tst_ConnectivityUIUtils::init()
{
    QVERIFY2(m_screenSaver->reset(), qPrintable(m_screenSaver->lastError()));
    QVERIFY2(m_logind->reset(), qPrintable(m_logind->lastError()));
    // A locked session of this user.
    MockSuite::addLoginSession(*m_logind, true);
    QVERIFY(m_logind->clearCalls(PhoneMocks::logindPath()));
    QVERIFY(m_logind->clearCalls(sessionPath));
}

void tst_ConnectivityUIUtils::cleanupTestCase()
{
    m_screenSaver.reset();
    m_logind.reset();
}

void tst_ConnectivityUIUtils::unblankDisplaySimulatesUserActivity()
{
    ConnectivityUIUtils::unblankDisplay();
    QTRY_COMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()),
                 QStringList({QStringLiteral("SimulateUserActivity")}));
    QCOMPARE(m_screenSaver->calls(PhoneMocks::screenSaverPath()).first().args, QVariantList());
}

void tst_ConnectivityUIUtils::unlockScreenOnlyAsksForTheUnlockPrompt()
{
    ConnectivityUIUtils::unlockScreen();
    QTRY_COMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()),
                 QStringList({QStringLiteral("SimulateUserActivity")}));
}

void tst_ConnectivityUIUtils::lockedSessionStaysLocked()
{
    ConnectivityUIUtils::unlockScreen();
    ConnectivityUIUtils::unblankDisplay();
    QTRY_COMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()).size(), 2);

    // Neither the screen saver nor logind was asked to unlock anything.
    QCOMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()),
             QStringList({QStringLiteral("SimulateUserActivity"), QStringLiteral("SimulateUserActivity")}));
    QCOMPARE(m_screenSaver->callNames(QStringLiteral("/ScreenSaver")), QStringList());
    QCOMPARE(m_logind->callNames(PhoneMocks::logindPath()), QStringList());
    QCOMPARE(m_logind->callNames(sessionPath), QStringList());
    const QDBusMessage active = m_screenSaver->call(
        PhoneMocks::screenSaverPath(), QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("GetActive"));
    QCOMPARE(active.arguments(), QVariantList({true}));
}

void tst_ConnectivityUIUtils::bothAreReportedAsIndications()
{
    QSignalSpy indications(ConnUi::UiIndications::instance(), SIGNAL(indication(QString, QString)));
    ConnectivityUIUtils::unblankDisplay();
    ConnectivityUIUtils::unlockScreen();
    QCOMPARE(indications.count(), 2);
    QCOMPARE(indications.at(0), QVariantList({QStringLiteral("unblank"), QString()}));
    QCOMPARE(indications.at(1), QVariantList({QStringLiteral("unlock"), QString()}));
}

void tst_ConnectivityUIUtils::screenSaverIsNotWaitedFor()
{
    QVERIFY2(m_screenSaver->addMethod(PhoneMocks::screenSaverPath(), QStringLiteral("org.freedesktop.ScreenSaver"),
                                      QStringLiteral("SimulateUserActivity"), QString(), QString(),
                                      QStringLiteral("time.sleep(3)")),
             qPrintable(m_screenSaver->lastError()));
    QElapsedTimer timer;
    timer.start();
    ConnectivityUIUtils::unblankDisplay();
    QVERIFY(timer.elapsed() < 1000);
    QTRY_COMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()).size(), 1);
}

void tst_ConnectivityUIUtils::withoutScreenSaverOneWarningAndNoWait()
{
    m_screenSaver->stop();
    WarningCounter warnings;
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression(QStringLiteral("^ConnectivityUIUtils: the screen cannot be woken: .* "
                                          "\\(org\\.freedesktop\\.DBus\\.Error\\.ServiceUnknown\\)$")));
    QElapsedTimer timer;
    timer.start();
    ConnectivityUIUtils::unblankDisplay();
    ConnectivityUIUtils::unlockScreen();
    ConnectivityUIUtils::unblankDisplay();
    QVERIFY(timer.elapsed() < 1000);
    QTRY_COMPARE(warnings.count(), 1);
    QTest::qWait(300);
    QCOMPARE(warnings.count(), 1);
}

QTEST_GUILESS_MAIN(tst_ConnectivityUIUtils)

#include "tst_connectivityuiutils.moc"
