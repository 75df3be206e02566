// The pairing broadcasts "NfcPairingStarts" and "NfcPairingFinished" as another program on the system bus
// sees them: a listener on the private system bus records every broadcast in order, while the plugin runs
// Bluetooth calls against the fake platform and the BlueZ 4 mock.
//
// The plugin and the listener share the process's system bus connection; the bus hands the plugin's
// broadcasts back to the listener like to anybody else. To know that every broadcast sent so far has
// arrived, the listener sends a marker signal of its own and waits for it: signals from one connection
// arrive in the order they were sent.
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QPointer>
#include <QtTest>

#include "bluetoothconnectionmanager.h"
#include "bluetoothpairingprocess.h"
#include "bluezbanners.h"
#include "bluezmock.h"
#include "fakedialogserver.h"
#include "fakeplatform.h"
#include "nfcadapter.h"
#include "nfcagent.h"
#include "nfcagentdialogplugin.h"
#include "nfcpairingdialog.h"
#include "pluginaccess.h"
#include "pluginfixture.h"
#include "testdevices.h"
#include "testsupport.h"

using ConnUi::Dialog;
using ConnUi::NfcAgentDialogPlugin;
using ConnUi::NfcPairingDialog;

using namespace TestDevices;

namespace {

const QString broadcastPath = QStringLiteral("/com/orvan/nfc_ui");
const QString broadcastInterface = QStringLiteral("com.orvan.nfc_ui");
const QString starts = QStringLiteral("NfcPairingStarts");
const QString finished = QStringLiteral("NfcPairingFinished");

const QString markerPath = QStringLiteral("/com/orvan/nfc_ui/test");
const QString markerInterface = QStringLiteral("com.orvan.nfc_ui.Test");
const QString markerMember = QStringLiteral("Marker");

// The headset as the platform knows it.
const QString headsetName = TestDevices::platformName;

void setHeadset(bool connectable, bool audio)
{
    TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, connectable, audio)});
}

} // namespace

// Records the broadcasts on the system bus, in order of arrival.
class BroadcastListener : public QObject {
    Q_OBJECT
public:
    bool listen()
    {
        QDBusConnection bus = QDBusConnection::systemBus();
        return bus.connect(QString(), broadcastPath, broadcastInterface, starts, this, SLOT(received(QDBusMessage)))
               && bus.connect(QString(), broadcastPath, broadcastInterface, finished, this,
                              SLOT(received(QDBusMessage)))
               && bus.connect(QString(), markerPath, markerInterface, markerMember, this, SLOT(marked(QDBusMessage)));
    }

    void stop()
    {
        QDBusConnection bus = QDBusConnection::systemBus();
        bus.disconnect(QString(), broadcastPath, broadcastInterface, starts, this, SLOT(received(QDBusMessage)));
        bus.disconnect(QString(), broadcastPath, broadcastInterface, finished, this, SLOT(received(QDBusMessage)));
        bus.disconnect(QString(), markerPath, markerInterface, markerMember, this, SLOT(marked(QDBusMessage)));
    }

    // Returns once everything sent on the system bus before this call has arrived.
    bool sync()
    {
        const int marker = ++lastMarker;
        QDBusMessage message = QDBusMessage::createSignal(markerPath, markerInterface, markerMember);
        message << marker;
        if (!QDBusConnection::systemBus().send(message))
            return false;
        return QTest::qWaitFor([&]() { return arrivedMarker == marker; }, 10000);
    }

    QStringList members() const
    {
        QStringList result;
        for (const QDBusMessage& message : messages)
            result.append(message.member());
        return result;
    }

    QList<QDBusMessage> messages;

private Q_SLOTS:
    void received(const QDBusMessage& message) { messages.append(message); }
    void marked(const QDBusMessage& message) { arrivedMarker = message.arguments().value(0).toInt(); }

private:
    int lastMarker = 0;
    int arrivedMarker = 0;
};

