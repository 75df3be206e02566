#ifndef NFCUI_BLUEZCONTROL_H
#define NFCUI_BLUEZCONTROL_H

#include <QDBusVariant>
#include <QStringList>
#include <QVariantMap>

#include "phonemocks.h"

// The BlueZ 4 mock's test controls (org.bluez.Mock on "/") for the suites of the Linux Bluetooth classes.
namespace BluezControl {

inline QString mockInterface()
{
    return QStringLiteral("org.bluez.Mock");
}

inline bool control(const MockService& mock, const QString& method, const QVariantList& args = {})
{
    return mock.control(QStringLiteral("/"), mockInterface(), method, args);
}

inline bool addDevice(const MockService& mock, const QString& address, const QVariantMap& properties = {})
{
    return control(mock, QStringLiteral("AddDevice"), {address, properties});
}

inline bool setAdapterProperty(const MockService& mock, const QString& name, const QVariant& value)
{
    return control(mock, QStringLiteral("SetAdapterProperty"), {name, QVariant::fromValue(QDBusVariant(value))});
}

inline bool setDeviceProperty(const MockService& mock, const QString& address, const QString& name,
                              const QVariant& value)
{
    return control(mock, QStringLiteral("SetDeviceProperty"),
                   {address, name, QVariant::fromValue(QDBusVariant(value))});
}

inline bool setAudioState(const MockService& mock, const QString& address, const QString& state)
{
    return control(mock, QStringLiteral("SetAudioState"), {address, state});
}

inline bool setPairing(const MockService& mock, const QString& address, const QVariantMap& behaviour)
{
    return control(mock, QStringLiteral("SetPairing"), {address, behaviour});
}

inline bool setError(const MockService& mock, const QString& method, const QString& errorName)
{
    return control(mock, QStringLiteral("SetError"), {method, errorName, QStringLiteral("Failed on request")});
}

inline QStringList agentReplies(const MockService& mock)
{
    const QDBusMessage reply = mock.call(QStringLiteral("/"), mockInterface(), QStringLiteral("AgentReplies"));
    return reply.arguments().value(0).toStringList();
}

// The audio interfaces' UUIDs as BlueZ 4 lists them.
inline QStringList headsetUuids()
{
    return {QStringLiteral("00001108-0000-1000-8000-00805f9b34fb"),
            QStringLiteral("0000111e-0000-1000-8000-00805f9b34fb")};
}

} // namespace BluezControl

#endif
