#include "type4tag.h"

#include "apdu.h"
#include "apdutransport.h"
#include "tagreadresult.h"

#include <QStringList>

namespace {

constexpr quint16 CapabilityContainerFile = 0xE103;
constexpr int CapabilityContainerSize = 15;
constexpr int ExtendedCapabilityContainerSize = 17;
constexpr int MaxShortLe = 255;
// The smallest MLe a Type 4 Tag may give: a card that claims less would need a command per byte or two.
constexpr quint32 MinMaxRead = 15;
constexpr int MaxShortOffset = 0x7FFF;

quint32 bigEndian(const QByteArray& bytes, int offset, int size)
{
    quint32 value = 0;
    for (int i = 0; i < size; ++i)
        value = (value << 8) | quint8(bytes.at(offset + i));
    return value;
}

QString fileText(quint16 fileId)
{
    return QStringLiteral("%1").arg(fileId, 4, 16, QLatin1Char('0')).toUpper();
}

// A SELECT succeeded: 9000, or 61xx (more answer data waiting).
bool selected(quint16 sw)
{
    return (sw & 0xFF00) == 0x9000 || (sw & 0xFF00) == 0x6100;
}

bool readSucceeded(quint16 sw)
{
    return sw == Apdu::Success || sw == Apdu::EndOfFileWarning;
}

// READ BINARY; false with the result set when the command failed or the card answered an error. An
// answer with no data, or an error status, is left to the caller when *status is given.
bool readBinary(ApduTransport& transport, int offset, int length, const QString& what, TagReadResult& result,
                QByteArray* data, quint16* status)
{
    QByteArray response;
    if (!Apdu::exchange(transport, Type4Tag::readBinaryCommand(offset, length), what, result, &response))
        return false;
    *status = Apdu::statusWord(response);
    *data = Apdu::body(response).left(length);
    return true;
}

struct NdefFile
{
    quint16 id = 0;
    quint32 maxSize = 0;
    int lengthSize = 2; // NLEN, or 4 for ENLEN in the extended form
    int maxRead = 0; // MLe, the most bytes one READ BINARY may ask for
};

bool validFileId(quint16 id)
{
    return id != 0x0000 && id != 0xE102 && id != 0xE103 && id != 0x3F00 && id != 0x3FFF && id != 0xFFFF;
}

// The TLVs of the capability container that describe the NDEF file.
enum FileControlTlv : quint8 {
    NdefFileControlTlv = 0x04,
    ExtendedNdefFileControlTlv = 0x06
};

// Reads and checks the capability container file (already selected).
bool readCapabilityContainer(ApduTransport& transport, TagReadResult& result, NdefFile* file)
{
    QByteArray cc;
    quint16 sw = 0;
    if (!readBinary(transport, 0, CapabilityContainerSize, QStringLiteral("reading the capability container"), result,
                    &cc, &sw))
        return false;
    if (!readSucceeded(sw)) {
        result.setFailed(
            QStringLiteral("reading the capability container: the card answered %1").arg(Apdu::statusText(sw)));
        return false;
    }
    if (cc.size() < CapabilityContainerSize) {
        result.setNotNdef(QStringLiteral("the capability container has %1 bytes, fewer than %2")
                              .arg(cc.size())
                              .arg(CapabilityContainerSize));
        return false;
    }
    const quint32 ccLength = bigEndian(cc, 0, 2);
    const quint8 version = quint8(cc.at(2));
    const quint32 maxRead = bigEndian(cc, 3, 2);
    const quint8 tlvType = quint8(cc.at(7));
    const quint8 tlvLength = quint8(cc.at(8));
    if (ccLength < CapabilityContainerSize) {
        result.setNotNdef(QStringLiteral("the capability container declares %1 bytes, fewer than %2")
                              .arg(ccLength)
                              .arg(CapabilityContainerSize));
        return false;
    }
    if ((version >> 4) < 1 || (version >> 4) > 3) {
        result.setNotNdef(
            QStringLiteral("the capability container has mapping version %1.%2").arg(version >> 4).arg(version & 0x0F));
        return false;
    }
    if (maxRead < MinMaxRead) {
        result.setNotNdef(QStringLiteral("the capability container allows reads of %1 bytes, fewer than the %2 "
                                         "every Type 4 Tag allows")
                              .arg(maxRead)
                              .arg(MinMaxRead));
        return false;
    }

    quint8 readAccess = 0;
    if (tlvType == NdefFileControlTlv && tlvLength >= 6) {
        file->id = quint16(bigEndian(cc, 9, 2));
        file->maxSize = bigEndian(cc, 11, 2);
        file->lengthSize = 2;
        readAccess = quint8(cc.at(13));
    } else if (tlvType == ExtendedNdefFileControlTlv && tlvLength >= 8) {
        if (ccLength < ExtendedCapabilityContainerSize) {
            result.setNotNdef(QStringLiteral("the capability container ends inside its NDEF File Control TLV"));
            return false;
        }
        QByteArray rest;
        if (!readBinary(transport, CapabilityContainerSize, ExtendedCapabilityContainerSize - CapabilityContainerSize,
                        QStringLiteral("reading the capability container"), result, &rest, &sw))
            return false;
        if (!readSucceeded(sw) || rest.size() < ExtendedCapabilityContainerSize - CapabilityContainerSize) {
            result.setFailed(QStringLiteral("reading the capability container: the card answered %1 with %2 bytes")
                                 .arg(Apdu::statusText(sw))
                                 .arg(rest.size()));
            return false;
        }
        cc += rest;
        file->id = quint16(bigEndian(cc, 9, 2));
        file->maxSize = bigEndian(cc, 11, 4);
        file->lengthSize = 4;
        readAccess = quint8(cc.at(15));
    } else {
        result.setNotNdef(QStringLiteral("the capability container has no NDEF File Control TLV (TLV %1, length %2)")
                              .arg(Apdu::hex(QByteArray(1, char(tlvType))))
                              .arg(tlvLength));
        return false;
    }
    if (!validFileId(file->id)) {
        result.setNotNdef(QStringLiteral("the capability container names %1 as the NDEF file").arg(fileText(file->id)));
        return false;
    }
    if (file->maxSize < quint32(file->lengthSize)) {
        result.setNotNdef(QStringLiteral("the capability container gives the NDEF file %1 bytes").arg(file->maxSize));
        return false;
    }
    if (readAccess != 0x00) {
        result.setNotNdef(QStringLiteral("the NDEF file is not readable (access %1)")
                              .arg(Apdu::hex(QByteArray(1, char(readAccess)))));
        return false;
    }
    file->maxRead = int(qMin<quint32>(maxRead, MaxShortLe));
    return true;
}

// Reads the selected NDEF file: the length and the message, each read as large as the card allows and
// no larger than what is left of the message. The first read takes the length and the start of the
// message together; a card that refuses it gets a read of the length alone.
bool readNdefFile(ApduTransport& transport, TagReadResult& result, const NdefFile& file)
{
    QByteArray content; // the file from offset 0
    qint64 total = -1; // length field plus message, once the length is known
    bool first = true;
    while (total < 0 || content.size() < total) {
        const qint64 wanted = (total < 0 ? qint64(file.maxSize) : total) - content.size();
        if (wanted <= 0) {
            result.setFailed(QStringLiteral("the NDEF file ends inside its length field"));
            return false;
        }
        if (content.size() > MaxShortOffset) {
            result.setFailed(QStringLiteral("the NDEF message goes past offset %1, beyond what READ BINARY reaches")
                                 .arg(MaxShortOffset));
            return false;
        }
        int length = int(qMin<qint64>(file.maxRead, wanted));
        const int offset = int(content.size());
        const QString what = QStringLiteral("reading the NDEF file at offset %1").arg(offset);
        QByteArray data;
        quint16 sw = 0;
        if (!readBinary(transport, offset, length, what, result, &data, &sw))
            return false;
        if (!readSucceeded(sw) && first && length > file.lengthSize) {
            length = file.lengthSize;
            if (!readBinary(transport, offset, length, what, result, &data, &sw))
                return false;
        }
        first = false;
        if (!readSucceeded(sw)) {
            result.setFailed(QStringLiteral("%1: the card answered %2").arg(what, Apdu::statusText(sw)));
            return false;
        }
        if (data.isEmpty()) {
            result.setFailed(QStringLiteral("%1: the card gave no data").arg(what));
            return false;
        }
        content += data;
        if (total < 0 && content.size() >= file.lengthSize) {
            const quint32 messageLength = bigEndian(content, 0, file.lengthSize);
            if (messageLength > file.maxSize - quint32(file.lengthSize)) {
                result.setFailed(QStringLiteral("the NDEF length %1 goes past the NDEF file's %2 bytes")
                                     .arg(messageLength)
                                     .arg(file.maxSize));
                return false;
            }
            total = file.lengthSize + qint64(messageLength);
        }
    }
    result.setRead(content.mid(file.lengthSize, int(total) - file.lengthSize));
    return true;
}

bool selectFile(ApduTransport& transport, TagReadResult& result, quint16 fileId, int version, bool missingIsNotNdef)
{
    const QString what = QStringLiteral("selecting file %1").arg(fileText(fileId));
    QByteArray response;
    if (!Apdu::exchange(transport, Type4Tag::selectFileCommand(fileId, version), what, result, &response))
        return false;
    const quint16 sw = Apdu::statusWord(response);
    if (selected(sw))
        return true;
    const QString reason = QStringLiteral("%1: the card answered %2").arg(what, Apdu::statusText(sw));
    if (missingIsNotNdef)
        result.setNotNdef(reason);
    else
        result.setFailed(reason);
    return false;
}

} // namespace

