#ifndef NFCUI_TAGIMAGES_H
#define NFCUI_TAGIMAGES_H

#include <QByteArray>
#include <QList>
#include <QString>

// Tag contents for the PC/SC tests: NDEF messages, NFC Forum Type 2 memory images laid out as real tags
// are, and Type 4 files. Shared by the in-process simulated tags and the virtual cards behind pcscd.
namespace TagImages {

// One NDEF record, short form when the payload allows it; mb/me mark the first and last record.
QByteArray ndefRecord(quint8 tnf, const QByteArray& type, const QByteArray& payload, bool mb = true, bool me = true);
// Well-known URI record with an abbreviation code (0x01 "http://www.", 0x04 "https://", ...).
QByteArray uriRecord(quint8 prefix, const QByteArray& rest, bool mb = true, bool me = true);
// Well-known text record, UTF-8, with a language code.
QByteArray textRecord(const QByteArray& language, const QByteArray& text, bool mb = true, bool me = true);
// A message of one URI record.
QByteArray uriMessage(const QByteArray& rest, quint8 prefix = 0x04);
// A message of exactly `size` bytes: one MIME record "application/octet-stream" whose payload fills it.
QByteArray messageOfSize(int size);

// The TLV of an NDEF message: 03, the length (one byte, or FF and two bytes from 255 on), the message.
QByteArray ndefTlv(const QByteArray& message);
// Lock Control and Memory Control TLVs pointing at `address` (page of 2^pageSizeExponent bytes).
QByteArray lockControlTlv(int address, int lockBits, int pageSizeExponent = 2, int bytesLockedPerBit = 4);
QByteArray memoryControlTlv(int address, int size, int pageSizeExponent = 2);

const quint8 Terminator = 0xFE;

// A Type 2 tag's memory: a 7-byte UID with its check bytes on pages 0 to 2, the capability container
// (E1 10 size/8 00, or the one given) on page 3, `tlvs` from page 4 on, zeros up to the end of the data
// area and `trailingBytes` after it (dynamic lock bytes and configuration pages on real tags).
QByteArray type2Image(int dataAreaSize, const QByteArray& tlvs, const QByteArray& capabilityContainer = QByteArray(),
                      int trailingBytes = 0);
// Writes `bytes` into the image at `address`.
void patch(QByteArray& image, int address, const QByteArray& bytes);

// Factory layouts: MIFARE Ultralight (48-byte data area), NTAG213 (144, with its Lock Control TLV),
// NTAG215 (496), NTAG216 (872), each holding the message and, when it fits, a Terminator.
QByteArray ultralight(const QByteArray& message);
QByteArray ntag213(const QByteArray& message);
QByteArray ntag215(const QByteArray& message);
QByteArray ntag216(const QByteArray& message);

// The UID the Type 2 images carry on their first pages.
QByteArray defaultUid();

// The ATR a PC/SC contactless reader gives a MIFARE Ultralight or NTAG (storage card, ISO 14443A-3,
// card name 0003), a MIFARE Classic 1K (card name 0001), and an ISO 14443-4 card.
QByteArray ultralightAtr();
QByteArray classicAtr();
QByteArray type4Atr();

// A Type 4 capability container file: CCLEN 15, mapping version, MLe, MLc, and the NDEF File Control TLV.
QByteArray type4CapabilityContainer(int maxRead, quint16 ndefFileId = 0xE104, int maxNdefSize = 0x0800,
                                    quint8 readAccess = 0x00, quint8 version = 0x20);
// A Type 4 NDEF file: the 2-byte length and the message, padded with zeros to maxSize when given.
QByteArray type4NdefFile(const QByteArray& message, int maxSize = 0);

} // namespace TagImages

#endif
