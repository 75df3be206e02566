// NfcAgentBluetoothRequest against the fake platform: start and the pairing dialog, the adapter power-up,
// pairing, connection (with the audio swap), disconnection, stop and destruction.
//
// Pairing and connection requests keep the adapter powered through BlueZ on the system bus, so this suite
// runs the BlueZ 4 mock (tests/mocks/bluez4.py) on the private system bus that scripts/isolated gives it.
// Every test starts with the mock in its initial state; a test that takes BlueZ away gets it back in the
// next init(). Banner texts come from test translations (BluezBannerTexts), so that a test sees which
// name went into which banner.
#include <QDBusObjectPath>
#include <QMetaEnum>
#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include "bluetoothadapter.h"
#include "bluetoothconnectionmanager.h"
#include "bluetoothpairingprocess.h"
#include "bluezbanners.h"
#include "bluezlog.h"
#include "bluezmock.h"
#include "dialog.h"
#include "fakedialogserver.h"
#include "fakeplatform.h"
#include "nfcadapter.h"
#include "nfcagentbluetoothrequest.h"
#include "nfcpairingdialog.h"
#include "outcome.h"
#include "testdevices.h"
#include "testsupport.h"

using ConnUi::Dialog;
using ConnUi::NfcAgentBluetoothRequest;
using ConnUi::NfcPairingDialog;

using namespace TestDevices;
using TestSupport::banners;
using TestSupport::callsOf;
using TestSupport::managerCalls;

namespace {

const char failedReason[] = "com.orvan.nfc.UIAgent.Failed";
const char invalidRequestReason[] = "com.orvan.nfc.UIAgent.InvalidRequest";

const QString targetPath = QStringLiteral("/com/orvan/nfc/target/7");

// The requested headset, paired and connectable, without audio; nothing else known.
void setHeadsetOnly()
{
    FakePlatform::addBluetoothDevice(headset, platformName);
}

QString pairingBanner(const QString& name)
{
    return QStringLiteral("x-orvan.nfc|") + BluezBannerTexts::pairing(name);
}

QString connectedBanner(const QString& name)
{
    return QStringLiteral("x-orvan.nfc.connected|") + BluezBannerTexts::connected(name);
}

QString disconnectedBanner(const QString& name)
{
    return QStringLiteral("x-orvan.nfc.disconnected|") + BluezBannerTexts::disconnected(name);
}

QList<BluetoothConnectionManager*> managers()
{
    return FakePlatform::objects<BluetoothConnectionManager>();
}

BluetoothAdapter* platformAdapter()
{
    return FakePlatform::last<BluetoothAdapter>();
}

// The operations a request runs on the device once the adapter is powered: pairing, connection, disconnection.
QStringList operationCalls()
{
    return callsOf({QStringLiteral("BluetoothPairingProcess::start"),
                    QStringLiteral("BluetoothConnectionManager::connect"),
                    QStringLiteral("BluetoothConnectionManager::disconnect")});
}

// The server's ignore addresses and the connection managers' operations, in the order they were made.
QStringList ignoreAddressAndManagerCalls()
{
    return callsOf({QStringLiteral("Server::"), QStringLiteral("BluetoothConnectionManager::connect"),
                    QStringLiteral("BluetoothConnectionManager::disconnect")});
}

// A banner as the call log records SimpleNotification::show: the event type, an empty argument, the text and
// another empty argument.
QString bannerCall(const QString& eventType, const QString& text)
{
    return QStringLiteral("SimpleNotification::show ") + eventType + QStringLiteral("  ") + text + QLatin1Char(' ');
}

// The set-up of the pairing process up to its start, with the step that depends on the PIN in between.
QStringList pairingProcessCalls(const QString& pinStep)
{
    return {QStringLiteral("BluetoothPairingProcess::setErrorNotification true"),
            QStringLiteral("BluetoothPairingProcess::setDialogServer"),
            pinStep,
            QStringLiteral("BluetoothPairingProcess::setAutoTrusted true"),
            QStringLiteral("BluetoothPairingProcess::setAutoConnected false"),
            QStringLiteral("BluetoothPairingProcess::start ") + headset};
}

// The other headset and the requested one, both paired and connectable, each with or without audio.
void setOtherAndHeadset(bool otherHasAudio, bool headsetHasAudio)
{
    TestSupport::setBluetoothDevices(
        {TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, otherHasAudio),
         TestSupport::bluetoothDevice(headset, platformName, true, true, headsetHasAudio)});
}

// The platform adapter reports a changed property; false when there is no adapter to report it.
bool adapterReports(const QString& property)
{
    BluetoothAdapter* adapter = platformAdapter();
    if (!adapter)
        return false;
    Q_EMIT adapter->propertyChanged(property);
    return true;
}

// The newest pairing process reports that it finished; false when there is none.
bool pairingFinishes()
{
    BluetoothPairingProcess* process = FakePlatform::last<BluetoothPairingProcess>();
    if (!process)
        return false;
    Q_EMIT process->finished();
    return true;
}

// The given connection manager emits one of its signals; false when there is no such manager.
template<typename Signal, typename... Args>
bool managerEmits(BluetoothConnectionManager* manager, Signal signal, const Args&... args)
{
    if (!manager)
        return false;
    Q_EMIT(manager->*signal)(args...);
    return true;
}

// The first connection manager the request made (the one of its first operation) emits a signal.
template<typename Signal, typename... Args> bool firstManagerEmits(Signal signal, const Args&... args)
{
    return managerEmits(managers().value(0), signal, args...);
}

// The newest connection manager (after an audio swap, the one of the connection) emits a signal.
template<typename Signal, typename... Args> bool lastManagerEmits(Signal signal, const Args&... args)
{
    return managerEmits(managers().isEmpty() ? nullptr : managers().last(), signal, args...);
}

} // namespace

class tst_NfcAgentBluetoothRequest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    // Construction and accessors
    void constructionTakesOnlyTheDefaultAdapter();
    void constructionWithoutPlatformAdapterIsAllowed();
    void accessorsReadBackWhatWasGiven();
    void propertiesAndTypeKeys();
    void metaObjectListsSignalsThenSlotsInOrder();

    // start()
    void startFailsWithoutValidAdapter_data();
    void startFailsWithoutValidAdapter();
    void pairingAsksTheUserWhenConfirmationIsOn();
    void pairingSkipsTheDialogWhenConfirmationIsOffAndUnlocked_data();
    void pairingSkipsTheDialogWhenConfirmationIsOffAndUnlocked();
    void pairingAsksTheUserWhenPinLocked_data();
    void pairingAsksTheUserWhenPinLocked();
    void pairingDoesNotLookUpTheDeviceAtStart();
    void dialogAppearanceIsRelayedAsDialogShown();
    void confirmedDialogLeadsToPowerUpAndPairing();
    void declinedDialogRejects_data();
    void declinedDialogRejects();
    void dialogFinishedClosesTheDialogThatFinished();
    void dialogFinishedWithoutSenderWarns();
    void dialogFinishedFromNonDialogWarns();
    void unknownDeviceFailsAtStart_data();
    void unknownDeviceFailsAtStart();
    void connectionAndDisconnectionNeverAskTheUser_data();
    void connectionAndDisconnectionNeverAskTheUser();
    void unknownTypeRunsLikeConnectionThenIsInvalid_data();
    void unknownTypeRunsLikeConnectionThenIsInvalid();

    // stop()
    void stopWithoutDialogDoesNothing();
    void stopClosesTheDialogSilently();
    void stopLeavesTheDialogConnected();
    void stopAfterDialogIsGoneDoesNothing();
    void stopDoesNotCancelWaitingForPower();
    void stopDoesNotCancelConnection();

    // Destruction
    void destructionClosesLiveDialog();
    void destructionDeletesOwnedPlatformObjects_data();
    void destructionDeletesOwnedPlatformObjects();
    void destructionKeepsIgnoreAddresses();

    // Power-up
    void pairingBannerComesBeforeThePowerCheck();
    void connectionAndDisconnectionShowNoPairingBanner_data();
    void connectionAndDisconnectionShowNoPairingBanner();
    void poweredAdapterGoesOnAtOnce_data();
    void poweredAdapterGoesOnAtOnce();
    void unpoweredAdapterIsWaitedFor_data();
    void unpoweredAdapterIsWaitedFor();
    void otherPropertyChangesAreIgnored_data();
    void otherPropertyChangesAreIgnored();
    void poweredChangeWhileOffFails();
    void keepingPowerFailureFailsRequest_data();
    void keepingPowerFailureFailsRequest();
    void pairingAndConnectionKeepPowerThroughBlueZ_data();
    void pairingAndConnectionKeepPowerThroughBlueZ();
    void disconnectionDoesNotNeedBlueZ();

    // Pairing
    void pairingWithoutPinIgnoresLegacyPairing();
    void pairingWithPinGivesThePin();
    void pairingRunsForAnAlreadyPairedDevice();
    void pairingErrorFailsWithTheProcessText();
    void pairingOfDeviceThatCannotBeConnectedIsAccepted_data();
    void pairingOfDeviceThatCannotBeConnectedIsAccepted();
    void pairedConnectableDeviceIsConnected();
    void pairedDeviceConnectionFailureFails();
    void pairingSwapsAudioDevice();

    // Connection
    void connectionWithoutAudioDeviceConnects();
    void audioCheckManagersAreDeletedAtOnce();
    void connectionFailureClearsIgnoreAddressAndFails();
    void connectionDisconnectsOtherAudioDeviceFirst();
    void audioSwapDeletesTheOldManagerAtOnce();
    void audioSwapReconnectsTargetThatHasAudio();
    void audioSwapDisconnectsOnlyFirstAudioDevice();
    void audioSwapDisconnectionFailureFails();

    // Disconnection
    void disconnectionDisconnectsAndAccepts();
    void disconnectionFailureClearsIgnoreAddressAndFails();

