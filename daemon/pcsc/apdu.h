#ifndef NFCUI_APDU_H
#define NFCUI_APDU_H

#include <QByteArray>
#include <QString>

class ApduTransport;
struct TagReadResult;

// Small helpers around command and response APDUs, shared by the tag readers.
namespace Apdu {

constexpr quint16 Success = 0x9000;
constexpr quint16 EndOfFileWarning = 0x6282; // fewer bytes than asked: the end of the file came first

// A command that reads `length` bytes (0 to 255) from `address` on: CLA B0 P1 P2 Le, the address in P1
// and P2. ISO 7816 READ BINARY has CLA 00; PC/SC readers take CLA FF for their own memory-card read.
QByteArray readBinaryCommand(quint8 cla, quint16 address, int length);

// The status word at the end of a response; 0 when the response is too short to hold one.
quint16 statusWord(const QByteArray& response);
// The response without its status word.
QByteArray body(const QByteArray& response);
// A status word as four hex digits ("6A82").
QString statusText(quint16 statusWord);
// The bytes as upper-case hex, for logs ("04A1B2C3").
QString hex(const QByteArray& bytes);

// The most commands one tag's read may take. The largest read a valid tag needs (a Type 4 Tag's 32 KiB
// in reads of the smallest size allowed, 15 bytes) takes about 2,200; a card that answers a byte at a
// time must not hold the reader (and the shutdown waiting for it) for minutes.
constexpr int MaxApdusPerTag = 2500;

// Sends one command through the transport and counts it in result. A "wrong Le" answer (6Cxx) to a
// command that carries Le is retried once with the length the card asks for. False when the command did
// not reach the card or the tag has had MaxApdusPerTag commands; the result is then Failed with the
// reason, prefixed by what was being done.
bool exchange(ApduTransport& transport, const QByteArray& command, const QString& what, TagReadResult& result,
              QByteArray* response);

} // namespace Apdu

#endif
