#ifndef NFCUI_BLUETOOTHHANDOVER_H
#define NFCUI_BLUETOOTHHANDOVER_H

#include <QByteArray>
#include <QString>

// A Bluetooth handover found in an NDEF message: an application/vnd.bluetooth.ep.oob record on its own,
// or a Handover Select message ("Hs") carrying one. The record holds the OOB data length, the device
// address least significant byte first, then EIR structures (name, class of device).
class BluetoothHandover
{
public:
    enum Kind {
        NotHandover, // plain data: deliver it
        Handover,    // a pairing request
        Malformed    // looked like a handover but cannot be read: log it and deliver as plain data
    };

    static BluetoothHandover parse(const QByteArray& ndef);

    Kind kind() const { return m_kind; }
    // "AA:BB:CC:DD:EE:FF", most significant byte first as people write it.
    QString address() const { return m_address; }
    QString name() const { return m_name; }
    uint classOfDevice() const { return m_classOfDevice; }
    // Why a record is malformed.
    QString problem() const { return m_problem; }

    static const QByteArray OobMimeType;

private:
    static BluetoothHandover malformed(const QString& problem);
    static BluetoothHandover parseOob(const QByteArray& payload);

    Kind m_kind = NotHandover;
    QString m_address;
    QString m_name;
    uint m_classOfDevice = 0;
    QString m_problem;
};

#endif