private:
    NfcAgentBluetoothRequest* newRequest(int type, const QString& address = headset);
    NfcPairingDialog* startAndWaitForTheUser(NfcAgentBluetoothRequest* request);
    bool keepPowerOk() const;

    BluezMock bluez;
    BluezBannerTexts texts;
    FakeDialogServer* server = nullptr;
    QList<QPointer<NfcAgentBluetoothRequest>> created;
};

NfcAgentBluetoothRequest* tst_NfcAgentBluetoothRequest::newRequest(int type, const QString& address)
{
    NfcAgentBluetoothRequest* request = new NfcAgentBluetoothRequest(
        NfcAgentBluetoothRequest::Type(type), server, QDBusObjectPath(targetPath), address, daemonName, headsetClass);
    created.append(request);
    return request;
}

// Starts a pairing request that asks the user first; the pairing dialog it showed, or null when it showed none.
NfcPairingDialog* tst_NfcAgentBluetoothRequest::startAndWaitForTheUser(NfcAgentBluetoothRequest* request)
{
    request->start();
    return server->lastShownOf<NfcPairingDialog>();
}

// The adapter got exactly one SetProperty("Powered", variant true) from BlueZ's point of view.
bool tst_NfcAgentBluetoothRequest::keepPowerOk() const
{
    const QList<BluezMock::Call> calls = bluez.calls(BluezMock::adapterPath());
    return calls.size() == 1 && calls.at(0).method == QLatin1String("SetProperty")
           && calls.at(0).args == QVariantList({QStringLiteral("Powered"), true})
           && bluez.signatures(QStringLiteral("SetProperty")) == QStringList {QStringLiteral("sv")};
}

void tst_NfcAgentBluetoothRequest::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"), "run through scripts/isolated");
    QVERIFY2(bluez.start(), qPrintable(bluez.lastError()));
    QVERIFY(texts.install());
}

void tst_NfcAgentBluetoothRequest::init()
{
    FakePlatform::reset();
    QVERIFY2(bluez.reset(), qPrintable(bluez.lastError()));
    server = new FakeDialogServer;
}

void tst_NfcAgentBluetoothRequest::cleanup()
{
    for (const QPointer<NfcAgentBluetoothRequest>& request : created)
        delete request.data();
    created.clear();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    delete server;
    server = nullptr;
}

void tst_NfcAgentBluetoothRequest::cleanupTestCase()
{
    texts.uninstall();
    bluez.stop();
}

// ---------------------------------------------------------------------------------------------------
// Construction and accessors

void tst_NfcAgentBluetoothRequest::constructionTakesOnlyTheDefaultAdapter()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);

    COMPARE_CALLS(FakePlatform::callNames(), QStringList {QStringLiteral("BluetoothAdapter::defaultAdapter")});
    QCOMPARE(FakePlatform::objects<BluetoothAdapter>().size(), 1);
    QCOMPARE(bluez.calls(BluezMock::managerPath()).size(), 0);
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::constructionWithoutPlatformAdapterIsAllowed()
{
    FakePlatform::setBluetoothAdapterPresent(false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    QCOMPARE(request->type(), NfcAgentBluetoothRequest::Connect);
    QCOMPARE(FakePlatform::objects<BluetoothAdapter>().size(), 0);
}

void tst_NfcAgentBluetoothRequest::accessorsReadBackWhatWasGiven()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Disconnect);
    QCOMPARE(request->type(), NfcAgentBluetoothRequest::Disconnect);
    QCOMPARE(request->targetPath(), QDBusObjectPath(targetPath));
    QVERIFY(request->pinCode().isEmpty());

    request->setPinCode(QStringLiteral("0000"));
    QCOMPARE(request->pinCode(), QStringLiteral("0000"));
    request->setPinCode(QString());
    QVERIFY(request->pinCode().isEmpty());
}

void tst_NfcAgentBluetoothRequest::propertiesAndTypeKeys()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);

    QVERIFY(request->setProperty("pinCode", QStringLiteral("1234")));
    QCOMPARE(request->pinCode(), QStringLiteral("1234"));
    QCOMPARE(request->property("pinCode").toString(), QStringLiteral("1234"));
    QCOMPARE(request->property("type").value<NfcAgentBluetoothRequest::Type>(), NfcAgentBluetoothRequest::Connect);
    QCOMPARE(request->property("targetPath").value<QDBusObjectPath>(), QDBusObjectPath(targetPath));
    // type and targetPath are read-only.
    QVERIFY(!request->setProperty("type", int(NfcAgentBluetoothRequest::Pairing)));
    QCOMPARE(request->type(), NfcAgentBluetoothRequest::Connect);

    const QMetaEnum keys = QMetaEnum::fromType<NfcAgentBluetoothRequest::Type>();
    QCOMPARE(keys.keyCount(), 3);
    QCOMPARE(keys.valueToKey(0), "Pairing");
    QCOMPARE(keys.valueToKey(1), "Connect");
    QCOMPARE(keys.valueToKey(2), "Disconnect");
}

// ---------------------------------------------------------------------------------------------------
// start()

void tst_NfcAgentBluetoothRequest::startFailsWithoutValidAdapter_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<int>("type");
    QTest::newRow("no adapter, pairing") << false << int(NfcAgentBluetoothRequest::Pairing);
    QTest::newRow("no adapter, connect") << false << int(NfcAgentBluetoothRequest::Connect);
    QTest::newRow("no adapter, disconnect") << false << int(NfcAgentBluetoothRequest::Disconnect);
    QTest::newRow("invalid adapter, pairing") << true << int(NfcAgentBluetoothRequest::Pairing);
    QTest::newRow("invalid adapter, connect") << true << int(NfcAgentBluetoothRequest::Connect);
    QTest::newRow("invalid adapter, disconnect") << true << int(NfcAgentBluetoothRequest::Disconnect);
}

