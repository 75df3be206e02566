#ifndef NFCUI_BLUEZPAIRINGAGENT_H
#define NFCUI_BLUEZPAIRINGAGENT_H

#include <QDBusContext>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>

// The org.bluez.Agent of one pairing, exported on the pairing's own connection and handed to
// CreatePairedDevice. BlueZ asks it for the secrets of that pairing only. The user has already agreed
// to pair with the device, so passkeys to show and confirm are accepted as they come; a PIN code is
// answered with the PIN the device announced, and refused when there is none or legacy pairing is not
// wanted.
class BluezPairingAgent : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.bluez.Agent")
public:
    BluezPairingAgent(const QString& pinCode, bool ignoreLegacyPairing, QObject* parent = nullptr);

    static QString path() { return QStringLiteral("/com/orvan/nfc_ui/bluez_agent"); }

public Q_SLOTS:
    void Release();
    QString RequestPinCode(const QDBusObjectPath& device);
    uint RequestPasskey(const QDBusObjectPath& device);
    // BlueZ 4.101 sends the passkey alone; other versions add how many digits were entered.
    void DisplayPasskey(const QDBusObjectPath& device, uint passkey);
    void DisplayPasskey(const QDBusObjectPath& device, uint passkey, uchar entered);
    void DisplayPinCode(const QDBusObjectPath& device, const QString& pinCode);
    void RequestConfirmation(const QDBusObjectPath& device, uint passkey);
    void Authorize(const QDBusObjectPath& device, const QString& uuid);
    void ConfirmModeChange(const QString& mode);
    void Cancel();

private:
    void reject(const char* method, const QString& why);

    QString m_pinCode;
    bool m_ignoreLegacyPairing;
};

#endif
