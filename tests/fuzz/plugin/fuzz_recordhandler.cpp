// The record handler over the fake platform: every record of a parsed message gets a handler, and
// every question the tag reading can ask of it is asked. The first byte holds options: bit 0 sets a
// key prefix, bit 1 stores a choice in the default application database (in the private home).
#include <QByteArray>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cstdint>
#include <memory>

#include "fuzzcheck.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefrecordhandler.h"
#include "pluginfuzzing.h"
#include "textndefrecord.h"

using ConnUi::NdefRecordHandler;

void fuzzPluginInput(quint8 options, const QByteArray& bytes)
{
    std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(bytes));
    if (!message)
        return;

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
    forgetInput();
}
