#include "fakeplatform.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>

// Answer keys and their defaults, as the fakes read them:
//   NfcAdapter/exists (true), NfcAdapter/valid (true), NfcAdapter/confirmationEnabled (true)
//   QSystemDeviceInfo/lockStatus (0)
//   BluetoothAdapter/exists (true), BluetoothAdapter/valid (true), BluetoothAdapter/powered (true)
//   BluetoothAdapter/devices: list of property maps ("Address", "Name", "Paired", plus the fake-only
//       "Connectable" and "AudioConnected")
//   BluetoothPairingProcess/error ("")
//   OfflineMode/status (1)
//   ContactExporter/valid (true)
//   ContentAction/string/<text>, ContentAction/scheme/<uri>, ContentAction/file/<url>,
//   ContentAction/file/<url>/<mime type>, ContentAction/defaultFile/<url>[/<mime type>],
//   ContentAction/launcher/<desktop entry>: action names (a string list; invalidAction() marks an
//       invalid one; a missing key is an empty list or an invalid action). For files, "*" may stand
//       for any url: ContentAction/file/*/<mime type>.
//   ExtendedStorage/openFails (false), ExtendedCalendar/addFails (false)
namespace {

// Everything a fake reads or records. A new fake adds its keys and call names here.
const QSet<QString>& knownKeys()
{
    static const QSet<QString> keys {
        QStringLiteral("NfcAdapter/exists"), QStringLiteral("NfcAdapter/valid"),
        QStringLiteral("NfcAdapter/confirmationEnabled"), QStringLiteral("QSystemDeviceInfo/lockStatus"),
        QStringLiteral("BluetoothAdapter/exists"), QStringLiteral("BluetoothAdapter/valid"),
        QStringLiteral("BluetoothAdapter/powered"), QStringLiteral("BluetoothAdapter/devices"),
        QStringLiteral("BluetoothPairingProcess/error"), QStringLiteral("OfflineMode/status"),
        QStringLiteral("ContactExporter/valid"), QStringLiteral("ExtendedStorage/openFails"),
        QStringLiteral("ExtendedCalendar/addFails"),
    };
    return keys;
}

// Keys that go on with a text, a URI, a file or a desktop entry of the test's choice.
const QStringList& knownKeyPrefixes()
{
    static const QStringList prefixes {
        QStringLiteral("ContentAction/string/"), QStringLiteral("ContentAction/scheme/"),
        QStringLiteral("ContentAction/file/"), QStringLiteral("ContentAction/defaultFile/"),
        QStringLiteral("ContentAction/launcher/"),
    };
    return prefixes;
}

const QSet<QString>& knownCalls()
{
    static const QSet<QString> calls {
        QStringLiteral("BluetoothAdapter::defaultAdapter"), QStringLiteral("BluetoothAdapter::deviceForAddress"),
        QStringLiteral("BluetoothAdapter::listDevices"), QStringLiteral("BluetoothConnectionManager::connect"),
        QStringLiteral("BluetoothConnectionManager::disconnect"),
        QStringLiteral("BluetoothConnectionManager::isConnectable"),
        QStringLiteral("BluetoothPairingProcess::setAutoConnected"),
        QStringLiteral("BluetoothPairingProcess::setAutoTrusted"),
        QStringLiteral("BluetoothPairingProcess::setDialogServer"),
        QStringLiteral("BluetoothPairingProcess::setErrorNotification"),
        QStringLiteral("BluetoothPairingProcess::setIgnoreLegacyPairing"),
        QStringLiteral("BluetoothPairingProcess::setPinCode"), QStringLiteral("BluetoothPairingProcess::start"),
        QStringLiteral("CallUiServiceApi::RequestCellularCall"), QStringLiteral("ConnectivityUIUtils::unblankDisplay"),
        QStringLiteral("ConnectivityUIUtils::unlockScreen"), QStringLiteral("ContactExporter::resolveContactInfo"),
        QStringLiteral("ContentAction::actionsForFile"), QStringLiteral("ContentAction::actionsForScheme"),
        QStringLiteral("ContentAction::actionsForString"), QStringLiteral("ContentAction::defaultActionForFile"),
        QStringLiteral("ContentAction::launcherAction"), QStringLiteral("ContentAction::trigger"),
        QStringLiteral("ExtendedCalendar::addJournal"), QStringLiteral("ExtendedCalendar::setNotebook"),
        QStringLiteral("ExtendedStorage::close"), QStringLiteral("ExtendedStorage::defaultStorage"),
        QStringLiteral("ExtendedStorage::load"), QStringLiteral("ExtendedStorage::open"),
        QStringLiteral("ExtendedStorage::save"), QStringLiteral("MessagingIf::MessagingIf"),
        QStringLiteral("MessagingIf::sendSMS"), QStringLiteral("MessagingIf::showSmsEditor"),
        QStringLiteral("NdefMessageHandler::forwardData"), QStringLiteral("NfcAdapter::defaultAdapter"),
        QStringLiteral("NfcAdapter::isConfirmationEnabled"), QStringLiteral("NfcAdapter::registerAgent"),
        QStringLiteral("NfcAdapter::unregisterAgent"), QStringLiteral("NfcAdapter::~NfcAdapter"),
        QStringLiteral("NfcAgent::acceptSharing"), QStringLiteral("NfcAgent::btConnectionRequestGranted"),
        QStringLiteral("NfcAgent::btDisconnectionRequestGranted"), QStringLiteral("NfcAgent::btPairingRequestGranted"),
        QStringLiteral("NfcAgent::dataDeliveryGranted"), QStringLiteral("NfcAgent::rejectDevice"),
        QStringLiteral("NfcAgent::rejectSharing"), QStringLiteral("NfcAgent::replyError"),
        QStringLiteral("NfcAgent::~NfcAgent"), QStringLiteral("OfflineMode::currentStatus"),
        QStringLiteral("QSystemDeviceInfo::lockStatus"), QStringLiteral("Server::closeDialog"),
        QStringLiteral("Server::setProperty"), QStringLiteral("Server::showDialog"),
        QStringLiteral("SimpleNotification::show"),
    };
    return calls;
}

// A mistyped name would make a comparison with an empty answer or a zero count pass unnoticed.
void requireKnownKey(const QString& key)
{
    if (!FakePlatform::isKnownKey(key))
        qFatal("FakePlatform: no fake reads the key \"%s\"", qPrintable(key));
}

void requireKnownCall(const QString& name)
{
    if (!FakePlatform::isKnownCall(name))
        qFatal("FakePlatform: no fake records the call \"%s\"", qPrintable(name));
}

// Guarded by a mutex: the text-to-notes action reaches the fake calendar from a worker thread.
struct Registry
{
    QHash<QString, QVariant> answers;
    QList<FakeCall> calls;
    QList<QPointer<QObject>> objects;
};

QMutex registryMutex(QMutex::Recursive);

Registry& registry()
{
    static Registry r;
    return r;
}
} // namespace

