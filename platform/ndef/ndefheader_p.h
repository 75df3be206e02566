#ifndef NDEFHEADER_P_H
#define NDEFHEADER_P_H

#include <QtGlobal>

// The flags of an NDEF record's first byte; the low three bits are the type name format.
namespace NdefHeader {
enum Flag : quint8 {
    MessageBegin = 0x80,
    MessageEnd = 0x40,
    ChunkFlag = 0x20,
    ShortRecord = 0x10,
    IdLength = 0x08,
    TnfMask = 0x07
};
} // namespace NdefHeader

#endif
