#ifndef NDEFRECORD_H
#define NDEFRECORD_H

#include <QByteArray>

#include "ndefrecordtype.h"

class NDEFMessageParser;

// One logical record of an NDEF message (a chunked record is reassembled into one). Records are
// made and owned by NDEFMessage; records of the types URI, Text and SmartPoster are made as
// URINDEFRecord, TextNDEFRecord and SmartPosterNDEFRecord, so a caller may static_cast by type.
//
// A record of a parsed message does not copy its id and payload: they are views of the bytes the
// message was parsed from, which the message keeps alive. The arrays the accessors return are
// therefore valid while the message lives (or while the caller still holds the parsed bytes);
// copy them to keep them longer. A record made with the constructor keeps the arrays it was given.
class NDEFRecord
{
public:
    NDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload);
    virtual ~NDEFRecord();

    NDEFRecordType getType() const { return m_type; }
    QByteArray getPayload() const { return view(m_payload, m_payloadSize); }
    QByteArray getId() const { return view(m_id, m_idSize); }

protected:
    // Bytes the record does not own: a part of the parsed message, or of the arrays it was made with.
    struct Bytes
    {
        const char* data;
        int size;
    };

    NDEFRecord(const NDEFRecordType& type, Bytes id, Bytes payload);
    // A payload reassembled from chunks, owned by the record.
    NDEFRecord(const NDEFRecordType& type, Bytes id, const QByteArray& ownedPayload);

    const char* payloadData() const { return m_payload; }
    int payloadSize() const { return m_payloadSize; }
    // An array over part of the payload, without copying it.
    QByteArray payloadPart(int from, int size) const { return view(m_payload + from, size); }

    // Never a null array: an empty field is an empty array, as a parsed message gives it.
    static QByteArray view(const char* data, int size)
    {
        return size > 0 ? QByteArray::fromRawData(data, size) : QByteArray("");
    }

private:
    friend class NDEFMessageParser;
    Q_DISABLE_COPY(NDEFRecord)

    NDEFRecordType m_type;
    // What the views below point into when the record owns its bytes; null when they are the message's.
    QByteArray m_idStorage;
    QByteArray m_payloadStorage;
    const char* m_id;
    const char* m_payload;
    int m_idSize;
    int m_payloadSize;
};

#endif
