// Services of the Linux platform that are still to be written. Each reports its absence once and
// answers as a phone without that service would.
#include "bluetoothadapter.h"
#include "bluetoothconnectionmanager.h"
#include "bluetoothpairingprocess.h"
#include "calluiserviceapi.h"
#include "connectivityuiutils.h"
#include "messagingif.h"
#include "ndefmessagehandler.h"
#include "nfcadapter.h"
#include "nfcagent.h"
#include "offlinemode.h"
#include "placeholder.h"
#include "qsystemdeviceinfo.h"
#include "simplenotification.h"
#include "uiindications.h"


class NfcAdapterPrivate
{
};

NfcAdapter* NfcAdapter::defaultAdapter()
{
    return new NfcAdapter;
}

NfcAdapter::NfcAdapter(QObject* parent)
    : QObject(parent), d(new NfcAdapterPrivate)
{
}

NfcAdapter::~NfcAdapter()
{
    delete d;
}

bool NfcAdapter::isValid() const
{
    nfcuiMissing("The NFC daemon link (NfcAdapter)");
    return false;
}

bool NfcAdapter::isConfirmationEnabled() const
{
    return true;
}

void NfcAdapter::registerAgent(NfcAgent*)
{
    nfcuiMissing("The NFC daemon link (NfcAdapter)");
}

void NfcAdapter::unregisterAgent(NfcAgent*)
{
    nfcuiMissing("The NFC daemon link (NfcAdapter)");
}

class NfcAgentPrivate
{
};

NfcAgent::NfcAgent(QObject* parent)
    : QObject(parent), d(new NfcAgentPrivate)
{
    ConnUi::registerNdefMessageHandlerTypes();
    nfcuiMissing("The NFC UI agent (NfcAgent)");
}

NfcAgent::~NfcAgent()
{
    delete d;
}

QDBusObjectPath NfcAgent::objectPath() const
{
    return QDBusObjectPath(QStringLiteral("/com/orvan/nfc/ui_agent"));
}

void NfcAgent::dataDeliveryGranted(const QDBusObjectPath&) {}
void NfcAgent::rejectDevice(const QDBusObjectPath&) {}
void NfcAgent::acceptSharing(const QVariant&) {}
void NfcAgent::rejectSharing(const QVariant&) {}
void NfcAgent::btPairingRequestGranted(const QDBusObjectPath&) {}
void NfcAgent::btConnectionRequestGranted(const QDBusObjectPath&) {}
void NfcAgent::btDisconnectionRequestGranted(const QDBusObjectPath&) {}
void NfcAgent::replyError(const QDBusObjectPath&, const QString&) {}

void ConnUi::NdefMessageHandler::forwardData(const QDBusObjectPath&, const QByteArray&) const
{
    nfcuiMissing("Forwarding NDEF data to applications (NdefMessageHandler)");
}

class BluetoothAdapterPrivate
{
};

BluetoothAdapter* BluetoothAdapter::defaultAdapter()
{
    nfcuiMissing("Bluetooth (BluetoothAdapter)");
    return nullptr;
}

BluetoothAdapter::BluetoothAdapter(QObject* parent)
    : QObject(parent), d(new BluetoothAdapterPrivate)
{
}

BluetoothAdapter::~BluetoothAdapter()
{
    delete d;
}

bool BluetoothAdapter::isValid() const { return false; }
bool BluetoothAdapter::isPowered() const { return false; }
BluetoothDevice BluetoothAdapter::deviceForAddress(const QString&) const { return BluetoothDevice(); }
QList<BluetoothDevice> BluetoothAdapter::listDevices() const { return {}; }

class BluetoothPairingProcessPrivate
{
};

BluetoothPairingProcess::BluetoothPairingProcess(QObject* parent)
    : QObject(parent), d(new BluetoothPairingProcessPrivate)
{
    nfcuiMissing("Bluetooth pairing (BluetoothPairingProcess)");
}

BluetoothPairingProcess::~BluetoothPairingProcess()
{
    delete d;
}

