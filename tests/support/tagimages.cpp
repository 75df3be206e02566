#include "tagimages.h"

namespace TagImages {

QByteArray ndefRecord(quint8 tnf, const QByteArray& type, const QByteArray& payload, bool mb, bool me)
{
    const bool shortRecord = payload.size() < 256;
    quint8 header = tnf & 0x07;
    if (mb)
        header |= 0x80;
    if (me)
        header |= 0x40;
    if (shortRecord)
        header |= 0x10;
    QByteArray record;
    record.append(char(header));
    record.append(char(type.size()));
    if (shortRecord) {
        record.append(char(payload.size()));
    } else {
        const quint32 size = quint32(payload.size());
        record.append(char(size >> 24)).append(char(size >> 16)).append(char(size >> 8)).append(char(size));
    }
    record.append(type);
    record.append(payload);
    return record;
}

QByteArray uriRecord(quint8 prefix, const QByteArray& rest, bool mb, bool me)
{
    return ndefRecord(0x01, "U", QByteArray(1, char(prefix)) + rest, mb, me);
}

QByteArray textRecord(const QByteArray& language, const QByteArray& text, bool mb, bool me)
{
    return ndefRecord(0x01, "T", QByteArray(1, char(language.size())) + language + text, mb, me);
}

QByteArray uriMessage(const QByteArray& rest, quint8 prefix)
{
    return uriRecord(prefix, rest);
}

QByteArray messageOfSize(int size)
{
    const QByteArray type = "application/octet-stream";
    // Short record: 3 header bytes and the type; long record: 6 and the type.
    int payload = size - 3 - type.size();
    if (payload >= 256)
        payload = size - 6 - type.size();
    QByteArray data(payload, '\0');
    for (int i = 0; i < payload; ++i)
        data[i] = char('a' + i % 26);
    const QByteArray message = ndefRecord(0x02, type, data);
    Q_ASSERT(message.size() == size);
    return message;
}

QByteArray ndefTlv(const QByteArray& message)
{
    QByteArray tlv(1, char(0x03));
    if (message.size() < 0xFF) {
        tlv.append(char(message.size()));
    } else {
        tlv.append(char(0xFF));
        tlv.append(char(message.size() >> 8));
        tlv.append(char(message.size() & 0xFF));
    }
    return tlv + message;
}

QByteArray lockControlTlv(int address, int lockBits, int pageSizeExponent, int bytesLockedPerBit)
{
    const int pageSize = 1 << pageSizeExponent;
    QByteArray tlv = QByteArray::fromHex("0103");
    tlv.append(char(((address / pageSize) << 4) | (address % pageSize)));
    tlv.append(char(lockBits & 0xFF));
    int exponent = 0;
    while ((1 << exponent) < bytesLockedPerBit)
        ++exponent;
    tlv.append(char((exponent << 4) | pageSizeExponent));
    return tlv;
}

QByteArray memoryControlTlv(int address, int size, int pageSizeExponent)
{
    const int pageSize = 1 << pageSizeExponent;
    QByteArray tlv = QByteArray::fromHex("0203");
    tlv.append(char(((address / pageSize) << 4) | (address % pageSize)));
    tlv.append(char(size & 0xFF));
    tlv.append(char(pageSizeExponent));
    return tlv;
}

QByteArray defaultUid()
{
    return QByteArray::fromHex("04A1B2C3D4E5F6");
}

QByteArray type2Image(int dataAreaSize, const QByteArray& tlvs, const QByteArray& capabilityContainer,
                      int trailingBytes)
{
    const QByteArray uid = defaultUid();
    QByteArray image(16 + dataAreaSize + trailingBytes, '\0');
    // Pages 0 to 2: UID0-2, BCC0, UID3-6, BCC1, internal byte, two static lock bytes.
    image[0] = uid[0];
    image[1] = uid[1];
    image[2] = uid[2];
    image[3] = char(0x88 ^ quint8(uid[0]) ^ quint8(uid[1]) ^ quint8(uid[2]));
    for (int i = 3; i < 7; ++i)
        image[i + 1] = uid[i];
    image[8] = char(quint8(uid[3]) ^ quint8(uid[4]) ^ quint8(uid[5]) ^ quint8(uid[6]));
    image[9] = char(0x48);
    QByteArray cc = capabilityContainer;
    if (cc.isEmpty()) {
        cc = QByteArray::fromHex("E110");
        cc.append(char(dataAreaSize / 8));
        cc.append(char(0x00));
    }
    patch(image, 12, cc.left(4));
    patch(image, 16, tlvs.left(dataAreaSize + trailingBytes));
    return image;
}

void patch(QByteArray& image, int address, const QByteArray& bytes)
{
    for (int i = 0; i < bytes.size() && address + i < image.size(); ++i)
        image[address + i] = bytes[i];
}

namespace {

QByteArray factory(int dataAreaSize, const QByteArray& prefix, const QByteArray& message, int trailingBytes)
{
    QByteArray tlvs = prefix + ndefTlv(message);
    if (tlvs.size() < dataAreaSize)
        tlvs.append(char(Terminator));
    return type2Image(dataAreaSize, tlvs, QByteArray(), trailingBytes);
}

} // namespace

QByteArray ultralight(const QByteArray& message)
{
    return factory(48, QByteArray(), message, 0);
}

QByteArray ntag213(const QByteArray& message)
{
    // 45 pages: data area on pages 4 to 39, dynamic lock bytes on page 40, configuration after.
    return factory(144, QByteArray::fromHex("0103A00C34"), message, 20);
}

QByteArray ntag215(const QByteArray& message)
{
    return factory(496, QByteArray(), message, 20); // 135 pages
}

QByteArray ntag216(const QByteArray& message)
{
    return factory(872, QByteArray(), message, 20); // 231 pages: 888 bytes of user memory and more
}

QByteArray ultralightAtr()
{
    return QByteArray::fromHex("3B8F8001804F0CA0000003060300030000000068");
}

QByteArray classicAtr()
{
    return QByteArray::fromHex("3B8F8001804F0CA000000306030001000000006A");
}

QByteArray type4Atr()
{
    // ISO 14443-4 card, historical bytes from its ATS.
    return QByteArray::fromHex("3B8880010000000000718100F9");
}

QByteArray type4CapabilityContainer(int maxRead, quint16 ndefFileId, int maxNdefSize, quint8 readAccess, quint8 version)
{
    QByteArray cc = QByteArray::fromHex("000F");
    cc.append(char(version));
    cc.append(char(maxRead >> 8)).append(char(maxRead & 0xFF));
    cc.append(QByteArray::fromHex("00FF")); // MLc
    cc.append(QByteArray::fromHex("0406"));
    cc.append(char(ndefFileId >> 8)).append(char(ndefFileId & 0xFF));
    cc.append(char(maxNdefSize >> 8)).append(char(maxNdefSize & 0xFF));
    cc.append(char(readAccess));
    cc.append(char(0x00)); // write access
    return cc;
}

QByteArray type4NdefFile(const QByteArray& message, int maxSize)
{
    QByteArray file;
    file.append(char(message.size() >> 8)).append(char(message.size() & 0xFF));
    file.append(message);
    if (file.size() < maxSize)
        file.append(QByteArray(maxSize - file.size(), '\0'));
    return file;
}

} // namespace TagImages
