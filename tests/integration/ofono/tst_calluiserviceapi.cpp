// CallUiServiceApi on Linux: a call is VoiceCallManager.Dial(number, "default") on the first modem with
// voice calls; without a modem the number goes to the desktop's tel: application; with neither, a
// warning.
#include <QTemporaryDir>
#include <QtTest>

#include "calluiserviceapi.h"
#include "contentaction.h"
#include "mocksuite.h"
#include "ofonocontrol.h"
#include "phonemocks.h"
#include "schemehandlers.h"

class tst_CallUiServiceApi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void callDialsOnTheFirstModem();
    void dialFailureIsLoggedAfterTheRequestWasSent();
    // Before the tel: recorder is installed.
    void withoutModemAndTelApplicationAWarning();
    void withoutModemTheTelApplicationIsOpened();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<SchemeHandlers> m_handlers;
    std::unique_ptr<MockService> m_ofono;
};

void tst_CallUiServiceApi::initTestCase()
{
    MockSuite::recordSchemeHandlers(m_dir, m_handlers);
    m_ofono = PhoneMocks::ofono();
    MockSuite::startOnPrivateBus(*m_ofono);
}

void tst_CallUiServiceApi::init()
{
    MockSuite::restartAndReset(*m_ofono);
}

void tst_CallUiServiceApi::cleanupTestCase()
{
    m_ofono.reset();
}

void tst_CallUiServiceApi::callDialsOnTheFirstModem()
{
    CallUi::CallUiServiceApi calls;
    QVERIFY(calls.RequestCellularCall(QStringLiteral("+358401234567")));
    QTRY_COMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("Dial")).size(), 1);
    const MockCall dial = OfonoControl::callsOf(*m_ofono, QStringLiteral("Dial")).first();
    QCOMPARE(dial.args, (QVariantList {QStringLiteral("+358401234567"), QStringLiteral("default")}));
    // The mock answers Dial with the call's object path, as oFono does.
    const QDBusMessage dialled =
        m_ofono->call(PhoneMocks::ofonoModemPath(), QStringLiteral("org.ofono.VoiceCallManager"),
                      QStringLiteral("Dial"), {QStringLiteral("1"), QStringLiteral("default")});
    QCOMPARE(dialled.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(dialled.signature(), QStringLiteral("o"));
}

void tst_CallUiServiceApi::dialFailureIsLoggedAfterTheRequestWasSent()
{
    QVERIFY(m_ofono->addMethod(PhoneMocks::ofonoModemPath(), QStringLiteral("org.ofono.VoiceCallManager"),
                               QStringLiteral("Dial"), QStringLiteral("ss"), QStringLiteral("o"),
                               QStringLiteral("raise dbus.exceptions.DBusException('No network', "
                                              "name='org.ofono.Error.Failed')")));
    CallUi::CallUiServiceApi calls;
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("calling 123 failed: org.ofono.Error.Failed")));
    QVERIFY(calls.RequestCellularCall(QStringLiteral("123")));
    QTRY_COMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("Dial")).size(), 1);
    QTest::qWait(200);
}

void tst_CallUiServiceApi::withoutModemTheTelApplicationIsOpened()
{
    const QString installed = m_handlers->install(QStringLiteral("tel"));
    QVERIFY2(installed.isEmpty(), qPrintable(installed));
    // The platform opens the URI through its content actions, which learn of the new entry from GIO
    // through the event loop.
    QTRY_VERIFY(!ContentAction::Action::actionsForScheme(QStringLiteral("tel:")).isEmpty());
    m_ofono->stop();
    CallUi::CallUiServiceApi calls;
    QVERIFY(calls.RequestCellularCall(QStringLiteral("+358401234567")));
    QTRY_COMPARE(m_handlers->opened(QStringLiteral("tel")), QStringList {QStringLiteral("tel:+358401234567")});
}

void tst_CallUiServiceApi::withoutModemAndTelApplicationAWarning()
{
    m_ofono->stop();
    CallUi::CallUiServiceApi calls;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no modem and no application for tel: URIs")));
    QVERIFY(!calls.RequestCellularCall(QStringLiteral("123")));
}

QTEST_GUILESS_MAIN(tst_CallUiServiceApi)
#include "tst_calluiserviceapi.moc"
