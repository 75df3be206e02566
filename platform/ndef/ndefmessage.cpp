#include "ndefmessage.h"

#include "ndefheader_p.h"

#include <QScopedPointer>

#include "ndefmessageparser_p.h"
#include "ndefrecord.h"
#include "smartposterndefrecord.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

namespace {

using NdefHeader::MessageBegin;
using NdefHeader::MessageEnd;
using NdefHeader::ChunkFlag;
using NdefHeader::ShortRecord;
using NdefHeader::IdLength;
using NdefHeader::TnfMask;
using HeaderFlag = NdefHeader::Flag;

// Reads the message front to back. Every read is checked against the end of the data before
// anything is read, and fails rather than read past it.
class ByteReader
{
public:
    explicit ByteReader(const QByteArray& data)
        : m_data(data)
    {
    }

    bool atEnd() const { return m_pos >= m_data.size(); }

    bool readByte(quint8* value)
    {
        if (atEnd())
            return false;
        *value = quint8(m_data.at(m_pos++));
        return true;
    }

    bool readLength32(quint32* value)
    {
        if (m_data.size() - m_pos < 4)
            return false;
        quint32 result = 0;
        for (int i = 0; i < 4; ++i)
            result = (result << 8) | quint8(m_data.at(m_pos++));
        *value = result;
        return true;
    }

    // Compared as unsigned 64-bit numbers so that no length, up to 0xFFFFFFFF, can wrap around.
    bool readBytes(quint32 length, QByteArray* bytes)
    {
        if (quint64(length) > quint64(m_data.size() - m_pos))
            return false;
        *bytes = m_data.mid(m_pos, int(length));
        m_pos += int(length);
        return true;
    }

private:
    const QByteArray& m_data;
    int m_pos = 0;
};

struct RawRecord
{
    quint8 header = 0;
    QByteArray type;
    QByteArray id;
    QByteArray payload;

    int tnf() const { return header & TnfMask; }
    bool hasFlag(HeaderFlag flag) const { return header & flag; }
};

bool readRecord(ByteReader& reader, RawRecord* record)
{
    quint8 typeLength = 0;
    quint32 payloadLength = 0;
    quint8 idLength = 0;

    if (!reader.readByte(&record->header) || !reader.readByte(&typeLength))
        return false;
    if (record->hasFlag(ShortRecord)) {
        quint8 shortLength = 0;
        if (!reader.readByte(&shortLength))
            return false;
        payloadLength = shortLength;
    } else if (!reader.readLength32(&payloadLength)) {
        return false;
    }
    if (record->hasFlag(IdLength) && !reader.readByte(&idLength))
        return false;

    return reader.readBytes(typeLength, &record->type)
        && reader.readBytes(idLength, &record->id)
        && reader.readBytes(payloadLength, &record->payload);
}

} // namespace

NDEFMessage::~NDEFMessage()
{
    qDeleteAll(m_records);
}

NDEFMessage* NDEFMessage::createFromData(const QByteArray& data)
{
    return NDEFMessageParser::parse(data, 0);
}

QList<const NDEFRecord*> NDEFMessage::getRecords() const
{
    QList<const NDEFRecord*> records;
    records.reserve(m_records.size());
    for (const NDEFRecord* record : m_records)
        records.append(record);
    return records;
}

NDEFMessage* NDEFMessageParser::parse(const QByteArray& data, int nesting)
{
    QScopedPointer<NDEFMessage> message(new NDEFMessage);
    // Empty data is a message without records.
    if (data.isEmpty())
        return message.take();

    ByteReader reader(data);
    bool first = true;
    // The chunked record being reassembled, while chunking is true.
    bool chunking = false;
    RawRecord chunked;

    // Reads until the record with ME; running out of data before it fails in readRecord().
    for (;;) {
        RawRecord record;
        if (!readRecord(reader, &record))
            return nullptr;

        if (record.hasFlag(MessageBegin) != first)
            return nullptr;
        first = false;

        int tnf = record.tnf();
        const bool messageEnd = record.hasFlag(MessageEnd);
        const bool lastChunk = !record.hasFlag(ChunkFlag);
        if (messageEnd && !lastChunk)
            return nullptr;
        if (tnf == NDEFRecordType::Reserved)
            return nullptr;

        if (chunking) {
            // A chunk goes on with TNF 6, no type and no id; anything else is a new record
            // starting before the chunked one ended.
            if (tnf != NDEFRecordType::Unchanged || !record.type.isEmpty()
                || record.hasFlag(IdLength))
                return nullptr;
            chunked.payload += record.payload;
            if (!lastChunk)
                continue;
            chunking = false;
            // The reassembled record keeps the type and id of its first chunk.
            record.type = chunked.type;
            record.id = chunked.id;
            record.payload = chunked.payload;
            tnf = chunked.tnf();
        } else {
            if (tnf == NDEFRecordType::Unchanged)
                return nullptr;
            if (tnf == NDEFRecordType::Unknown && !record.type.isEmpty())
                return nullptr;
            if (!lastChunk) {
                chunking = true;
                chunked = record;
                continue;
            }
        }

        // Checked on the whole record, so that chunks cannot give an empty record a payload.
        if (tnf == NDEFRecordType::Empty
            && (!record.type.isEmpty() || !record.id.isEmpty() || !record.payload.isEmpty()))
            return nullptr;

        message->m_records.append(createRecord(NDEFRecordType(tnf, record.type), record.id,
                                               record.payload, nesting));

        if (messageEnd) {
            // Nothing may follow the last record.
            if (!reader.atEnd())
                return nullptr;
            return message.take();
        }
    }
}

NDEFRecord* NDEFMessageParser::createRecord(const NDEFRecordType& type, const QByteArray& id,
                                            const QByteArray& payload, int nesting)
{
    if (type == NDEFRecordType::URI)
        return new URINDEFRecord(type, id, payload);
    if (type == NDEFRecordType::Text)
        return new TextNDEFRecord(type, id, payload);
    if (type == NDEFRecordType::SmartPoster)
        return new SmartPosterNDEFRecord(type, id, payload, nesting + 1);
    return new NDEFRecord(type, id, payload);
}
