#include "textndefrecord.h"

namespace {

const quint8 utf16Flag = 0x80;
const quint8 languageLengthMask = 0x3f;

} // namespace

TextNDEFRecord::TextNDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload)
    : NDEFRecord(type, id, payload)
{
}

QByteArray TextNDEFRecord::getLanguage() const
{
    const int size = payloadSize();
    if (size == 0)
        return QByteArray();
    // Stops at the end of the payload, so an overlong tag gives the bytes that are there.
    const int length = quint8(payloadData()[0]) & languageLengthMask;
    return QByteArray(payloadData() + 1, qMin(length, size - 1));
}

QByteArray TextNDEFRecord::getText() const
{
    const int size = payloadSize();
    if (size == 0)
        return QByteArray();
    const int textStart = 1 + (quint8(payloadData()[0]) & languageLengthMask);
    if (textStart >= size)
        return QByteArray();
    return QByteArray(payloadData() + textStart, size - textStart);
}

int TextNDEFRecord::getEncoding() const
{
    if (payloadSize() == 0)
        return Utf8;
    return (quint8(payloadData()[0]) & utf16Flag) ? Utf16 : Utf8;
}
