#include "ndefmessage.h"

#include "ndefheader_p.h"

#include <QVarLengthArray>
#include <QtGlobal>

#include <cstring>
#include <new>

#include "ndefmessageparser_p.h"
#include "ndefrecord.h"
#include "smartposterndefrecord.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

namespace {

using namespace NdefHeader;

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

using FoundList = QVarLengthArray<Found, 8>;

// The rules of a well-formed message. Fills found with its logical records.
bool check(const char* data, int size, FoundList* found)
{
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
            return false;

        if (record.hasFlag(MessageBegin) != first)
            return false;
        first = false;

        const int tnf = record.tnf();
        const bool messageEnd = record.hasFlag(MessageEnd);
        const bool lastChunk = !record.hasFlag(ChunkFlag);
        if (messageEnd && !lastChunk)
            return false;
        if (tnf == NDEFRecordType::Reserved)
            return false;

        Found logical;
        if (chunking) {
            // A chunk goes on with TNF 6, no type and no id; anything else is a new record
            // starting before the chunked one ended.
            if (tnf != NDEFRecordType::Unchanged || record.type.size != 0 || record.hasFlag(IdLength))
                return false;
            chunked.chunkedSize += record.payload.size;
            if (!lastChunk)
                continue;
            chunking = false;
            // The reassembled record keeps the type and id of its first chunk.
            logical = chunked;
            logical.chunksEnd = reader.position();
        } else {
            if (tnf == NDEFRecordType::Unchanged)
                return false;
            if (tnf == NDEFRecordType::Unknown && record.type.size != 0)
                return false;
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
        if (logical.tnf == NDEFRecordType::Empty
            && (logical.type.size != 0 || logical.id.size != 0 || payloadSize != 0))
            return false;
        found->append(logical);

        if (messageEnd) {
            // Nothing may follow the last record.
            return reader.atEnd();
        }
    }
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

enum class Kind { Plain, Uri, Text, SmartPoster };

bool equals(Span span, const char* name, int size)
{
    return span.size == size && memcmp(span.data, name, size_t(size)) == 0;
}

Kind kindOf(const Found& found)
{
    if (found.tnf == NDEFRecordType::WellKnown) {
        if (equals(found.type, "U", 1))
            return Kind::Uri;
        if (equals(found.type, "T", 1))
            return Kind::Text;
        if (equals(found.type, "Sp", 2))
            return Kind::SmartPoster;
    }
    return Kind::Plain;
}

std::size_t recordSize(Kind kind)
{
    switch (kind) {
    case Kind::Uri:
        return sizeof(URINDEFRecord);
    case Kind::Text:
        return sizeof(TextNDEFRecord);
    case Kind::SmartPoster:
        return sizeof(SmartPosterNDEFRecord);
    case Kind::Plain:
        break;
    }
    return sizeof(NDEFRecord);
}

std::size_t roundUp(std::size_t size)
{
    const std::size_t alignment = alignof(std::max_align_t);
    return (size + alignment - 1) & ~(alignment - 1);
}

// Hands out the space that follows the message, front to back. The parser works out beforehand
// how much it needs (with the space functions below), so the space never runs out.
class Arena
{
public:
    explicit Arena(char* space)
        : m_next(space)
    {
    }

    void* take(std::size_t size)
    {
        void* block = m_next;
        m_next += roundUp(size);
        return block;
    }

    // An array over data that lives as long as the message. Its header is marked static, as Qt
    // marks the arrays of string literals: copies share it without counting references, it is
    // never freed on its own, and changing an array copies its bytes first.
    QByteArray array(const char* data, int size)
    {
        if (size == 0)
            return QByteArray("");
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
        QArrayData* header = static_cast<QArrayData*>(take(sizeof(QArrayData)));
        header->ref.atomic.storeRelaxed(-1);
        header->size = size;
        header->alloc = 0;
        header->capacityReserved = 0;
        header->offset = data - reinterpret_cast<const char*>(header);
        const QByteArrayDataPtr pointer = {static_cast<QByteArrayData*>(header)};
        return QByteArray(pointer);
#else
        return QByteArray::fromRawData(data, size);
#endif
    }

    // A NUL-terminated copy of short bytes (a type name or an id, at most 255 bytes), so that
    // C string functions may be used on the array.
    QByteArray copy(Span bytes)
    {
        if (bytes.size == 0)
            return QByteArray("");
        char* copied = static_cast<char*>(take(std::size_t(bytes.size) + 1));
        memcpy(copied, bytes.data, std::size_t(bytes.size));
        copied[bytes.size] = '\0';
        return array(copied, bytes.size);
    }

    static std::size_t arraySpace(int size) { return size == 0 ? 0 : roundUp(sizeof(QArrayData)); }
    static std::size_t copySpace(int size)
    {
        return size == 0 ? 0 : roundUp(std::size_t(size) + 1) + arraySpace(size);
    }

private:
    char* m_next;
};

} // namespace

NDEFMessage::~NDEFMessage()
{
    // The records live in the message's own block: they are destroyed here and freed with it.
    for (int i = 0; i < m_recordCount; ++i)
        m_records[i]->~NDEFRecord();
}

QList<const NDEFRecord*> NDEFMessage::getRecords() const
{
    QList<const NDEFRecord*> records;
    records.reserve(m_recordCount);
    for (int i = 0; i < m_recordCount; ++i)
        records.append(m_records[i]);
    return records;
}

void* NDEFMessage::operator new(std::size_t size, Space space)
{
    return ::operator new(roundUp(size) + space.bytes);
}

void NDEFMessage::operator delete(void* block)
{
    ::operator delete(block);
}

void NDEFMessage::operator delete(void* block, Space)
{
    ::operator delete(block);
}

NDEFMessage* NDEFMessage::createFromData(const QByteArray& data)
{
    return NDEFMessageParser::parse(data, 0);
}

NDEFMessage* NDEFMessageParser::parse(const QByteArray& data, int nesting)
{
    // The records will point into these bytes. An array over bytes it does not own (fromRawData)
    // cannot keep them alive, so its bytes are copied once.
    if (data.capacity() < data.size()) {
        const QByteArray bytes(data.constData(), data.size());
        return parse(bytes, bytes.constData(), bytes.size(), nesting);
    }
    return parse(data, data.constData(), data.size(), nesting);
}

NDEFMessage* NDEFMessageParser::parse(const char* data, int size, int nesting)
{
    return parse(QByteArray(), data, size, nesting);
}

NDEFMessage* NDEFMessageParser::parse(const QByteArray& owner, const char* data, int size, int nesting)
{
    // First the check, which only notes where the records lie; malformed bytes thus cost no
    // allocation. Empty data is a message without records.
    FoundList found;
    if (size > 0 && !check(data, size, &found))
        return nullptr;

    std::size_t space = roundUp(sizeof(NDEFRecord*) * std::size_t(found.size()));
    for (const Found& f : qAsConst(found)) {
        space += roundUp(recordSize(kindOf(f))) + Arena::copySpace(f.id.size);
        if (kindOf(f) == Kind::Plain)
            space += Arena::copySpace(f.type.size);
        if (!f.chunked)
            space += Arena::arraySpace(f.payload.size);
    }

    NDEFMessage* message = new (NDEFMessage::Space{space}) NDEFMessage;
    message->m_data = owner;
    Arena arena(reinterpret_cast<char*>(message) + roundUp(sizeof(NDEFMessage)));
    const NDEFRecord** records = static_cast<const NDEFRecord**>(arena.take(sizeof(NDEFRecord*) * std::size_t(found.size())));
    message->m_records = records;
    for (const Found& f : qAsConst(found)) {
        const Kind kind = kindOf(f);
        const QByteArray id = arena.copy(f.id);
        const QByteArray payload = f.chunked ? reassemble(f) : arena.array(f.payload.data, f.payload.size);
        void* place = arena.take(recordSize(kind));
        NDEFRecord* record;
        switch (kind) {
        case Kind::Uri:
            // The well-known types share the library's constants instead of a name of their own.
            record = new (place) URINDEFRecord(NDEFRecordType::URI, id, payload);
            break;
        case Kind::Text:
            record = new (place) TextNDEFRecord(NDEFRecordType::Text, id, payload);
            break;
        case Kind::SmartPoster:
            record = new (place) SmartPosterNDEFRecord(NDEFRecordType::SmartPoster, id, payload, nesting + 1);
            break;
        case Kind::Plain:
        default:
            record = new (place) NDEFRecord(NDEFRecordType(f.tnf, arena.copy(f.type)), id, payload);
            break;
        }
        records[message->m_recordCount++] = record;
    }
    return message;
}
