// nfcui-daemon as a process on the private system bus, with this test's NfcAgent as its UI agent and
// its simulator driven over the bus: the call sequence per touch, handover records, superseded reads,
// the agent and application registries, the adapter's properties, bad input and the command line.
#include <QtTest>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>

#include "ndefwriter.h"
#include "nfcagent.h"
#include "nfcdnames.h"
#include "nfcdsimulatorproxy.h"
#include "nfcdtestsupport.h"
#include "testbusdaemon.h"
#include "testtimeouts.h"

namespace {

// A bare agent on a connection of its own: it records Release and NotifyTouch, and never answers a
// delivery, so that a test can make it vanish in the middle of a call.
class BareAgent : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvan.nfc.UIAgent")
public:
    int releases = 0;
    int touches = 0;
    int deliveries = 0;

public Q_SLOTS:
    Q_SCRIPTABLE void Release() { ++releases; }
    Q_SCRIPTABLE void NotifyTouch(const QDBusObjectPath&, int) { ++touches; }
    Q_SCRIPTABLE void DataDeliveryRequested(const NdefMessageHandlerList&, const QDBusObjectPath&, const QByteArray&)
    {
        ++deliveries;
        setDelayedReply(true);
    }
};

// An OOB record's payload: length, the address least significant byte first, then EIR structures.
QByteArray oobPayload(const QByteArray& eir)
{
    QByteArray payload;
    const int length = 8 + eir.size();
    payload.append(char(length & 0xff)).append(char(length >> 8));
    payload.append(QByteArray::fromHex("554433221100"));
    payload.append(eir);
    return payload;
}

QByteArray eirName(const QByteArray& name)
{
    return QByteArray(1, char(name.size() + 1)) + '\x09' + name;
}

const QByteArray EirClassOfDevice = QByteArray::fromHex("040d040424"); // 0x240404
const QByteArray UriMessage = NdefWriter::message({NdefWriter::uri(QStringLiteral("http://example.com"))});

} // namespace

