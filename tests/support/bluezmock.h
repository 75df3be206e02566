#ifndef NFCUI_BLUEZMOCK_H
#define NFCUI_BLUEZMOCK_H

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include <memory>

#include "mockservice.h"

// The BlueZ 4 mock (tests/mocks/bluez4.py, a python-dbusmock template) as a test sees it: a process
// that owns "org.bluez" on the system bus of the test, which scripts/isolated makes private.
//
// A MockService of the template: start() returns once the mock answers, stop() once the name is gone.
// The other members drive the mock's test controls (org.bluez.Mock) and read its call log
// (org.freedesktop.DBus.Mock).
class BluezMock {
public:
    using Call = MockCall; // bus variants already unwrapped

    BluezMock();
    ~BluezMock();

    // The template file; NFCUI_BLUEZ4_MOCK in the environment overrides it.
    static QString templatePath();
    static QString service() { return QStringLiteral("org.bluez"); }
    static QString managerPath() { return QStringLiteral("/"); }
    // The adapter path the template uses unless told otherwise.
    static QString adapterPath() { return QStringLiteral("/org/bluez/1000/hci0"); }

    // Whether anybody owns "org.bluez" on the system bus.
    static bool isOnBus();

    bool start(const QVariantMap& parameters = QVariantMap());
    void stop();
    bool isRunning() const;
    // Back to the template's initial state with empty call logs; restarts the mock when it has left the
    // bus or is not running.
    bool reset();

    // Test controls.
    bool setError(const QString& method, const QString& errorName, const QString& message);
    bool clearErrors();
    bool removeAdapter();
    bool leaveBusAfter(const QString& method);
    bool setAdapterProperty(const QString& name, const QVariant& value);

    // What the mock saw: the calls made on the object at path, in order, without the test controls
    // above (adapterProperties() below is a GetProperties call like any other).
    QList<Call> calls(const QString& path) const;
    bool clearCalls(const QString& path);
    QStringList signatures(const QString& method) const;
    QVariantMap adapterProperties() const;

    // The last error of a control call, for test diagnostics.
    QString lastError() const { return m_lastError; }

private:
    Q_DISABLE_COPY(BluezMock)
    bool control(const QString& method, const QVariantList& args);
    bool keepError(bool ok) const;

    std::unique_ptr<MockService> m_service;
    QVariantMap m_parameters;
    mutable QString m_lastError;
};

#endif
