#ifndef NFCUI_NDEF_NDEFRECORDEXAMINER_H
#define NFCUI_NDEF_NDEFRECORDEXAMINER_H

#include <QByteArray>
#include <QString>

namespace ConnUi {

class NdefRecordHandler;

// Shows what an NdefRecordHandler computes for its record. The handler names this class a friend,
// so the URI string and the record key come from the handler's private half itself rather than
// from a second implementation of the same rules.
class NdefRecordExaminer
{
public:
    // The record kinds the inspector tells apart.
    static QString kind(const NdefRecordHandler& handler);
    // The URI the handler acts on (validated, "http://" added, relative file URIs rewritten), or null.
    static QString uriString(const NdefRecordHandler& handler);
    // The key of the default application database: the prefix plus the scheme, MIME type, external
    // type or raw type name.
    static QString recordKey(const NdefRecordHandler& handler);

    // The compact JSON object describing the record with the given index in its message.
    static QByteArray describe(int index, const NdefRecordHandler& handler);
};

} // namespace ConnUi

#endif
