// End to end from a virtual tag: a private pcscd with virtual readers, nfcui-daemon --pcsc on the private
// system bus, and the built plugin loaded into a dialog server that answers every dialog at once. Checks
// the calls the daemon makes to the plugin's agent and the replies it gets, from its log.
#include "privatepcscd.h"
#include "tagimages.h"
#include "virtualtag.h"

#include "hostedplugin.h"
#include "nfcdtestsupport.h"

#include <QRegularExpression>
#include <QtTest>

using namespace TagImages;

namespace {

const QString Target = QStringLiteral("/com/orvan/nfc/adapter0/tag0");

} // namespace

class tst_PcscDaemon : public QObject
{
    Q_OBJECT

private:
    PrivatePcscd m_pcscd;
    std::unique_ptr<DaemonProcess> m_daemon;
    std::unique_ptr<HostedPlugin> m_plugin;

    // Starts nfcui-daemon with the arguments and loads the plugin into a server answering every dialog.
    void startDaemonAndPlugin(const QStringList& arguments, Host::AnswerPresenter::Answer answer)
    {
        m_daemon = std::make_unique<DaemonProcess>(arguments);
        QVERIFY2(m_daemon->start(), qPrintable(m_daemon->error()));
        m_plugin = std::make_unique<HostedPlugin>(answer);
        QString error;
        QVERIFY2(m_plugin->load(QStringLiteral(NFCUI_PLUGIN_FILE), &error), qPrintable(error));
        QTRY_VERIFY2(m_daemon->output().contains(QLatin1String("UI agent")), qPrintable(m_daemon->output()));
    }

    QStringList daemonLines(const QString& pattern) const
    {
        return m_daemon->output().split(QLatin1Char('\n')).filter(QRegularExpression(pattern));
    }

    void touch(VirtualTag& tag)
    {
        QString error;
        QVERIFY2(tag.putOn(m_pcscd.port(0), &error), qPrintable(error));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus");
        // A browser for web links, in this test's own XDG data directory.
        const QString browserError = HostedPlugin::installTestBrowser();
        QVERIFY2(browserError.isEmpty(), qPrintable(browserError));
        // Sets PCSCLITE_CSOCK_NAME, which the daemon inherits.
        QString error;
        QVERIFY2(m_pcscd.start(&error), qPrintable(error));
    }

    void init()
    {
        QString error;
        QVERIFY2(m_pcscd.start(&error), qPrintable(error));
    }

    void cleanup()
    {
        m_plugin.reset();
        if (m_daemon)
            QVERIFY(m_daemon->stop());
        m_daemon.reset();
        QVERIFY(m_pcscd.waitUntilEmpty(5000));
    }

    void aWebLinkTagAcceptedIsDeliveredAndGranted()
    {
        startDaemonAndPlugin({QStringLiteral("--pcsc")}, Host::AnswerPresenter::Ok);
        const QByteArray message = uriMessage("example.com/pcsc", 0x03); // http://
        VirtualTag tag(VirtualTag::type2(ntag213(message), defaultUid()));
        touch(tag);

        QTRY_COMPARE_WITH_TIMEOUT(daemonLines(QStringLiteral("reply DataDeliveryRequested\\(.*\\): ok$")).size(), 1,
                                  15000);
        QCOMPARE(daemonLines(QStringLiteral("call NotifyTouch\\(%1, 0\\)$").arg(Target)).size(), 1);
        QCOMPARE(daemonLines(QStringLiteral("call DataDeliveryRequested\\(0 handlers, %1, %2 bytes\\)$")
                                 .arg(Target)
                                 .arg(message.size()))
                     .size(),
                 1);
        QCOMPARE(m_plugin->shownDialogs(), QStringList {QStringLiteral("NfcTagReadPermissionDialog")});
    }

    void aWebLinkTagDeclinedIsRejected()
    {
        startDaemonAndPlugin({QStringLiteral("--pcsc")}, Host::AnswerPresenter::Cancel);
        VirtualTag tag(VirtualTag::type4(type4CapabilityContainer(0x20),
                                         type4NdefFile(uriMessage("example.com/t4", 0x03)),
                                         QByteArray::fromHex("08123456")));
        touch(tag);

        QTRY_COMPARE_WITH_TIMEOUT(
            daemonLines(QStringLiteral("reply DataDeliveryRequested\\(.*\\): com.orvan.nfc.UIAgent.Rejected")).size(),
            1, 15000);
    }

