// The record handler over the fake platform: every record of a parsed message gets a handler, and
// every question the tag reading can ask of it is asked. The first byte holds options: bit 0 sets a
// key prefix, bit 1 stores a choice in the default application database (in the private home).
#include <QByteArray>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cstdint>
#include <memory>

#include "fakeplatform.h"
#include "fuzzcheck.h"
#include "fuzzenvironment.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefrecordhandler.h"
#include "textndefrecord.h"

using ConnUi::NdefRecordHandler;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    initializeFuzzEnvironment(argc, argv);
    FakePlatform::reset();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > (1 << 20))
        return 0;
    const uint8_t options = data[0];
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), int(size - 1));
    std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(bytes));
    if (!message)
        return 0;

    QList<const TextNDEFRecord*> texts;
    for (const NDEFRecord* record : message->getRecords()) {
        NdefRecordHandler handler(record);
        FUZZ_CHECK(handler.record() == record);
        FUZZ_CHECK(!handler.hasPredefinedSupport() || handler.isSupported());
        FUZZ_CHECK(handler.isSupported() == !handler.actions().isEmpty() || handler.textRecord());
        if (handler.uriRecord()) {
            handler.isCallUri();
            handler.isSmsUri();
        }
        const QString mime = handler.mimeType();
        if (!mime.isEmpty()) {
            FUZZ_CHECK(handler.dataFile());
            FUZZ_CHECK(QFileInfo(handler.dataFile()->fileName()).size() == record->getPayload().size());
        }
        handler.externalType();
        handler.externalTypeContent();
        if (const TextNDEFRecord* text = handler.textRecord()) {
            handler.textString();
            if (record->getType() == NDEFRecordType::Text)
                texts.append(text);
        }
        if (options & 1)
            handler.setDefaultApplicationKey(QStringLiteral("prefix-"));
        if (options & 2)
            handler.setDefaultApplication(QStringLiteral("Application"));
        const QString remembered = handler.defaultApplication();
        FUZZ_CHECK(!(options & 2) || remembered == QStringLiteral("Application"));
    }
    if (!texts.isEmpty())
        FUZZ_CHECK(NdefRecordHandler::selectTextRecord(texts));
    // The data files of this input go now, not 20 seconds later.
    NdefRecordHandler::removePendingDataFiles();
    FakePlatform::clearCalls();
    return 0;
}
