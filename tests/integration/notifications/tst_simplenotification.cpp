// SimpleNotification on Linux: each banner is one org.freedesktop.Notifications.Notify call of
// "nfc-ui", never waited for; a session without a notification service is reported once.
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include "buscallmonitor.h"
#include "mocksuite.h"
#include "phonemocks.h"
#include "simplenotification.h"
#include "simplenotification_p.h"
#include "uiindications.h"
#include "warningcounter.h"

using ConnUi::SimpleNotification;
using PhoneMocks::Notification;

class tst_SimpleNotification : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void bannerIsANotificationOfNfcUi();
    void eventTypeIsTheCategory_data();
    void eventTypeIsTheCategory();
    void bannerWithoutEventTypeHasNoCategory();
    void detailIsTheBodyAndIconTheIcon();
    void bannerIsReportedAsIndication();
    void bannersKeepTheirOrder();
    void notificationIsNotWaitedFor();
    void laterBannersAddNoMatchRuleOrOwnerLookup();
    // Runs last: the warning is given once per process.
    void withoutNotificationServiceOneWarningAndNoWait();

private:
    std::unique_ptr<MockService> m_mock;
};

void tst_SimpleNotification::initTestCase()
{
    m_mock = PhoneMocks::notifications();
    MockSuite::startOnPrivateBus(*m_mock);
}

void tst_SimpleNotification::init()
{
    QVERIFY2(m_mock->reset(), qPrintable(m_mock->lastError()));
    QVERIFY(m_mock->clearCalls(PhoneMocks::notificationsPath()));
}

void tst_SimpleNotification::cleanupTestCase()
{
    m_mock.reset();
}

void tst_SimpleNotification::bannerIsANotificationOfNfcUi()
{
    SimpleNotification::show(QStringLiteral("x-orvan.nfc.connected"), QString(), QStringLiteral("Connected to Headset"),
                             QString());

    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 1);
    const Notification shown = PhoneMocks::notificationsShown(*m_mock).first();
    QCOMPARE(shown.appName, QStringLiteral("nfc-ui"));
    QCOMPARE(shown.replacesId, 0u);
    QCOMPARE(shown.icon, QString());
    QCOMPARE(shown.summary, QStringLiteral("Connected to Headset"));
    QCOMPARE(shown.body, QString());
    QCOMPARE(shown.actions, QStringList());
    QCOMPARE(shown.expireTimeout, -1);
    QCOMPARE(shown.hints,
             QVariantMap({{QStringLiteral("category"), QStringLiteral("x-orvan.nfc.connected")},
                          {QStringLiteral("transient"), true},
                          {QStringLiteral("desktop-entry"), QStringLiteral("nfc-ui")}}));
    // Sent as a boolean, as the notification protocol defines the hint.
    QCOMPARE(shown.hints.value(QStringLiteral("transient")).userType(), int(QMetaType::Bool));
}

void tst_SimpleNotification::eventTypeIsTheCategory_data()
{
    QTest::addColumn<QString>("eventType");
    QTest::newRow("pairing") << QStringLiteral("x-orvan.nfc");
    QTest::newRow("connected") << QStringLiteral("x-orvan.nfc.connected");
    QTest::newRow("disconnected") << QStringLiteral("x-orvan.nfc.disconnected");
    QTest::newRow("standard") << QStringLiteral("device.error");
}

void tst_SimpleNotification::eventTypeIsTheCategory()
{
    QFETCH(QString, eventType);
    SimpleNotification::show(eventType, QString(), QStringLiteral("text"), QString());
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 1);
    QCOMPARE(PhoneMocks::notificationsShown(*m_mock).first().hints.value(QStringLiteral("category")).toString(),
             eventType);
}

void tst_SimpleNotification::bannerWithoutEventTypeHasNoCategory()
{
    SimpleNotification::show(QString(), QString(), QStringLiteral("text"), QString());
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 1);
    const QVariantMap hints = PhoneMocks::notificationsShown(*m_mock).first().hints;
    QVERIFY(!hints.contains(QStringLiteral("category")));
    QCOMPARE(hints.value(QStringLiteral("transient")), QVariant(true));
}