void FakePlatform::reset()
{
    QMutexLocker locker(&registryMutex);
    registry() = Registry();
}

bool FakePlatform::isKnownKey(const QString& key)
{
    if (knownKeys().contains(key))
        return true;
    for (const QString& prefix : knownKeyPrefixes()) {
        if (key.startsWith(prefix))
            return true;
    }
    return false;
}

bool FakePlatform::isKnownCall(const QString& name)
{
    return knownCalls().contains(name);
}

void FakePlatform::set(const QString& key, const QVariant& value)
{
    requireKnownKey(key);
    QMutexLocker locker(&registryMutex);
    registry().answers.insert(key, value);
}

QVariant FakePlatform::get(const QString& key, const QVariant& defaultValue)
{
    requireKnownKey(key);
    QMutexLocker locker(&registryMutex);
    return registry().answers.value(key, defaultValue);
}

void FakePlatform::unset(const QString& key)
{
    requireKnownKey(key);
    QMutexLocker locker(&registryMutex);
    registry().answers.remove(key);
}

void FakePlatform::record(const QString& name, const QVariantList& args)
{
    requireKnownCall(name);
    QMutexLocker locker(&registryMutex);
    registry().calls.append(FakeCall{name, args});
}

QList<FakeCall> FakePlatform::calls()
{
    QMutexLocker locker(&registryMutex);
    return registry().calls;
}

QStringList FakePlatform::callNames()
{
    QMutexLocker locker(&registryMutex);
    QStringList names;
    for (const FakeCall& call : registry().calls)
        names.append(call.name);
    return names;
}

