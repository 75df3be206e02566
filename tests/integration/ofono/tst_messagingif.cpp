// MessagingIf on Linux: sendSMS is MessageManager.SendMessage on the first modem; showSmsEditor opens an
// sms: URI (recipients joined by commas, the body percent-encoded) in the desktop's sms: application.
#include <QDBusVariant>
#include <QTemporaryDir>
#include <QtTest>

#include "messagingif.h"
#include "offlinemode.h"
#include "contentaction.h"
#include "mocksuite.h"
#include "ofonocontrol.h"
#include "phonemocks.h"
#include "schemehandlers.h"

class tst_MessagingIf : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void sendSmsSendsOnTheFirstModem();
    void sendSmsInFlightModeStillSends();
    void sendSmsUsesTheFirstModemAlsoWhenItsInterfacesLagBehind();
    void sendSmsWithoutOfonoFailsWithAWarning();
    // Before the sms: recorder is installed.
    void editorWithoutSmsApplicationFailsWithAWarning();
    void editorOpensTheSmsUri_data();
    void editorOpensTheSmsUri();
    // Last: it leaves oFono stopped.
    void hungOfonoHoldsUpOnlyTheFirstOfATagsQuestions();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<SchemeHandlers> m_handlers;
    std::unique_ptr<MockService> m_ofono;
};

void tst_MessagingIf::initTestCase()
{
    MockSuite::recordSchemeHandlers(m_dir, m_handlers);
    m_ofono = PhoneMocks::ofono();
    MockSuite::startOnPrivateBus(*m_ofono);
}

void tst_MessagingIf::init()
{
    MockSuite::restartAndReset(*m_ofono);
}

void tst_MessagingIf::cleanupTestCase()
{
    m_ofono.reset();
}

void tst_MessagingIf::sendSmsSendsOnTheFirstModem()
{
    MessagingIf messaging;
    QVERIFY(messaging.sendSMS(QStringLiteral("+358401234567"), QStringLiteral("Hello, wörld"), true));
    QTRY_COMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).size(), 1);
    QCOMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).first().args,
             (QVariantList {QStringLiteral("+358401234567"), QStringLiteral("Hello, wörld")}));
}

void tst_MessagingIf::sendSmsInFlightModeStillSends()
{
    // oFono queues it; deciding about flight mode is the caller's business.
    QVERIFY(OfonoControl::setOnline(*m_ofono, false));
    MessagingIf messaging;
    QVERIFY(messaging.sendSMS(QStringLiteral("123"), QStringLiteral("body"), false));
    QTRY_COMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).size(), 1);
}

void tst_MessagingIf::sendSmsUsesTheFirstModemAlsoWhenItsInterfacesLagBehind()
{
    QVERIFY(m_ofono->control(
        PhoneMocks::ofonoModemPath(), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"),
        {QStringLiteral("org.ofono.Modem"), QStringLiteral("Interfaces"),
         QVariant::fromValue(QDBusVariant(QStringList {QStringLiteral("org.ofono.VoiceCallManager")}))}));
    MessagingIf messaging;
    QVERIFY(messaging.sendSMS(QStringLiteral("123"), QStringLiteral("body"), true));
    QTRY_COMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).size(), 1);
}

void tst_MessagingIf::sendSmsWithoutOfonoFailsWithAWarning()
{
    m_ofono->stop();
    MessagingIf messaging;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no modem to send text messages")));
    QVERIFY(!messaging.sendSMS(QStringLiteral("123"), QStringLiteral("body"), false));
}

void tst_MessagingIf::editorWithoutSmsApplicationFailsWithAWarning()
{
    MessagingIf messaging;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no application for sms: URIs")));
    QVERIFY(!messaging.showSmsEditor({QStringLiteral("123")}, QStringLiteral("body"), QString()));
}

void tst_MessagingIf::editorOpensTheSmsUri_data()
{
    QTest::addColumn<QStringList>("recipients");
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("uri");
    QTest::newRow("one recipient") << QStringList {QStringLiteral("+358401234567")} << QStringLiteral("Hi")
                                   << QStringLiteral("sms:+358401234567?body=Hi");
    QTest::newRow("recipients joined by commas") << QStringList {QStringLiteral("123"), QStringLiteral("456")}
                                                 << QStringLiteral("Hi") << QStringLiteral("sms:123,456?body=Hi");
    QTest::newRow("body percent-encoded")
        << QStringList {QStringLiteral("123")} << QStringLiteral("Meet at 5 & bring ä?")
        << QStringLiteral("sms:123?body=Meet%20at%205%20%26%20bring%20%C3%A4%3F");
    QTest::newRow("no body") << QStringList {QStringLiteral("123")} << QString() << QStringLiteral("sms:123");
}

void tst_MessagingIf::editorOpensTheSmsUri()
{
    QFETCH(QStringList, recipients);
    QFETCH(QString, body);
    QFETCH(QString, uri);
    const QString installed = m_handlers->install(QStringLiteral("sms"));
    QVERIFY2(installed.isEmpty(), qPrintable(installed));
    // The platform opens the URI through its content actions, which learn of the new entry from GIO
    // through the event loop.
    QTRY_VERIFY(!ContentAction::Action::actionsForScheme(QStringLiteral("sms:")).isEmpty());
    const int before = m_handlers->opened(QStringLiteral("sms")).size();

    MessagingIf messaging;
    QVERIFY(messaging.showSmsEditor(recipients, body, QString()));
    QTRY_COMPARE(m_handlers->opened(QStringLiteral("sms")).size(), before + 1);
    QCOMPARE(m_handlers->opened(QStringLiteral("sms")).last(), uri);
}

void tst_MessagingIf::hungOfonoHoldsUpOnlyTheFirstOfATagsQuestions()
{
    // An sms: tag asks for the offline mode and then sends a message per recipient; each asks oFono for
    // its modems.
    QVERIFY2(m_ofono->addMethod(QStringLiteral("/"), QStringLiteral("org.ofono.Manager"), QStringLiteral("GetModems"),
                                QString(), QStringLiteral("a(oa{sv})"), QStringLiteral("time.sleep(30)")),
             qPrintable(m_ofono->lastError()));
    ConnUi::OfflineMode mode;
    MessagingIf messaging;
    QTest::ignoreMessage(QtWarningMsg,
                         "oFono: GetModems got no answer within 5000 ms; oFono is not asked again for 5000 ms");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(mode.currentStatus(), int(ConnUi::OfflineMode::Unknown));
    const qint64 first = timer.elapsed();
    // The budget's timer is coarse: it may end up to 5% early.
    QVERIFY2(first >= 4500 && first < 25000, qPrintable(QString::number(first)));

    timer.restart();
    for (int recipient = 0; recipient < 3; ++recipient) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no modem to send text messages")));
        QVERIFY(!messaging.sendSMS(QStringLiteral("123"), QStringLiteral("body"), true));
    }
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));

    // An oFono that is started again ends the pause at once.
    m_ofono->stop();
    QVERIFY2(m_ofono->start(), qPrintable(m_ofono->lastError()));
    QTRY_VERIFY(mode.currentStatus() != int(ConnUi::OfflineMode::Unknown));
    QVERIFY2(timer.elapsed() < 4000, qPrintable(QString::number(timer.elapsed())));
    m_ofono->stop();
}

QTEST_GUILESS_MAIN(tst_MessagingIf)
#include "tst_messagingif.moc"
