// Reading NFC Forum Type 2 and Type 4 tags from whatever a tag holds: the capability containers, the
// TLVs and their lengths, the NDEF file and its length. The input is a tag:
//   byte 0, bit 0: 0 a Type 2 tag, 1 a Type 4 tag;
//           bit 1: the Type 4 card refuses reads past its files (6700) instead of answering short (6282);
//           bit 2: the Type 4 card only knows version 1 of the application's SELECT;
//           bit 3: the Type 4 card answers each read of the NDEF file with at most 1 + (byte 0 >> 4)
//                  bytes, whatever it asks for;
//   Type 2: the rest is the tag's memory from page 0;
//   Type 4: byte 1 is the capability container's size n, the next n bytes the capability container,
//           the rest the NDEF file (E104).
// Besides crashes and reads out of bounds (under the sanitizers), it checks what must hold for any tag:
// - a message read lies within the tag and is exactly what the tag holds for it;
// - no byte of the tag is read twice, and no Type 2 read goes past the memory or, after the capability
//   container, past the data area it declares;
// - every Type 2 read asks for at most 16 bytes, every Type 4 read for at most what the card allows;
// - a read that fails or finds no NDEF says why, and the APDUs it counts are the ones sent, never more
//   than a tag's budget.
#include <QByteArray>

#include <cstdint>

#include "apdu.h"
#include "fuzzcheck.h"
#include "simulatedtag.h"
#include "tagimages.h"
#include "tagreader.h"

namespace {

void checkResult(const TagReadResult& result, const SimulatedTag& tag)
{
    FUZZ_CHECK(result.apdus == tag.commands.size());
    FUZZ_CHECK(result.apdus <= Apdu::MaxApdusPerTag);
    FUZZ_CHECK(result.outcome == TagReadResult::Read || !result.reason.isEmpty());
    FUZZ_CHECK(result.outcome == TagReadResult::Read || result.ndef.isEmpty());
}

void type2(const QByteArray& memory)
{
    SimulatedType2Tag tag(memory);
    tag.uid = TagImages::defaultUid();
    const TagReadResult result = TagReader::read(tag, TagImages::ultralightAtr());
    checkResult(result, tag);
    FUZZ_CHECK(eachByteReadOnce(tag.reads));
    for (const QByteArray& command : tag.commands.mid(1))
        FUZZ_CHECK(quint8(command.at(4)) >= 1 && quint8(command.at(4)) <= 16);
    if (!tag.reads.isEmpty() && memory.size() >= 16) {
        const int dataAreaEnd = 16 + quint8(memory.at(14)) * 8;
        for (const auto& range : tag.reads.mid(1))
            FUZZ_CHECK(range.second <= dataAreaEnd);
    }
    if (result.outcome == TagReadResult::Read) {
        FUZZ_CHECK(result.ndef.size() <= memory.size());
        // Every byte of the message is a byte of the memory, in order (reserved bytes left out).
        int at = 16;
        for (char byte : result.ndef) {
            while (at < memory.size() && memory.at(at) != byte)
                ++at;
            FUZZ_CHECK(at < memory.size());
            ++at;
        }
    }
}

void type4(quint8 options, const QByteArray& capabilityContainer, const QByteArray& ndefFile)
{
    SimulatedType4Tag tag(capabilityContainer, ndefFile);
    tag.strictLengths = options & 0x02;
    if (options & 0x04)
        tag.applicationVersions = {1};
    if (options & 0x08)
        tag.answerAtMost = 1 + (options >> 4);
    const TagReadResult result = TagReader::read(tag, TagImages::type4Atr());
    checkResult(result, tag);
    for (const auto& ranges : tag.reads)
        FUZZ_CHECK(eachByteReadOnce(ranges));
    if (capabilityContainer.size() >= 5) {
        // Reads of the NDEF file ask for no more than the capability container allows (the capability
        // container itself is read before its limit is known).
        const int maxRead = (quint8(capabilityContainer.at(3)) << 8) | quint8(capabilityContainer.at(4));
        bool inCapabilityContainer = false;
        for (const QByteArray& command : tag.commands) {
            if (command.size() == 7 && command.at(1) == char(0xA4) && command.at(2) == 0)
                inCapabilityContainer = command.endsWith(QByteArray::fromHex("E103"));
            if (command.size() == 5 && command.at(1) == char(0xB0) && !inCapabilityContainer)
                FUZZ_CHECK(quint8(command.at(4)) <= maxRead);
        }
    }
    if (result.outcome == TagReadResult::Read) {
        // The message follows its 2-byte length (or 4-byte, in the extended form).
        FUZZ_CHECK(ndefFile.size() >= 2 + result.ndef.size());
        FUZZ_CHECK(ndefFile.mid(2, result.ndef.size()) == result.ndef
                   || ndefFile.mid(4, result.ndef.size()) == result.ndef);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 4096)
        return 0;
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    const quint8 options = quint8(input.at(0));
    if (!(options & 0x01)) {
        type2(input.mid(1));
        return 0;
    }
    if (size < 2)
        return 0;
    const int ccSize = quint8(input.at(1));
    type4(options, input.mid(2, ccSize), input.mid(2 + ccSize));
    return 0;
}
