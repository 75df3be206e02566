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
    const QByteArray payload = getPayload();
    if (payload.isEmpty())
        return QByteArray();
    // mid() stops at the end of the payload, so an overlong tag gives the bytes that are there.
    return payload.mid(1, quint8(payload.at(0)) & languageLengthMask);
}

QByteArray TextNDEFRecord::getText() const
{
    const QByteArray payload = getPayload();
    if (payload.isEmpty())
        return QByteArray();
    const int textStart = 1 + (quint8(payload.at(0)) & languageLengthMask);
    if (textStart >= payload.size())
        return QByteArray();
    return payload.mid(textStart);
}

int TextNDEFRecord::getEncoding() const
{
    const QByteArray payload = getPayload();
    if (payload.isEmpty())
        return Utf8;
    return (quint8(payload.at(0)) & utf16Flag) ? Utf16 : Utf8;
}