void BluetoothPairingProcess::setErrorNotification(bool) {}
void BluetoothPairingProcess::setDialogServer(ConnectivityDialogServerInterface*) {}
void BluetoothPairingProcess::setPinCode(const QString&) {}
void BluetoothPairingProcess::setIgnoreLegacyPairing(bool) {}
void BluetoothPairingProcess::setAutoTrusted(bool) {}
void BluetoothPairingProcess::setAutoConnected(bool) {}
void BluetoothPairingProcess::start(const BluetoothDevice&)
{
    QMetaObject::invokeMethod(this, "finished", Qt::QueuedConnection);
}
QString BluetoothPairingProcess::error() const
{
    return QStringLiteral("org.bluez.Error.NotAvailable");
}

class BluetoothConnectionManagerPrivate
{
};

BluetoothConnectionManager::BluetoothConnectionManager(const BluetoothDevice&, QObject* parent)
    : QObject(parent), d(new BluetoothConnectionManagerPrivate)
{
    nfcuiMissing("Bluetooth connections (BluetoothConnectionManager)");
}

BluetoothConnectionManager::~BluetoothConnectionManager()
{
    delete d;
}

bool BluetoothConnectionManager::isConnectable(const BluetoothDevice&) { return false; }
void BluetoothConnectionManager::connect()
{
    QMetaObject::invokeMethod(this, "connectionFailed", Qt::QueuedConnection,
                              Q_ARG(QString, QStringLiteral("org.bluez.Error.NotAvailable")));
}
void BluetoothConnectionManager::disconnect()
{
    QMetaObject::invokeMethod(this, "disconnectionFailed", Qt::QueuedConnection,
                              Q_ARG(QString, QStringLiteral("org.bluez.Error.NotAvailable")));
}
bool BluetoothConnectionManager::isAudioConnected() const { return false; }

namespace ConnUi {

void ConnectivityUIUtils::unblankDisplay()
{
    UiIndications::indicate(QStringLiteral("unblank"));
}

void ConnectivityUIUtils::unlockScreen()
{
    UiIndications::indicate(QStringLiteral("unlock"));
}

void SimpleNotification::show(const QString& eventType, const QString&, const QString& body, const QString&)
{
    UiIndications::indicate(QStringLiteral("banner"), eventType + QLatin1Char(' ') + body);
}

class OfflineModePrivate
{
};

OfflineMode::OfflineMode(QObject* parent)
    : QObject(parent), d(new OfflineModePrivate)
{
}

OfflineMode::~OfflineMode()
{
    delete d;
}

int OfflineMode::currentStatus() const
{
    nfcuiMissing("The offline mode (OfflineMode)");
    return Unknown;
}

} // namespace ConnUi

namespace QtMobility {

class QSystemDeviceInfoPrivate
{
};

QSystemDeviceInfo::QSystemDeviceInfo(QObject* parent)
    : QObject(parent), d(new QSystemDeviceInfoPrivate)
{
}

QSystemDeviceInfo::~QSystemDeviceInfo()
{
    delete d;
}

QSystemDeviceInfo::LockTypeFlags QSystemDeviceInfo::lockStatus() const
{
    nfcuiMissing("The device lock status (QSystemDeviceInfo)");
    return UnknownLock;
}

} // namespace QtMobility

namespace CallUi {

class CallUiServiceApiPrivate
{
};

CallUiServiceApi::CallUiServiceApi(QObject* parent)
    : QObject(parent), d(new CallUiServiceApiPrivate)
{
}

CallUiServiceApi::~CallUiServiceApi()
{
    delete d;
}

bool CallUiServiceApi::RequestCellularCall(const QString&)
{
    nfcuiMissing("Calls (CallUiServiceApi)");
    return false;
}

} // namespace CallUi

class MessagingIfPrivate
{
};

MessagingIf::MessagingIf(const QString&, QObject* parent)
    : QObject(parent), d(new MessagingIfPrivate)
{
}

MessagingIf::~MessagingIf()
{
    delete d;
}

bool MessagingIf::sendSMS(const QString&, const QString&, bool)
{
    nfcuiMissing("Text messages (MessagingIf)");
    return false;
}

bool MessagingIf::showSmsEditor(const QStringList&, const QString&, const QString&)
{
    nfcuiMissing("Text messages (MessagingIf)");
    return false;
}
