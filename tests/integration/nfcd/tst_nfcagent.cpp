// NfcAgent on the private system bus, with the test playing the NFC daemon on a connection of its own:
// every call as its signal, every reply shape, oldest-first matching, the sender and signature checks,
// and the calls canceled when nobody will answer them.
#include <QtTest>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QXmlStreamReader>

#include "nfcagent.h"
#include "nfcdnames.h"
#include "nfcdtestsupport.h"

namespace {

const QDBusObjectPath Tag(QStringLiteral("/com/orvan/nfc/adapter0/tag0"));
const QDBusObjectPath OtherTag(QStringLiteral("/com/orvan/nfc/adapter0/tag1"));
const QDBusObjectPath Device(QStringLiteral("/com/orvan/nfc/adapter0/device0"));

QVariant handlersArgument(const NdefMessageHandlerList& handlers)
{
    return QVariant::fromValue(handlers);
}

QVariantList deliveryArgs(const QDBusObjectPath& target, const QByteArray& data = QByteArray("\xd1\x01\x01U\x00", 5),
                          const NdefMessageHandlerList& handlers = NdefMessageHandlerList())
{
    return {handlersArgument(handlers), QVariant::fromValue(target), data};
}

QVariantList deviceArgs(const QDBusObjectPath& target, bool withPin)
{
    QVariantList args{QVariant::fromValue(target), QStringLiteral("00:11:22:33:44:55"), QStringLiteral("Headset"),
                      uint(0x240404)};
    if (withPin)
        args << QStringLiteral("0000");
    return args;
}

} // namespace

