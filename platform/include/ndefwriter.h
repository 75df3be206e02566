#ifndef NDEFWRITER_H
#define NDEFWRITER_H

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

// A small NDEF encoder for tools and tests.
namespace NdefWriter {

struct Record
{
    int tnf;
    QByteArray type;
    QByteArray id;
    QByteArray payload;
};

// A well-known "U" record; the longest matching identifier-code prefix is abbreviated.
Record uri(const QString& uri);
// A well-known "T" record in UTF-8, or in UTF-16 (big-endian, with the FE FF byte-order mark).
// A language tag longer than 63 bytes is cut to 63, the most the status byte can say.
Record text(const QByteArray& language, const QString& text, bool utf16 = false);
// A record of TNF 2 (MIME media type).
Record mime(const QByteArray& mimeType, const QByteArray& payload);
// A record of TNF 4 (external type).
Record external(const QByteArray& type, const QByteArray& content);
// A well-known "Sp" record holding a URI record and one UTF-8 Text record per (language, text).
Record smartPoster(const QString& uri, const QList<QPair<QByteArray, QString>>& titles);
// Any record, as given; the TNF is cut to its three bits.
Record raw(int tnf, const QByteArray& type, const QByteArray& payload, const QByteArray& id = QByteArray());

// The records as one message: MB on the first, ME on the last, the short form (SR) for payloads
// under 256 bytes, IL when there is an id. No records give empty data. Returns empty data when a
// record cannot be written (a type or id longer than 255 bytes).
QByteArray message(const QList<Record>& records);
// One record as a complete message of chunks of at most chunkSize payload bytes (at least 1).
// There are always at least two chunks: a payload that fits one chunk is followed by an empty
// terminating chunk.
QByteArray chunked(const Record& record, int chunkSize);

} // namespace NdefWriter

#endif