QList<FakeCall> FakePlatform::callsTo(const QString& name)
{
    requireKnownCall(name);
    QMutexLocker locker(&registryMutex);
    QList<FakeCall> result;
    for (const FakeCall& call : registry().calls) {
        if (call.name == name)
            result.append(call);
    }
    return result;
}

void FakePlatform::clearCalls()
{
    QMutexLocker locker(&registryMutex);
    registry().calls.clear();
}

void FakePlatform::track(QObject* object)
{
    QMutexLocker locker(&registryMutex);
    registry().objects.append(QPointer<QObject>(object));
}

QList<QObject*> FakePlatform::trackedObjects()
{
    QMutexLocker locker(&registryMutex);
    QList<QObject*> result;
    for (const QPointer<QObject>& object : registry().objects) {
        if (object)
            result.append(object.data());
    }
    return result;
}

// ---------------------------------------------------------------------------------------------------
// Typed answers

void FakePlatform::setNfcAdapterPresent(bool present)
{
    set(QStringLiteral("NfcAdapter/exists"), present);
}

void FakePlatform::setNfcAdapterValid(bool valid)
{
    set(QStringLiteral("NfcAdapter/valid"), valid);
}

void FakePlatform::setConfirmationEnabled(bool enabled)
{
    set(QStringLiteral("NfcAdapter/confirmationEnabled"), enabled);
}

void FakePlatform::setLockStatus(int flags)
{
    set(QStringLiteral("QSystemDeviceInfo/lockStatus"), flags);
}

void FakePlatform::setBluetoothAdapterPresent(bool present)
{
    set(QStringLiteral("BluetoothAdapter/exists"), present);
}

void FakePlatform::setBluetoothAdapterValid(bool valid)
{
    set(QStringLiteral("BluetoothAdapter/valid"), valid);
}

void FakePlatform::setBluetoothPowered(bool powered)
{
    set(QStringLiteral("BluetoothAdapter/powered"), powered);
}

void FakePlatform::addBluetoothDevice(const QString& address, const QString& name, bool paired, bool connectable,
                                      bool audioConnected)
{
    QVariantList devices = get(QStringLiteral("BluetoothAdapter/devices")).toList();
    devices.append(QVariantMap {{QStringLiteral("Address"), address},
                                {QStringLiteral("Name"), name},
                                {QStringLiteral("Paired"), paired},
                                {QStringLiteral("Connectable"), connectable},
                                {QStringLiteral("AudioConnected"), audioConnected}});
    set(QStringLiteral("BluetoothAdapter/devices"), devices);
}

void FakePlatform::setPairingError(const QString& error)
{
    set(QStringLiteral("BluetoothPairingProcess/error"), error);
}

void FakePlatform::setOfflineStatus(int status)
{
    set(QStringLiteral("OfflineMode/status"), status);
}

void FakePlatform::setContactCardValid(bool valid)
{
    set(QStringLiteral("ContactExporter/valid"), valid);
}

void FakePlatform::setStringActions(const QString& text, const QStringList& actions)
{
    set(QStringLiteral("ContentAction/string/") + text, actions);
}

void FakePlatform::setSchemeActions(const QString& uri, const QStringList& actions)
{
    set(QStringLiteral("ContentAction/scheme/") + uri, actions);
}

namespace {
QString fileKey(const QString& prefix, const QString& url, const QString& mimeType)
{
    return prefix + url + (mimeType.isEmpty() ? QString() : QLatin1Char('/') + mimeType);
}
} // namespace

void FakePlatform::setFileActions(const QString& url, const QString& mimeType, const QStringList& actions)
{
    set(fileKey(QStringLiteral("ContentAction/file/"), url, mimeType), actions);
}

void FakePlatform::setDefaultFileAction(const QString& url, const QString& mimeType, const QString& action)
{
    set(fileKey(QStringLiteral("ContentAction/defaultFile/"), url, mimeType), QStringList {action});
}

void FakePlatform::setLauncherAction(const QString& desktopEntry, const QString& action)
{
    set(QStringLiteral("ContentAction/launcher/") + desktopEntry, QStringList {action});
}

void FakePlatform::setNotesStorageOpenFails(bool fails)
{
    set(QStringLiteral("ExtendedStorage/openFails"), fails);
}

void FakePlatform::setJournalAddFails(bool fails)
{
    set(QStringLiteral("ExtendedCalendar/addFails"), fails);
}
