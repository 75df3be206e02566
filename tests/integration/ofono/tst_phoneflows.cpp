// Whole tag reads that reach the phone: the plugin's tag read request linked with the Linux platform,
// against the oFono mock on the private system bus, with recording tel: and sms: applications as the
// desktop's content actions for those schemes.
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

#include "dialog.h"
#include "messagebox.h"
#include "mocksuite.h"
#include "nfcagenttagreadrequest.h"
#include "nfctagreadpermissiondialog.h"
#include "ofonocontrol.h"
#include "phonemocks.h"
#include "recordingdialogserver.h"
#include "schemehandlers.h"

using ConnUi::NfcAgentTagReadRequest;
using ConnUi::NfcTagReadPermissionDialog;

namespace {

const QDBusObjectPath target(QStringLiteral("/com/orvan/nfc/adapter0/tag1"));

// One short NDEF URI record: identifier code, then the rest of the URI.
QByteArray uriMessage(char code, const QByteArray& rest)
{
    QByteArray message;
    message.append(char(0xD1)).append(char(1)).append(char(rest.size() + 1)).append('U');
    message.append(code).append(rest);
    return message;
}

template<typename T> T* waitForDialog(const RecordingDialogServer& server)
{
    if (!QTest::qWaitFor([&] { return qobject_cast<T*>(server.lastShown()) != nullptr; }, 5000))
        return nullptr;
    return qobject_cast<T*>(server.lastShown());
}

// The tag read of one message, started at once, with its outcome recorded.
struct TagRead
{
    TagRead(RecordingDialogServer* server, const QByteArray& message)
        : request(server, target, message), accepted(&request, &NfcAgentTagReadRequest::accepted),
          rejected(&request, &NfcAgentTagReadRequest::rejected)
    {
        request.start();
    }

    NfcAgentTagReadRequest request;
    QSignalSpy accepted;
    QSignalSpy rejected;
};

// Answers the tag's permission dialog Ok, with its direct action selected.
void acceptWithDirectAction(const RecordingDialogServer& server)
{
    auto* confirmation = waitForDialog<NfcTagReadPermissionDialog>(server);
    QVERIFY2(confirmation, qPrintable(server.events().join(QLatin1Char(' '))));
    confirmation->setDirectActionSelected(true);
    confirmation->done(ConnUi::Dialog::Ok);
}

} // namespace

class tst_PhoneFlows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void telTagDialsOnTheModem();
    void smsTagInFlightModeIsSentDirectlyAfterYes();
    void smsTagInFlightModeIsNotSentAfterNo();

private:
    QTemporaryDir m_dir;
    QTranslator m_translator;
    std::unique_ptr<SchemeHandlers> m_handlers;
    std::unique_ptr<MockService> m_ofono;
    std::unique_ptr<MockService> m_screenSaver;
};

void tst_PhoneFlows::initTestCase()
{
    MockSuite::requirePrivateBuses();
    MockSuite::recordSchemeHandlers(m_dir, m_handlers);
    for (const QString& scheme : {QStringLiteral("tel"), QStringLiteral("sms")}) {
        const QString installed = m_handlers->install(scheme);
        QVERIFY2(installed.isEmpty(), qPrintable(installed));
    }
    QVERIFY2(m_translator.load(QStringLiteral(NFCUI_TRANSLATIONS_QM)), NFCUI_TRANSLATIONS_QM);
    QCoreApplication::installTranslator(&m_translator);
    m_ofono = PhoneMocks::ofono();
    MockSuite::startOnPrivateBus(*m_ofono);
    m_screenSaver = PhoneMocks::screenSaver();
    MockSuite::startOnPrivateBus(*m_screenSaver);
}

void tst_PhoneFlows::init()
{
    QVERIFY2(m_ofono->reset(), qPrintable(m_ofono->lastError()));
}

void tst_PhoneFlows::cleanupTestCase()
{
    m_ofono.reset();
    m_screenSaver.reset();
}

void tst_PhoneFlows::telTagDialsOnTheModem()
{
    RecordingDialogServer server;
    TagRead read(&server, uriMessage(0x05, "+358401234567"));
    acceptWithDirectAction(server);

    QTRY_COMPARE(read.accepted.size(), 1);
    QCOMPARE(read.rejected.size(), 0);
    QTRY_COMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("Dial")).size(), 1);
    QCOMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("Dial")).first().args,
             (QVariantList {QStringLiteral("+358401234567"), QStringLiteral("default")}));
    QCOMPARE(m_handlers->opened(QStringLiteral("tel")), QStringList());
}

void tst_PhoneFlows::smsTagInFlightModeIsSentDirectlyAfterYes()
{
    QVERIFY(OfonoControl::setOnline(*m_ofono, false));
    RecordingDialogServer server;
    TagRead read(&server, uriMessage(0x00, "sms:+358401234567?body=Hello%20there"));
    acceptWithDirectAction(server);

    auto* question = waitForDialog<ConnUi::MessageBox>(server);
    QVERIFY2(question, qPrintable(server.events().join(QLatin1Char(' '))));
    QCOMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).size(), 0);
    question->done(ConnUi::Dialog::Yes);

    QTRY_COMPARE(read.accepted.size(), 1);
    QCOMPARE(read.rejected.size(), 0);
    QTRY_COMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).size(), 1);
    QCOMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).first().args,
             (QVariantList {QStringLiteral("+358401234567"), QStringLiteral("Hello there")}));
    QCOMPARE(m_handlers->opened(QStringLiteral("sms")), QStringList());
}

void tst_PhoneFlows::smsTagInFlightModeIsNotSentAfterNo()
{
    QVERIFY(OfonoControl::setOnline(*m_ofono, false));
    RecordingDialogServer server;
    TagRead read(&server, uriMessage(0x00, "sms:+358401234567?body=Hello"));
    acceptWithDirectAction(server);
    auto* question = waitForDialog<ConnUi::MessageBox>(server);
    QVERIFY(question);
    question->done(ConnUi::Dialog::No);

    QTRY_COMPARE(read.rejected.size(), 1);
    QTest::qWait(200);
    QCOMPARE(OfonoControl::callsOf(*m_ofono, QStringLiteral("SendMessage")).size(), 0);
}

QTEST_GUILESS_MAIN(tst_PhoneFlows)
#include "tst_phoneflows.moc"
