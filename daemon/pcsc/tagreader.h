#ifndef NFCUI_TAGREADER_H
#define NFCUI_TAGREADER_H

#include "tagreadresult.h"

#include <QByteArray>

class ApduTransport;

// Reading a tag that lies on a PC/SC reader, from its ATR and through an APDU transport. Pure: no PC/SC
// call, no log line, so that it runs the same over a real card, a scripted card and fuzzed input.
namespace TagReader {

// The reader's Get Data command for the card's UID: FF CA 00 00 00.
QByteArray uidCommand();

// Asks the reader for the UID into result.uid (left empty when the reader does not support it). False
// when the command did not reach the card; result is then Failed.
bool readUid(ApduTransport& transport, TagReadResult& result);

// Reads the NDEF message of the tag the ATR names (Type 2 or Type 4) into result.
void readContent(ApduTransport& transport, const QByteArray& atr, TagReadResult& result);

// Both: the UID, then the content.
TagReadResult read(ApduTransport& transport, const QByteArray& atr);

} // namespace TagReader

#endif