void tst_NfcAgentBluetoothRequest::startFailsWithoutValidAdapter()
{
    QFETCH(bool, exists);
    QFETCH(int, type);
    FakePlatform::setBluetoothAdapterPresent(exists);
    FakePlatform::setBluetoothAdapterValid(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);
    Outcome outcome(request);
    FakePlatform::clearCalls();

    QTest::ignoreMessage(QtWarningMsg, "NfcAgentBluetoothRequest: Unable to get valid BluetoothAdapter");
    request->start();

    // Synchronously, from start() itself.
    QCOMPARE(outcome.failures(), QStringList {QString::fromLatin1(failedReason)});
    QCOMPARE(outcome.outcomes(), 1);
    COMPARE_CALLS(FakePlatform::callNames(), QStringList());
    QVERIFY(server->shownDialogs().isEmpty());
}

void tst_NfcAgentBluetoothRequest::pairingAsksTheUserWhenConfirmationIsOn()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    FakePlatform::clearCalls();

    request->start();

    NfcPairingDialog* dialog = server->lastShownOf<NfcPairingDialog>();
    QVERIFY(dialog);
    QCOMPARE(dialog->classOfDevice(), headsetClass);
    QVERIFY(server->isOpen(dialog));
    COMPARE_CALLS(
        callsOf({QStringLiteral("NfcAdapter::"), QStringLiteral("QSystemDeviceInfo::"),
                 QStringLiteral("ConnectivityUIUtils::"), QStringLiteral("Server::"),
                 QStringLiteral("SimpleNotification::"), QStringLiteral("BluetoothPairingProcess::")}),
        (QStringList {QStringLiteral("NfcAdapter::defaultAdapter"), QStringLiteral("NfcAdapter::isConfirmationEnabled"),
                      QStringLiteral("NfcAdapter::~NfcAdapter"), QStringLiteral("ConnectivityUIUtils::unblankDisplay"),
                      QStringLiteral("Server::showDialog NfcPairingDialog")}));
    // The NFC adapter object went before the dialog came; the request waits for the user.
    QCOMPARE(FakePlatform::objects<NfcAdapter>().size(), 0);
    QCOMPARE(outcome.outcomes(), 0);
    QCOMPARE(outcome.dialogShown.count(), 0);
}

void tst_NfcAgentBluetoothRequest::pairingSkipsTheDialogWhenConfirmationIsOffAndUnlocked_data()
{
    QTest::addColumn<int>("lockStatus");
    QTest::newRow("not locked") << 0;
    QTest::newRow("touch and keyboard locked only") << 2;
}

void tst_NfcAgentBluetoothRequest::pairingSkipsTheDialogWhenConfirmationIsOffAndUnlocked()
{
    QFETCH(int, lockStatus);
    FakePlatform::setConfirmationEnabled(false);
    FakePlatform::setLockStatus(lockStatus);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    FakePlatform::clearCalls();

    request->start();

    QVERIFY(server->shownDialogs().isEmpty());
    QCOMPARE(outcome.dialogShown.count(), 0);
    QCOMPARE(FakePlatform::objects<NfcAdapter>().size(), 0);
    // The NFC adapter object goes first, then straight to the power-up: banner, then the pairing itself.
    COMPARE_CALLS(
        callsOf({QStringLiteral("NfcAdapter::"), QStringLiteral("QSystemDeviceInfo::"),
                 QStringLiteral("SimpleNotification::"), QStringLiteral("BluetoothPairingProcess::start")}),
        (QStringList {QStringLiteral("NfcAdapter::defaultAdapter"), QStringLiteral("NfcAdapter::isConfirmationEnabled"),
                      QStringLiteral("QSystemDeviceInfo::lockStatus"), QStringLiteral("NfcAdapter::~NfcAdapter"),
                      bannerCall(QStringLiteral("x-orvan.nfc"), BluezBannerTexts::pairing(daemonName)),
                      QStringLiteral("BluetoothPairingProcess::start ") + headset}));
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::pairingAsksTheUserWhenPinLocked_data()
{
    QTest::addColumn<int>("lockStatus");
    QTest::newRow("PIN locked") << 1;
    QTest::newRow("PIN and touch locked") << 3;
}

void tst_NfcAgentBluetoothRequest::pairingAsksTheUserWhenPinLocked()
{
    QFETCH(int, lockStatus);
    FakePlatform::setConfirmationEnabled(false);
    FakePlatform::setLockStatus(lockStatus);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);

    request->start();

    QVERIFY(server->lastShownOf<NfcPairingDialog>());
    QVERIFY(banners().isEmpty());
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::start")), 0);
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::pairingDoesNotLookUpTheDeviceAtStart()
{
    FakePlatform::setConfirmationEnabled(false);
    TestSupport::setBluetoothDevices({});
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);

    request->start();

    // The adapter does not know the device, and the pairing runs all the same.
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothAdapter::deviceForAddress")), 0);
    COMPARE_CALLS(callsOf({QStringLiteral("BluetoothPairingProcess::start")}),
                  QStringList {QStringLiteral("BluetoothPairingProcess::start ") + headset});
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::dialogAppearanceIsRelayedAsDialogShown()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    NfcPairingDialog* dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);

    dialog->appear();
    QCOMPARE(outcome.dialogShown.count(), 1);
    dialog->appear();
    QCOMPARE(outcome.dialogShown.count(), 2);
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::confirmedDialogLeadsToPowerUpAndPairing()
{
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    NfcPairingDialog* dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);
    FakePlatform::clearCalls();

    dialog->done(Dialog::Ok);

    QCOMPARE(server->closedDialogs().size(), 1);
    QCOMPARE(server->closedDialogs().value(0).data(), static_cast<Dialog*>(dialog));
    COMPARE_CALLS(callsOf({QStringLiteral("Server::"), QStringLiteral("ConnectivityUIUtils::"),
                           QStringLiteral("SimpleNotification::"), QStringLiteral("BluetoothPairingProcess::start")}),
                  (QStringList {QStringLiteral("Server::closeDialog NfcPairingDialog"),
                                QStringLiteral("ConnectivityUIUtils::unblankDisplay"),
                                bannerCall(QStringLiteral("x-orvan.nfc"), BluezBannerTexts::pairing(daemonName)),
                                QStringLiteral("BluetoothPairingProcess::start ") + headset}));
    QVERIFY(keepPowerOk());
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::declinedDialogRejects_data()
{
    QTest::addColumn<int>("result");
    QTest::newRow("cancel") << int(Dialog::Cancel);
    QTest::newRow("no button") << int(Dialog::NoButton);
    QTest::newRow("no") << int(Dialog::No);
    QTest::newRow("yes") << int(Dialog::Yes);
    QTest::newRow("other code") << 1;
}

void tst_NfcAgentBluetoothRequest::declinedDialogRejects()
{
    QFETCH(int, result);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    NfcPairingDialog* dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);
    FakePlatform::clearCalls();

    dialog->done(result);

    QCOMPARE(outcome.rejected.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
    COMPARE_CALLS(FakePlatform::callNames(), QStringList {QStringLiteral("Server::closeDialog")});
    QCOMPARE(bluez.calls(BluezMock::adapterPath()).size(), 0);
}

void tst_NfcAgentBluetoothRequest::dialogFinishedClosesTheDialogThatFinished()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    NfcPairingDialog* ownDialog = startAndWaitForTheUser(request);
    QVERIFY(ownDialog);

    Dialog* other = new Dialog;
    server->showDialog(other);
    QVERIFY(connect(other, SIGNAL(finished(int)), request, SLOT(dialogFinished())));
    other->done(Dialog::Cancel);

    QCOMPARE(server->closedDialogs().size(), 1);
    QCOMPARE(server->closedDialogs().value(0).data(), other);
    QVERIFY(server->isOpen(ownDialog));
    QCOMPARE(outcome.rejected.count(), 1);
}

