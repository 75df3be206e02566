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
    const int size = payloadSize();
    if (size == 0)
        return QByteArray();

    const char* payload = payloadData();
    const int code = quint8(payload[0]);
    // Undefined codes are read as "no prefix" rather than dropping the record: the rest of the
    // URI is still what the tag's writer stored.
    const char* prefix = code < uriPrefixCount ? uriPrefixes[code] : "";
    const int prefixLength = int(qstrlen(prefix));
    QByteArray uri(prefixLength + size - 1, Qt::Uninitialized);
    memcpy(uri.data(), prefix, size_t(prefixLength));
    memcpy(uri.data() + prefixLength, payload + 1, size_t(size - 1));
    return uri;
}
