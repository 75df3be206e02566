#ifndef NDEFRECORD_H
#define NDEFRECORD_H

#include <QByteArray>

#include "ndefrecordtype.h"

class NDEFMessageParser;

// One logical record of an NDEF message (a chunked record is reassembled into one). Records are
// made and owned by NDEFMessage; records of the types URI, Text and SmartPoster are made as
// URINDEFRecord, TextNDEFRecord and SmartPosterNDEFRecord, so a caller may static_cast by type.
//
// A record of a parsed message copies nothing: its type name, id and payload are arrays over the
// message's own memory and over the bytes it was parsed from, which the message keeps alive. They
// (and their copies) are valid as long as the message lives; copy the bytes to keep them longer.
// The payload array of such a record is not followed by a NUL byte: use its size. A record made
// with the constructor keeps the arrays it was given.
class NDEFRecord
{
public:
    NDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload);
    virtual ~NDEFRecord();

    NDEFRecordType getType() const { return m_type; }
    QByteArray getPayload() const { return m_payload; }
    QByteArray getId() const { return m_id; }

protected:
    const char* payloadData() const { return m_payload.constData(); }
    int payloadSize() const { return m_payload.size(); }

private:
    friend class NDEFMessageParser;
    Q_DISABLE_COPY(NDEFRecord)

    NDEFRecordType m_type;
    QByteArray m_id;
    QByteArray m_payload;
};

#endif