void tst_NfcAgentBluetoothRequest::dialogFinishedWithoutSenderWarns()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    NfcPairingDialog* dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);
    FakePlatform::clearCalls();

    QTest::ignoreMessage(QtWarningMsg, "NfcAgentBluetoothRequest::dialogFinished() lacks dialog");
    QVERIFY(QMetaObject::invokeMethod(request, "dialogFinished"));

    QCOMPARE(outcome.outcomes(), 0);
    COMPARE_CALLS(FakePlatform::callNames(), QStringList());
    // Still confirming: the user's answer is still taken.
    QVERIFY(server->isOpen(dialog));
    dialog->done(Dialog::Cancel);
    QCOMPARE(outcome.rejected.count(), 1);
}

void tst_NfcAgentBluetoothRequest::dialogFinishedFromNonDialogWarns()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    request->start();
    FakePlatform::clearCalls();

    QTimer notADialog;
    notADialog.setSingleShot(true);
    QVERIFY(connect(&notADialog, SIGNAL(timeout()), request, SLOT(dialogFinished())));
    QTest::ignoreMessage(QtWarningMsg, "NfcAgentBluetoothRequest::dialogFinished() lacks dialog");
    notADialog.start(0);
    QTRY_VERIFY(!notADialog.isActive());

    QCOMPARE(outcome.outcomes(), 0);
    COMPARE_CALLS(FakePlatform::callNames(), QStringList());
}

void tst_NfcAgentBluetoothRequest::unknownDeviceFailsAtStart_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("connect") << int(NfcAgentBluetoothRequest::Connect);
    QTest::newRow("disconnect") << int(NfcAgentBluetoothRequest::Disconnect);
    QTest::newRow("unknown type") << 3;
}

void tst_NfcAgentBluetoothRequest::unknownDeviceFailsAtStart()
{
    QFETCH(int, type);
    FakePlatform::setBluetoothPowered(false);
    TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, false)});
    NfcAgentBluetoothRequest* request = newRequest(type);
    Outcome outcome(request);
    FakePlatform::clearCalls();

    const QByteArray warning = "NfcAgentBluetoothRequest: Invalid BluetoothDevice " + headset.toUtf8();
    QTest::ignoreMessage(QtWarningMsg, warning.constData());
    request->start();

    QCOMPARE(outcome.failures(), QStringList {QString::fromLatin1(failedReason)});
    QCOMPARE(outcome.outcomes(), 1);
    COMPARE_CALLS(FakePlatform::callNames(), QStringList {QStringLiteral("BluetoothAdapter::deviceForAddress")});
    // No power-up: the adapter's power change reaches nothing.
    FakePlatform::setBluetoothPowered(true);
    QVERIFY(adapterReports(QStringLiteral("powered")));
    QCOMPARE(outcome.outcomes(), 1);
    QVERIFY(managers().isEmpty());
    QCOMPARE(bluez.calls(BluezMock::managerPath()).size(), 0);
}

void tst_NfcAgentBluetoothRequest::connectionAndDisconnectionNeverAskTheUser_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("operation");
    QTest::newRow("connect") << int(NfcAgentBluetoothRequest::Connect) << QStringLiteral("connect ") + headset;
    QTest::newRow("disconnect") << int(NfcAgentBluetoothRequest::Disconnect) << QStringLiteral("disconnect ") + headset;
}

void tst_NfcAgentBluetoothRequest::connectionAndDisconnectionNeverAskTheUser()
{
    QFETCH(int, type);
    QFETCH(QString, operation);
    FakePlatform::setConfirmationEnabled(true);
    FakePlatform::setLockStatus(1);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);
    Outcome outcome(request);

    request->start();

    QVERIFY(server->shownDialogs().isEmpty());
    QCOMPARE(FakePlatform::count(QStringLiteral("NfcAdapter::defaultAdapter")), 0);
    QCOMPARE(FakePlatform::count(QStringLiteral("QSystemDeviceInfo::lockStatus")), 0);
    COMPARE_CALLS(managerCalls(), QStringList {operation});
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::unknownTypeRunsLikeConnectionThenIsInvalid_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("powered");
    QTest::newRow("3, powered") << 3 << true;
    QTest::newRow("3, powered later") << 3 << false;
    QTest::newRow("-1 (unsigned: not below 2), powered") << -1 << true;
}

void tst_NfcAgentBluetoothRequest::unknownTypeRunsLikeConnectionThenIsInvalid()
{
    QFETCH(int, type);
    QFETCH(bool, powered);
    FakePlatform::setBluetoothPowered(powered);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);
    Outcome outcome(request);

    const QByteArray warning = "NfcAgentBluetoothRequest: Unable to handle request " + QByteArray::number(type);
    if (powered)
        QTest::ignoreMessage(QtWarningMsg, warning.constData());
    request->start();

    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothAdapter::deviceForAddress")), 1);
    QVERIFY(server->shownDialogs().isEmpty());
    if (!powered) {
        QCOMPARE(outcome.outcomes(), 0);
        FakePlatform::setBluetoothPowered(true);
        QTest::ignoreMessage(QtWarningMsg, warning.constData());
        QVERIFY(adapterReports(QStringLiteral("powered")));
    }

    QCOMPARE(outcome.failures(), QStringList {QString::fromLatin1(invalidRequestReason)});
    QCOMPARE(outcome.outcomes(), 1);
    // Not a pairing or connection: BlueZ is not asked to keep the power, and nothing is operated.
    QCOMPARE(bluez.calls(BluezMock::managerPath()).size(), 0);
    QVERIFY(banners().isEmpty());
    QVERIFY(managers().isEmpty());
    QCOMPARE(FakePlatform::objects<BluetoothPairingProcess>().size(), 0);
}

// ---------------------------------------------------------------------------------------------------
// stop()

void tst_NfcAgentBluetoothRequest::stopWithoutDialogDoesNothing()
{
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->stop();
    request->start();
    FakePlatform::clearCalls();

    request->stop();

    COMPARE_CALLS(FakePlatform::callNames(), QStringList());
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::stopClosesTheDialogSilently()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    QPointer<NfcPairingDialog> dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);
    FakePlatform::clearCalls();

    request->stop();

    COMPARE_CALLS(FakePlatform::callNames(), QStringList {QStringLiteral("Server::closeDialog")});
    QCOMPARE(server->closedDialogs().value(0).data(), static_cast<Dialog*>(dialog.data()));
    QCOMPARE(outcome.outcomes(), 0);
    QCOMPARE(outcome.dialogShown.count(), 0);
}

void tst_NfcAgentBluetoothRequest::stopLeavesTheDialogConnected()
{
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    NfcPairingDialog* dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);
    request->stop();

    // The dialog's signals still reach the request.
    dialog->appear();
    QCOMPARE(outcome.dialogShown.count(), 1);
    dialog->done(Dialog::Ok);
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::start")), 1);
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::stopAfterDialogIsGoneDoesNothing()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    NfcPairingDialog* dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);
    delete dialog; // the server destroyed it
    FakePlatform::clearCalls();

    request->stop();

    COMPARE_CALLS(FakePlatform::callNames(), QStringList());
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::stopDoesNotCancelWaitingForPower()
{
    FakePlatform::setBluetoothPowered(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();
    request->stop();

    FakePlatform::setBluetoothPowered(true);
    QVERIFY(adapterReports(QStringLiteral("powered")));

    COMPARE_CALLS(callsOf({QStringLiteral("BluetoothConnectionManager::connect")}),
                  QStringList {QStringLiteral("BluetoothConnectionManager::connect ") + headset});
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::stopDoesNotCancelConnection()
{
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();
    QCOMPARE(managers().size(), 1);
    request->stop();

    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::connected));
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
}

// ---------------------------------------------------------------------------------------------------
// Destruction

