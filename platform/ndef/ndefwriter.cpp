#include "ndefwriter.h"

#include "ndefheader_p.h"

namespace NdefWriter {

namespace {

using namespace NdefHeader;

const int wellKnownTnf = 1;
const int mimeTnf = 2;
const int externalTnf = 4;
const int unchangedTnf = 6;
const int maxFieldLength = 255;
const int maxLanguageLength = 0x3f;

// Identifier codes 0x01 to 0x23 and the URI prefixes they stand for.
const char* const uriPrefixes[] = {
    "http://www.", "https://www.", "http://", "https://", "tel:", "mailto:",
    "ftp://anonymous:anonymous@", "ftp://ftp.", "ftps://", "sftp://", "smb://", "nfs://",
    "ftp://", "dav://", "news:", "telnet://", "imap:", "rtsp://", "urn:", "pop:", "sip:", "sips:",
    "tftp:", "btspp://", "btl2cap://", "btgoep://", "tcpobex://", "irdaobex://", "file://",
    "urn:epc:id:", "urn:epc:tag:", "urn:epc:pat:", "urn:epc:raw:", "urn:epc:", "urn:nfc:",
};

bool appendRecord(QByteArray* out, quint8 flags, int tnf, const QByteArray& type, const QByteArray& id,
                  const QByteArray& payload)
{
    if (type.size() > maxFieldLength || id.size() > maxFieldLength)
        return false;

    const bool shortRecord = payload.size() <= 0xff;
    quint8 header = flags | quint8(tnf & TnfMask);
    if (shortRecord)
        header |= ShortRecord;
    if (!id.isEmpty())
        header |= IdLength;

    out->append(char(header));
    out->append(char(type.size()));
    if (shortRecord) {
        out->append(char(payload.size()));
    } else {
        const quint32 length = quint32(payload.size());
        out->append(char(length >> 24));
        out->append(char(length >> 16));
        out->append(char(length >> 8));
        out->append(char(length));
    }
    if (!id.isEmpty())
        out->append(char(id.size()));
    out->append(type);
    out->append(id);
    out->append(payload);
    return true;
}

} // namespace

Record uri(const QString& uri)
{
    const QByteArray bytes = uri.toUtf8();
    int bestCode = 0;
    int bestLength = 0;
    const int count = int(sizeof(uriPrefixes) / sizeof(uriPrefixes[0]));
    for (int i = 0; i < count; ++i) {
        const QByteArray prefix(uriPrefixes[i]);
        if (prefix.size() > bestLength && bytes.startsWith(prefix)) {
            bestCode = i + 1;
            bestLength = prefix.size();
        }
    }
    QByteArray payload(1, char(bestCode));
    payload += bytes.mid(bestLength);
    return { wellKnownTnf, QByteArrayLiteral("U"), QByteArray(), payload };
}

Record text(const QByteArray& language, const QString& text, bool utf16)
{
    const QByteArray tag = language.left(maxLanguageLength);
    QByteArray payload(1, char((utf16 ? 0x80 : 0x00) | tag.size()));
    payload += tag;
    if (utf16) {
        payload.append(char(0xfe));
        payload.append(char(0xff));
        for (const QChar c : text) {
            payload.append(char(c.unicode() >> 8));
            payload.append(char(c.unicode() & 0xff));
        }
    } else {
        payload += text.toUtf8();
    }
    return { wellKnownTnf, QByteArrayLiteral("T"), QByteArray(), payload };
}

Record mime(const QByteArray& mimeType, const QByteArray& payload)
{
    return { mimeTnf, mimeType, QByteArray(), payload };
}

Record external(const QByteArray& type, const QByteArray& content)
{
    return { externalTnf, type, QByteArray(), content };
}

Record smartPoster(const QString& uri, const QList<QPair<QByteArray, QString>>& titles)
{
    QList<Record> records;
    records.append(NdefWriter::uri(uri));
    for (const auto& title : titles)
        records.append(text(title.first, title.second));
    return { wellKnownTnf, QByteArrayLiteral("Sp"), QByteArray(), message(records) };
}

Record raw(int tnf, const QByteArray& type, const QByteArray& payload, const QByteArray& id)
{
    return { tnf & TnfMask, type, id, payload };
}

QByteArray message(const QList<Record>& records)
{
    QByteArray out;
    for (int i = 0; i < records.size(); ++i) {
        quint8 flags = 0;
        if (i == 0)
            flags |= MessageBegin;
        if (i == records.size() - 1)
            flags |= MessageEnd;
        const Record& record = records.at(i);
        if (!appendRecord(&out, flags, record.tnf, record.type, record.id, record.payload))
            return QByteArray();
    }
    return out;
}

QByteArray chunked(const Record& record, int chunkSize)
{
    if (chunkSize < 1)
        chunkSize = 1;

    QList<QByteArray> chunks;
    for (int pos = 0; pos < record.payload.size(); pos += chunkSize)
        chunks.append(record.payload.mid(pos, chunkSize));
    while (chunks.size() < 2)
        chunks.append(QByteArray());

    QByteArray out;
    for (int i = 0; i < chunks.size(); ++i) {
        const bool firstChunk = i == 0;
        const bool lastChunk = i == chunks.size() - 1;
        const quint8 flags = (firstChunk ? MessageBegin : 0) | (lastChunk ? MessageEnd : ChunkFlag);
        const bool ok = firstChunk
            ? appendRecord(&out, flags, record.tnf, record.type, record.id, chunks.at(i))
            : appendRecord(&out, flags, unchangedTnf, QByteArray(), QByteArray(), chunks.at(i));
        if (!ok)
            return QByteArray();
    }
    return out;
}

} // namespace NdefWriter