class tst_NfcuiDaemon : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DaemonProcess> daemon;
    std::unique_ptr<NfcAgent> agent;
    std::unique_ptr<NfcdSimulatorProxy> simulator;

    bool registerAgent()
    {
        const QDBusMessage reply = QDBusConnection::systemBus().call(
            adapterCall(QStringLiteral("RegisterUIAgent"), {QVariant::fromValue(agent->objectPath())}));
        return reply.type() == QDBusMessage::ReplyMessage;
    }

    QDBusPendingCall touch(const QByteArray& data, const QStringList& handlers = {},
                           const QStringList& foreground = {})
    {
        return simulator->TouchTag(data, handlers, foreground);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus");
        ConnUi::registerNdefMessageHandlerTypes();
    }

    void init()
    {
        daemon = std::make_unique<DaemonProcess>(QStringList{QStringLiteral("--simulator")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        agent = std::make_unique<NfcAgent>();
        simulator = std::make_unique<NfcdSimulatorProxy>(QLatin1String(Nfcd::ServiceName),
                                                         QLatin1String(Nfcd::SimulatorPath),
                                                         QDBusConnection::systemBus());
    }

    void cleanup()
    {
        simulator.reset();
        agent.reset();
        if (daemon)
            QVERIFY(daemon->stop());
        daemon.reset();
    }

    void defaultAdapterIsAdapterZero()
    {
        const QDBusMessage reply = QDBusConnection::systemBus().call(managerCall(QStringLiteral("DefaultAdapter")));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(reply.arguments().at(0).value<QDBusObjectPath>().path(), QStringLiteral("/com/orvan/nfc/adapter0"));
    }

    void adapterPropertiesArePoweredAndConfirmationEnabled()
    {
        const QDBusMessage reply = QDBusConnection::systemBus().call(adapterCall(QStringLiteral("GetProperties")));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        const QVariantMap properties = qdbus_cast<QVariantMap>(reply.arguments().at(0));
        QCOMPARE(properties.value(QStringLiteral("Powered")), QVariant(true));
        QCOMPARE(properties.value(QStringLiteral("ConfirmationEnabled")), QVariant(true));
    }

    void setPropertyChangesConfirmationAndEmitsPropertyChanged()
    {
        QSignalSpy changed(this, SIGNAL(propertyChanged(QString, QDBusVariant)));
        QVERIFY(QDBusConnection::systemBus().connect(QLatin1String(Nfcd::ServiceName),
                                                     QLatin1String(Nfcd::DefaultAdapterPath),
                                                     QLatin1String(Nfcd::AdapterInterface),
                                                     QStringLiteral("PropertyChanged"), this,
                                                     SIGNAL(propertyChanged(QString, QDBusVariant))));
        QDBusMessage reply = QDBusConnection::systemBus().call(adapterCall(
            QStringLiteral("SetProperty"),
            {QStringLiteral("ConfirmationEnabled"), QVariant::fromValue(QDBusVariant(false))}));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QTRY_COMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).toString(), QStringLiteral("ConfirmationEnabled"));
        QCOMPARE(changed.at(0).at(1).value<QDBusVariant>().variant(), QVariant(false));
        reply = QDBusConnection::systemBus().call(adapterCall(QStringLiteral("GetProperties")));
        QCOMPARE(qdbus_cast<QVariantMap>(reply.arguments().at(0)).value(QStringLiteral("ConfirmationEnabled")),
                 QVariant(false));
    }

    void setPropertyRefusesPoweredUnknownNamesAndWrongTypes()
    {
        QDBusMessage reply = QDBusConnection::systemBus().call(
            adapterCall(QStringLiteral("SetProperty"), {QStringLiteral("Powered"), QVariant::fromValue(QDBusVariant(false))}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.ReadOnly"));
        reply = QDBusConnection::systemBus().call(
            adapterCall(QStringLiteral("SetProperty"), {QStringLiteral("Colour"), QVariant::fromValue(QDBusVariant(1))}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.InvalidArguments"));
        reply = QDBusConnection::systemBus().call(adapterCall(
            QStringLiteral("SetProperty"),
            {QStringLiteral("ConfirmationEnabled"), QVariant::fromValue(QDBusVariant(QStringLiteral("no")))}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.InvalidArguments"));
    }

    void noConfirmationStartsWithConfirmationOff()
    {
        QVERIFY(daemon->stop());
        daemon = std::make_unique<DaemonProcess>(QStringList{QStringLiteral("--no-confirmation")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        const QDBusMessage reply = QDBusConnection::systemBus().call(adapterCall(QStringLiteral("GetProperties")));
        QCOMPARE(qdbus_cast<QVariantMap>(reply.arguments().at(0)).value(QStringLiteral("ConfirmationEnabled")),
                 QVariant(false));
    }

    void withoutAgentASimulatorCallFailsAtOnceWithNoAgent()
    {
        QDBusPendingCall call = touch(UriMessage);
        QVERIFY(finishes(call, 2000));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.Error.NoAgent"));
    }

    void aTouchIsNotifyTouchThenDataDeliveryWithTheRegisteredApplications()
    {
        QDBusConnection application = strangerConnection(QStringLiteral("application"));
        QCOMPARE(application.call(managerCall(QStringLiteral("RegisterNdefHandler"),
                                              {QStringLiteral("reader"),
                                               QVariant::fromValue(QDBusObjectPath(QStringLiteral("/reader")))}))
                     .type(),
                 QDBusMessage::ReplyMessage);
        QCOMPARE(application.call(managerCall(QStringLiteral("SetForeground"),
                                              {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/reader"))), true}))
                     .type(),
                 QDBusMessage::ReplyMessage);
        QVERIFY(registerAgent());

        QList<QString> order;
        connect(agent.get(), &NfcAgent::notifyTouch, this, [&order] { order << QStringLiteral("touch"); });
        connect(agent.get(), &NfcAgent::dataDeliveryRequested, this, [&order] { order << QStringLiteral("delivery"); });
        QSignalSpy touches(agent.get(), SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusPendingCall call = touch(UriMessage);
        QTRY_COMPARE(deliveries.count(), 1);
        QCOMPARE(order, (QList<QString>{QStringLiteral("touch"), QStringLiteral("delivery")}));
        const QDBusObjectPath target = touches.at(0).at(0).value<QDBusObjectPath>();
        QCOMPARE(target.path(), QStringLiteral("/com/orvan/nfc/adapter0/tag0"));
        QCOMPARE(touches.at(0).at(1).toInt(), 0);
        QCOMPARE(deliveries.at(0).at(1).value<QDBusObjectPath>(), target);
        QCOMPARE(deliveries.at(0).at(2).toByteArray(), UriMessage);
        const NdefMessageHandlerList handlers = deliveries.at(0).at(0).value<NdefMessageHandlerList>();
        QCOMPARE(handlers.size(), 1);
        QCOMPARE(handlers.at(0).applicationId(), QStringLiteral("reader"));
        QCOMPARE(handlers.at(0).service(), application.baseService());
        QCOMPARE(handlers.at(0).path().path(), QStringLiteral("/reader"));
        QVERIFY(handlers.at(0).isRunningOnForeground());

        agent->dataDeliveryGranted(target);
        QVERIFY(finishes(call));
        QVERIFY2(!call.isError(), qPrintable(call.error().message()));
        QDBusPendingReply<QDBusObjectPath> reply = call;
        QCOMPARE(reply.value(), target);
        QDBusConnection::disconnectFromBus(QStringLiteral("application"));
    }

    void theAgentsRefusalIsTheSimulatorsAnswer()
    {
        QVERIFY(registerAgent());
        connect(agent.get(), &NfcAgent::dataDeliveryRequested, agent.get(),
                [this](const NdefMessageHandlerList&, const QDBusObjectPath& target) { agent->rejectDevice(target); });
        QDBusPendingCall call = touch(UriMessage);
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
        QTRY_VERIFY(daemon->output().contains(QLatin1String("reply DataDeliveryRequested")));
    }

    void aHandlerListInTheCallReplacesTheRegisteredApplications()
    {
        QDBusConnection application = strangerConnection(QStringLiteral("application2"));
        application.call(managerCall(QStringLiteral("RegisterNdefHandler"),
                                     {QStringLiteral("registered"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/r")))}));
        application.call(managerCall(QStringLiteral("RegisterNdefHandler"),
                                     {QStringLiteral("chosen"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/c")))}));
        QVERIFY(registerAgent());
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusPendingCall call = touch(UriMessage, {QStringLiteral("chosen"), QStringLiteral("other")},
                                      {QStringLiteral("other")});
        QTRY_COMPARE(deliveries.count(), 1);
        const NdefMessageHandlerList handlers = deliveries.at(0).at(0).value<NdefMessageHandlerList>();
        QCOMPARE(handlers.size(), 2);
        QCOMPARE(handlers.at(0).applicationId(), QStringLiteral("chosen"));
        QCOMPARE(handlers.at(0).service(), application.baseService());
        QCOMPARE(handlers.at(0).path().path(), QStringLiteral("/c"));
        QVERIFY(!handlers.at(0).isRunningOnForeground());
        QCOMPARE(handlers.at(1).applicationId(), QStringLiteral("other"));
        QVERIFY(handlers.at(1).isRunningOnForeground());
        agent->dataDeliveryGranted(deliveries.at(0).at(1).value<QDBusObjectPath>());
        QVERIFY(finishes(call));
        QDBusConnection::disconnectFromBus(QStringLiteral("application2"));
    }

    void anUnreadableTagIsNotifyTouchWithStatusOneOnly()
    {
        QVERIFY(registerAgent());
        QSignalSpy touches(agent.get(), SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusPendingCall call = simulator->TouchUnreadableTag();
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
        QTRY_COMPARE(touches.count(), 1);
        QCOMPARE(touches.at(0).at(1).toInt(), 1);
        QTest::qWait(100);
        QCOMPARE(deliveries.count(), 0);
    }

    void everyTouchGetsANewTargetPath()
    {
        QVERIFY(registerAgent());
        QStringList targets;
        for (int i = 0; i < 3; ++i) {
            QDBusPendingReply<QDBusObjectPath> call = simulator->TouchUnreadableTag();
            QVERIFY(finishes(call));
            targets << call.value().path();
        }
        QDBusPendingReply<QDBusObjectPath> device = simulator->RequestConnection(QStringLiteral("00:11:22:33:44:55"),
                                                                                 QStringLiteral("Headset"), 0);
        connect(agent.get(), &NfcAgent::btConnectionRequested, agent.get(),
                [this](const QDBusObjectPath& target) { agent->btConnectionRequestGranted(target); });
        QVERIFY(finishes(device));
        targets << device.value().path();
        QCOMPARE(targets, (QStringList{QStringLiteral("/com/orvan/nfc/adapter0/tag0"),
                                       QStringLiteral("/com/orvan/nfc/adapter0/tag1"),
                                       QStringLiteral("/com/orvan/nfc/adapter0/tag2"),
                                       QStringLiteral("/com/orvan/nfc/adapter0/device0")}));
    }

    void aBluetoothOobRecordBecomesAPairingRequest()
    {
        QVERIFY(registerAgent());
        QSignalSpy pairings(agent.get(), SIGNAL(btPairingRequested(QDBusObjectPath, QString, QString, uint, QString)));
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        const QByteArray message = NdefWriter::message(
            {NdefWriter::mime("application/vnd.bluetooth.ep.oob", oobPayload(eirName("Headset") + EirClassOfDevice))});
        QDBusPendingCall call = touch(message);
        QTRY_COMPARE(pairings.count(), 1);
        QCOMPARE(pairings.at(0).at(1).toString(), QStringLiteral("00:11:22:33:44:55"));
        QCOMPARE(pairings.at(0).at(2).toString(), QStringLiteral("Headset"));
        QCOMPARE(pairings.at(0).at(3).toUInt(), uint(0x240404));
        QCOMPARE(pairings.at(0).at(4).toString(), QString());
        QCOMPARE(deliveries.count(), 0);
        agent->btPairingRequestGranted(pairings.at(0).at(0).value<QDBusObjectPath>());
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
    }

    void aHandoverSelectCarryingAnOobRecordBecomesAPairingRequest()
    {
        QVERIFY(registerAgent());
        QSignalSpy pairings(agent.get(), SIGNAL(btPairingRequested(QDBusObjectPath, QString, QString, uint, QString)));
        const QByteArray message = NdefWriter::message(
            {NdefWriter::raw(1, "Hs", QByteArray::fromHex("12")),
             NdefWriter::mime("application/vnd.bluetooth.ep.oob", oobPayload(eirName("Speaker")))});
        QDBusPendingCall call = touch(message);
        QTRY_COMPARE(pairings.count(), 1);
        QCOMPARE(pairings.at(0).at(1).toString(), QStringLiteral("00:11:22:33:44:55"));
        QCOMPARE(pairings.at(0).at(2).toString(), QStringLiteral("Speaker"));
        QCOMPARE(pairings.at(0).at(3).toUInt(), uint(0));
        agent->replyError(pairings.at(0).at(0).value<QDBusObjectPath>(), QStringLiteral("com.orvan.nfc.UIAgent.Failed"));
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Failed"));
    }

    void aMalformedOobRecordIsLoggedAndDeliveredAsPlainData()
    {
        QVERIFY(registerAgent());
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QByteArray payload = oobPayload(eirName("Headset"));
        payload[0] = char(payload.size() + 5); // a length that does not match
        const QByteArray message = NdefWriter::message({NdefWriter::mime("application/vnd.bluetooth.ep.oob", payload)});
        QDBusPendingCall call = touch(message);
        QTRY_COMPARE(deliveries.count(), 1);
        QCOMPARE(deliveries.at(0).at(2).toByteArray(), message);
        QTRY_VERIFY(daemon->output().contains(QLatin1String("malformed Bluetooth handover")));
        agent->dataDeliveryGranted(deliveries.at(0).at(1).value<QDBusObjectPath>());
        QVERIFY(finishes(call));
    }

    void bytesThatAreNotNdefAreDeliveredAndTheDaemonKeepsRunning()
    {
        QVERIFY(registerAgent());
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusPendingCall call = touch(QByteArray("\xff\x00garbage", 9));
        QTRY_COMPARE(deliveries.count(), 1);
        agent->rejectDevice(deliveries.at(0).at(1).value<QDBusObjectPath>());
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
        QCOMPARE(daemon->process()->state(), QProcess::Running);
        QVERIFY(daemon->output().contains(QLatin1String("the 9 bytes are not an NDEF message")));
    }

    void aNewerTouchSupersedesTheTagRead()
    {
        QVERIFY(registerAgent());
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusPendingCall first = touch(UriMessage);
        QTRY_COMPARE(deliveries.count(), 1);
        QDBusPendingCall second = touch(UriMessage);
        QVERIFY(finishes(first));
        QCOMPARE(first.error().name(), QStringLiteral("com.orvan.nfc.Error.Superseded"));
        QTRY_VERIFY(daemon->output().contains(QLatin1String("superseded DataDeliveryRequested")));
        QTRY_COMPARE(deliveries.count(), 2);
        agent->dataDeliveryGranted(deliveries.at(1).at(1).value<QDBusObjectPath>());
        QVERIFY(finishes(second));
        QVERIFY(!second.isError());
    }

    void aSharingRequestSupersedesTheTagRead()
    {
        QVERIFY(registerAgent());
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QSignalSpy sharing(agent.get(), SIGNAL(sharingSelectionRequested(QString, QVariant)));
        QDBusPendingCall read = touch(UriMessage);
        QTRY_COMPARE(deliveries.count(), 1);
        QDBusPendingCall share = simulator->RequestSharingSelection(QStringLiteral("bluetooth"),
                                                                    QDBusVariant(QStringLiteral("s1")));
        QVERIFY(finishes(read));
        QCOMPARE(read.error().name(), QStringLiteral("com.orvan.nfc.Error.Superseded"));
        QTRY_COMPARE(sharing.count(), 1);
        QCOMPARE(sharing.at(0).at(1), QVariant(QStringLiteral("s1")));
        agent->acceptSharing(sharing.at(0).at(1));
        QVERIFY(finishes(share));
        QVERIFY(!share.isError());
    }

    void sharingPermissionCarriesTheResourcesAndInfo()
    {
        QVERIFY(registerAgent());
        QSignalSpy sharing(agent.get(), SIGNAL(sharingPermissionRequested(QString, QVariant, QStringList)));
        QDBusPendingCall call = simulator->RequestSharingPermission(QStringLiteral("bluetooth"),
                                                                    QDBusVariant(QStringLiteral("p1")),
                                                                    {QStringLiteral("a.jpg"), QStringLiteral("b.jpg")});
        QTRY_COMPARE(sharing.count(), 1);
        QCOMPARE(sharing.at(0).at(0).toString(), QStringLiteral("bluetooth"));
        QCOMPARE(sharing.at(0).at(2).toStringList(), (QStringList{QStringLiteral("a.jpg"), QStringLiteral("b.jpg")}));
        agent->rejectSharing(sharing.at(0).at(1));
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
    }

    void pairingConnectionAndDisconnectionReachTheAgent()
    {
        QVERIFY(registerAgent());
        QSignalSpy pairings(agent.get(), SIGNAL(btPairingRequested(QDBusObjectPath, QString, QString, uint, QString)));
        QSignalSpy disconnections(agent.get(), SIGNAL(btDisconnectionRequested(QDBusObjectPath, QString, QString, uint)));
        QDBusPendingCall pairing = simulator->RequestPairing(QStringLiteral("AA:BB:CC:DD:EE:FF"), QStringLiteral("Car"),
                                                             0x200404, QStringLiteral("1234"));
        QDBusPendingCall disconnection = simulator->RequestDisconnection(QStringLiteral("AA:BB:CC:DD:EE:FF"),
                                                                         QStringLiteral("Car"), 0x200404);
        QTRY_COMPARE(pairings.count(), 1);
        QTRY_COMPARE(disconnections.count(), 1);
        QCOMPARE(pairings.at(0).mid(1), (QVariantList{QStringLiteral("AA:BB:CC:DD:EE:FF"), QStringLiteral("Car"),
                                                      uint(0x200404), QStringLiteral("1234")}));
        agent->btDisconnectionRequestGranted(disconnections.at(0).at(0).value<QDBusObjectPath>());
        agent->replyError(pairings.at(0).at(0).value<QDBusObjectPath>(), QStringLiteral("no adapter"));
        QVERIFY(finishes(pairing));
        QVERIFY(finishes(disconnection));
        QVERIFY(!disconnection.isError());
        QCOMPARE(pairing.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Failed"));
        QCOMPARE(pairing.error().message(), QStringLiteral("no adapter"));
    }

    void aBadAddressIsRefusedWithInvalidArguments()
    {
        QVERIFY(registerAgent());
        QDBusPendingCall call = simulator->RequestPairing(QStringLiteral("00:11:22"), QStringLiteral("x"), 0, QString());
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.Error.InvalidArguments"));
    }

    void aNewRegistrationReplacesTheOldAgentWhichGetsRelease()
    {
        QDBusConnection old = strangerConnection(QStringLiteral("old-agent"));
        BareAgent bare;
        QVERIFY(old.registerObject(QStringLiteral("/old"), &bare, QDBusConnection::ExportScriptableSlots));
        QCOMPARE(old.call(adapterCall(QStringLiteral("RegisterUIAgent"), {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/old")))}))
                     .type(),
                 QDBusMessage::ReplyMessage);
        QVERIFY(registerAgent());
        QTRY_COMPARE(bare.releases, 1);
        QSignalSpy touches(agent.get(), SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QDBusPendingCall call = simulator->TouchUnreadableTag();
        QVERIFY(finishes(call));
        QTRY_COMPARE(touches.count(), 1);
        QCOMPARE(bare.touches, 0);
        QDBusConnection::disconnectFromBus(QStringLiteral("old-agent"));
    }

    void anAgentWhoseConnectionLeavesIsForgotten()
    {
        {
            QDBusConnection gone = strangerConnection(QStringLiteral("gone-agent"));
            QCOMPARE(gone.call(adapterCall(QStringLiteral("RegisterUIAgent"),
                                           {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/gone")))}))
                         .type(),
                     QDBusMessage::ReplyMessage);
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("gone-agent"));
        QTRY_VERIFY(daemon->output().contains(QLatin1String("forgotten: its connection is gone")));
        QDBusPendingCall call = simulator->TouchUnreadableTag();
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.Error.NoAgent"));
    }

    void aLostSystemBusEndsTheDaemon()
    {
        // A bus of this test's own as the daemon's system bus, which the test can take away.
        TestBusDaemon bus;
        QString error;
        QVERIFY2(bus.start({QStringLiteral("--session")}, &error), qPrintable(error));
        const QString address = bus.address();
        QProcess lonely;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), address);
        lonely.setProcessEnvironment(environment);
        lonely.setProcessChannelMode(QProcess::MergedChannels);
        lonely.start(QStringLiteral(NFCUI_DAEMON_PROGRAM), {QStringLiteral("--simulator")});
        QVERIFY(lonely.waitForStarted());
        {
            const QDBusConnection watcher = QDBusConnection::connectToBus(address, QStringLiteral("lonely-bus"));
            QTRY_VERIFY_WITH_TIMEOUT(watcher.interface()->isServiceRegistered(QLatin1String(Nfcd::ServiceName)),
                                     TestTimeouts::scaled(10000));
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("lonely-bus"));
        QString output;

        bus.kill();
        QVERIFY2(lonely.waitForFinished(TestTimeouts::scaled(10000)), "the daemon runs on without its system bus");
        output += QString::fromUtf8(lonely.readAll());
        QCOMPARE(lonely.exitStatus(), QProcess::NormalExit);
        QCOMPARE(lonely.exitCode(), 1);
        QVERIFY2(output.contains(QStringLiteral("nfcui-daemon: lost the system bus; quitting")), qPrintable(output));
    }

    void unregisteringAnAgentThatIsNotRegisteredFails()
    {
        QDBusMessage reply = QDBusConnection::systemBus().call(
            adapterCall(QStringLiteral("UnregisterUIAgent"), {QVariant::fromValue(agent->objectPath())}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.NotRegistered"));
        QVERIFY(registerAgent());
        QDBusConnection other = strangerConnection(QStringLiteral("other"));
        reply = other.call(adapterCall(QStringLiteral("UnregisterUIAgent"), {QVariant::fromValue(agent->objectPath())}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.NotRegistered"));
        reply = QDBusConnection::systemBus().call(
            adapterCall(QStringLiteral("UnregisterUIAgent"), {QVariant::fromValue(agent->objectPath())}));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QDBusConnection::disconnectFromBus(QStringLiteral("other"));
    }

    void applicationsAreForgottenWhenTheirConnectionGoes()
    {
        {
            QDBusConnection application = strangerConnection(QStringLiteral("leaving"));
            application.call(managerCall(QStringLiteral("RegisterNdefHandler"),
                                         {QStringLiteral("leaving"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/l")))}));
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("leaving"));
        QTRY_VERIFY(daemon->output().contains(QLatin1String("NDEF handler \"leaving\"")
                                              + QLatin1String("")) && daemon->output().contains(QLatin1String("forgotten")));
        QVERIFY(registerAgent());
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusPendingCall call = touch(UriMessage);
        QTRY_COMPARE(deliveries.count(), 1);
        QVERIFY(deliveries.at(0).at(0).value<NdefMessageHandlerList>().isEmpty());
        agent->dataDeliveryGranted(deliveries.at(0).at(1).value<QDBusObjectPath>());
        QVERIFY(finishes(call));
    }

    void unregisteringAndForegroundOfUnknownApplicationsFail()
    {
        QDBusMessage reply = QDBusConnection::systemBus().call(managerCall(
            QStringLiteral("UnregisterNdefHandler"), {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/none")))}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.NotRegistered"));
        reply = QDBusConnection::systemBus().call(managerCall(
            QStringLiteral("SetForeground"), {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/none"))), true}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.NotRegistered"));
        reply = QDBusConnection::systemBus().call(managerCall(
            QStringLiteral("RegisterNdefHandler"), {QString(), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/x")))}));
        QCOMPARE(reply.errorName(), QStringLiteral("com.orvan.nfc.Error.InvalidArguments"));
    }

    void anApplicationIdOfMoreThan255CharactersIsRefused()
    {
        auto registerAs = [](const QString& applicationId, const QString& path) {
            return QDBusConnection::systemBus().call(managerCall(
                QStringLiteral("RegisterNdefHandler"), {applicationId, QVariant::fromValue(QDBusObjectPath(path))}));
        };
        QCOMPARE(registerAs(QString(255, QLatin1Char('a')), QStringLiteral("/longest")).type(),
                 QDBusMessage::ReplyMessage);
        const QDBusMessage refused = registerAs(QString(256, QLatin1Char('a')), QStringLiteral("/longer"));
        QCOMPARE(refused.errorName(), QStringLiteral("com.orvan.nfc.Error.InvalidArguments"));
        QCOMPARE(refused.errorMessage(), QStringLiteral("The application id is longer than 255 characters"));
    }

    void anApplicationIdWithALineBreakIsRefused()
    {
        const QDBusMessage refused = QDBusConnection::systemBus().call(
            managerCall(QStringLiteral("RegisterNdefHandler"),
                        {QStringLiteral("reader\nUI agent :1.1 /agent registered"),
                         QVariant::fromValue(QDBusObjectPath(QStringLiteral("/forged")))}));
        QCOMPARE(refused.errorName(), QStringLiteral("com.orvan.nfc.Error.InvalidArguments"));
        QCOMPARE(refused.errorMessage(), QStringLiteral("The application id has control characters"));
        QVERIFY(!daemon->output().contains(QStringLiteral("/forged")));
    }

    void aConnectionRegistersAtMost32Handlers()
    {
        QDBusConnection application = strangerConnection(QStringLiteral("application"));
        auto registerAt = [&application](int i) {
            return application.call(managerCall(
                QStringLiteral("RegisterNdefHandler"),
                {QStringLiteral("reader"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/h%1").arg(i)))}));
        };
        for (int i = 0; i < 32; ++i)
            QCOMPARE(registerAt(i).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(registerAt(32).errorName(), QStringLiteral("org.freedesktop.DBus.Error.LimitsExceeded"));
        // One already registered may still be registered again.
        QCOMPARE(registerAt(0).type(), QDBusMessage::ReplyMessage);
        // Another connection has handlers of its own.
        QCOMPARE(QDBusConnection::systemBus()
                     .call(managerCall(QStringLiteral("RegisterNdefHandler"),
                                       {QStringLiteral("other"),
                                        QVariant::fromValue(QDBusObjectPath(QStringLiteral("/other")))}))
                     .type(),
                 QDBusMessage::ReplyMessage);
        QDBusConnection::disconnectFromBus(QStringLiteral("application"));
    }

    void anAgentThatVanishesMidCallDoesNotStopTheDaemon()
    {
        BareAgent bare;
        QDBusPendingCall call = touch(QByteArray());
        QVERIFY(finishes(call));
        {
            QDBusConnection vanishing = strangerConnection(QStringLiteral("vanishing"));
            QVERIFY(vanishing.registerObject(QStringLiteral("/v"), &bare, QDBusConnection::ExportScriptableSlots));
            vanishing.call(adapterCall(QStringLiteral("RegisterUIAgent"),
                                       {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/v")))}));
            call = touch(UriMessage);
            QTRY_COMPARE(bare.deliveries, 1);
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("vanishing"));
        QVERIFY(finishes(call));
        // The bus's answer for the agent that left without replying, passed on.
        QCOMPARE(call.error().name(), QStringLiteral("org.freedesktop.DBus.Error.NoReply"));
        QCOMPARE(daemon->process()->state(), QProcess::Running);
        QDBusMessage reply = QDBusConnection::systemBus().call(managerCall(QStringLiteral("DefaultAdapter")));
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    }

    void aClientThatLeavesMidCallDoesNotStopTheDaemon()
    {
        QVERIFY(registerAgent());
        QSignalSpy deliveries(agent.get(), SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        {
            QDBusConnection client = strangerConnection(QStringLiteral("client"));
            NfcdSimulatorProxy leaving(QLatin1String(Nfcd::ServiceName), QLatin1String(Nfcd::SimulatorPath), client);
            leaving.TouchTag(UriMessage, {}, {});
            QTRY_COMPARE(deliveries.count(), 1);
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("client"));
        QTest::qWait(100);
        agent->dataDeliveryGranted(deliveries.at(0).at(1).value<QDBusObjectPath>());
        QTRY_VERIFY(daemon->output().contains(QLatin1String("reply DataDeliveryRequested")));
        QCOMPARE(daemon->process()->state(), QProcess::Running);
    }

    void everyCallAndReplyIsOneLogLine()
    {
        QVERIFY(registerAgent());
        connect(agent.get(), &NfcAgent::dataDeliveryRequested, agent.get(),
                [this](const NdefMessageHandlerList&, const QDBusObjectPath& target) { agent->dataDeliveryGranted(target); });
        QDBusPendingCall call = touch(UriMessage);
        QVERIFY(finishes(call));
        QTRY_VERIFY(daemon->output().contains(QLatin1String("reply DataDeliveryRequested")));
        QTRY_VERIFY(daemon->output().contains(QLatin1String("reply NotifyTouch")));
        const QStringList lines = daemon->output().split(QLatin1Char('\n'));
        QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^nfcui-daemon: call NotifyTouch\\(/com/orvan/nfc/adapter0/tag0, 0\\)$"))).size(), 1);
        QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^nfcui-daemon: reply NotifyTouch\\(/com/orvan/nfc/adapter0/tag0, 0\\): ok$"))).size(), 1);
        QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^nfcui-daemon: call DataDeliveryRequested\\(0 handlers, /com/orvan/nfc/adapter0/tag0, \\d+ bytes\\)$"))).size(), 1);
        QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^nfcui-daemon: reply DataDeliveryRequested\\(.*\\): ok$"))).size(), 1);
    }

    void theReplyTimeoutIsTheDaemonsOwn()
    {
        QVERIFY(daemon->stop());
        daemon = std::make_unique<DaemonProcess>(
            QStringList{QStringLiteral("--simulator"), QStringLiteral("--reply-timeout"), QStringLiteral("0.5")});
        QVERIFY2(daemon->start(), qPrintable(daemon->error()));
        QVERIFY(registerAgent());
        QDBusPendingCall call = touch(UriMessage);
        QVERIFY(finishes(call, 5000));
        QCOMPARE(call.error().name(), QStringLiteral("org.freedesktop.DBus.Error.NoReply"));
    }

    void aBadCommandLineExitsWith64()
    {
        QProcess process;
        process.start(QStringLiteral(NFCUI_DAEMON_PROGRAM), {QStringLiteral("--frobnicate")});
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 64);
        QVERIFY(process.readAllStandardError().contains("frobnicate"));
        process.start(QStringLiteral(NFCUI_DAEMON_PROGRAM), {QStringLiteral("--reply-timeout"), QStringLiteral("soon")});
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 64);
        QVERIFY(process.readAllStandardError().contains("--reply-timeout"));
    }

    void aSecondDaemonCannotTakeTheNameAndSaysSo()
    {
        QProcess process;
        process.start(QStringLiteral(NFCUI_DAEMON_PROGRAM), QStringList());
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(process.readAllStandardError().contains("cannot own com.orvan.nfc"));
    }

Q_SIGNALS:
    void propertyChanged(const QString& name, const QDBusVariant& value);
};

QTEST_GUILESS_MAIN(tst_NfcuiDaemon)
#include "tst_nfcuidaemon.moc"
