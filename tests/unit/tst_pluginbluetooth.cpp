// Bluetooth calls through the plugin, from the agent's signal to the reply the daemon gets.
//
// Pairing and connection requests keep the adapter powered through BlueZ, so the BlueZ 4 mock
// (tests/mocks/bluez4.py) runs on the private system bus of this suite. The pairing broadcasts on that
// bus are checked by the integration suite tst_bluezbroadcasts.
#include <QDBusObjectPath>
#include <QPointer>
#include <QtTest>

#include "bluetoothadapter.h"
#include "bluetoothconnectionmanager.h"
#include "bluetoothpairingprocess.h"
#include "bluezbanners.h"
#include "bluezlog.h"
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
using ConnUi::NfcAgentBluetoothRequest;
using ConnUi::NfcAgentDialogPlugin;
using ConnUi::NfcPairingDialog;

using namespace TestDevices;
using TestSupport::banners;
using TestSupport::managerCalls;

namespace {
// The headset as the platform knows it.
const QString headsetName = platformName;
} // namespace

// Emits an outcome signal from something that is not a Bluetooth request.
class NotARequest : public QObject {
    Q_OBJECT
Q_SIGNALS:
    void accepted();
    void rejected();
    void failed(const QString& reason);
};

class tst_PluginBluetooth : public QObject, public PluginFixture
{
    Q_OBJECT

private:
    BluezMock bluez;
    BluezBannerTexts texts;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"), "run through scripts/isolated");
        QVERIFY2(bluez.start(), qPrintable(bluez.lastError()));
        QVERIFY(texts.install());
    }

    void init()
    {
        QVERIFY2(bluez.reset(), qPrintable(bluez.lastError()));
        setUp();
        QVERIFY(agent());
    }

    void cleanup()
    {
        tearDown();
    }

    void cleanupTestCase()
    {
        texts.uninstall();
        bluez.stop();
    }

    void pairingConfirmedThenPairedAndConnected()
    {
        server->setAutoAppear(true);
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());
        NfcPairingDialog* dialog = server->lastShownOf<NfcPairingDialog>();
        QVERIFY(dialog);
        QCOMPARE(dialog->classOfDevice(), headsetClass);
        // The dialog on screen unlocks the screen.
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unlockScreen")), 1);
        QVERIFY(d()->pairingRequest);
        QCOMPARE(d()->pairingRequest->type(), NfcAgentBluetoothRequest::Pairing);

        dialog->done(Dialog::Ok);
        BluetoothPairingProcess* process = FakePlatform::last<BluetoothPairingProcess>();
        QVERIFY(process);
        emit process->finished();
        QCOMPARE(managerCalls(), QStringList {QStringLiteral("connect ") + headset});
        QVERIFY(TestSupport::agentReplies().isEmpty());

        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->connected();

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btPairingRequestGranted ") + target1});
        QCOMPARE(banners(),
                 (QStringList {QStringLiteral("x-orvan.nfc|") + BluezBannerTexts::pairing(daemonName),
                               QStringLiteral("x-orvan.nfc.connected|") + BluezBannerTexts::connected(headsetName)}));
        TestSupport::deleteLaterNow();
        QVERIFY(!d()->pairingRequest);
        QVERIFY(d()->requests.isEmpty());
    }

    void pairingDeclinedIsRejected()
    {
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());
        NfcPairingDialog* dialog = server->lastShownOf<NfcPairingDialog>();
        QVERIFY(dialog);

        dialog->done(Dialog::Cancel);

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("rejectDevice ") + target1});
        QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::start")), 0);
        QVERIFY(banners().isEmpty());
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
    }

    void pairingWithPinGivesThePinToTheProcess()
    {
        FakePlatform::setConfirmationEnabled(false);
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, false, false)});

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass,
                                         QStringLiteral("8642"));
        QCOMPARE(d()->pairingRequest->pinCode(), QStringLiteral("8642"));
        QCOMPARE(TestSupport::callsWithPrefix(QStringLiteral("BluetoothPairingProcess::set")),
                 (QStringList {QStringLiteral("BluetoothPairingProcess::setErrorNotification"),
                               QStringLiteral("BluetoothPairingProcess::setDialogServer"),
                               QStringLiteral("BluetoothPairingProcess::setPinCode"),
                               QStringLiteral("BluetoothPairingProcess::setAutoTrusted"),
                               QStringLiteral("BluetoothPairingProcess::setAutoConnected")}));
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("BluetoothPairingProcess::setPinCode")).value(0).args,
                 QVariantList {QStringLiteral("8642")});

        // Paired, but not a device to connect: granted right after the pairing.
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btPairingRequestGranted ") + target1});
        QVERIFY(managerCalls().isEmpty());
    }

    void pairingWithoutPinIgnoresLegacyPairing()
    {
        FakePlatform::setConfirmationEnabled(false);
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, false, false)});

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());
        QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::setPinCode")), 0);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("BluetoothPairingProcess::setIgnoreLegacyPairing")).size(), 1);
        QCOMPARE(FakePlatform::callsTo(QStringLiteral("BluetoothPairingProcess::setIgnoreLegacyPairing")).value(0).args,
                 QVariantList {true});

        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btPairingRequestGranted ") + target1});
    }

    void pairingErrorIsRepliedAsError()
    {
        FakePlatform::setConfirmationEnabled(false);
        FakePlatform::setPairingError(QStringLiteral("org.bluez.Error.AuthenticationRejected"));
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();

        QCOMPARE(TestSupport::agentReplies(),
                 QStringList {QStringLiteral("replyError ") + target1
                              + QStringLiteral(" org.bluez.Error.AuthenticationRejected")});
    }

    void connectionFirstDisconnectsOtherAudioDevice()
    {
        TestSupport::setBluetoothDevices(
            {TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, true), TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});

        emit agent()->btConnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);
        QVERIFY(server->shownDialogs().isEmpty());
        QCOMPARE(managerCalls(), QStringList {QStringLiteral("disconnect ") + otherHeadset});
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->disconnected();
        QCOMPARE(managerCalls(),
                 (QStringList {QStringLiteral("disconnect ") + otherHeadset, QStringLiteral("connect ") + headset}));
        QVERIFY(TestSupport::agentReplies().isEmpty());
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->connected();

        // Both banners, in order, with the names the platform reports.
        QCOMPARE(banners(),
                 (QStringList {QStringLiteral("x-orvan.nfc.disconnected|") + BluezBannerTexts::disconnected(otherName),
                               QStringLiteral("x-orvan.nfc.connected|") + BluezBannerTexts::connected(headsetName)}));
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btConnectionRequestGranted ") + target1});
        QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unlockScreen")), 0);
        QVERIFY(!d()->pairingRequest);
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
    }

    void disconnectionIsGranted()
    {
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, true)});

        emit agent()->btDisconnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);
        QCOMPARE(managerCalls(), QStringList {QStringLiteral("disconnect ") + headset});
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->disconnected();

        QCOMPARE(banners(), QStringList {QStringLiteral("x-orvan.nfc.disconnected|")
                                         + BluezBannerTexts::disconnected(headsetName)});
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btDisconnectionRequestGranted ") + target1});
        // Disconnecting never asks BlueZ.
        QCOMPARE(bluez.calls(BluezMock::managerPath()).size(), 0);
    }

    void disconnectionFailureIsRepliedAsError()
    {
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, true)});

        emit agent()->btDisconnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->disconnectionFailed(QStringLiteral("Not connected"));

        QCOMPARE(TestSupport::agentReplies(),
                 QStringList {QStringLiteral("replyError ") + target1 + QStringLiteral(" Not connected")});
    }

    void unknownDeviceIsRepliedAsError()
    {
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, false)});

        const QByteArray warning = "NfcAgentBluetoothRequest: Invalid BluetoothDevice " + headset.toUtf8();
        QTest::ignoreMessage(QtWarningMsg, warning.constData());
        emit agent()->btConnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("replyError ") + target1
                                                           + QStringLiteral(" com.orvan.nfc.UIAgent.Failed")});
        // Replied from inside start(), before the request was tracked; deleted all the same.
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
    }

    void adapterReportingPoweredWhileOffIsRepliedAsError()
    {
        FakePlatform::setBluetoothPowered(false);
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});

        emit agent()->btConnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);
        QVERIFY(TestSupport::agentReplies().isEmpty());

        QTest::ignoreMessage(QtWarningMsg, "Bluetooth adapter was not powered");
        QVERIFY(FakePlatform::last<BluetoothAdapter>());
        emit FakePlatform::last<BluetoothAdapter>()->propertyChanged(QStringLiteral("powered"));

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("replyError ") + target1
                                                           + QStringLiteral(" com.orvan.nfc.UIAgent.Failed")});
        QVERIFY(managerCalls().isEmpty());
    }

    void adapterPoweringUpLaterLetsTheRequestGoOn()
    {
        FakePlatform::setConfirmationEnabled(false);
        FakePlatform::setBluetoothPowered(false);
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, false, false)});

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());
        QCOMPARE(banners(), QStringList {QStringLiteral("x-orvan.nfc|") + BluezBannerTexts::pairing(daemonName)});
        QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::start")), 0);

        FakePlatform::setBluetoothPowered(true);
        QVERIFY(FakePlatform::last<BluetoothAdapter>());
        emit FakePlatform::last<BluetoothAdapter>()->propertyChanged(QStringLiteral("powered"));
        QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::start")), 1);
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btPairingRequestGranted ") + target1});
    }

    void twoConnectionRequestsRunSideBySide()
    {
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, false),
                    TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});

        emit agent()->btConnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);
        emit agent()->btConnectionRequested(QDBusObjectPath(target2), otherHeadset, otherName, headsetClass);
        QCOMPARE(managerCalls(),
                 (QStringList {QStringLiteral("connect ") + headset, QStringLiteral("connect ") + otherHeadset}));
        const QList<BluetoothConnectionManager*> managers = FakePlatform::objects<BluetoothConnectionManager>();
        QCOMPARE(managers.size(), 2);

        // The second finishes first; each gets its own reply.
        emit managers.at(1)->connected();
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btConnectionRequestGranted ") + target2});
        emit managers.at(0)->connectionFailed(QStringLiteral("Host is down"));
        QCOMPARE(TestSupport::agentReplies(),
                 (QStringList {QStringLiteral("btConnectionRequestGranted ") + target2,
                               QStringLiteral("replyError ") + target1 + QStringLiteral(" Host is down")}));
    }

    void displacedPairingGetsNoReply()
    {
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, false, false)});

        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());
        QPointer<NfcAgentBluetoothRequest> first = d()->pairingRequest.data();
        QPointer<NfcPairingDialog> firstDialog = server->lastShownOf<NfcPairingDialog>();
        QVERIFY(first && firstDialog);

        emit agent()->btPairingRequested(QDBusObjectPath(target2), headset, daemonName, headsetClass, QString());
        // The first dialog went back to the server; the first request goes later, unanswered.
        QCOMPARE(server->closedDialogs().size(), 1);
        QCOMPARE(server->closedDialogs().value(0).data(), static_cast<Dialog*>(firstDialog.data()));
        QVERIFY(d()->pairingRequest.data() != first.data());
        TestSupport::deleteLaterNow();
        QVERIFY(!first);

        NfcPairingDialog* secondDialog = server->lastShownOf<NfcPairingDialog>();
        QVERIFY(secondDialog && secondDialog != firstDialog.data());
        secondDialog->done(Dialog::Ok);
        QVERIFY(FakePlatform::last<BluetoothPairingProcess>());
        emit FakePlatform::last<BluetoothPairingProcess>()->finished();

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("btPairingRequestGranted ") + target2});
    }

    void displacedPairingStillRepliesToAnAnswerAlreadyUnderWay()
    {
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());
        QPointer<NfcPairingDialog> firstDialog = server->lastShownOf<NfcPairingDialog>();
        emit agent()->btPairingRequested(QDBusObjectPath(target2), headset, daemonName, headsetClass, QString());

        // The user's answer to the first dialog arrives before the first request is gone.
        QVERIFY(firstDialog);
        firstDialog->done(Dialog::Cancel);
        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("rejectDevice ") + target1});
        TestSupport::deleteLaterNow();
        QVERIFY(d()->pairingRequest);
        QCOMPARE(d()->pairingRequest->targetPath(), QDBusObjectPath(target2));
    }

    void pairingWithoutValidAdapterIsRepliedAsError()
    {
        FakePlatform::setBluetoothAdapterValid(false);

        QTest::ignoreMessage(QtWarningMsg, "NfcAgentBluetoothRequest: Unable to get valid BluetoothAdapter");
        emit agent()->btPairingRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass, QString());

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("replyError ") + target1
                                                           + QStringLiteral(" com.orvan.nfc.UIAgent.Failed")});
        QVERIFY(server->shownDialogs().isEmpty());
    }

    void keepingPowerFailureIsRepliedAsError()
    {
        bluez.stop();
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});

        QTest::ignoreMessage(QtWarningMsg, "Bluez does not exist");
        QTest::ignoreMessage(QtWarningMsg, "NfcAgentBluetoothRequest: Unable to ensure that Bluetooth remains powered");
        emit agent()->btConnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);

        QCOMPARE(TestSupport::agentReplies(), QStringList {QStringLiteral("replyError ") + target1
                                                           + QStringLiteral(" com.orvan.nfc.UIAgent.Failed")});
        QVERIFY(managerCalls().isEmpty());
    }

    void requestEndingWithoutAgentGetsNoReply()
    {
        // The adapter goes invalid: the agent goes, and the live requests with it, unanswered.
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});
        emit agent()->btConnectionRequested(QDBusObjectPath(target1), headset, daemonName, headsetClass);
        QPointer<BluetoothConnectionManager> manager = FakePlatform::last<BluetoothConnectionManager>();
        FakePlatform::setNfcAdapterValid(false);

        QTest::ignoreMessage(QtWarningMsg, "NfcAgentDialogPlugin: UI agent deleted when there was ongoing requests!");
        QVERIFY(FakePlatform::last<NfcAdapter>());
        emit FakePlatform::last<NfcAdapter>()->adapterInvalid();

        QVERIFY(!agent());
        QVERIFY(d()->requests.isEmpty());
        QVERIFY(!manager);
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }

    void requestStartedWithoutAgentEndsWithoutReply()
    {
        plugin->destroy();
        FakePlatform::setNfcAdapterValid(false);
        plugin->initialize(server);
        QVERIFY(!agent());
        FakePlatform::clearCalls();
        TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, headsetName, true, true, false)});

        QVERIFY(QMetaObject::invokeMethod(plugin, "btConnectionRequested",
                                          Q_ARG(QDBusObjectPath, QDBusObjectPath(target1)), Q_ARG(QString, headset),
                                          Q_ARG(QString, daemonName), Q_ARG(uint, headsetClass)));
        QVERIFY(FakePlatform::last<BluetoothConnectionManager>());
        emit FakePlatform::last<BluetoothConnectionManager>()->connected();

        QVERIFY(TestSupport::agentReplies().isEmpty());
        TestSupport::deleteLaterNow();
        QVERIFY(d()->requests.isEmpty());
    }

    void acceptedRequestOfUnknownTypeGetsNoReply()
    {
        NfcAgentBluetoothRequest* request = new NfcAgentBluetoothRequest(
            NfcAgentBluetoothRequest::Type(3), server, QDBusObjectPath(target1), headset, daemonName, headsetClass);
        QPointer<NfcAgentBluetoothRequest> guard = request;
        QVERIFY(connect(request, SIGNAL(accepted()), d(), SLOT(bluetoothRequestAccepted())));

        QTest::ignoreMessage(QtWarningMsg, "Unknown NfcAgentBluetoothRequest type: 3");
        // The request's outcome signals are protected: only the meta-object reaches them from outside.
        QVERIFY(QMetaObject::invokeMethod(request, "accepted"));

        QVERIFY(TestSupport::agentReplies().isEmpty());
        QVERIFY(guard);
        TestSupport::deleteLaterNow();
        QVERIFY(!guard);
    }

    void bluetoothRequestFailedWithoutRequestNamesTheAcceptSlot()
    {
        BluezWarningLog log;
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgentDialogPluginPrivate::bluetoothRequestAccepted() called without request!");
        d()->bluetoothRequestFailed(QStringLiteral("com.orvan.nfc.UIAgent.Failed"));

        NotARequest other;
        QVERIFY(connect(&other, SIGNAL(failed(QString)), d(), SLOT(bluetoothRequestFailed(QString))));
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgentDialogPluginPrivate::bluetoothRequestAccepted() called without request!");
        emit other.failed(QStringLiteral("com.orvan.nfc.UIAgent.Failed"));

        QCOMPARE(log.warnings().size(), 2);
        QVERIFY(TestSupport::agentReplies().isEmpty());
    }

    void acceptedAndRejectedWithoutRequestWarn()
    {
        NotARequest other;
        QVERIFY(connect(&other, SIGNAL(accepted()), d(), SLOT(bluetoothRequestAccepted())));
        QVERIFY(connect(&other, SIGNAL(rejected()), d(), SLOT(bluetoothRequestRejected())));

        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgentDialogPluginPrivate::bluetoothRequestAccepted() called without request!");
        emit other.accepted();
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgentDialogPluginPrivate::bluetoothRequestRejected() called without request!");
        emit other.rejected();
        QTest::ignoreMessage(QtWarningMsg,
                             "NfcAgentDialogPluginPrivate::bluetoothRequestRejected() called without request!");
        d()->bluetoothRequestRejected();

        QVERIFY(TestSupport::agentReplies().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_PluginBluetooth)
#include "tst_pluginbluetooth.moc"
