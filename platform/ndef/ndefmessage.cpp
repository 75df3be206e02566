#include "ndefmessage.h"

#include "ndefheader_p.h"

#include <QVarLengthArray>

#include <memory>

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

struct Span
{
    const char* data = nullptr;
    int size = 0;
};

// One record as it stands in the bytes (a chunk of a chunked record is one such record).
struct RawRecord
{
    quint8 header = 0;
    Span type;
    Span id;
    Span payload;

    int tnf() const { return header & TnfMask; }
    bool hasFlag(NdefHeader::Flag flag) const { return header & flag; }
};

// Reads records front to back. Every length is checked against the end of the data before
// anything is read, and reading fails rather than go past it.
class RecordReader
{
public:
    RecordReader(const char* data, int size)
        : m_pos(reinterpret_cast<const uchar*>(data))
        , m_end(m_pos + size)
    {
    }

    bool atEnd() const { return m_pos >= m_end; }
    const char* position() const { return reinterpret_cast<const char*>(m_pos); }

    bool read(RawRecord* record)
    {
        // Header byte and type length, then a one- or four-byte payload length, then the id length.
        if (m_end - m_pos < 3)
            return false;
        record->header = m_pos[0];
        const quint32 typeLength = m_pos[1];
        quint32 payloadLength;
        if (record->hasFlag(ShortRecord)) {
            payloadLength = m_pos[2];
            m_pos += 3;
        } else {
            if (m_end - m_pos < 6)
                return false;
            payloadLength = quint32(m_pos[2]) << 24 | quint32(m_pos[3]) << 16 | quint32(m_pos[4]) << 8 | m_pos[5];
            m_pos += 6;
        }
        quint32 idLength = 0;
        if (record->hasFlag(IdLength)) {
            if (m_pos == m_end)
                return false;
            idLength = *m_pos++;
        }
        // In 64 bits, so that no length up to 0xFFFFFFFF can wrap around.
        if (quint64(typeLength) + idLength + payloadLength > quint64(m_end - m_pos))
            return false;
        record->type = take(typeLength);
        record->id = take(idLength);
        record->payload = take(payloadLength);
        return true;
    }

private:
    Span take(quint32 length)
    {
        const Span span{reinterpret_cast<const char*>(m_pos), int(length)};
        m_pos += length;
        return span;
    }

    const uchar* m_pos;
    const uchar* m_end;
};

// A logical record found by the check: where its fields lie. A chunked record keeps the type and
// id of its first chunk; its chunks lie between chunksBegin and chunksEnd.
struct Found
{
    int tnf = 0;
    Span type;
    Span id;
    Span payload;
    bool chunked = false;
    const char* chunksBegin = nullptr;
    const char* chunksEnd = nullptr;
    qint64 chunkedSize = 0;
};

bool equals(Span span, const char* name, int size)
{
    return span.size == size && memcmp(span.data, name, size_t(size)) == 0;
}

// The well-known types share the library's constants' names instead of copying theirs.
NDEFRecordType recordType(int tnf, Span type)
{
    if (tnf == NDEFRecordType::WellKnown) {
        if (equals(type, "U", 1))
            return NDEFRecordType::URI;
        if (equals(type, "T", 1))
            return NDEFRecordType::Text;
        if (equals(type, "Sp", 2))
            return NDEFRecordType::SmartPoster;
    }
    return NDEFRecordType(tnf, QByteArray(type.data, type.size));
}

