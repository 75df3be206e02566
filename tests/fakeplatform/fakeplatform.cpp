#include "fakeplatform.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>

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

void FakePlatform::set(const QString& key, const QVariant& value)
{
    QMutexLocker locker(&registryMutex);
    registry().answers.insert(key, value);
}

QVariant FakePlatform::get(const QString& key, const QVariant& defaultValue)
{
    QMutexLocker locker(&registryMutex);
    return registry().answers.value(key, defaultValue);
}

void FakePlatform::unset(const QString& key)
{
    QMutexLocker locker(&registryMutex);
    registry().answers.remove(key);
}

void FakePlatform::record(const QString& name, const QVariantList& args)
{
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
