// The daemon's Bluetooth handover reader, on whatever a touched tag carries. The input is:
//   byte 0 (modulo 3): 0 the rest is a whole NDEF message;
//                      1 the rest is the payload of an application/vnd.bluetooth.ep.oob record, the
//                        message's only record;
//                      2 the same record behind a Handover Select record;
//   the rest: the message or the payload.
// Besides crashes and reads out of bounds (under the sanitizers), it checks what must hold for any input:
// - reading the same bytes twice gives the same result;
// - a handover has an address of six hexadecimal bytes, most significant first, a class of device of
//   three bytes and no problem; a malformed record says what is wrong; plain data has neither;
// - bytes that are not NDEF are plain data;
// - an OOB record is never plain data, and is malformed when its length is not the payload's; a handover
//   read from it has the address of bytes 2 to 7, least significant first, and the name and class of
//   device of its EIR structures.
#include <QByteArray>
#include <QRegularExpression>
#include <QStringList>

#include <cstdint>
#include <memory>

#include "bluetoothhandover.h"
#include "fuzzcheck.h"
#include "ndefmessage.h"

namespace {

// One NDEF record with the message-begin and message-end flags given, in the short form when the payload
// fits in one length byte.
QByteArray record(quint8 flags, quint8 tnf, const QByteArray& type, const QByteArray& payload)
{
    const bool shortRecord = payload.size() < 256;
    QByteArray bytes;
    bytes.append(char(flags | (shortRecord ? 0x10 : 0x00) | tnf));
    bytes.append(char(type.size()));
    if (shortRecord) {
        bytes.append(char(payload.size()));
    } else {
        const quint32 size = quint32(payload.size());
        bytes.append(char(size >> 24)).append(char(size >> 16)).append(char(size >> 8)).append(char(size));
    }
    return bytes + type + payload;
}

const quint8 MessageBegin = 0x80;
const quint8 MessageEnd = 0x40;
const quint8 WellKnown = 0x01;
const quint8 MimeMedia = 0x02;

QByteArray oobMessage(const QByteArray& payload, bool behindHandoverSelect)
{
    if (!behindHandoverSelect)
        return record(MessageBegin | MessageEnd, MimeMedia, BluetoothHandover::OobMimeType, payload);
    // Handover Select version 1.2 with no alternative carrier records of its own.
    return record(MessageBegin, WellKnown, QByteArrayLiteral("Hs"), QByteArray(1, char(0x12)))
        + record(MessageEnd, MimeMedia, BluetoothHandover::OobMimeType, payload);
}

bool sameResult(const BluetoothHandover& a, const BluetoothHandover& b)
{
    return a.kind() == b.kind() && a.address() == b.address() && a.name() == b.name()
        && a.classOfDevice() == b.classOfDevice() && a.problem() == b.problem();
}

void checkResult(const BluetoothHandover& handover)
{
    static const QRegularExpression address(QStringLiteral("^([0-9A-F]{2}:){5}[0-9A-F]{2}$"));
    switch (handover.kind()) {
    case BluetoothHandover::Handover:
        FUZZ_CHECK(address.match(handover.address()).hasMatch());
        FUZZ_CHECK(handover.classOfDevice() <= 0xffffff);
        FUZZ_CHECK(handover.problem().isEmpty());
        break;
    case BluetoothHandover::Malformed:
        FUZZ_CHECK(!handover.problem().isEmpty());
        FUZZ_CHECK(handover.address().isEmpty());
        break;
    case BluetoothHandover::NotHandover:
        FUZZ_CHECK(handover.problem().isEmpty());
        FUZZ_CHECK(handover.address().isEmpty());
        break;
    }
}

// The address as people write it, from the payload's bytes 2 to 7 (least significant first).
QString addressOf(const QByteArray& payload)
{
    QStringList bytes;
    for (int i = 7; i >= 2; --i)
        bytes << QString::number(quint8(payload.at(i)), 16).rightJustified(2, QLatin1Char('0')).toUpper();
    return bytes.join(QLatin1Char(':'));
}

void checkOob(const BluetoothHandover& handover, const QByteArray& payload)
{
    FUZZ_CHECK(handover.kind() != BluetoothHandover::NotHandover);
    const bool lengthRight =
        payload.size() >= 8 && (quint8(payload.at(0)) | (quint8(payload.at(1)) << 8)) == payload.size();
    if (!lengthRight) {
        FUZZ_CHECK(handover.kind() == BluetoothHandover::Malformed);
        return;
    }
    if (handover.kind() != BluetoothHandover::Handover)
        return;
    FUZZ_CHECK(handover.address() == addressOf(payload));
    // The name and the class of device come from the EIR structures after the address, or stay empty.
    QStringList names;
    QList<uint> classes;
    for (int at = 8; at < payload.size() && payload.at(at) != 0;) {
        const int structureSize = quint8(payload.at(at));
        if (at + 1 + structureSize > payload.size())
            break;
        const quint8 type = quint8(payload.at(at + 1));
        const QByteArray structure = payload.mid(at + 2, structureSize - 1);
        if (type == 0x08 || type == 0x09)
            names << QString::fromUtf8(structure);
        if (type == 0x0d && structure.size() == 3)
            classes << (quint8(structure.at(0)) | (quint8(structure.at(1)) << 8) | (quint8(structure.at(2)) << 16));
        at += 1 + structureSize;
    }
    FUZZ_CHECK(handover.name().isEmpty() || names.contains(handover.name()));
    FUZZ_CHECK(handover.classOfDevice() == 0 || classes.contains(handover.classOfDevice()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 8192)
        return 0;
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    const int mode = quint8(input.at(0)) % 3;
    const QByteArray rest = input.mid(1);
    const QByteArray ndef = mode == 0 ? rest : oobMessage(rest, mode == 2);

    const BluetoothHandover handover = BluetoothHandover::parse(ndef);
    checkResult(handover);
    FUZZ_CHECK(sameResult(handover, BluetoothHandover::parse(ndef)));
    if (mode == 0) {
        if (!std::unique_ptr<NDEFMessage>(NDEFMessage::createFromData(ndef)))
            FUZZ_CHECK(handover.kind() == BluetoothHandover::NotHandover);
        return 0;
    }
    // The wrapping makes a well-formed message, so the record always reaches the reader.
    FUZZ_CHECK(std::unique_ptr<NDEFMessage>(NDEFMessage::createFromData(ndef)) != nullptr);
    checkOob(handover, rest);
    return 0;
}
