#ifndef FAKEPLATFORM_H
#define FAKEPLATFORM_H

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

// The one registry behind every fake platform object.
//
// Answers: a test sets the answer of a platform operation under a key "Class/answer", with a typed
// setter below or with set(); the fake reads it with get() when the plugin asks, so an answer can be
// changed at any time. The keys, with their defaults, are listed in fakeplatform.cpp.
//
// Calls: every operation the plugin invokes on the platform is recorded, in order, as "Class::method"
// with its arguments.
//
// Objects: every fake QObject the plugin creates is tracked, so that a test can find it (for instance
// the NFC agent, to fire its signals, or a connection manager, to let it report "connected()").
//
// Mistakes are refused: a key or a call name that no fake knows (a typing error in a test, which would
// otherwise make a comparison pass silently) stops the test at once with a fatal message naming it.
struct FakeCall
{
    QString name;
    QVariantList args;
};

class FakePlatform
{
public:
    // Forgets every answer, call and tracked object.
    static void reset();

    static void set(const QString& key, const QVariant& value);
    // The answer under key, else defaultValue when it is valid, else the key's own default.
    static QVariant get(const QString& key, const QVariant& defaultValue = QVariant());
    static void unset(const QString& key);

    // Typed answers for the common cases.
    static void setNfcAdapterPresent(bool present);
    static void setNfcAdapterValid(bool valid);
    static void setConfirmationEnabled(bool enabled);
    // QSystemDeviceInfo::LockTypeFlags: 1 locked with a PIN, 2 touch and keyboard locked.
    static void setLockStatus(int flags);
    static void setBluetoothAdapterPresent(bool present);
    static void setBluetoothAdapterValid(bool valid);
    static void setBluetoothPowered(bool powered);
    // A device the Bluetooth adapter knows, after those added before. Connectable and audio-connected
    // are what the fake connection manager answers for it.
    static void addBluetoothDevice(const QString& address, const QString& name, bool paired = true,
                                   bool connectable = true, bool audioConnected = false);
    static void setPairingError(const QString& error);
    static void setOfflineStatus(int status);
    static void setContactCardValid(bool valid);
    // Content actions by name (invalidAction() stands for an invalid one): for a string, for a URI's
    // scheme, for a file (url "*": any file; an empty mimeType: asked without a MIME type), the default
    // action for a file, and the launcher action of a desktop entry.
    static void setStringActions(const QString& text, const QStringList& actions);
    static void setSchemeActions(const QString& uri, const QStringList& actions);
    static void setFileActions(const QString& url, const QString& mimeType, const QStringList& actions);
    static void setDefaultFileAction(const QString& url, const QString& mimeType, const QString& action);
    static void setLauncherAction(const QString& desktopEntry, const QString& action);
    static void setNotesStorageOpenFails(bool fails);
    static void setJournalAddFails(bool fails);

    static void record(const QString& name, const QVariantList& args = QVariantList());
    static QList<FakeCall> calls();
    static QStringList callNames();
    // The recorded calls of that name, in order.
    static QList<FakeCall> callsTo(const QString& name);
    static int count(const QString& name) { return callsTo(name).size(); }
    static void clearCalls();
    // Whether a fake reads the key or records the call name; set(), unset(), get() and callsTo() stop
    // the test with a fatal message on anything else.
    static bool isKnownKey(const QString& key);
    static bool isKnownCall(const QString& name);

    static void track(QObject* object);
    static QList<QObject*> trackedObjects();
    template<class T> static QList<T*> objects()
    {
        QList<T*> result;
        for (QObject* object : trackedObjects()) {
            if (T* t = qobject_cast<T*>(object))
                result.append(t);
        }
        return result;
    }
    template<class T> static T* last()
    {
        const QList<T*> all = objects<T>();
        return all.isEmpty() ? nullptr : all.last();
    }

    // A content action name that stands for an invalid action in the answer lists of ContentAction.
    static QString invalidAction() { return QStringLiteral("<invalid>"); }
};

// The fakes that keep no state of their own: an empty private half, the constructor Class(QObject* parent)
// and the destructor. Used inside the class's namespace.
#define FAKEPLATFORM_STATELESS_QOBJECT(Class)                                                                          \
    class Class##Private                                                                                             \
    {                                                                                                                \
    };                                                                                                               \
    Class::Class(QObject* parent)                                                                                    \
        : QObject(parent), d(new Class##Private)                                                                     \
    {                                                                                                                \
    }                                                                                                                \
    Class::~Class()                                                                                                  \
    {                                                                                                                \
        delete d;                                                                                                    \
    }

#endif
