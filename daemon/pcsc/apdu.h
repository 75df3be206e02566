#ifndef NFCUI_APDU_H
#define NFCUI_APDU_H

#include <QByteArray>
#include <QString>

class ApduTransport;
struct TagReadResult;

// Small helpers around command and response APDUs, shared by the tag readers.
namespace Apdu {

constexpr quint16 Success = 0x9000;

// The status word at the end of a response; 0 when the response is too short to hold one.
quint16 statusWord(const QByteArray& response);
// The response without its status word.
QByteArray body(const QByteArray& response);
// A status word as four hex digits ("6A82").
QString statusText(quint16 statusWord);
// The bytes as upper-case hex, for logs ("04A1B2C3").
QString hex(const QByteArray& bytes);

// Sends one command through the transport and counts it in result. A "wrong Le" answer (6Cxx) is
// retried once with the length the card asks for. False when the command did not reach the card; the
// result is then Failed with the transport's reason, prefixed by what was being done.
bool exchange(ApduTransport& transport, const QByteArray& command, const QString& what, TagReadResult& result,
              QByteArray* response);

} // namespace Apdu

#endif
