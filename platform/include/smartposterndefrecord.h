#ifndef SMARTPOSTERNDEFRECORD_H
#define SMARTPOSTERNDEFRECORD_H

#include <QList>

#include "ndefrecord.h"

class NDEFMessage;
class NDEFMessageParser;
class TextNDEFRecord;
class URINDEFRecord;

// A well-known "Sp" record, whose payload is itself an NDEF message: a URI record, title Text
// records and other records. The nested message is parsed the first time it is asked for, from
// the payload's own bytes (no copy), and owned by the record. When it does not parse, the Smart
// Poster has no URI and no titles. Like the rest of the library, not meant to be read from
// several threads at once.
class SmartPosterNDEFRecord : public NDEFRecord
{
public:
    SmartPosterNDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload);
    ~SmartPosterNDEFRecord() override;

    // The first URI record of the nested message, or null.
    const URINDEFRecord* getURIRecord() const;
    // The Text records of the nested message, in tag order.
    QList<const TextNDEFRecord*> getTitleRecords() const;

private:
    friend class NDEFMessageParser;
    SmartPosterNDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload,
                          int nesting);

    // The nested message, parsed on first use; null when it does not parse or lies too deep.
    const NDEFMessage* content() const;

    int m_nesting;
    mutable bool m_parsed = false;
    mutable NDEFMessage* m_content = nullptr;
};

#endif
