#include "bluezpairingagent.h"
#include "linuxlogging.h"

BluezPairingAgent::BluezPairingAgent(const QString& pinCode, bool ignoreLegacyPairing, QObject* parent)
    : QObject(parent), m_pinCode(pinCode), m_ignoreLegacyPairing(ignoreLegacyPairing)
{
}

void BluezPairingAgent::reject(const char* method, const QString& why)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: agent refuses %s: %s", method, qUtf8Printable(why));
    sendErrorReply(QStringLiteral("org.bluez.Error.Rejected"), why);
}

void BluezPairingAgent::Release()
{
    qCDebug(lcBluez, "BluetoothPairingProcess: agent released");
}

QString BluezPairingAgent::RequestPinCode(const QDBusObjectPath& device)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: PIN code asked for %s", qUtf8Printable(device.path()));
    if (m_ignoreLegacyPairing)
        reject("RequestPinCode", QStringLiteral("Legacy pairing is not used"));
    else if (m_pinCode.isEmpty())
        reject("RequestPinCode", QStringLiteral("No PIN code"));
    return m_ignoreLegacyPairing ? QString() : m_pinCode;
}

uint BluezPairingAgent::RequestPasskey(const QDBusObjectPath& device)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: passkey asked for %s", qUtf8Printable(device.path()));
    bool numeric = false;
    const uint passkey = m_pinCode.toUInt(&numeric);
    if (!numeric || passkey > 999999) {
        reject("RequestPasskey", QStringLiteral("No passkey"));
        return 0;
    }
    return passkey;
}

void BluezPairingAgent::DisplayPasskey(const QDBusObjectPath& device, uint passkey)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: passkey %06u for %s", passkey, qUtf8Printable(device.path()));
}

void BluezPairingAgent::DisplayPasskey(const QDBusObjectPath& device, uint passkey, uchar entered)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: passkey %06u for %s, %u digits entered", passkey,
            qUtf8Printable(device.path()), uint(entered));
}

void BluezPairingAgent::DisplayPinCode(const QDBusObjectPath& device, const QString& pinCode)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: PIN code %s for %s", qUtf8Printable(pinCode),
            qUtf8Printable(device.path()));
}

void BluezPairingAgent::RequestConfirmation(const QDBusObjectPath& device, uint passkey)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: passkey %06u of %s confirmed", passkey, qUtf8Printable(device.path()));
}

void BluezPairingAgent::Authorize(const QDBusObjectPath& device, const QString& uuid)
{
    qCDebug(lcBluez, "BluetoothPairingProcess: service %s of %s authorised", qUtf8Printable(uuid),
            qUtf8Printable(device.path()));
}

void BluezPairingAgent::ConfirmModeChange(const QString& mode)
{
    reject("ConfirmModeChange", QStringLiteral("The pairing agent does not change the adapter's mode (%1)").arg(mode));
}

void BluezPairingAgent::Cancel()
{
    qCDebug(lcBluez, "BluetoothPairingProcess: BlueZ cancelled the agent's request");
}
