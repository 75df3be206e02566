#ifndef NFCUI_MOCKSERVICE_H
#define NFCUI_MOCKSERVICE_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

class QDBusArgument;
class QProcess;

// A method of a mock object: python-dbusmock's (name, in signature, out signature, Python code).
struct MockMethod
{
    QString name;
    QString inSignature;
    QString outSignature;
    QString code;
};
QDBusArgument& operator<<(QDBusArgument& argument, const MockMethod& method);
const QDBusArgument& operator>>(const QDBusArgument& argument, MockMethod& method);
Q_DECLARE_METATYPE(MockMethod)

// One call a python-dbusmock object received, with its arguments unwrapped from their bus variants.
struct MockCall
{
    QString method;
    QVariantList args;
};

// A mock D-Bus service as a test sees it: Debian's /usr/bin/python3 running python-dbusmock with a
// template, on the private system or session bus of the test (scripts/isolated makes both private).
//
// start() returns once the mock owns its bus name and answers; stop() returns once the name is gone.
// When the mock cannot run (python3-dbusmock missing, a broken template, no private bus) start()
// returns false and lastError() says what is missing, so that the test fails with that reason.
class MockService
{
public:
    enum Bus { SystemBus, SessionBus };

    // templateName is a python-dbusmock template ("ofono", "logind") or a template file; busName is the
    // name the template takes and mainPath the object the template makes first.
    MockService(const QString& templateName, Bus bus, const QString& busName,
                const QString& mainPath = QStringLiteral("/"));
    ~MockService(); // stops the mock

    // A template of this project, in tests/mocks.
    static QString projectTemplate(const QString& fileName);

    bool start(const QVariantMap& parameters = QVariantMap());
    void stop();
    bool isRunning() const;
    // Whether anybody owns the mock's bus name.
    bool isOnBus() const;
    QString lastError() const { return m_lastError; }

    QDBusConnection connection() const;
    QString busName() const { return m_busName; }
    QString mainPath() const { return m_mainPath; }

    // A call to the mock, blocking, with a timeout of ten seconds.
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& args = QVariantList()) const;
    // The same, true on a method return; an error is kept in lastError().
    bool control(const QString& path, const QString& interface, const QString& method,
                 const QVariantList& args = QVariantList()) const;

    // org.freedesktop.DBus.Mock on an object of the mock.
    QList<MockCall> calls(const QString& path) const;
    QStringList callNames(const QString& path) const;
    bool clearCalls(const QString& path) const;
    bool addMethod(const QString& path, const QString& interface, const QString& name, const QString& inSignature,
                   const QString& outSignature, const QString& code) const;
    bool addObject(const QString& path, const QString& interface, const QVariantMap& properties,
                   const QList<MockMethod>& methods = QList<MockMethod>()) const;
    bool emitSignal(const QString& path, const QString& interface, const QString& name, const QString& signature,
                    const QVariantList& args) const;
    // Loads the template again with its parameters and empties the main object's call log.
    bool reset() const;

private:
    Q_DISABLE_COPY(MockService)
    bool waitForName(bool present, int timeoutMs) const;

    QString m_template;
    Bus m_bus;
    QString m_busName;
    QString m_mainPath;
    QProcess* m_process = nullptr;
    mutable QString m_lastError;
};

// A value as it came off the bus (QDBusVariant, QDBusArgument of a basic array, map or list), as plain
// QVariant, QVariantList, QVariantMap or QStringList.
QVariant unwrapDBusValue(const QVariant& value);

#endif
