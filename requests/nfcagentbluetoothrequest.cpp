#include "nfcagentbluetoothrequest.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDBusVariant>
#include <QMap>
#include <QVariant>

#include "bluetoothadapter.h"
#include "bluetoothconnectionmanager.h"
#include "bluetoothdevice.h"
#include "bluetoothpairingprocess.h"
#include "connectivitydialogserverinterface.h"
#include "connectivityuiutils.h"
#include "dialog.h"
#include "nfcadapter.h"
#include "nfcpairingdialog.h"
#include "qsystemdeviceinfo.h"
#include "simplenotification.h"

namespace {

// Reasons handed to the NFC daemon as the error names of its reply.
const QLatin1String failedReason("com.orvan.nfc.UIAgent.Failed");
const QLatin1String invalidRequestReason("com.orvan.nfc.UIAgent.InvalidRequest");

// Keys under which the dialog server keeps the address of the device being connected or disconnected,
// so that its other Bluetooth dialogs leave that device alone.
const QLatin1String connectIgnoreKey("BtConnectIgnoreAddress");
const QLatin1String disconnectIgnoreKey("BtDisconnectIgnoreAddress");

void logBusError(const char* method, const QDBusError& error)
{
    qWarning("%s returned error '%s': %s", method, error.name().toUtf8().constData(),
             error.message().toUtf8().constData());
}

} // namespace

