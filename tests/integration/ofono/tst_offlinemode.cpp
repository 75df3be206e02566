// OfflineMode on Linux: offline (0) while the first modem is not online, not offline otherwise, also
// without oFono or without modems.
#include <QElapsedTimer>
#include <QtTest>

#include "mocksuite.h"
#include "offlinemode.h"
#include "ofonocontrol.h"
#include "phonemocks.h"

using ConnUi::OfflineMode;

class tst_OfflineMode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void onlineModemIsOnline();
    void modemNotOnlineIsOffline();
    void backOnlineIsOnlineAgain();
    void withoutModemsNotOffline();
    void withoutOfonoNotOfflineAtOnce();

private:
    std::unique_ptr<MockService> m_ofono;
};

void tst_OfflineMode::initTestCase()
{
    m_ofono = PhoneMocks::ofono();
    MockSuite::startOnPrivateBus(*m_ofono);
}

void tst_OfflineMode::init()
{
    MockSuite::restartAndReset(*m_ofono);
}

void tst_OfflineMode::cleanupTestCase()
{
    m_ofono.reset();
}

void tst_OfflineMode::onlineModemIsOnline()
{
    OfflineMode mode;
    QCOMPARE(mode.currentStatus(), int(OfflineMode::Online));
}

void tst_OfflineMode::modemNotOnlineIsOffline()
{
    QVERIFY(OfonoControl::setOnline(*m_ofono, false));
    OfflineMode mode;
    QCOMPARE(mode.currentStatus(), 0);
}

void tst_OfflineMode::backOnlineIsOnlineAgain()
{
    OfflineMode mode;
    QVERIFY(OfonoControl::setOnline(*m_ofono, false));
    QCOMPARE(mode.currentStatus(), 0);
    QVERIFY(OfonoControl::setOnline(*m_ofono, true));
    QVERIFY(mode.currentStatus() != 0);
}

void tst_OfflineMode::withoutModemsNotOffline()
{
    QVERIFY(m_ofono->addMethod(QStringLiteral("/"), QStringLiteral("org.ofono.Manager"), QStringLiteral("GetModems"),
                               QString(), QStringLiteral("a(oa{sv})"), QStringLiteral("ret = []")));
    OfflineMode mode;
    QVERIFY(mode.currentStatus() != 0);
}

void tst_OfflineMode::withoutOfonoNotOfflineAtOnce()
{
    m_ofono->stop();
    QElapsedTimer timer;
    timer.start();
    OfflineMode mode;
    QVERIFY(mode.currentStatus() != 0);
    QVERIFY2(timer.elapsed() < 2000, "a missing oFono is known at once");
}

QTEST_GUILESS_MAIN(tst_OfflineMode)
#include "tst_offlinemode.moc"
