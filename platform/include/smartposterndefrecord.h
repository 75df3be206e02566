#ifndef SMARTPOSTERNDEFRECORD_H
#define SMARTPOSTERNDEFRECORD_H

#include <QList>

#include "ndefrecord.h"

class NDEFMessage;
class NDEFMessageParser;
class TextNDEFRecord;
class URINDEFRecord;

// A well-known "Sp" record, whose payload is itself an NDEF message: a URI record, title Text
// records and other records. The nested message is parsed when the record is made and owned by
// the record. When it does not parse, the Smart Poster has no URI and no titles.
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

    NDEFMessage* m_content;
};

#endif
