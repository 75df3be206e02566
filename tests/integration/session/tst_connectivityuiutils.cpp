// ConnectivityUIUtils on Linux: waking the screen and asking for the unlock prompt are both
// org.freedesktop.ScreenSaver.SimulateUserActivity, never waited for; nothing ever unlocks the session.
#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include "buscallmonitor.h"
#include "connectivityuiutils.h"
#include "mocksuite.h"
#include "phonemocks.h"
#include "uiindications.h"
#include "warningcounter.h"

using ConnUi::ConnectivityUIUtils;

namespace {

const QString sessionPath = MockSuite::loginSessionPath();

// A screen saver that takes every call, counting them, and never answers unless told to.
class CountingScreenSaver : public QDBusVirtualObject
{
public:
    int calls = 0;
    bool answers = false;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.member() == QLatin1String("SimulateUserActivity"))
            ++calls;
        if (answers)
            connection.send(message.createReply());
        return true;
    }
    QString introspect(const QString&) const override { return QString(); }
};

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
    void unansweredPokesAreCappedUntilTheyTimeOut();
    void laterPokesAddNoMatchRuleOrOwnerLookup();
    // Run last, in this order: the warning is given once per process, and the screen saver it stops
    // stays away until the last one brings another.
    void withoutScreenSaverOneWarningAndNoWait();
    void missingScreenSaverIsNotCalledUntilOneAppears();

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
    // The last tests run without it.
    if (m_screenSaver->isRunning())
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

// Each poke is its SimulateUserActivity call and nothing else on the bus: a proxy made per poke would add
// an owner lookup, a match rule and the rule's removal to every touch.
void tst_ConnectivityUIUtils::laterPokesAddNoMatchRuleOrOwnerLookup()
{
    ConnectivityUIUtils::unblankDisplay();
    QTRY_COMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()).size(), 1);

    BusCallMonitor monitor;
    QVERIFY2(monitor.start(), "dbus-monitor is needed");
    ConnectivityUIUtils::unlockScreen();
    ConnectivityUIUtils::unblankDisplay();
    ConnectivityUIUtils::unlockScreen();
    QTRY_COMPARE(m_screenSaver->callNames(PhoneMocks::screenSaverPath()).size(), 4);
    QCOMPARE(monitor.calls(), QStringList());
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

void tst_ConnectivityUIUtils::missingScreenSaverIsNotCalledUntilOneAppears()
{
    // The bus has said there is no screen saver: the wake-ups send nothing, not even to have it said again.
    BusCallMonitor monitor;
    monitor.alsoWatch(QStringLiteral("org.freedesktop.ScreenSaver"));
    QVERIFY2(monitor.start(), "dbus-monitor is needed");
    ConnectivityUIUtils::unblankDisplay();
    ConnectivityUIUtils::unlockScreen();
    ConnectivityUIUtils::unblankDisplay();
    QCOMPARE(monitor.calls(), QStringList());

    // A screen saver that takes the name afterwards gets the next wake-up.
    QDBusConnection late = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("late-saver"));
    QVERIFY(late.isConnected());
    CountingScreenSaver saver;
    saver.answers = true;
    QVERIFY(late.registerVirtualObject(PhoneMocks::screenSaverPath(), &saver));
    QVERIFY(late.registerService(QStringLiteral("org.freedesktop.ScreenSaver")));
    QTRY_VERIFY([&saver] {
        ConnectivityUIUtils::unlockScreen();
        return saver.calls > 0;
    }());
    // The wake-ups sent while waiting for the first have all come in; from now on, one call each.
    QTest::qWait(300);
    const int before = saver.calls;
    ConnectivityUIUtils::unblankDisplay();
    QTRY_COMPARE(saver.calls, before + 1);
    QTest::qWait(300);
    QCOMPARE(saver.calls, before + 1);

    late.unregisterService(QStringLiteral("org.freedesktop.ScreenSaver"));
    QDBusConnection::disconnectFromBus(QStringLiteral("late-saver"));
}

void tst_ConnectivityUIUtils::unansweredPokesAreCappedUntilTheyTimeOut()
{
    // Calls left unanswered, by the screen saver stopped here or the silent one below, are reported once.
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("^ConnectivityUIUtils: the screen cannot be woken: .* "
                                                           "\\(org\\.freedesktop\\.DBus\\.Error\\.NoReply\\)$")));
    m_screenSaver->stop();
    // The replies to earlier tests' calls come in first.
    QTest::qWait(500);
    QDBusConnection hung = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("hung-saver"));
    QVERIFY(hung.isConnected());
    CountingScreenSaver saver;
    QVERIFY(hung.registerVirtualObject(PhoneMocks::screenSaverPath(), &saver));
    QVERIFY(hung.registerService(QStringLiteral("org.freedesktop.ScreenSaver")));

    // Sixteen wait for their replies; the rest of a burst is not sent.
    for (int i = 0; i < 40; ++i)
        ConnectivityUIUtils::unblankDisplay();
    QTRY_COMPARE(saver.calls, 16);
    QTest::qWait(300);
    QCOMPARE(saver.calls, 16);

    // Once they time out (5 s), a touch pokes the screen saver again.
    QTest::qWait(5500);
    ConnectivityUIUtils::unblankDisplay();
    QTRY_COMPARE(saver.calls, 17);

    hung.unregisterService(QStringLiteral("org.freedesktop.ScreenSaver"));
    QDBusConnection::disconnectFromBus(QStringLiteral("hung-saver"));
    MockSuite::startOnPrivateBus(*m_screenSaver, {{QStringLiteral("Active"), true}});
}

QTEST_GUILESS_MAIN(tst_ConnectivityUIUtils)

#include "tst_connectivityuiutils.moc"