namespace Type4Tag {

QByteArray selectApplicationCommand(int version)
{
    QByteArray command = QByteArray::fromHex("00A4040007D27600008501");
    if (version >= 2) {
        command.append(char(0x01));
        command.append(char(0x00)); // Le: the card may answer with its FCI
    } else {
        command.append(char(0x00));
    }
    return command;
}

QByteArray selectFileCommand(quint16 fileId, int version)
{
    QByteArray command = QByteArray::fromHex(version >= 2 ? "00A4000C02" : "00A4000002");
    command.append(char(fileId >> 8));
    command.append(char(fileId & 0xFF));
    return command;
}

QByteArray readBinaryCommand(int offset, int length)
{
    return Apdu::readBinaryCommand(0x00, quint16(offset & MaxShortOffset), length);
}

void readNdef(ApduTransport& transport, TagReadResult& result)
{
    int version = 0;
    QStringList answers;
    for (int tried : {2, 1}) {
        QByteArray response;
        if (!Apdu::exchange(transport, selectApplicationCommand(tried),
                            QStringLiteral("selecting the NDEF application"), result, &response))
            return;
        const quint16 sw = Apdu::statusWord(response);
        if (selected(sw)) {
            version = tried;
            break;
        }
        answers << Apdu::statusText(sw);
    }
    if (version == 0) {
        return result.setNotNdef(
            QStringLiteral("no NDEF application (the card answered %1)").arg(answers.join(QStringLiteral(", "))));
    }

    if (!selectFile(transport, result, CapabilityContainerFile, version, true))
        return;
    NdefFile file;
    if (!readCapabilityContainer(transport, result, &file))
        return;
    if (!selectFile(transport, result, file.id, version, false))
        return;
    readNdefFile(transport, result, file);
}

} // namespace Type4Tag
