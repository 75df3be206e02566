// NfcAdapter against nfcui-daemon on the private system bus: validity as the daemon starts, stops and
// restarts, the confirmation setting and its changes, and the agent's registration.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcess>

#include <csignal>

#include "nfcadapter.h"
#include "nfcagent.h"
#include "nfcdnames.h"
#include "nfcdtestsupport.h"

namespace {

bool setConfirmation(bool enabled)
{
    QDBusMessage message = QDBusMessage::createMethodCall(QLatin1String(Nfcd::ServiceName),
                                                          QLatin1String(Nfcd::DefaultAdapterPath),
                                                          QLatin1String(Nfcd::AdapterInterface),
                                                          QStringLiteral("SetProperty"));
    message << QLatin1String(Nfcd::ConfirmationEnabledProperty) << QVariant::fromValue(QDBusVariant(enabled));
    // Asked from a connection of its own, so that this process's main connection stays free.
    QDBusConnection settings = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("settings"));
    const QDBusMessage reply = settings.call(message);
    return reply.type() == QDBusMessage::ReplyMessage;
}

} // namespace

class tst_NfcAdapter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus");
    }

    void invalidWithoutDaemon()
    {
        QVERIFY(!daemonNameOwned());
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QVERIFY(!adapter->isValid());
        QVERIFY(adapter->isConfirmationEnabled());
    }

    void validWhenTheDaemonRunsAtCreation()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QVERIFY(adapter->isValid());
        QVERIFY(adapter->isConfirmationEnabled());
    }

    void confirmationOffWhenTheDaemonSaysSo()
    {
        DaemonProcess daemon({QStringLiteral("--no-confirmation")});
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QVERIFY(adapter->isValid());
        QVERIFY(!adapter->isConfirmationEnabled());
    }

    void confirmationFollowsPropertyChanged()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QVERIFY(adapter->isConfirmationEnabled());
        QVERIFY(setConfirmation(false));
        QTRY_VERIFY(!adapter->isConfirmationEnabled());
        QVERIFY(setConfirmation(true));
        QTRY_VERIFY(adapter->isConfirmationEnabled());
        QDBusConnection::disconnectFromBus(QStringLiteral("settings"));
    }

    void becomesValidWhenTheDaemonStartsAndInvalidWhenItStops()
    {
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QSignalSpy valid(adapter.get(), SIGNAL(adapterValid()));
        QSignalSpy invalid(adapter.get(), SIGNAL(adapterInvalid()));
        QVERIFY(!adapter->isValid());

        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        QTRY_COMPARE(valid.count(), 1);
        QVERIFY(adapter->isValid());
        QCOMPARE(invalid.count(), 0);

        QVERIFY(daemon.stop());
        QTRY_COMPARE(invalid.count(), 1);
        QVERIFY(!adapter->isValid());

        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        QTRY_COMPARE(valid.count(), 2);
        QVERIFY(adapter->isValid());
        QCOMPARE(invalid.count(), 1);
    }

    void aKilledDaemonMakesTheAdapterInvalid()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QSignalSpy invalid(adapter.get(), SIGNAL(adapterInvalid()));
        daemon.kill();
        QTRY_COMPARE(invalid.count(), 1);
        QVERIFY(!adapter->isValid());
    }

    void aDaemonStoppedAtCreationIsTakenOnceItAnswers()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        const pid_t pid = pid_t(daemon.process()->processId());
        QCOMPARE(::kill(pid, SIGSTOP), 0);
        QTest::ignoreMessage(QtWarningMsg, "NfcAdapter: the NFC daemon did not name its default adapter within "
                                           "5000 ms; asking again without waiting");
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QSignalSpy valid(adapter.get(), SIGNAL(adapterValid()));
        QVERIFY(!adapter->isValid());
        QCOMPARE(::kill(pid, SIGCONT), 0);
        QTRY_COMPARE(valid.count(), 1);
        QVERIFY(adapter->isValid());
        QVERIFY(adapter->isConfirmationEnabled());
    }

    void confirmationIsReadAgainAfterARestart()
    {
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QSignalSpy valid(adapter.get(), SIGNAL(adapterValid()));
        DaemonProcess daemon({QStringLiteral("--no-confirmation")});
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        QTRY_COMPARE(valid.count(), 1);
        QVERIFY(!adapter->isConfirmationEnabled());
        QVERIFY(daemon.stop());
        QTRY_VERIFY(!adapter->isValid());
        QVERIFY(adapter->isConfirmationEnabled());
    }

    void everyDefaultAdapterIsAnIndependentObject()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> first(NfcAdapter::defaultAdapter());
        std::unique_ptr<NfcAdapter> second(NfcAdapter::defaultAdapter());
        QVERIFY(first.get() != second.get());
        QSignalSpy invalid(second.get(), SIGNAL(adapterInvalid()));
        first.reset();
        QVERIFY(second->isValid());
        QVERIFY(daemon.stop());
        QTRY_COMPARE(invalid.count(), 1);
    }

    void anAgentRegisteredWhileTheDaemonIsStoppedIsRegisteredOnceItAnswers()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        QVERIFY(adapter->isValid());
        const pid_t pid = pid_t(daemon.process()->processId());
        QCOMPARE(::kill(pid, SIGSTOP), 0);
        NfcAgent agent;
        QTest::ignoreMessage(QtWarningMsg, "NfcAdapter: RegisterUIAgent got no answer within 5000 ms; asking again");
        adapter->registerAgent(&agent);
        // The first call runs out its time; the one asked again is answered once the daemon goes on.
        QTest::qWait(5600);
        QCOMPARE(::kill(pid, SIGCONT), 0);
        QTRY_VERIFY(daemon.output().contains(QLatin1String("UI agent")));
        QSignalSpy touches(&agent, SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, &out), 0);
        QCOMPARE(touches.count(), 1);
    }

    void registerAgentMakesTheAgentTheOneTheDaemonCalls()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        NfcAgent agent;
        QSignalSpy touches(&agent, SIGNAL(notifyTouch(QDBusObjectPath, int)));
        adapter->registerAgent(&agent);
        QTRY_VERIFY(daemon.output().contains(QLatin1String("UI agent")));
        QByteArray out;
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--unreadable")}, &out), 0);
        QCOMPARE(touches.count(), 1);
        QCOMPARE(touches.at(0).at(1).toInt(), 1);
        QVERIFY(out.startsWith("granted /com/orvan/nfc/adapter0/tag"));
    }

    void unregisterAgentStopsTheDaemonCallingIt()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        NfcAgent agent;
        adapter->registerAgent(&agent);
        QTRY_VERIFY(daemon.output().contains(QLatin1String("registered")));
        adapter->unregisterAgent(&agent);
        QTRY_VERIFY(daemon.output().contains(QLatin1String("unregistered")));
        QCOMPARE(runSim({QStringLiteral("touch"), QStringLiteral("--unreadable")}), 2);
    }

    void unregisterAgentCancelsTheCallsItWaitsOn()
    {
        DaemonProcess daemon;
        QVERIFY2(daemon.start(), qPrintable(daemon.error()));
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        NfcAgent agent;
        QSignalSpy deliveries(&agent, SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        adapter->registerAgent(&agent);
        QTRY_VERIFY(daemon.output().contains(QLatin1String("registered")));
        QProcess sim;
        sim.start(QStringLiteral(NFCUI_SIM_PROGRAM), {QStringLiteral("touch"), QStringLiteral("--text"), QStringLiteral("x")});
        QTRY_COMPARE(deliveries.count(), 1);
        adapter->unregisterAgent(&agent);
        QTRY_COMPARE(sim.state(), QProcess::NotRunning);
        QCOMPARE(sim.exitCode(), 4);
        QVERIFY(sim.readAllStandardOutput().startsWith("error com.orvan.nfc.UIAgent.Canceled"));
    }

    void registerAgentWithoutAdapterWarns()
    {
        std::unique_ptr<NfcAdapter> adapter(NfcAdapter::defaultAdapter());
        NfcAgent agent;
        QTest::ignoreMessage(QtWarningMsg, "NfcAdapter: RegisterUIAgent while there is no adapter");
        adapter->registerAgent(&agent);
    }
};

QTEST_GUILESS_MAIN(tst_NfcAdapter)
#include "tst_nfcadapter.moc"
