#include "tagreader.h"

#include "apdu.h"
#include "tagtype.h"
#include "type2tag.h"
#include "type4tag.h"

namespace TagReader {

QByteArray uidCommand()
{
    return QByteArray::fromHex("FFCA000000");
}

bool readUid(ApduTransport& transport, TagReadResult& result)
{
    QByteArray response;
    if (!Apdu::exchange(transport, uidCommand(), QStringLiteral("reading the UID"), result, &response))
        return false;
    if (Apdu::statusWord(response) == Apdu::Success)
        result.uid = Apdu::body(response);
    return true;
}

void readContent(ApduTransport& transport, const QByteArray& atr, TagReadResult& result)
{
    const TagType type = TagType::fromAtr(atr);
    switch (type.kind) {
    case TagType::Type2:
        Type2Tag::readNdef(transport, result);
        break;
    case TagType::Type4:
        Type4Tag::readNdef(transport, result);
        break;
    case TagType::Unsupported:
        result.setNotNdef(QStringLiteral("%1 is not an NFC Forum Type 2 or Type 4 tag").arg(type.name));
        break;
    }
}

TagReadResult read(ApduTransport& transport, const QByteArray& atr)
{
    TagReadResult result;
    if (readUid(transport, result))
        readContent(transport, atr, result);
    return result;
}

} // namespace TagReader