class tst_BluezBroadcasts : public QObject, public PluginFixture
{
    Q_OBJECT

private:
    BluezMock bluez;
    BluezBannerTexts texts;
    BroadcastListener listener;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"), "run through scripts/isolated");
        QVERIFY2(QDBusConnection::systemBus().isConnected(), "no private system bus");
        QVERIFY2(bluez.start(), qPrintable(bluez.lastError()));
        QVERIFY(texts.install());
        QVERIFY(listener.listen());
    }

    void init()
    {
        QVERIFY2(bluez.reset(), qPrintable(bluez.lastError()));
        setUp(true);
        QVERIFY(listener.sync());
        listener.messages.clear();
    }

    void cleanup()
    {
        tearDown();
    }

    void cleanupTestCase()
    {
        listener.stop();
        texts.uninstall();
        bluez.stop();
    }

    void broadcastsAreArgumentlessSignalsOfThePlugin()
    {
        FakePlatform::setConfirmationEnabled(false);
        setHeadset(false, false);
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass, QString());
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();
        QVERIFY(listener.sync());

        QCOMPARE(listener.members(), (QStringList {starts, finished}));
        for (const QDBusMessage& message : listener.messages) {
            QCOMPARE(message.type(), QDBusMessage::SignalMessage);
            QCOMPARE(message.path(), broadcastPath);
            QCOMPARE(message.interface(), broadcastInterface);
            QCOMPARE(message.signature(), QString());
            QVERIFY(message.arguments().isEmpty());
            QCOMPARE(message.service(), QDBusConnection::systemBus().baseService());
        }
    }

    void acceptedPairingBroadcastsStartsThenFinished()
    {
        server->setAutoAppear(true);
        setHeadset(true, false);

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass, QString());
        QVERIFY(listener.sync());
        QCOMPARE(listener.members(), QStringList {starts});

        // Nothing more while the user decides, the pairing runs and the device connects.
        QVERIFY(server->lastShownOf<NfcPairingDialog>());
        server->lastShownOf<NfcPairingDialog>()->done(Dialog::Ok);
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();
        QVERIFY(listener.sync());
        QCOMPARE(listener.members(), QStringList {starts});

        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->connected();
        QVERIFY(listener.sync());
        QCOMPARE(listener.members(), (QStringList {starts, finished}));
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btPairingRequestGranted ") + target1});
    }

    void rejectedPairingBroadcastsFinished()
    {
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass, QString());
        QVERIFY(server->lastShownOf<NfcPairingDialog>());
        server->lastShownOf<NfcPairingDialog>()->done(Dialog::Cancel);
        QVERIFY(listener.sync());

        QCOMPARE(listener.members(), (QStringList {starts, finished}));
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("rejectDevice ") + target1});
    }

    void failedPairingBroadcastsFinished_data()
    {
        QTest::addColumn<bool>("atStart");
        QTest::newRow("fails inside start") << true;
        QTest::newRow("pairing error") << false;
    }

    void failedPairingBroadcastsFinished()
    {
        QFETCH(bool, atStart);
        FakePlatform::setConfirmationEnabled(false);
        setHeadset(true, false);
        if (atStart) {
            FakePlatform::setBluetoothAdapterValid(false);
            QTest::ignoreMessage(QtWarningMsg, "NfcAgentBluetoothRequest: Unable to get valid BluetoothAdapter");
        } else {
            FakePlatform::setPairingError(QStringLiteral("org.bluez.Error.Failed"));
        }

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass, QString());
        if (!atStart) {
            QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
            emit FakePlatform::last<BluetoothPairingProcess>()->finished();
        }
        QVERIFY(listener.sync());

        QCOMPARE(listener.members(), (QStringList {starts, finished}));
        QCOMPARE(TestSupport::agentReplies().size(), 1);
        QVERIFY(TestSupport::agentReplies().first().startsWith(QStringLiteral("replyError ") + target1));
    }

    void connectionAndDisconnectionBroadcastNothing()
    {
        setHeadset(true, true);
        emit agent()->btConnectionRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass);
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->disconnected();
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->connected();
        emit agent()->btDisconnectionRequested(QDBusObjectPath(target2), headset, headsetName, headsetClass);
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->disconnected();
        QVERIFY(listener.sync());

        QCOMPARE(TestSupport::agentReplies(),
                 (QStringList {QStringLiteral("btConnectionRequestGranted ") + target1,
                               QStringLiteral("btDisconnectionRequestGranted ") + target2}));
        QCOMPARE(listener.members(), QStringList());
    }

    void displacedPairingBroadcastsNoFinished()
    {
        setHeadset(false, false);
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass, QString());
        QPointer<NfcPairingDialog> firstDialog = server->lastShownOf<NfcPairingDialog>();
        emit agent()->btPairingRequested(QDBusObjectPath(target2), headset, headsetName, headsetClass, QString());
        // The user's answer to the displaced dialog arrives before the displaced request is gone (waiting
        // below runs the event loop, which deletes it): replied, but it is no longer the pairing.
        QVERIFY(firstDialog);
        firstDialog->done(Dialog::Cancel);
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("rejectDevice ") + target1});
        QVERIFY(listener.sync());
        // One "NfcPairingStarts" per pairing call, nothing for the displaced one.
        QCOMPARE(listener.members(), (QStringList {starts, starts}));

        QVERIFY(server->lastShownOf<NfcPairingDialog>());
        server->lastShownOf<NfcPairingDialog>()->done(Dialog::Ok);
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();
        QVERIFY(listener.sync());
        QCOMPARE(listener.members(), (QStringList {starts, starts, finished}));
    }

    void requestsDeletedByUpdateAgentBroadcastNothing()
    {
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass, QString());
        QVERIFY(server->lastShownOf<NfcPairingDialog>());

        QTest::ignoreMessage(QtWarningMsg, "NfcAgentDialogPlugin: UI agent deleted when there was ongoing requests!");
        QVERIFY(FakePlatform::last<NfcAdapter>());
        emit FakePlatform::last<NfcAdapter>()->adapterInvalid();
        QVERIFY(!d()->pairingRequest);
        QVERIFY(listener.sync());

        QCOMPARE(listener.members(), QStringList {starts});
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }

    void requestsDeletedByDestroyBroadcastNothing()
    {
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, headsetName, headsetClass, QString());
        plugin->destroy();
        QVERIFY(listener.sync());

        QCOMPARE(listener.members(), QStringList {starts});
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }

    void acceptedPairingWithoutAgentStillBroadcastsFinished()
    {
        plugin->destroy();
        FakePlatform::setNfcAdapterValid(false);
        plugin->initialize(server);
        QVERIFY(!agent());
        FakePlatform::setConfirmationEnabled(false);
        setHeadset(false, false);

        QVERIFY(QMetaObject::invokeMethod(
            plugin, "btPairingRequested", Q_ARG(QDBusObjectPath, QDBusObjectPath(target1)), Q_ARG(QString, headset),
            Q_ARG(QString, headsetName), Q_ARG(uint, headsetClass), Q_ARG(QString, QString())));
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();
        QVERIFY(listener.sync());

        QCOMPARE(listener.members(), (QStringList {starts, finished}));
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_BluezBroadcasts)
#include "tst_bluezbroadcasts.moc"