void tst_SimpleNotification::detailIsTheBodyAndIconTheIcon()
{
    SimpleNotification::show(QStringLiteral("x-orvan.nfc"), QStringLiteral("more"), QStringLiteral("Pairing with Car"),
                             QStringLiteral("bluetooth"));
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 1);
    const Notification shown = PhoneMocks::notificationsShown(*m_mock).first();
    QCOMPARE(shown.summary, QStringLiteral("Pairing with Car"));
    QCOMPARE(shown.body, QStringLiteral("more"));
    QCOMPARE(shown.icon, QStringLiteral("bluetooth"));
}

void tst_SimpleNotification::bannerIsReportedAsIndication()
{
    QSignalSpy indications(ConnUi::UiIndications::instance(), SIGNAL(indication(QString, QString)));
    SimpleNotification::show(QStringLiteral("x-orvan.nfc"), QString(), QStringLiteral("Pairing with Car"), QString());
    QCOMPARE(indications.count(), 1);
    QCOMPARE(indications.first(),
             QVariantList({QStringLiteral("banner"), QStringLiteral("x-orvan.nfc Pairing with Car")}));
}

void tst_SimpleNotification::bannersKeepTheirOrder()
{
    SimpleNotification::show(QStringLiteral("x-orvan.nfc.disconnected"), QString(), QStringLiteral("first"), QString());
    SimpleNotification::show(QStringLiteral("x-orvan.nfc.connected"), QString(), QStringLiteral("second"), QString());
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 2);
    QCOMPARE(PhoneMocks::notificationsShown(*m_mock).at(0).summary, QStringLiteral("first"));
    QCOMPARE(PhoneMocks::notificationsShown(*m_mock).at(1).summary, QStringLiteral("second"));
}

void tst_SimpleNotification::notificationIsNotWaitedFor()
{
    QVERIFY2(m_mock->addMethod(PhoneMocks::notificationsPath(), QStringLiteral("org.freedesktop.Notifications"),
                               QStringLiteral("Notify"), QStringLiteral("susssasa{sv}i"), QStringLiteral("u"),
                               QStringLiteral("time.sleep(3); ret = dbus.UInt32(5)")),
             qPrintable(m_mock->lastError()));
    QElapsedTimer timer;
    timer.start();
    SimpleNotification::show(QStringLiteral("x-orvan.nfc"), QString(), QStringLiteral("slow"), QString());
    QVERIFY(timer.elapsed() < 1000);
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 1);
}

// Each banner is its Notify call and nothing else on the bus: a proxy made per banner would add an owner
// lookup, a match rule and the rule's removal to each.
void tst_SimpleNotification::laterBannersAddNoMatchRuleOrOwnerLookup()
{
    SimpleNotification::show(QStringLiteral("x-orvan.nfc"), QString(), QStringLiteral("first"), QString());
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 1);

    BusCallMonitor monitor;
    QVERIFY2(monitor.start(), "dbus-monitor is needed");
    SimpleNotification::show(QStringLiteral("x-orvan.nfc.connected"), QString(), QStringLiteral("second"), QString());
    SimpleNotification::show(QStringLiteral("x-orvan.nfc.disconnected"), QString(), QStringLiteral("third"), QString());
    QTRY_COMPARE(PhoneMocks::notificationsShown(*m_mock).size(), 3);
    QCOMPARE(monitor.calls(), QStringList());
}

void tst_SimpleNotification::withoutNotificationServiceOneWarningAndNoWait()
{
    m_mock->stop();
    WarningCounter warnings;
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression(QStringLiteral("^SimpleNotification: banners cannot be shown: .* "
                                          "\\(org\\.freedesktop\\.DBus\\.Error\\.ServiceUnknown\\)$")));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 3; ++i)
        SimpleNotification::show(QStringLiteral("x-orvan.nfc"), QString(), QStringLiteral("nobody"), QString());
    QVERIFY(timer.elapsed() < 1000);
    QTRY_COMPARE(warnings.count(), 1);
    QTest::qWait(300);
    QCOMPARE(warnings.count(), 1);
}

QTEST_GUILESS_MAIN(tst_SimpleNotification)

#include "tst_simplenotification.moc"