void tst_NfcAgentBluetoothRequest::destructionClosesLiveDialog()
{
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    QPointer<NfcPairingDialog> dialog = startAndWaitForTheUser(request);
    QVERIFY(dialog);
    FakePlatform::clearCalls();

    delete request;

    COMPARE_CALLS(FakePlatform::callNames(), QStringList {QStringLiteral("Server::closeDialog")});
    QCOMPARE(server->closedDialogs().value(0).data(), static_cast<Dialog*>(dialog.data()));
    // The dialog belongs to the server and is not deleted.
    QVERIFY(dialog);
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::destructionDeletesOwnedPlatformObjects_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("powered");
    QTest::addColumn<bool>("otherHasAudio");
    QTest::addColumn<bool>("finishPairing");
    QTest::addColumn<QStringList>("owned");
    const QString adapter = QStringLiteral("BluetoothAdapter");
    const QString process = QStringLiteral("BluetoothPairingProcess");
    const QString manager = QStringLiteral("BluetoothConnectionManager");
    QTest::newRow("waiting for power") << int(NfcAgentBluetoothRequest::Connect) << false << false << false
                                       << QStringList {adapter};
    QTest::newRow("pairing") << int(NfcAgentBluetoothRequest::Pairing) << true << false << false
                             << QStringList {adapter, process};
    QTest::newRow("paired and connecting")
        << int(NfcAgentBluetoothRequest::Pairing) << true << false << true << QStringList {adapter, process, manager};
    QTest::newRow("connecting") << int(NfcAgentBluetoothRequest::Connect) << true << false << false
                                << QStringList {adapter, manager};
    QTest::newRow("audio swap") << int(NfcAgentBluetoothRequest::Connect) << true << true << false
                                << QStringList {adapter, manager};
    QTest::newRow("disconnecting") << int(NfcAgentBluetoothRequest::Disconnect) << true << false << false
                                   << QStringList {adapter, manager};
}

void tst_NfcAgentBluetoothRequest::destructionDeletesOwnedPlatformObjects()
{
    QFETCH(int, type);
    QFETCH(bool, powered);
    QFETCH(bool, otherHasAudio);
    QFETCH(bool, finishPairing);
    QFETCH(QStringList, owned);
    FakePlatform::setConfirmationEnabled(false);
    FakePlatform::setBluetoothPowered(powered);
    setOtherAndHeadset(otherHasAudio, false);
    NfcAgentBluetoothRequest* request = newRequest(type);
    request->start();
    if (finishPairing) {
        QVERIFY(pairingFinishes());
    }

    QList<QPointer<QObject>> alive;
    QStringList classes;
    for (QObject* object : FakePlatform::trackedObjects()) {
        if (qobject_cast<BluetoothAdapter*>(object) || qobject_cast<BluetoothPairingProcess*>(object)
            || qobject_cast<BluetoothConnectionManager*>(object)) {
            alive.append(object);
            classes.append(QString::fromLatin1(object->metaObject()->className()));
        }
    }
    QCOMPARE(classes, owned);

    delete request;

    for (const QPointer<QObject>& object : alive)
        QVERIFY2(!object, object ? object->metaObject()->className() : "");
}

void tst_NfcAgentBluetoothRequest::destructionKeepsIgnoreAddresses()
{
    setOtherAndHeadset(true, false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    request->start();
    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnected));
    QCOMPARE(server->properties().value(QStringLiteral("BtDisconnectIgnoreAddress")).toString(), otherHeadset);
    QCOMPARE(server->properties().value(QStringLiteral("BtConnectIgnoreAddress")).toString(), headset);
    FakePlatform::clearCalls();

    delete request;

    QCOMPARE(FakePlatform::count(QStringLiteral("Server::setProperty")), 0);
    QCOMPARE(server->properties().value(QStringLiteral("BtDisconnectIgnoreAddress")).toString(), otherHeadset);
    QCOMPARE(server->properties().value(QStringLiteral("BtConnectIgnoreAddress")).toString(), headset);
}

// ---------------------------------------------------------------------------------------------------
// Power-up

void tst_NfcAgentBluetoothRequest::pairingBannerComesBeforeThePowerCheck()
{
    FakePlatform::setConfirmationEnabled(false);
    FakePlatform::setBluetoothPowered(false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    FakePlatform::clearCalls();

    request->start();
    COMPARE_CALLS(callsOf({QStringLiteral("ConnectivityUIUtils::"), QStringLiteral("SimpleNotification::")}),
                  (QStringList {QStringLiteral("ConnectivityUIUtils::unblankDisplay"),
                                bannerCall(QStringLiteral("x-orvan.nfc"), BluezBannerTexts::pairing(daemonName))}));
    COMPARE_CALLS(banners(), QStringList {pairingBanner(daemonName)});

    // The adapter then reports its power but stays off: the banner was shown all the same.
    QTest::ignoreMessage(QtWarningMsg, "Bluetooth adapter was not powered");
    QVERIFY(adapterReports(QStringLiteral("powered")));
    QCOMPARE(outcome.failures(), QStringList {QString::fromLatin1(failedReason)});
    COMPARE_CALLS(banners(), QStringList {pairingBanner(daemonName)});
}

void tst_NfcAgentBluetoothRequest::connectionAndDisconnectionShowNoPairingBanner_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("connect") << int(NfcAgentBluetoothRequest::Connect);
    QTest::newRow("disconnect") << int(NfcAgentBluetoothRequest::Disconnect);
}

void tst_NfcAgentBluetoothRequest::connectionAndDisconnectionShowNoPairingBanner()
{
    QFETCH(int, type);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);
    request->start();
    QVERIFY(banners().isEmpty());
    QCOMPARE(FakePlatform::count(QStringLiteral("ConnectivityUIUtils::unblankDisplay")), 0);
}

void tst_NfcAgentBluetoothRequest::poweredAdapterGoesOnAtOnce_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("operation");
    QTest::newRow("pairing") << int(NfcAgentBluetoothRequest::Pairing)
                             << QStringLiteral("BluetoothPairingProcess::start ") + headset;
    QTest::newRow("connect") << int(NfcAgentBluetoothRequest::Connect)
                             << QStringLiteral("BluetoothConnectionManager::connect ") + headset;
    QTest::newRow("disconnect") << int(NfcAgentBluetoothRequest::Disconnect)
                                << QStringLiteral("BluetoothConnectionManager::disconnect ") + headset;
}

