#include "bluetoothhandover.h"

#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefrecordtype.h"

#include <memory>

const QByteArray BluetoothHandover::OobMimeType = QByteArrayLiteral("application/vnd.bluetooth.ep.oob");

namespace {
// EIR data types the daemon reads.
const quint8 EirShortenedName = 0x08;
const quint8 EirCompleteName = 0x09;
const quint8 EirClassOfDevice = 0x0d;

bool isOobRecord(const NDEFRecord* record)
{
    return record->getType().getTNF() == NDEFRecordType::MimeMedia
        && record->getType().getName().toLower() == BluetoothHandover::OobMimeType;
}
} // namespace

BluetoothHandover BluetoothHandover::malformed(const QString& problem)
{
    BluetoothHandover handover;
    handover.m_kind = Malformed;
    handover.m_problem = problem;
    return handover;
}

BluetoothHandover BluetoothHandover::parse(const QByteArray& ndef)
{
    const std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(ndef));
    if (!message)
        return BluetoothHandover();
    const QList<const NDEFRecord*> records = message->getRecords();
    if (records.isEmpty())
        return BluetoothHandover();
    const NDEFRecord* first = records.first();
    const bool handoverSelect = first->getType() == NDEFRecordType(NDEFRecordType::WellKnown, "Hs");
    if (!handoverSelect && !isOobRecord(first))
        return BluetoothHandover();
    for (const NDEFRecord* record : records) {
        if (isOobRecord(record))
            return parseOob(record->getPayload());
    }
    return malformed(QStringLiteral("a Handover Select message without a Bluetooth carrier record"));
}

BluetoothHandover BluetoothHandover::parseOob(const QByteArray& payload)
{
    if (payload.size() < 8)
        return malformed(QStringLiteral("the OOB record has %1 bytes, fewer than the 8 of length and address")
                             .arg(payload.size()));
    const int length = quint8(payload.at(0)) | (quint8(payload.at(1)) << 8);
    if (length != payload.size())
        return malformed(QStringLiteral("the OOB record says %1 bytes but has %2").arg(length).arg(payload.size()));

    BluetoothHandover handover;
    handover.m_kind = Handover;
    QStringList bytes;
    for (int i = 7; i >= 2; --i)
        bytes << QStringLiteral("%1").arg(quint8(payload.at(i)), 2, 16, QLatin1Char('0')).toUpper();
    handover.m_address = bytes.join(QLatin1Char(':'));

    QString shortenedName;
    int at = 8;
    while (at < payload.size()) {
        const int size = quint8(payload.at(at));
        if (size == 0)
            break; // the rest is padding
        if (at + 1 + size > payload.size())
            return malformed(QStringLiteral("an EIR structure at byte %1 runs past the record").arg(at));
        const quint8 type = quint8(payload.at(at + 1));
        const QByteArray data = payload.mid(at + 2, size - 1);
        if (type == EirCompleteName) {
            handover.m_name = QString::fromUtf8(data);
        } else if (type == EirShortenedName) {
            shortenedName = QString::fromUtf8(data);
        } else if (type == EirClassOfDevice) {
            if (data.size() != 3)
                return malformed(QStringLiteral("the class of device has %1 bytes, not 3").arg(data.size()));
            handover.m_classOfDevice = quint8(data.at(0)) | (quint8(data.at(1)) << 8) | (quint8(data.at(2)) << 16);
        }
        at += 1 + size;
    }
    if (handover.m_name.isEmpty())
        handover.m_name = shortenedName;
    return handover;
}
