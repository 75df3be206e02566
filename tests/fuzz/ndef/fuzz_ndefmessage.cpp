// The NDEF parser with every accessor of whatever it makes. Besides crashes, leaks and reads out of
// bounds (under the sanitizers), it checks what must hold for any input:
// - the same bytes parse the same whether the array owns them or not;
// - every record's fields lie within the input, and the accessors agree with the payload;
// - a parsed message written again with NdefWriter parses to the same records.
#include <QByteArray>
#include <QList>

#include <cstdint>
#include <memory>

#include "fuzzcheck.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefwriter.h"
#include "smartposterndefrecord.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

namespace {

void walkRecord(const NDEFRecord* record, int inputSize, int depth)
{
    const NDEFRecordType type = record->getType();
    FUZZ_CHECK(type.getTNF() >= 0 && type.getTNF() <= 5);
    FUZZ_CHECK(type.getName().size() <= 255);
    FUZZ_CHECK(record->getId().size() <= 255);
    const QByteArray payload = record->getPayload();
    FUZZ_CHECK(payload.size() <= inputSize);
    // Touch every byte, so that a read out of bounds is seen.
    volatile char last = 0;
    for (char c : payload)
        last = char(last ^ c);
    FUZZ_CHECK(!(type == NDEFRecordType::URI) || dynamic_cast<const URINDEFRecord*>(record));
    FUZZ_CHECK(!(type == NDEFRecordType::Text) || dynamic_cast<const TextNDEFRecord*>(record));
    FUZZ_CHECK(!(type == NDEFRecordType::SmartPoster) || dynamic_cast<const SmartPosterNDEFRecord*>(record));

    if (type == NDEFRecordType::URI) {
        const QByteArray uri = static_cast<const URINDEFRecord*>(record)->getURI();
        FUZZ_CHECK(payload.isEmpty() ? uri.isEmpty() : uri.endsWith(payload.mid(1)));
    } else if (type == NDEFRecordType::Text) {
        const TextNDEFRecord* text = static_cast<const TextNDEFRecord*>(record);
        const QByteArray language = text->getLanguage();
        const QByteArray body = text->getText();
        FUZZ_CHECK(text->getEncoding() == TextNDEFRecord::Utf8 || text->getEncoding() == TextNDEFRecord::Utf16);
        FUZZ_CHECK(language.size() <= 0x3f);
        FUZZ_CHECK(payload.isEmpty() ? language.isEmpty() && body.isEmpty() : payload.mid(1) == language + body);
    } else if (type == NDEFRecordType::SmartPoster) {
        const SmartPosterNDEFRecord* poster = static_cast<const SmartPosterNDEFRecord*>(record);
        // Asked twice: the nested message is parsed once and then kept.
        const URINDEFRecord* uri = poster->getURIRecord();
        FUZZ_CHECK(uri == poster->getURIRecord());
        if (uri)
            walkRecord(uri, payload.size(), depth + 1);
        const QList<const TextNDEFRecord*> titles = poster->getTitleRecords();
        FUZZ_CHECK(titles == poster->getTitleRecords());
        for (const TextNDEFRecord* title : titles)
            walkRecord(title, payload.size(), depth + 1);
    }
    FUZZ_CHECK(depth <= 16);
}

bool sameRecords(const NDEFMessage& a, const NDEFMessage& b)
{
    const QList<const NDEFRecord*> first = a.getRecords();
    const QList<const NDEFRecord*> second = b.getRecords();
    if (first.size() != second.size())
        return false;
    for (int i = 0; i < first.size(); ++i) {
        if (!(first.at(i)->getType() == second.at(i)->getType()) || first.at(i)->getId() != second.at(i)->getId()
            || first.at(i)->getPayload() != second.at(i)->getPayload())
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    const char* bytes = reinterpret_cast<const char*>(data);
    const QByteArray owned(bytes, int(size));
    std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(owned));
    // The same bytes in an array that does not own them.
    std::unique_ptr<NDEFMessage> overRaw(NDEFMessage::createFromData(QByteArray::fromRawData(bytes, int(size))));
    FUZZ_CHECK(bool(message) == bool(overRaw));
    if (!message)
        return 0;
    FUZZ_CHECK(sameRecords(*message, *overRaw));
    overRaw.reset();

    const QList<const NDEFRecord*> records = message->getRecords();
    FUZZ_CHECK(size > 0 || records.isEmpty());
    QList<NdefWriter::Record> written;
    for (const NDEFRecord* record : records) {
        walkRecord(record, int(size), 0);
        written.append(NdefWriter::raw(record->getType().getTNF(), record->getType().getName(), record->getPayload(),
                                       record->getId()));
    }

    // Written again without chunks, the records come back the same.
    const QByteArray again = NdefWriter::message(written);
    FUZZ_CHECK(records.isEmpty() == again.isEmpty());
    std::unique_ptr<NDEFMessage> reparsed(NDEFMessage::createFromData(again));
    FUZZ_CHECK(reparsed);
    FUZZ_CHECK(sameRecords(*message, *reparsed));
    return 0;
}