void tst_NfcAgentBluetoothRequest::poweredAdapterGoesOnAtOnce()
{
    QFETCH(int, type);
    QFETCH(QString, operation);
    FakePlatform::setConfirmationEnabled(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);
    Outcome outcome(request);

    request->start();
    COMPARE_CALLS(operationCalls(), QStringList {operation});

    // No connection to the adapter was made: a later power report changes nothing.
    QVERIFY(adapterReports(QStringLiteral("powered")));
    COMPARE_CALLS(operationCalls(), QStringList {operation});
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::unpoweredAdapterIsWaitedFor_data()
{
    poweredAdapterGoesOnAtOnce_data();
}

void tst_NfcAgentBluetoothRequest::unpoweredAdapterIsWaitedFor()
{
    QFETCH(int, type);
    QFETCH(QString, operation);
    FakePlatform::setConfirmationEnabled(false);
    FakePlatform::setBluetoothPowered(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);
    Outcome outcome(request);

    request->start();
    QTest::qWait(50);
    COMPARE_CALLS(operationCalls(), QStringList());
    QCOMPARE(bluez.calls(BluezMock::managerPath()).size(), 0);

    FakePlatform::setBluetoothPowered(true);
    QVERIFY(adapterReports(QStringLiteral("powered")));
    COMPARE_CALLS(operationCalls(), QStringList {operation});

    // The wait is over: the connection to the adapter is gone.
    QVERIFY(adapterReports(QStringLiteral("powered")));
    COMPARE_CALLS(operationCalls(), QStringList {operation});
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::otherPropertyChangesAreIgnored_data()
{
    QTest::addColumn<QString>("property");
    QTest::newRow("capitalised") << QStringLiteral("Powered");
    QTest::newRow("other property") << QStringLiteral("discoverable");
    QTest::newRow("empty") << QString();
    QTest::newRow("trailing blank") << QStringLiteral("powered ");
}

void tst_NfcAgentBluetoothRequest::otherPropertyChangesAreIgnored()
{
    QFETCH(QString, property);
    FakePlatform::setBluetoothPowered(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();

    // Whether the adapter is off or on by now, only "powered" counts.
    QVERIFY(adapterReports(property));
    FakePlatform::setBluetoothPowered(true);
    QVERIFY(adapterReports(property));
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothConnectionManager::connect")), 0);
    QCOMPARE(outcome.outcomes(), 0);

    QVERIFY(adapterReports(QStringLiteral("powered")));
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothConnectionManager::connect")), 1);
}

void tst_NfcAgentBluetoothRequest::poweredChangeWhileOffFails()
{
    FakePlatform::setBluetoothPowered(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();

    QTest::ignoreMessage(QtWarningMsg, "Bluetooth adapter was not powered");
    QVERIFY(adapterReports(QStringLiteral("powered")));
    QCOMPARE(outcome.failures(), QStringList {QString::fromLatin1(failedReason)});
    QCOMPARE(outcome.outcomes(), 1);
    QVERIFY(managers().isEmpty());
    QCOMPARE(bluez.calls(BluezMock::managerPath()).size(), 0);

    // The connection to the adapter is kept after the failure.
    QTest::ignoreMessage(QtWarningMsg, "Bluetooth adapter was not powered");
    QVERIFY(adapterReports(QStringLiteral("powered")));
    QCOMPARE(outcome.failed.count(), 2);
}

void tst_NfcAgentBluetoothRequest::keepingPowerFailureFailsRequest_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("blueZ");
    QTest::addColumn<QString>("warning");
    const QList<QPair<QString, QString>> rows {
        {QStringLiteral("absent"), QStringLiteral("Bluez does not exist")},
        {QStringLiteral("DefaultAdapter error"),
         QStringLiteral("DefaultAdapter returned error 'org.bluez.Error.NoSuchAdapter': No such adapter")},
        {QStringLiteral("adapter unreachable"), QStringLiteral("Default adapter does not exist")},
        {QStringLiteral("SetProperty error"),
         QStringLiteral("SetProperty returned error 'org.bluez.Error.Failed': Adapter is blocked")}};
    for (const auto& row : rows) {
        QTest::addRow("pairing, BlueZ %s", qPrintable(row.first))
            << int(NfcAgentBluetoothRequest::Pairing) << row.first << row.second;
        QTest::addRow("connect, BlueZ %s", qPrintable(row.first))
            << int(NfcAgentBluetoothRequest::Connect) << row.first << row.second;
    }
}

void tst_NfcAgentBluetoothRequest::keepingPowerFailureFailsRequest()
{
    QFETCH(int, type);
    QFETCH(QString, blueZ);
    QFETCH(QString, warning);
    if (blueZ == QLatin1String("absent"))
        bluez.stop();
    else if (blueZ == QLatin1String("DefaultAdapter error"))
        QVERIFY(bluez.setError(QStringLiteral("DefaultAdapter"), QStringLiteral("org.bluez.Error.NoSuchAdapter"),
                               QStringLiteral("No such adapter")));
    else if (blueZ == QLatin1String("adapter unreachable"))
        QVERIFY(bluez.leaveBusAfter(QStringLiteral("DefaultAdapter")));
    else
        QVERIFY(bluez.setError(QStringLiteral("SetProperty"), QStringLiteral("org.bluez.Error.Failed"),
                               QStringLiteral("Adapter is blocked")));
    FakePlatform::setConfirmationEnabled(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);
    Outcome outcome(request);

    BluezWarningLog log;
    QTest::ignoreMessage(QtWarningMsg, warning.toUtf8().constData());
    QTest::ignoreMessage(QtWarningMsg, "NfcAgentBluetoothRequest: Unable to ensure that Bluetooth remains powered");
    request->start();

    QCOMPARE(log.warnings(),
             (QStringList {warning, QStringLiteral(
                                        "NfcAgentBluetoothRequest: Unable to ensure that Bluetooth remains powered")}));
    QCOMPARE(outcome.failures(), QStringList {QString::fromLatin1(failedReason)});
    QCOMPARE(outcome.outcomes(), 1);
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::start")), 0);
    QVERIFY(managers().isEmpty());
}

void tst_NfcAgentBluetoothRequest::pairingAndConnectionKeepPowerThroughBlueZ_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("pairing") << int(NfcAgentBluetoothRequest::Pairing);
    QTest::newRow("connect") << int(NfcAgentBluetoothRequest::Connect);
}

void tst_NfcAgentBluetoothRequest::pairingAndConnectionKeepPowerThroughBlueZ()
{
    QFETCH(int, type);
    FakePlatform::setConfirmationEnabled(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(type);

    BluezWarningLog log;
    request->start();

    QCOMPARE(log.warnings(), QStringList());
    QVERIFY(keepPowerOk());
    QStringList managerMethods;
    for (const BluezMock::Call& call : bluez.calls(BluezMock::managerPath()))
        managerMethods.append(call.method);
    QCOMPARE(managerMethods, QStringList {QStringLiteral("DefaultAdapter")});
}

void tst_NfcAgentBluetoothRequest::disconnectionDoesNotNeedBlueZ()
{
    bluez.stop();
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Disconnect);
    Outcome outcome(request);

    BluezWarningLog log;
    request->start();
    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnected));

    QCOMPARE(log.warnings(), QStringList());
    COMPARE_CALLS(callsOf({QStringLiteral("BluetoothConnectionManager::disconnect")}),
                  QStringList {QStringLiteral("BluetoothConnectionManager::disconnect ") + headset});
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
}

// ---------------------------------------------------------------------------------------------------
// Pairing

void tst_NfcAgentBluetoothRequest::pairingWithoutPinIgnoresLegacyPairing()
{
    FakePlatform::setConfirmationEnabled(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    request->setPinCode(QString());
    request->start();

    COMPARE_CALLS(callsOf({QStringLiteral("BluetoothPairingProcess::")}),
                  pairingProcessCalls(QStringLiteral("BluetoothPairingProcess::setIgnoreLegacyPairing true")));
    const QList<FakeCall> serverCalls
        = FakePlatform::callsTo(QStringLiteral("BluetoothPairingProcess::setDialogServer"));
    QCOMPARE(serverCalls.value(0).args.value(0).value<void*>(), static_cast<void*>(server));
}

void tst_NfcAgentBluetoothRequest::pairingWithPinGivesThePin()
{
    FakePlatform::setConfirmationEnabled(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    request->setPinCode(QStringLiteral("4711"));
    request->start();

    COMPARE_CALLS(callsOf({QStringLiteral("BluetoothPairingProcess::")}),
                  pairingProcessCalls(QStringLiteral("BluetoothPairingProcess::setPinCode 4711")));
}

void tst_NfcAgentBluetoothRequest::pairingRunsForAnAlreadyPairedDevice()
{
    FakePlatform::setConfirmationEnabled(false);
    TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, platformName, true, false, false)});
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    request->start();

    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothPairingProcess::start")), 1);
    QCOMPARE(outcome.outcomes(), 0);
}

void tst_NfcAgentBluetoothRequest::pairingErrorFailsWithTheProcessText()
{
    FakePlatform::setConfirmationEnabled(false);
    setHeadsetOnly();
    const QString error
        = QString::fromUtf8("org.bluez.Error.AuthenticationFailed: Authentifizierung fehlgeschlagen \xe2\x80\x93 PIN");
    FakePlatform::setPairingError(error);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    request->start();
    QPointer<BluetoothPairingProcess> process = FakePlatform::last<BluetoothPairingProcess>();
    QVERIFY(process);
    FakePlatform::clearCalls();

    Q_EMIT process->finished();

    QCOMPARE(outcome.failures(), QStringList {error});
    QCOMPARE(outcome.outcomes(), 1);
    // The device was looked up first; nothing else follows, and the process stays with the request.
    COMPARE_CALLS(FakePlatform::callNames(), QStringList {QStringLiteral("BluetoothAdapter::deviceForAddress")});
    COMPARE_CALLS(banners(), QStringList());
    QVERIFY(managers().isEmpty());
    QVERIFY(process);
}

