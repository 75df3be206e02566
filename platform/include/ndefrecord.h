#ifndef NDEFRECORD_H
#define NDEFRECORD_H

#include <QByteArray>

#include "ndefrecordtype.h"

// One logical record of an NDEF message (a chunked record is reassembled into one). Records are
// made and owned by NDEFMessage; records of the types URI, Text and SmartPoster are made as
// URINDEFRecord, TextNDEFRecord and SmartPosterNDEFRecord, so a caller may static_cast by type.
class NDEFRecord
{
public:
    NDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload);
    virtual ~NDEFRecord();

    NDEFRecordType getType() const { return m_type; }
    QByteArray getPayload() const { return m_payload; }
    QByteArray getId() const { return m_id; }

private:
    Q_DISABLE_COPY(NDEFRecord)

    NDEFRecordType m_type;
    QByteArray m_id;
    QByteArray m_payload;
};

#endif
