#include "urindefrecord.h"

namespace {

// The URI prefixes abbreviated by identifier codes 0x00 to 0x23; code 0x00 is no prefix.
const char* const uriPrefixes[] = {
    "",
    "http://www.",
    "https://www.",
    "http://",
    "https://",
    "tel:",
    "mailto:",
    "ftp://anonymous:anonymous@",
    "ftp://ftp.",
    "ftps://",
    "sftp://",
    "smb://",
    "nfs://",
    "ftp://",
    "dav://",
    "news:",
    "telnet://",
    "imap:",
    "rtsp://",
    "urn:",
    "pop:",
    "sip:",
    "sips:",
    "tftp:",
    "btspp://",
    "btl2cap://",
    "btgoep://",
    "tcpobex://",
    "irdaobex://",
    "file://",
    "urn:epc:id:",
    "urn:epc:tag:",
    "urn:epc:pat:",
    "urn:epc:raw:",
    "urn:epc:",
    "urn:nfc:",
};

const int uriPrefixCount = int(sizeof(uriPrefixes) / sizeof(uriPrefixes[0]));

} // namespace

URINDEFRecord::URINDEFRecord(const NDEFRecordType& type, const QByteArray& id, const QByteArray& payload)
    : NDEFRecord(type, id, payload)
{
}

QByteArray URINDEFRecord::getURI() const
{
    const QByteArray payload = getPayload();
    if (payload.isEmpty())
        return QByteArray();

    const int code = quint8(payload.at(0));
    QByteArray uri;
    // Undefined codes are read as "no prefix" rather than dropping the record: the rest of the
    // URI is still what the tag's writer stored.
    if (code < uriPrefixCount)
        uri = uriPrefixes[code];
    uri += payload.mid(1);
    return uri;
}