    void aTagWithoutNdefIsOnlyATouchThatCannotBeRead()
    {
        startDaemonAndPlugin({QStringLiteral("--pcsc")}, Host::AnswerPresenter::Ok);
        VirtualTag tag(VirtualTag::type2(type2Image(48, QByteArray(), QByteArray::fromHex("00000000")), defaultUid()));
        touch(tag);

        QTRY_COMPARE_WITH_TIMEOUT(daemonLines(QStringLiteral("call NotifyTouch\\(%1, 1\\)$").arg(Target)).size(), 1,
                                  15000);
        QTest::qWait(1000);
        QCOMPARE(daemonLines(QStringLiteral("call DataDeliveryRequested")).size(), 0);
        QCOMPARE(daemonLines(QStringLiteral("holds no NDEF message: the capability container is not NFC Forum")).size(),
                 1);
    }

    void anEmptyTagIsDeliveredAsAnEmptyMessage()
    {
        startDaemonAndPlugin({QStringLiteral("--pcsc")}, Host::AnswerPresenter::Ok);
        VirtualTag tag(VirtualTag::type2(ultralight(QByteArray()), defaultUid()));
        touch(tag);

        QTRY_COMPARE_WITH_TIMEOUT(
            daemonLines(QStringLiteral("call DataDeliveryRequested\\(0 handlers, %1, 0 bytes\\)$").arg(Target)).size(),
            1, 15000);
        QCOMPARE(daemonLines(QStringLiteral("call NotifyTouch\\(%1, 0\\)$").arg(Target)).size(), 1);
    }

    void aTagLeftOnTheReaderIsDeliveredOnce()
    {
        startDaemonAndPlugin({QStringLiteral("--pcsc")}, Host::AnswerPresenter::Ok);
        VirtualTag tag(VirtualTag::type2(ntag216(messageOfSize(868)), defaultUid()));
        touch(tag);

        QTRY_COMPARE_WITH_TIMEOUT(daemonLines(QStringLiteral("call DataDeliveryRequested\\(.*, 868 bytes\\)$")).size(),
                                  1, 15000);
        QTest::qWait(2500);
        QCOMPARE(daemonLines(QStringLiteral("call NotifyTouch")).size(), 1);
        QCOMPARE(daemonLines(QStringLiteral("call DataDeliveryRequested")).size(), 1);
    }

    void theDaemonWaitsForPcscdAndReadsTagsOnceItIsThere()
    {
        m_pcscd.stop();
        startDaemonAndPlugin({QStringLiteral("--pcsc")}, Host::AnswerPresenter::Ok);
        QTRY_COMPARE_WITH_TIMEOUT(daemonLines(QStringLiteral("pcscd is not reachable")).size(), 1, 10000);

        QString error;
        QVERIFY2(m_pcscd.start(&error), qPrintable(error));
        QTRY_COMPARE_WITH_TIMEOUT(daemonLines(QStringLiteral("Reader added")).size(), PrivatePcscd::ReaderCount, 10000);
        VirtualTag tag(VirtualTag::type2(ultralight(uriMessage("example.com", 0x03)), defaultUid()));
        touch(tag);
        QTRY_COMPARE_WITH_TIMEOUT(daemonLines(QStringLiteral("reply DataDeliveryRequested\\(.*\\): ok$")).size(), 1,
                                  15000);
        QCOMPARE(daemonLines(QStringLiteral("pcscd is not reachable")).size(), 1);
    }

    void withoutASourceNamedTheDaemonReadsPcscWhenPcscdAnswers()
    {
        startDaemonAndPlugin({}, Host::AnswerPresenter::Ok);
        VirtualTag tag(VirtualTag::type2(ultralight(uriMessage("example.com", 0x03)), defaultUid()));
        touch(tag);
        QTRY_COMPARE_WITH_TIMEOUT(daemonLines(QStringLiteral("reply DataDeliveryRequested\\(.*\\): ok$")).size(), 1,
                                  15000);
    }
};

QTEST_GUILESS_MAIN(tst_PcscDaemon)
#include "tst_pcscdaemon.moc"