class tst_NfcAgent : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DaemonRole> daemon;
    std::unique_ptr<NfcAgent> agent;

    // Every signal of the agent, as (name, arguments).
    std::unique_ptr<QSignalSpy> spyFor(const char* signal)
    {
        return std::make_unique<QSignalSpy>(agent.get(), signal);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus");
        ConnUi::registerNdefMessageHandlerTypes();
    }

    void init()
    {
        daemon = std::make_unique<DaemonRole>();
        QVERIFY(daemon->ownName());
        agent = std::make_unique<NfcAgent>();
    }

    void cleanup()
    {
        agent.reset();
        daemon.reset();
        qunsetenv("NFCUI_AGENT_PENDING_LIMIT_MS");
        qunsetenv("NFCUI_AGENT_PENDING_COUNT_LIMIT");
    }

    void isExportedAtTheAgentPath()
    {
        QCOMPARE(agent->objectPath().path(), QStringLiteral("/com/orvan/nfc/ui_agent"));
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("Introspect"), {},
                                                  QStringLiteral("org.freedesktop.DBus.Introspectable"));
        QVERIFY(finishes(call));
        QVERIFY2(!call.isError(), qPrintable(call.error().message()));
    }

    void introspectionMatchesTheXml()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("Introspect"), {},
                                                  QStringLiteral("org.freedesktop.DBus.Introspectable"));
        QVERIFY(finishes(call));
        QDBusPendingReply<QString> reply = call;
        QFile file(QStringLiteral(NFCUI_DBUS_XML_DIR "/com.orvan.nfc.UIAgent.xml"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray described = file.readAll();

        // Each method and signal of the agent interface as "method Name(direction type name, ...)".
        auto methodsOf = [](const QByteArray& xml) {
            QStringList members;
            QXmlStreamReader reader(xml);
            bool inAgent = false;
            QString member;
            QStringList args;
            while (!reader.atEnd()) {
                reader.readNext();
                const QString element = reader.name().toString();
                if (reader.isStartElement()) {
                    const QXmlStreamAttributes attributes = reader.attributes();
                    if (element == QLatin1String("interface"))
                        inAgent = attributes.value(QLatin1String("name")) == QLatin1String(Nfcd::AgentInterface);
                    else if (inAgent && (element == QLatin1String("method") || element == QLatin1String("signal")))
                        member = element + QLatin1Char(' ') + attributes.value(QLatin1String("name")).toString(), args.clear();
                    else if (inAgent && element == QLatin1String("arg"))
                        args << (attributes.hasAttribute(QLatin1String("direction"))
                                     ? attributes.value(QLatin1String("direction")).toString()
                                     : QStringLiteral("in"))
                                    + QLatin1Char(' ') + attributes.value(QLatin1String("type")).toString()
                                    + QLatin1Char(' ') + attributes.value(QLatin1String("name")).toString();
                } else if (reader.isEndElement()) {
                    if (element == QLatin1String("interface"))
                        inAgent = false;
                    else if (inAgent && (element == QLatin1String("method") || element == QLatin1String("signal")))
                        members << member + QLatin1Char('(') + args.join(QLatin1String(", ")) + QLatin1Char(')');
                }
            }
            members.sort();
            return members;
        };
        const QStringList described_ = methodsOf(described);
        QCOMPARE(described_.size(), 8);
        QCOMPARE(methodsOf(reply.value().toUtf8()), described_);
    }

    void releaseArrivesAsItsSignalAndIsAnsweredAtOnce()
    {
        auto spy = spyFor(SIGNAL(release()));
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("Release"));
        QVERIFY(finishes(call));
        QVERIFY2(!call.isError(), qPrintable(call.error().message()));
        QTRY_COMPARE(spy->count(), 1);
    }

    void notifyTouchArrivesAsItsSignalAndIsAnsweredAtOnce()
    {
        auto spy = spyFor(SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("NotifyTouch"), {QVariant::fromValue(Tag), 1});
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
        QTRY_COMPARE(spy->count(), 1);
        QCOMPARE(spy->at(0).at(0).value<QDBusObjectPath>(), Tag);
        QCOMPARE(spy->at(0).at(1).toInt(), 1);
    }

    void dataDeliveryArrivesWithHandlersTargetAndData()
    {
        auto spy = spyFor(SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        const NdefMessageHandlerList handlers{
            ConnUi::NdefMessageHandler(QStringLiteral("browser"), QStringLiteral(":1.7"),
                                       QDBusObjectPath(QStringLiteral("/app")), true),
            ConnUi::NdefMessageHandler(QStringLiteral("notes"), QStringLiteral("com.example.Notes"),
                                       QDBusObjectPath(QStringLiteral("/")), false)};
        const QByteArray data("\xd1\x01\x04T\x02" "enA", 8);
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("DataDeliveryRequested"),
                                                  deliveryArgs(Tag, data, handlers));
        QTRY_COMPARE(spy->count(), 1);
        QCOMPARE(spy->at(0).at(0).value<NdefMessageHandlerList>(), handlers);
        QCOMPARE(spy->at(0).at(1).value<QDBusObjectPath>(), Tag);
        QCOMPARE(spy->at(0).at(2).toByteArray(), data);
        QVERIFY(staysUnanswered(call));
        agent->dataDeliveryGranted(Tag);
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
    }

    void dataDeliveryGrantedIsAnEmptyReturn()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("DataDeliveryRequested"), deliveryArgs(Tag));
        QTest::qWait(50);
        agent->dataDeliveryGranted(Tag);
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
        QCOMPARE(call.reply().type(), QDBusMessage::ReplyMessage);
        QVERIFY(call.reply().arguments().isEmpty());
    }

    void rejectDeviceRepliesRejected()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("DataDeliveryRequested"), deliveryArgs(Tag));
        QTest::qWait(50);
        agent->rejectDevice(Tag);
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
    }

    void rejectDeviceAnswersABluetoothRequestToo()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("BtConnectionRequested"), deviceArgs(Device, false));
        QTest::qWait(50);
        agent->rejectDevice(Device);
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
    }

    void replyErrorWithAnErrorNameRepliesThatError()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("BtPairingRequested"), deviceArgs(Device, true));
        QTest::qWait(50);
        agent->replyError(Device, QStringLiteral("com.orvan.nfc.UIAgent.InvalidRequest"));
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.InvalidRequest"));
    }

    void replyErrorWithTextRepliesFailedWithTheTextAsMessage()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("BtPairingRequested"), deviceArgs(Device, true));
        QTest::qWait(50);
        agent->replyError(Device, QStringLiteral("Pairing canceled by the remote device"));
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Failed"));
        QCOMPARE(call.error().message(), QStringLiteral("Pairing canceled by the remote device"));
    }

    void replyErrorWithAnEmptyReasonRepliesFailed()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("DataDeliveryRequested"), deliveryArgs(Tag));
        QTest::qWait(50);
        agent->replyError(Tag, QString());
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Failed"));
    }

    void bluetoothRequestsArriveAsTheirSignals()
    {
        auto pairing = spyFor(SIGNAL(btPairingRequested(QDBusObjectPath, QString, QString, uint, QString)));
        auto connection = spyFor(SIGNAL(btConnectionRequested(QDBusObjectPath, QString, QString, uint)));
        auto disconnection = spyFor(SIGNAL(btDisconnectionRequested(QDBusObjectPath, QString, QString, uint)));
        daemon->callAgent(QStringLiteral("BtPairingRequested"), deviceArgs(Device, true));
        daemon->callAgent(QStringLiteral("BtConnectionRequested"), deviceArgs(Device, false));
        daemon->callAgent(QStringLiteral("BtDisconnectionRequested"), deviceArgs(Device, false));
        QTRY_COMPARE(disconnection->count(), 1);
        QCOMPARE(pairing->count(), 1);
        QCOMPARE(connection->count(), 1);
        const QVariantList expected{QVariant::fromValue(Device), QStringLiteral("00:11:22:33:44:55"),
                                    QStringLiteral("Headset"), uint(0x240404), QStringLiteral("0000")};
        QCOMPARE(pairing->at(0).at(0).value<QDBusObjectPath>(), Device);
        QCOMPARE(pairing->at(0).mid(1), expected.mid(1));
        QCOMPARE(connection->at(0).mid(1), expected.mid(1, 3));
        QCOMPARE(disconnection->at(0).mid(1), expected.mid(1, 3));
    }

    void eachBluetoothGrantAnswersItsOwnKindOfCall()
    {
        QDBusPendingCall pairing = daemon->callAgent(QStringLiteral("BtPairingRequested"), deviceArgs(Device, true));
        QDBusPendingCall connection =
            daemon->callAgent(QStringLiteral("BtConnectionRequested"), deviceArgs(Device, false));
        QDBusPendingCall disconnection =
            daemon->callAgent(QStringLiteral("BtDisconnectionRequested"), deviceArgs(Device, false));
        QTest::qWait(100);
        agent->btDisconnectionRequestGranted(Device);
        QVERIFY(finishes(disconnection));
        QVERIFY(!disconnection.isError());
        QVERIFY(!pairing.isFinished() && !connection.isFinished());
        agent->btConnectionRequestGranted(Device);
        QVERIFY(finishes(connection));
        QVERIFY(!connection.isError());
        QVERIFY(!pairing.isFinished());
        agent->btPairingRequestGranted(Device);
        QVERIFY(finishes(pairing));
        QVERIFY(!pairing.isError());
    }

    void sharingPermissionArrivesAndIsAcceptedByItsInfo()
    {
        auto spy = spyFor(SIGNAL(sharingPermissionRequested(QString, QVariant, QStringList)));
        const QStringList resources{QStringLiteral("file:///tmp/a.jpg"), QStringLiteral("file:///tmp/b.jpg")};
        QDBusPendingCall call = daemon->callAgent(
            QStringLiteral("SharingPermissionRequested"),
            {QStringLiteral("bluetooth"), QVariant::fromValue(QDBusVariant(QStringLiteral("share-1"))), resources});
        QTRY_COMPARE(spy->count(), 1);
        QCOMPARE(spy->at(0).at(0).toString(), QStringLiteral("bluetooth"));
        QCOMPARE(spy->at(0).at(1), QVariant(QStringLiteral("share-1")));
        QCOMPARE(spy->at(0).at(2).toStringList(), resources);
        QVERIFY(staysUnanswered(call));
        agent->acceptSharing(spy->at(0).at(1));
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
    }

    void sharingSelectionIsRejectedByItsInfo()
    {
        auto spy = spyFor(SIGNAL(sharingSelectionRequested(QString, QVariant)));
        QDBusPendingCall call = daemon->callAgent(
            QStringLiteral("SharingSelectionRequested"),
            {QStringLiteral("bluetooth"), QVariant::fromValue(QDBusVariant(uint(42)))});
        QTRY_COMPARE(spy->count(), 1);
        QCOMPARE(spy->at(0).at(1), QVariant(uint(42)));
        agent->rejectSharing(spy->at(0).at(1));
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
    }

    void sharingInfoOfAStructureIsMatchedByValue()
    {
        auto spy = spyFor(SIGNAL(sharingSelectionRequested(QString, QVariant)));
        QDBusMessage message = QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                              QLatin1String(Nfcd::AgentPath),
                                                              QLatin1String(Nfcd::AgentInterface),
                                                              QStringLiteral("SharingSelectionRequested"));
        QVariantMap info{{QStringLiteral("id"), 7}, {QStringLiteral("kind"), QStringLiteral("image")}};
        message << QStringLiteral("bluetooth") << QVariant::fromValue(QDBusVariant(info));
        QDBusPendingCall call = daemon->connection().asyncCall(message);
        QTRY_COMPARE(spy->count(), 1);
        QCOMPARE(spy->at(0).at(1).toMap(), info);
        agent->acceptSharing(QVariant(info));
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
    }

    void twoCallsForTheSameTargetAreAnsweredOldestFirst()
    {
        auto spy = spyFor(SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusPendingCall first = daemon->callAgent(QStringLiteral("DataDeliveryRequested"),
                                                   deliveryArgs(Tag, QByteArray("first")));
        QDBusPendingCall second = daemon->callAgent(QStringLiteral("DataDeliveryRequested"),
                                                    deliveryArgs(Tag, QByteArray("second")));
        QTRY_COMPARE(spy->count(), 2);
        agent->rejectDevice(Tag);
        QVERIFY(finishes(first));
        QCOMPARE(first.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
        QVERIFY(staysUnanswered(second));
        agent->dataDeliveryGranted(Tag);
        QVERIFY(finishes(second));
        QVERIFY(!second.isError());
    }

    void twoSharingCallsWithTheSameInfoAreAnsweredOldestFirst()
    {
        const QVariantList args{QStringLiteral("bluetooth"), QVariant::fromValue(QDBusVariant(QStringLiteral("same")))};
        QDBusPendingCall first = daemon->callAgent(QStringLiteral("SharingSelectionRequested"), args);
        QDBusPendingCall second = daemon->callAgent(QStringLiteral("SharingSelectionRequested"), args);
        QTest::qWait(100);
        agent->acceptSharing(QStringLiteral("same"));
        QVERIFY(finishes(first));
        QVERIFY(!first.isError());
        QVERIFY(staysUnanswered(second));
        agent->rejectSharing(QStringLiteral("same"));
        QVERIFY(finishes(second));
        QCOMPARE(second.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Rejected"));
    }

    void repliesFindTheirCallByTarget()
    {
        QDBusPendingCall first = daemon->callAgent(QStringLiteral("DataDeliveryRequested"), deliveryArgs(Tag));
        QDBusPendingCall second = daemon->callAgent(QStringLiteral("DataDeliveryRequested"), deliveryArgs(OtherTag));
        QTest::qWait(100);
        agent->dataDeliveryGranted(OtherTag);
        QVERIFY(finishes(second));
        QVERIFY(!second.isError());
        QVERIFY(staysUnanswered(first));
        agent->dataDeliveryGranted(Tag);
        QVERIFY(finishes(first));
    }

    void replyWithNothingPendingWarnsAndDoesNothing()
    {
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgent::dataDeliveryGranted: no call is waiting for /com/orvan/nfc/adapter0/tag0");
        agent->dataDeliveryGranted(Tag);
        QTest::ignoreMessage(QtWarningMsg, "NfcAgent::rejectDevice: no call is waiting for /com/orvan/nfc/adapter0/tag0");
        agent->rejectDevice(Tag);
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgent::replyError: no call is waiting for /com/orvan/nfc/adapter0/tag0");
        agent->replyError(Tag, QStringLiteral("x"));
        QTest::ignoreMessage(QtWarningMsg, "NfcAgent::acceptSharing: no sharing call is waiting for nothing-here");
        agent->acceptSharing(QStringLiteral("nothing-here"));
        QTest::ignoreMessage(QtWarningMsg, "NfcAgent::rejectSharing: no sharing call is waiting for nothing-here");
        agent->rejectSharing(QStringLiteral("nothing-here"));
    }

    void aGrantOfAnotherKindDoesNotAnswerTheCall()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("BtPairingRequested"), deviceArgs(Device, true));
        QTest::qWait(50);
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgent::dataDeliveryGranted: no call is waiting for /com/orvan/nfc/adapter0/device0");
        agent->dataDeliveryGranted(Device);
        QVERIFY(staysUnanswered(call));
        agent->btPairingRequestGranted(Device);
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
    }

    void aCallFromAnotherConnectionIsAccessDeniedAndNeverReachesThePlugin()
    {
        auto touches = spyFor(SIGNAL(notifyTouch(QDBusObjectPath, int)));
        auto deliveries = spyFor(SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QDBusConnection stranger = strangerConnection();
        QDBusMessage message = QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                              QLatin1String(Nfcd::AgentPath),
                                                              QLatin1String(Nfcd::AgentInterface),
                                                              QStringLiteral("NotifyTouch"));
        message << QVariant::fromValue(Tag) << 0;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("NfcAgent: refused NotifyTouch from")));
        QDBusPendingCall touch = stranger.asyncCall(message);
        QVERIFY(finishes(touch));
        QCOMPARE(touch.error().name(), QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"));

        QDBusMessage delivery = QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                               QLatin1String(Nfcd::AgentPath),
                                                               QLatin1String(Nfcd::AgentInterface),
                                                               QStringLiteral("DataDeliveryRequested"));
        delivery.setArguments(deliveryArgs(Tag));
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("NfcAgent: refused DataDeliveryRequested from")));
        QDBusPendingCall deliver = stranger.asyncCall(delivery);
        QVERIFY(finishes(deliver));
        QCOMPARE(deliver.error().name(), QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"));
        QTest::qWait(100);
        QCOMPARE(touches->count(), 0);
        QCOMPARE(deliveries->count(), 0);
        QDBusConnection::disconnectFromBus(QStringLiteral("nfcd-stranger"));
    }

    void aCallWhileNobodyOwnsTheDaemonNameIsAccessDenied()
    {
        auto touches = spyFor(SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QVERIFY(daemon->connection().unregisterService(QLatin1String(Nfcd::ServiceName)));
        QTRY_VERIFY(!daemonNameOwned());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("NfcAgent: refused NotifyTouch from")));
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("NotifyTouch"), {QVariant::fromValue(Tag), 0});
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"));
        QTest::qWait(100);
        QCOMPARE(touches->count(), 0);
    }

    void aDaemonThatHasJustTakenTheNameIsAccepted()
    {
        auto touches = spyFor(SIGNAL(notifyTouch(QDBusObjectPath, int)));
        daemon.reset();
        QTRY_VERIFY(!daemonNameOwned());
        DaemonRole restarted(QStringLiteral("nfcd-restarted"));
        QVERIFY(restarted.ownName());
        // Called at once, before the agent has seen the name change.
        QDBusPendingCall call = restarted.callAgent(QStringLiteral("NotifyTouch"), {QVariant::fromValue(Tag), 0});
        QVERIFY(finishes(call));
        QVERIFY2(!call.isError(), qPrintable(call.error().name()));
        QTRY_COMPARE(touches->count(), 1);
    }

    void wrongSignaturesGetInvalidArgsAndNeverReachThePlugin_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("args");
        QTest::newRow("NotifyTouch without status") << QStringLiteral("NotifyTouch")
                                                    << QVariantList{QVariant::fromValue(Tag)};
        QTest::newRow("NotifyTouch with a string") << QStringLiteral("NotifyTouch")
                                                   << QVariantList{QStringLiteral("/tag"), 0};
        QTest::newRow("DataDeliveryRequested without handlers")
            << QStringLiteral("DataDeliveryRequested") << QVariantList{QVariant::fromValue(Tag), QByteArray("x")};
        QTest::newRow("BtPairingRequested without pin") << QStringLiteral("BtPairingRequested")
                                                        << deviceArgs(Device, false);
        QTest::newRow("BtConnectionRequested with a pin") << QStringLiteral("BtConnectionRequested")
                                                          << deviceArgs(Device, true);
        QTest::newRow("SharingSelectionRequested with a plain info")
            << QStringLiteral("SharingSelectionRequested") << QVariantList{QStringLiteral("bt"), QStringLiteral("i")};
        QTest::newRow("Release with an argument") << QStringLiteral("Release") << QVariantList{1};
    }

    void wrongSignaturesGetInvalidArgsAndNeverReachThePlugin()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, args);
        QSignalSpy any(agent.get(), SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QSignalSpy deliveries(agent.get(),
                              SIGNAL(dataDeliveryRequested(NdefMessageHandlerList, QDBusObjectPath, QByteArray)));
        QSignalSpy pairings(agent.get(), SIGNAL(btPairingRequested(QDBusObjectPath, QString, QString, uint, QString)));
        QSignalSpy connections(agent.get(), SIGNAL(btConnectionRequested(QDBusObjectPath, QString, QString, uint)));
        QSignalSpy selections(agent.get(), SIGNAL(sharingSelectionRequested(QString, QVariant)));
        QSignalSpy releases(agent.get(), SIGNAL(release()));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("NfcAgent: refused %1 with arguments").arg(method)));
        QDBusPendingCall call = daemon->callAgent(method, args);
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
        QTest::qWait(100);
        QCOMPARE(any.count() + deliveries.count() + pairings.count() + connections.count() + selections.count()
                     + releases.count(),
                 0);
    }

    void anUnknownMethodGetsUnknownMethod()
    {
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("SelfDestruct"));
        QVERIFY(finishes(call));
        QCOMPARE(call.error().name(), QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
    }

    void aCallWithoutInterfaceIsServedByMethodName()
    {
        auto spy = spyFor(SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("NotifyTouch"), {QVariant::fromValue(Tag), 0}, QString());
        QVERIFY(finishes(call));
        QVERIFY(!call.isError());
        QTRY_COMPARE(spy->count(), 1);
    }

    void destructionCancelsEveryUnansweredCall()
    {
        QDBusPendingCall delivery = daemon->callAgent(QStringLiteral("DataDeliveryRequested"), deliveryArgs(Tag));
        QDBusPendingCall pairing = daemon->callAgent(QStringLiteral("BtPairingRequested"), deviceArgs(Device, true));
        QDBusPendingCall sharing = daemon->callAgent(
            QStringLiteral("SharingSelectionRequested"),
            {QStringLiteral("bluetooth"), QVariant::fromValue(QDBusVariant(QStringLiteral("s")))});
        QTest::qWait(100);
        agent.reset();
        for (QDBusPendingCall* call : {&delivery, &pairing, &sharing}) {
            QVERIFY(finishes(*call));
            QCOMPARE(call->error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Canceled"));
        }
    }

    void afterDestructionTheAgentIsNoLongerOnTheBus()
    {
        agent.reset();
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("NotifyTouch"), {QVariant::fromValue(Tag), 0});
        QVERIFY(finishes(call));
        QVERIFY(call.isError());
        QVERIFY(call.error().name() != QLatin1String("com.orvan.nfc.UIAgent.Canceled"));
    }

    void aCallNobodyAnswersIsCanceledAfterTheLimit()
    {
        agent.reset();
        qputenv("NFCUI_AGENT_PENDING_LIMIT_MS", "300");
        agent = std::make_unique<NfcAgent>();
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("DataDeliveryRequested"), deliveryArgs(Tag));
        QVERIFY(staysUnanswered(call));
        QVERIFY(finishes(call, 5000));
        QCOMPARE(call.error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Canceled"));
        // Forgotten: a late answer finds nothing.
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgent::dataDeliveryGranted: no call is waiting for /com/orvan/nfc/adapter0/tag0");
        agent->dataDeliveryGranted(Tag);
    }

    void theNumberOfWaitingCallsStaysBounded()
    {
        agent.reset();
        qputenv("NFCUI_AGENT_PENDING_COUNT_LIMIT", "3");
        agent = std::make_unique<NfcAgent>();
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 5; ++i) {
            calls << daemon->callAgent(QStringLiteral("DataDeliveryRequested"),
                                       deliveryArgs(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag%1").arg(i))));
        }
        QVERIFY(finishes(calls[0]));
        QVERIFY(finishes(calls[1]));
        QCOMPARE(calls[0].error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Canceled"));
        QCOMPARE(calls[1].error().name(), QStringLiteral("com.orvan.nfc.UIAgent.Canceled"));
        QVERIFY(staysUnanswered(calls[2]));
        agent->dataDeliveryGranted(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag4")));
        QVERIFY(finishes(calls[4]));
        QVERIFY(!calls[4].isError());
    }

    void aNewerAgentTakesOverThePath()
    {
        auto older = std::move(agent);
        agent = std::make_unique<NfcAgent>();
        QSignalSpy olderTouches(older.get(), SIGNAL(notifyTouch(QDBusObjectPath, int)));
        auto newerTouches = spyFor(SIGNAL(notifyTouch(QDBusObjectPath, int)));
        QDBusPendingCall call = daemon->callAgent(QStringLiteral("NotifyTouch"), {QVariant::fromValue(Tag), 0});
        QVERIFY(finishes(call));
        QTRY_COMPARE(newerTouches->count(), 1);
        QCOMPARE(olderTouches.count(), 0);
        older.reset();
        QDBusPendingCall again = daemon->callAgent(QStringLiteral("NotifyTouch"), {QVariant::fromValue(Tag), 0});
        QVERIFY(finishes(again));
        QTRY_COMPARE(newerTouches->count(), 2);
    }
};

QTEST_GUILESS_MAIN(tst_NfcAgent)
#include "tst_nfcagent.moc"