namespace ConnUi {

NfcAgentBluetoothRequest::NfcAgentBluetoothRequest(Type type, ConnectivityDialogServerInterface* server,
                                                   const QDBusObjectPath& targetPath, const QString& address,
                                                   const QString& name, unsigned int classOfDevice)
    : bluetoothAdapter(BluetoothAdapter::defaultAdapter()), m_type(type), server(server), address(address), name(name),
      classOfDevice(classOfDevice), m_targetPath(targetPath)
{
}

// The dialog goes back to the server; everything else the request made or took is deleted here, in this
// order. The ignore-address values stay on the server as they are.
NfcAgentBluetoothRequest::~NfcAgentBluetoothRequest()
{
    stop();
    bluetoothAdapter.reset();
    device.reset();
    pendingDevice.reset();
    connectionManager.reset();
    pairingProcess.reset();
}

void NfcAgentBluetoothRequest::setPinCode(const QString& pinCode)
{
    m_pinCode = pinCode;
}

QString NfcAgentBluetoothRequest::pinCode() const
{
    return m_pinCode;
}

NfcAgentBluetoothRequest::Type NfcAgentBluetoothRequest::type() const
{
    return m_type;
}

QDBusObjectPath NfcAgentBluetoothRequest::targetPath() const
{
    return m_targetPath;
}

void NfcAgentBluetoothRequest::start()
{
    if (!bluetoothAdapter || !bluetoothAdapter->isValid()) {
        qWarning("NfcAgentBluetoothRequest: Unable to get valid BluetoothAdapter");
        Q_EMIT failed(failedReason);
        return;
    }

    if (m_type == Pairing) {
        // The device need not be known to the adapter before it is paired, so it is not looked up here.
        std::unique_ptr<NfcAdapter> nfcAdapter(NfcAdapter::defaultAdapter());
        std::unique_ptr<QtMobility::QSystemDeviceInfo> deviceInfo(new QtMobility::QSystemDeviceInfo);

        // Without confirmation the pairing goes ahead unasked, unless the phone is locked with a PIN:
        // then the user has to be asked all the same. The lock is looked at only when that matters.
        if (!nfcAdapter->isConfirmationEnabled()
            && !(deviceInfo->lockStatus() & QtMobility::QSystemDeviceInfo::PinLocked)) {
            nfcAdapter.reset();
            deviceInfo.reset();
            startPoweringBluetoothAdapter();
            return;
        }
        nfcAdapter.reset();

        NfcPairingDialog* pairingDialog = new NfcPairingDialog(classOfDevice);
        dialog = pairingDialog;
        ConnectivityUIUtils::unblankDisplay();
        QObject::connect(pairingDialog, SIGNAL(finished(int)), this, SLOT(dialogFinished()));
        QObject::connect(pairingDialog, SIGNAL(appeared()), this, SIGNAL(dialogShown()));
        server->showDialog(pairingDialog);
        deviceInfo.reset();
        return;
    }

    // Connection and disconnection (and any other value): the device must be one the adapter knows.
    const BluetoothDevice dev = bluetoothAdapter->deviceForAddress(address);
    if (!dev.isValid()) {
        qWarning("NfcAgentBluetoothRequest: Invalid BluetoothDevice %s", address.toUtf8().constData());
        Q_EMIT failed(failedReason);
        return;
    }

    device.reset(new BluetoothDevice(dev));
    startPoweringBluetoothAdapter();
}

// Takes the dialog down if it is still there. Nothing else: no outcome, and whatever is under way
// (waiting for power, pairing, connecting) carries on.
void NfcAgentBluetoothRequest::stop()
{
    if (dialog)
        server->closeDialog(dialog);
}

void NfcAgentBluetoothRequest::dialogFinished()
{
    Dialog* finishedDialog = qobject_cast<Dialog*>(sender());
    if (!finishedDialog) {
        qWarning("NfcAgentBluetoothRequest::dialogFinished() lacks dialog");
        return;
    }

    const int result = finishedDialog->result();
    server->closeDialog(finishedDialog);

    if (result == Dialog::Ok)
        startPoweringBluetoothAdapter();
    else
        Q_EMIT rejected();
}

void NfcAgentBluetoothRequest::startPoweringBluetoothAdapter()
{
    if (m_type == Pairing) {
        ConnectivityUIUtils::unblankDisplay();
        SimpleNotification::show(QStringLiteral("x-orvan.nfc"), QString(),
                                 qtTrId("vyk_nfc_ec_bnr_pairing").arg(name, 0, QLatin1Char(' ')), QString());
    }

    if (bluetoothAdapter->isPowered()) {
        bluetoothAdapterPowered();
        return;
    }

    // Somebody else switches the adapter on; the request waits for it, for as long as it takes.
    QObject::connect(bluetoothAdapter.get(), SIGNAL(propertyChanged(QString)), this,
                     SLOT(bluetoothPropertyChanged(QString)));
}

void NfcAgentBluetoothRequest::bluetoothPropertyChanged(const QString& property)
{
    if (property != QLatin1String("powered"))
        return;

    if (bluetoothAdapter->isPowered()) {
        QObject::disconnect(bluetoothAdapter.get(), SIGNAL(propertyChanged(QString)), this,
                            SLOT(bluetoothPropertyChanged(QString)));
        bluetoothAdapterPowered();
        return;
    }

    // The connection stays; it goes away with the request.
    qWarning("Bluetooth adapter was not powered");
    Q_EMIT failed(failedReason);
}

void NfcAgentBluetoothRequest::bluetoothAdapterPowered()
{
    // Pairing and connecting need the adapter to stay on after the handover too; disconnecting does not.
    if (quint32(m_type) < quint32(Disconnect)) {
        if (!ensureBluetoothIsPowered()) {
            qWarning("NfcAgentBluetoothRequest: Unable to ensure that Bluetooth remains powered");
            Q_EMIT failed(failedReason);
            return;
        }
    }

    switch (m_type) {
    case Connect:
        startBtDeviceConnect(*device);
        break;
    case Disconnect:
        disconnectBtDevice(*device);
        break;
    case Pairing:
        pairBluetoothDevice();
        break;
    default:
        qWarning("NfcAgentBluetoothRequest: Unable to handle request %d", int(m_type));
        Q_EMIT failed(invalidRequestReason);
        break;
    }
}

// The platform adapter reports itself powered already; setting the property through BlueZ is what keeps
// it powered once the handover is over. Blocks on the system bus (default reply timeout).
bool NfcAgentBluetoothRequest::ensureBluetoothIsPowered()
{
    const QString service = QStringLiteral("org.bluez");
    QDBusConnection bus = QDBusConnection::systemBus();

    QDBusInterface manager(service, QStringLiteral("/"), QStringLiteral("org.bluez.Manager"), bus);
    if (!manager.isValid()) {
        qWarning("Bluez does not exist");
        return false;
    }

    const QDBusReply<QDBusObjectPath> adapterPath = manager.call(QStringLiteral("DefaultAdapter"));
    if (!adapterPath.isValid()) {
        logBusError("DefaultAdapter", adapterPath.error());
        return false;
    }

    // A proxy is valid while its path is well formed and BlueZ owns its name; whether the adapter
    // object is really there shows only in the reply to the call below.
    QDBusInterface adapter(service, adapterPath.value().path(), QStringLiteral("org.bluez.Adapter"), bus);
    if (!adapter.isValid()) {
        qWarning("Default adapter does not exist");
        return false;
    }

    const QDBusReply<void> reply = adapter.call(QStringLiteral("SetProperty"), QStringLiteral("Powered"),
                                                QVariant::fromValue(QDBusVariant(true)));
    if (!reply.isValid()) {
        logBusError("SetProperty", reply.error());
        return false;
    }
    return true;
}

void NfcAgentBluetoothRequest::pairBluetoothDevice()
{
    pairingProcess.reset(); // the previous process goes before the new one is made
    pairingProcess.reset(new BluetoothPairingProcess);
    pairingProcess->setErrorNotification(true);
    pairingProcess->setDialogServer(server);
    // Without a PIN from the tag, legacy PIN pairing is not attempted.
    if (!m_pinCode.isEmpty())
        pairingProcess->setPinCode(m_pinCode);
    else
        pairingProcess->setIgnoreLegacyPairing(true);
    // The request connects the device itself once it is paired.
    pairingProcess->setAutoTrusted(true);
    pairingProcess->setAutoConnected(false);
    QObject::connect(pairingProcess.get(), SIGNAL(finished()), this, SLOT(pairingFinished()));

    QMap<QString, QVariant> properties;
    properties.insert(QStringLiteral("Address"), QVariant(address));
    const BluetoothDevice target(properties);
    pairingProcess->start(target);
}

// The pairing process stays until the request goes.
void NfcAgentBluetoothRequest::pairingFinished()
{
    const BluetoothDevice dev = bluetoothAdapter->deviceForAddress(address);

    const QString error = pairingProcess->error();
    if (!error.isEmpty()) {
        // The process has told the user itself.
        Q_EMIT failed(error);
        return;
    }

    if (dev.isPaired() && BluetoothConnectionManager::isConnectable(dev)) {
        device.reset(new BluetoothDevice(dev));
        startBtDeviceConnect(*device);
        return;
    }

    Q_EMIT accepted();
}

// One audio device at a time: the first device in the adapter's list that has an audio connection is
// disconnected first, and the target connected once that is done (disconnected()). The target itself is
// not skipped, so a target with an audio connection is disconnected and connected again.
void NfcAgentBluetoothRequest::startBtDeviceConnect(const BluetoothDevice& target)
{
    const QList<BluetoothDevice> devices = bluetoothAdapter->listDevices();
    for (const BluetoothDevice& candidate : devices) {
        std::unique_ptr<BluetoothConnectionManager> audioCheck(new BluetoothConnectionManager(candidate));
        if (!audioCheck->isAudioConnected())
            continue;

        pendingDevice = std::move(device);
        device.reset(new BluetoothDevice(candidate));
        disconnectBtDevice(candidate);
        audioCheck.reset();
        return;
    }

    connectBtDevice(target);
}

void NfcAgentBluetoothRequest::connectBtDevice(const BluetoothDevice& target)
{
    startConnectionOperation(Operation::Connect, target);
}

void NfcAgentBluetoothRequest::disconnectBtDevice(const BluetoothDevice& target)
{
    startConnectionOperation(Operation::Disconnect, target);
}

// The previous manager is deleted at once, also when its own "disconnected()" led here (the second half of
// the audio swap): every connection manager of the platform emits as the last thing it does and touches
// nothing of itself afterwards.
void NfcAgentBluetoothRequest::startConnectionOperation(Operation operation, const BluetoothDevice& target)
{
    connectionManager.reset();

    const bool connecting = operation == Operation::Connect;
    server->setProperty(connecting ? connectIgnoreKey : disconnectIgnoreKey, target.address());

    connectionManager.reset(new BluetoothConnectionManager(target));
    BluetoothConnectionManager* manager = connectionManager.get();
    if (connecting) {
        QObject::connect(manager, SIGNAL(connected()), this, SLOT(connected()));
        QObject::connect(manager, SIGNAL(connectionFailed(QString)), this, SLOT(connectionFailed(QString)));
        manager->connect();
    } else {
        QObject::connect(manager, SIGNAL(disconnected()), this, SLOT(disconnected()));
        QObject::connect(manager, SIGNAL(disconnectionFailed(QString)), this, SLOT(disconnectionFailed(QString)));
        manager->disconnect();
    }
}

void NfcAgentBluetoothRequest::connected()
{
    ConnectivityUIUtils::unblankDisplay();
    SimpleNotification::show(QStringLiteral("x-orvan.nfc.connected"), QString(),
                             qtTrId("vyk_nfc_ec_bnr_conn").arg(device->name(), 0, QLatin1Char(' ')), QString());
    Q_EMIT accepted();
}

void NfcAgentBluetoothRequest::connectionFailed(const QString& reason)
{
    server->setProperty(connectIgnoreKey, QVariant());
    Q_EMIT failed(reason);
}

void NfcAgentBluetoothRequest::disconnected()
{
    ConnectivityUIUtils::unblankDisplay();
    SimpleNotification::show(QStringLiteral("x-orvan.nfc.disconnected"), QString(),
                             qtTrId("vyk_nfc_ec_bnr_disconn").arg(device->name(), 0, QLatin1Char(' ')), QString());

    if (m_type == Disconnect) {
        Q_EMIT accepted();
        return;
    }

    if (quint32(m_type) < quint32(Disconnect)) {
        // Second half of the audio swap: the device just disconnected makes way for the request's own.
        device.release()->deleteLater();
        device = std::move(pendingDevice);
        connectBtDevice(*device);
    }
}

void NfcAgentBluetoothRequest::disconnectionFailed(const QString& reason)
{
    server->setProperty(disconnectIgnoreKey, QVariant());
    Q_EMIT failed(reason);
}

} // namespace ConnUi