void tst_NfcAgentBluetoothRequest::pairingOfDeviceThatCannotBeConnectedIsAccepted_data()
{
    QTest::addColumn<QVariantList>("devices");
    QTest::newRow("paired, not connectable")
        << QVariantList {TestSupport::bluetoothDevice(headset, platformName, true, false, false)};
    QTest::newRow("connectable, not reported paired")
        << QVariantList {TestSupport::bluetoothDevice(headset, platformName, false, true, false)};
    QTest::newRow("unknown to the adapter")
        << QVariantList {TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, true)};
}

void tst_NfcAgentBluetoothRequest::pairingOfDeviceThatCannotBeConnectedIsAccepted()
{
    QFETCH(QVariantList, devices);
    FakePlatform::setConfirmationEnabled(false);
    FakePlatform::set(QStringLiteral("BluetoothAdapter/devices"), devices);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    request->start();
    FakePlatform::clearCalls();

    QVERIFY(pairingFinishes());

    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
    COMPARE_CALLS(banners(), QStringList());
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothAdapter::listDevices")), 0);
    QVERIFY(managers().isEmpty());
    QCOMPARE(FakePlatform::count(QStringLiteral("Server::setProperty")), 0);
}

void tst_NfcAgentBluetoothRequest::pairedConnectableDeviceIsConnected()
{
    FakePlatform::setConfirmationEnabled(false);
    TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, platformName, true, true, false)});
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    request->start();
    FakePlatform::clearCalls();

    QVERIFY(pairingFinishes());

    COMPARE_CALLS(callsOf({QStringLiteral("BluetoothAdapter::"), QStringLiteral("BluetoothConnectionManager::"),
                           QStringLiteral("Server::")}),
                  (QStringList {QStringLiteral("BluetoothAdapter::deviceForAddress ") + headset,
                                QStringLiteral("BluetoothConnectionManager::isConnectable ") + headset,
                                QStringLiteral("BluetoothAdapter::listDevices"),
                                QStringLiteral("Server::setProperty BtConnectIgnoreAddress ") + headset,
                                QStringLiteral("BluetoothConnectionManager::connect ") + headset}));
    QCOMPARE(outcome.outcomes(), 0);

    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::connected));
    COMPARE_CALLS(banners(), QStringList {connectedBanner(platformName)});
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
}

void tst_NfcAgentBluetoothRequest::pairedDeviceConnectionFailureFails()
{
    FakePlatform::setConfirmationEnabled(false);
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    request->start();
    QVERIFY(pairingFinishes());

    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::connectionFailed, QStringLiteral("Host is down")));
    QCOMPARE(outcome.failures(), QStringList {QStringLiteral("Host is down")});
    QCOMPARE(outcome.outcomes(), 1);
    QVERIFY(!server->properties().contains(QStringLiteral("BtConnectIgnoreAddress")));
}

void tst_NfcAgentBluetoothRequest::pairingSwapsAudioDevice()
{
    FakePlatform::setConfirmationEnabled(false);
    setOtherAndHeadset(true, false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Pairing);
    Outcome outcome(request);
    request->start();
    QVERIFY(pairingFinishes());

    COMPARE_CALLS(managerCalls(), QStringList {QStringLiteral("disconnect ") + otherHeadset});
    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnected));
    COMPARE_CALLS(managerCalls(), (QStringList {QStringLiteral("disconnect ") + otherHeadset,
                                QStringLiteral("connect ") + headset}));
    QVERIFY(lastManagerEmits(&BluetoothConnectionManager::connected));

    COMPARE_CALLS(banners(), (QStringList {pairingBanner(daemonName), disconnectedBanner(otherName),
                                           connectedBanner(platformName)}));
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
}

// ---------------------------------------------------------------------------------------------------
// Connection

void tst_NfcAgentBluetoothRequest::connectionWithoutAudioDeviceConnects()
{
    setOtherAndHeadset(false, false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();

    COMPARE_CALLS(ignoreAddressAndManagerCalls(),
                  (QStringList {QStringLiteral("Server::setProperty BtConnectIgnoreAddress ") + headset,
                                QStringLiteral("BluetoothConnectionManager::connect ") + headset}));
    QCOMPARE(outcome.outcomes(), 0);
    FakePlatform::clearCalls();

    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::connected));

    COMPARE_CALLS(
        callsOf({QStringLiteral("ConnectivityUIUtils::"), QStringLiteral("SimpleNotification::")}),
        (QStringList {QStringLiteral("ConnectivityUIUtils::unblankDisplay"),
                      bannerCall(QStringLiteral("x-orvan.nfc.connected"), BluezBannerTexts::connected(platformName))}));
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
    // Left in place after a success.
    QCOMPARE(server->properties().value(QStringLiteral("BtConnectIgnoreAddress")).toString(), headset);
}

void tst_NfcAgentBluetoothRequest::audioCheckManagersAreDeletedAtOnce()
{
    TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, false),
                TestSupport::bluetoothDevice(thirdHeadset, thirdName, true, true, false),
                TestSupport::bluetoothDevice(headset, platformName, true, true, false)});
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    request->start();

    // Only the manager of the connection is left.
    QCOMPARE(managers().size(), 1);
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothConnectionManager::connect")), 1);
}

void tst_NfcAgentBluetoothRequest::connectionFailureClearsIgnoreAddressAndFails()
{
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();
    FakePlatform::clearCalls();

    const QString reason = QStringLiteral("org.bluez.Error.ConnectionAttemptFailed");
    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::connectionFailed, reason));

    COMPARE_CALLS(callsOf({QStringLiteral("Server::")}),
                  QStringList {QStringLiteral("Server::setProperty BtConnectIgnoreAddress <invalid>")});
    QVERIFY(!server->properties().contains(QStringLiteral("BtConnectIgnoreAddress")));
    QCOMPARE(outcome.failures(), QStringList {reason});
    QCOMPARE(outcome.outcomes(), 1);
    COMPARE_CALLS(banners(), QStringList());
}

void tst_NfcAgentBluetoothRequest::connectionDisconnectsOtherAudioDeviceFirst()
{
    setOtherAndHeadset(true, false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();

    COMPARE_CALLS(ignoreAddressAndManagerCalls(),
                  (QStringList {QStringLiteral("Server::setProperty BtDisconnectIgnoreAddress ") + otherHeadset,
                                QStringLiteral("BluetoothConnectionManager::disconnect ") + otherHeadset}));
    QCOMPARE(managers().size(), 1);
    FakePlatform::clearCalls();

    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnected));
    COMPARE_CALLS(
        callsOf({QStringLiteral("Server::"), QStringLiteral("BluetoothConnectionManager::connect"),
                 QStringLiteral("BluetoothConnectionManager::disconnect"), QStringLiteral("SimpleNotification::")}),
        (QStringList {bannerCall(QStringLiteral("x-orvan.nfc.disconnected"), BluezBannerTexts::disconnected(otherName)),
                      QStringLiteral("Server::setProperty BtConnectIgnoreAddress ") + headset,
                      QStringLiteral("BluetoothConnectionManager::connect ") + headset}));
    QCOMPARE(outcome.outcomes(), 0);

    QVERIFY(lastManagerEmits(&BluetoothConnectionManager::connected));
    COMPARE_CALLS(banners(), (QStringList {disconnectedBanner(otherName), connectedBanner(platformName)}));
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
}

