#ifndef NFCUI_TYPE2TAG_H
#define NFCUI_TYPE2TAG_H

#include <QByteArray>

class ApduTransport;
struct TagReadResult;

// NFC Forum Type 2 tags (NTAG21x, MIFARE Ultralight, ...) through a PC/SC reader.
//
// The memory is made of 4-byte pages: UID and lock bytes on pages 0 to 2, the capability container on
// page 3, then the data area, whose size the capability container gives. The data area holds TLVs:
// NULL (padding), Lock Control and Memory Control (bytes set aside for lock bits or other uses, which
// are not part of the TLV stream), the NDEF message, proprietary data, and the Terminator.
namespace Type2Tag {

// The reader's pseudo-APDU that reads `length` bytes (at most 16) from `page` on: FF B0 P1 P2 Le.
QByteArray readCommand(int page, int length);

// Reads the NDEF message into result: the capability container and the first data bytes with one read
// of page 3, then the TLVs, 16 bytes per read, never past the data area and never a byte twice.
void readNdef(ApduTransport& transport, TagReadResult& result);

} // namespace Type2Tag

#endif