// The payload of a chunked record, its chunks' payloads joined.
QByteArray reassemble(const Found& found)
{
    QByteArray payload;
    payload.reserve(int(found.chunkedSize));
    RecordReader reader(found.chunksBegin, int(found.chunksEnd - found.chunksBegin));
    RawRecord chunk;
    while (!reader.atEnd() && reader.read(&chunk))
        payload.append(chunk.payload.data, chunk.payload.size);
    return payload;
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

NDEFMessage* NDEFMessageParser::parse(const QByteArray& data, int nesting)
{
    std::unique_ptr<NDEFMessage> message(new NDEFMessage);
    // The records will point into these bytes. An array over bytes it does not own (fromRawData)
    // cannot keep them alive, so its bytes are copied once.
    message->m_data = data.capacity() < data.size() ? QByteArray(data.constData(), data.size()) : data;
    const QByteArray& bytes = message->m_data;
    if (!parseInto(message.get(), bytes.constData(), bytes.size(), nesting))
        return nullptr;
    return message.release();
}

NDEFMessage* NDEFMessageParser::parse(const char* data, int size, int nesting)
{
    std::unique_ptr<NDEFMessage> message(new NDEFMessage);
    if (!parseInto(message.get(), data, size, nesting))
        return nullptr;
    return message.release();
}

NDEFMessage* NDEFMessageParser::parseInto(NDEFMessage* message, const char* data, int size, int nesting)
{
    // Empty data is a message without records.
    if (size == 0)
        return message;

    // First the check, which only notes where the records lie.
    QVarLengthArray<Found, 8> found;
    RecordReader reader(data, size);
    bool first = true;
    // The chunked record being reassembled, while chunking is true.
    bool chunking = false;
    Found chunked;

    // Reads until the record with ME; running out of data before it fails in read().
    for (;;) {
        const char* recordStart = reader.position();
        RawRecord record;
        if (!reader.read(&record))
            return nullptr;

        if (record.hasFlag(MessageBegin) != first)
            return nullptr;
        first = false;

        const int tnf = record.tnf();
        const bool messageEnd = record.hasFlag(MessageEnd);
        const bool lastChunk = !record.hasFlag(ChunkFlag);
        if (messageEnd && !lastChunk)
            return nullptr;
        if (tnf == NDEFRecordType::Reserved)
            return nullptr;

        Found logical;
        if (chunking) {
            // A chunk goes on with TNF 6, no type and no id; anything else is a new record
            // starting before the chunked one ended.
            if (tnf != NDEFRecordType::Unchanged || record.type.size != 0 || record.hasFlag(IdLength))
                return nullptr;
            chunked.chunkedSize += record.payload.size;
            if (!lastChunk)
                continue;
            chunking = false;
            // The reassembled record keeps the type and id of its first chunk.
            logical = chunked;
            logical.chunksEnd = reader.position();
        } else {
            if (tnf == NDEFRecordType::Unchanged)
                return nullptr;
            if (tnf == NDEFRecordType::Unknown && record.type.size != 0)
                return nullptr;
            logical.tnf = tnf;
            logical.type = record.type;
            logical.id = record.id;
            logical.payload = record.payload;
            if (!lastChunk) {
                chunking = true;
                chunked = logical;
                chunked.chunked = true;
                chunked.chunksBegin = recordStart;
                chunked.chunkedSize = record.payload.size;
                continue;
            }
        }

        // Checked on the whole record, so that chunks cannot give an empty record a payload.
        const qint64 payloadSize = logical.chunked ? logical.chunkedSize : logical.payload.size;
        if (logical.tnf == NDEFRecordType::Empty && (logical.type.size != 0 || logical.id.size != 0 || payloadSize != 0))
            return nullptr;
        // A reassembled payload must fit one array.
        if (payloadSize > 0x7fffffff - 64)
            return nullptr;
        found.append(logical);

        if (messageEnd) {
            // Nothing may follow the last record.
            if (!reader.atEnd())
                return nullptr;
            break;
        }
    }

    // Then the records, over the checked bytes.
    message->m_records.reserve(found.size());
    for (const Found& f : found) {
        const NDEFRecordType type = recordType(f.tnf, f.type);
        const NDEFRecord::Bytes id{f.id.data, f.id.size};
        NDEFRecord* record;
        if (f.chunked) {
            const QByteArray payload = reassemble(f);
            if (type == NDEFRecordType::URI)
                record = new URINDEFRecord(type, id, payload);
            else if (type == NDEFRecordType::Text)
                record = new TextNDEFRecord(type, id, payload);
            else if (type == NDEFRecordType::SmartPoster)
                record = new SmartPosterNDEFRecord(type, id, payload, nesting + 1);
            else
                record = new NDEFRecord(type, id, payload);
        } else {
            const NDEFRecord::Bytes payload{f.payload.data, f.payload.size};
            if (type == NDEFRecordType::URI)
                record = new URINDEFRecord(type, id, payload);
            else if (type == NDEFRecordType::Text)
                record = new TextNDEFRecord(type, id, payload);
            else if (type == NDEFRecordType::SmartPoster)
                record = new SmartPosterNDEFRecord(type, id, payload, nesting + 1);
            else
                record = new NDEFRecord(type, id, payload);
        }
        message->m_records.append(record);
    }
    return message;
}