void tst_NfcAgentBluetoothRequest::audioSwapDeletesTheOldManagerAtOnce()
{
    setOtherAndHeadset(true, false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();
    QPointer<BluetoothConnectionManager> oldManager = managers().value(0);
    QVERIFY(oldManager);
    bool deletedInsideItsSignal = false;
    bool signalReturned = false;
    QObject::connect(oldManager.data(), &QObject::destroyed, [&] { deletedInsideItsSignal = !signalReturned; });

    // The manager is deleted inside its own signal, before the emission returns and without the event
    // loop running; nothing touches it afterwards (a build with AddressSanitizer would show it).
    Q_EMIT oldManager->disconnected();
    signalReturned = true;

    QVERIFY(!oldManager);
    QVERIFY(deletedInsideItsSignal);
    QCOMPARE(managers().size(), 1);
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothConnectionManager::connect")), 1);
    QCOMPARE(banners().size(), 1);
    QCOMPARE(outcome.outcomes(), 0);

    // Nothing was left for the event loop to delete.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(managers().size(), 1);
    Q_EMIT managers().first()->connected();
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
}

void tst_NfcAgentBluetoothRequest::audioSwapReconnectsTargetThatHasAudio()
{
    TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(headset, platformName, true, true, true)});
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();
    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnected));
    QVERIFY(lastManagerEmits(&BluetoothConnectionManager::connected));

    COMPARE_CALLS(managerCalls(), (QStringList {QStringLiteral("disconnect ") + headset,
                                QStringLiteral("connect ") + headset}));
    COMPARE_CALLS(banners(), (QStringList {disconnectedBanner(platformName), connectedBanner(platformName)}));
    QCOMPARE(outcome.accepted.count(), 1);
}

void tst_NfcAgentBluetoothRequest::audioSwapDisconnectsOnlyFirstAudioDevice()
{
    TestSupport::setBluetoothDevices({TestSupport::bluetoothDevice(thirdHeadset, thirdName, true, true, false),
                TestSupport::bluetoothDevice(otherHeadset, otherName, true, true, true),
                TestSupport::bluetoothDevice(headset, platformName, true, true, true)});
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();
    QCOMPARE(managers().size(), 1);
    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnected));
    QVERIFY(lastManagerEmits(&BluetoothConnectionManager::connected));

    COMPARE_CALLS(managerCalls(), (QStringList {QStringLiteral("disconnect ") + otherHeadset,
                                QStringLiteral("connect ") + headset}));
    COMPARE_CALLS(banners(), (QStringList {disconnectedBanner(otherName), connectedBanner(platformName)}));
    QCOMPARE(outcome.accepted.count(), 1);
}

void tst_NfcAgentBluetoothRequest::audioSwapDisconnectionFailureFails()
{
    setOtherAndHeadset(true, false);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Connect);
    Outcome outcome(request);
    request->start();
    FakePlatform::clearCalls();

    QVERIFY(
        firstManagerEmits(&BluetoothConnectionManager::disconnectionFailed, QStringLiteral("Operation in progress")));

    COMPARE_CALLS(callsOf({QStringLiteral("Server::")}),
                  QStringList {QStringLiteral("Server::setProperty BtDisconnectIgnoreAddress <invalid>")});
    QCOMPARE(outcome.failures(), QStringList {QStringLiteral("Operation in progress")});
    QCOMPARE(outcome.outcomes(), 1);
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothConnectionManager::connect")), 0);
    COMPARE_CALLS(banners(), QStringList());
}

// ---------------------------------------------------------------------------------------------------
// Disconnection

void tst_NfcAgentBluetoothRequest::disconnectionDisconnectsAndAccepts()
{
    setOtherAndHeadset(true, true);
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Disconnect);
    Outcome outcome(request);
    request->start();

    COMPARE_CALLS(ignoreAddressAndManagerCalls(),
                  (QStringList {QStringLiteral("Server::setProperty BtDisconnectIgnoreAddress ") + headset,
                                QStringLiteral("BluetoothConnectionManager::disconnect ") + headset}));
    QCOMPARE(FakePlatform::count(QStringLiteral("BluetoothAdapter::listDevices")), 0);
    FakePlatform::clearCalls();

    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnected));

    COMPARE_CALLS(callsOf({QStringLiteral("ConnectivityUIUtils::"), QStringLiteral("SimpleNotification::"),
                           QStringLiteral("BluetoothConnectionManager::connect")}),
                  (QStringList {QStringLiteral("ConnectivityUIUtils::unblankDisplay"),
                                bannerCall(QStringLiteral("x-orvan.nfc.disconnected"),
                                           BluezBannerTexts::disconnected(platformName))}));
    QCOMPARE(outcome.accepted.count(), 1);
    QCOMPARE(outcome.outcomes(), 1);
    QCOMPARE(server->properties().value(QStringLiteral("BtDisconnectIgnoreAddress")).toString(), headset);
}

void tst_NfcAgentBluetoothRequest::disconnectionFailureClearsIgnoreAddressAndFails()
{
    setHeadsetOnly();
    NfcAgentBluetoothRequest* request = newRequest(NfcAgentBluetoothRequest::Disconnect);
    Outcome outcome(request);
    request->start();
    FakePlatform::clearCalls();

    QVERIFY(firstManagerEmits(&BluetoothConnectionManager::disconnectionFailed, QStringLiteral("Not connected")));

    COMPARE_CALLS(callsOf({QStringLiteral("Server::")}),
                  QStringList {QStringLiteral("Server::setProperty BtDisconnectIgnoreAddress <invalid>")});
    QVERIFY(!server->properties().contains(QStringLiteral("BtDisconnectIgnoreAddress")));
    QCOMPARE(outcome.failures(), QStringList {QStringLiteral("Not connected")});
    QCOMPARE(outcome.outcomes(), 1);
    COMPARE_CALLS(banners(), QStringList());
}

void tst_NfcAgentBluetoothRequest::metaObjectListsSignalsThenSlotsInOrder()
{
    const QMetaObject* meta = &ConnUi::NfcAgentBluetoothRequest::staticMetaObject;
    QStringList signatures;
    QStringList parameters;
    QList<QMetaMethod::Access> access;
    QList<QMetaMethod::Access> signalAccess;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        signatures << QString::fromLatin1(method.methodSignature());
        parameters << QString::fromLatin1(method.parameterNames().join(','));
        if (method.methodType() == QMetaMethod::Slot)
            access << method.access();
        else
            signalAccess << method.access();
    }
    QCOMPARE(signatures, QStringList({"dialogShown()", "accepted()", "rejected()", "failed(QString)", "start()",
                                      "stop()", "startPoweringBluetoothAdapter()",
                                      "startBtDeviceConnect(BluetoothDevice)", "bluetoothPropertyChanged(QString)",
                                      "bluetoothAdapterPowered()", "pairBluetoothDevice()",
                                      "connectBtDevice(BluetoothDevice)", "disconnectBtDevice(BluetoothDevice)",
                                      "dialogFinished()", "pairingFinished()", "connected()",
                                      "connectionFailed(QString)", "disconnected()",
                                      "disconnectionFailed(QString)"}));
    QCOMPARE(parameters, QStringList({"", "", "", "reason", "", "", "", "device", "property", "", "", "device",
                                      "device", "", "", "", "reason", "", "reason"}));
    QList<QMetaMethod::Access> expectedAccess = {QMetaMethod::Public, QMetaMethod::Public};
    for (int i = 0; i < 13; ++i)
        expectedAccess << QMetaMethod::Private;
    QCOMPARE(access, expectedAccess);
    // The outcome signals are the request's own to emit.
    QCOMPARE(signalAccess, (QList<QMetaMethod::Access> {QMetaMethod::Protected, QMetaMethod::Protected,
                                                        QMetaMethod::Protected, QMetaMethod::Protected}));
}

QTEST_GUILESS_MAIN(tst_NfcAgentBluetoothRequest)
#include "tst_nfcagentbluetoothrequest.moc"
