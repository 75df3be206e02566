#ifndef URINDEFRECORD_H
#define URINDEFRECORD_H

#include "ndefrecord.h"

// A well-known "U" record: an identifier code byte followed by the rest of the URI.
class URINDEFRecord : public NDEFRecord
{
public:
    URINDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload);

    // The full URI as bytes, the identifier code expanded to its prefix ("https://", "tel:" ...).
    // An undefined identifier code (above 0x23) stands for no prefix: the URI is then the rest of
    // the payload as it is. An empty payload gives an empty URI. The result is a copy of its own.
    QByteArray getURI() const;
};

#endif
