#ifndef TEXTNDEFRECORD_H
#define TEXTNDEFRECORD_H

#include "ndefrecord.h"

// A well-known "T" record: a status byte (bit 7 the encoding, bits 0 to 5 the length of the
// language tag), the language tag, then the text.
class TextNDEFRecord : public NDEFRecord
{
public:
    enum Encoding {
        Utf8 = 0,
        Utf16 = 1
    };

    TextNDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload);

    // The language tag as stored (for example "en-US"). When the tag's length runs past the
    // payload, the bytes that are there. A copy of its own.
    QByteArray getLanguage() const;
    // The text bytes after the language tag, not decoded; empty when the tag runs past the payload.
    // A copy of its own.
    QByteArray getText() const;
    // Utf8 (0) or Utf16 (1); Utf8 for an empty payload.
    int getEncoding() const;
};

#endif
