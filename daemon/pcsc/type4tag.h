#ifndef NFCUI_TYPE4TAG_H
#define NFCUI_TYPE4TAG_H

#include <QByteArray>

class ApduTransport;
struct TagReadResult;

// NFC Forum Type 4 tags: ISO 14443-4 cards with the NDEF application, read with ISO 7816 commands.
//
// The application holds two files: the capability container (E103), which names the NDEF file, its
// largest size and the largest answer the card gives to one read, and the NDEF file itself, which
// starts with the message length (2 bytes, or 4 in the extended form) followed by the message.
namespace Type4Tag {

// SELECT of the NDEF application: version 2 (D2760000850101, with Le) or version 1 (D2760000850100).
QByteArray selectApplicationCommand(int version);
// SELECT of an elementary file by its identifier, in the form of the application's version (version 2
// asks for no answer data, version 1 for the file's control information).
QByteArray selectFileCommand(quint16 fileId, int version);
// READ BINARY of `length` bytes (1 to 255) at `offset` (at most 7FFF).
QByteArray readBinaryCommand(int offset, int length);

// Reads the NDEF message into result: selects the application (version 2, then version 1), reads the
// capability container, selects the NDEF file and reads the length and the message in chunks no larger
// than the card allows, reading nothing twice.
void readNdef(ApduTransport& transport, TagReadResult& result);

} // namespace Type4Tag

#endif
