#include "tagtype.h"

namespace {

// The historical bytes of an ATR, found by walking its interface bytes; empty when the ATR is malformed.
QByteArray historicalBytes(const QByteArray& atr)
{
    if (atr.size() < 2)
        return QByteArray();
    const int count = quint8(atr.at(1)) & 0x0F;
    int y = quint8(atr.at(1)) >> 4;
    int position = 2;
    while (true) {
        int td = -1;
        for (int bit = 0; bit < 4; ++bit) {
            if (!(y & (1 << bit)))
                continue;
            if (position >= atr.size())
                return QByteArray();
            if (bit == 3)
                td = quint8(atr.at(position));
            ++position;
        }
        if (td < 0)
            break;
        y = td >> 4;
    }
    if (position + count > atr.size())
        return QByteArray();
    return atr.mid(position, count);
}

struct CardName
{
    quint16 code;
    const char* name;
    TagType::Kind kind;
};

// Card names of the storage-card ATR that matter here. A card of ISO 14443A part 3 not listed is
// tried as a Type 2 tag: its capability container decides.
const CardName cardNames[] = {
    {0x0001, "MIFARE Classic 1K", TagType::Unsupported},
    {0x0002, "MIFARE Classic 4K", TagType::Unsupported},
    {0x0003, "MIFARE Ultralight", TagType::Type2}, // also what most readers report for NTAG21x
    {0x0026, "MIFARE Mini", TagType::Unsupported},
    {0x0027, "my-d move", TagType::Type2},
    {0x0028, "my-d NFC", TagType::Type2},
    {0x002F, "Jewel", TagType::Unsupported},
    {0x0030, "Topaz", TagType::Unsupported},
    {0x003A, "MIFARE Ultralight C", TagType::Type2},
};

const quint8 storageCardPrefix[] = {0x80, 0x4F, 0x0C, 0xA0, 0x00, 0x00, 0x03, 0x06};

} // namespace

TagType TagType::fromAtr(const QByteArray& atr)
{
    const QByteArray historical = historicalBytes(atr);
    const bool storageCard = historical.size() >= 11
        && historical.startsWith(
            QByteArray::fromRawData(reinterpret_cast<const char*>(storageCardPrefix), sizeof storageCardPrefix));
    if (!storageCard)
        return TagType {Type4, QStringLiteral("ISO 14443-4 card")};

    const quint8 standard = quint8(historical.at(8));
    const quint16 code = quint16((quint8(historical.at(9)) << 8) | quint8(historical.at(10)));
    const QString codeText = QStringLiteral("%1").arg(code, 4, 16, QLatin1Char('0')).toUpper();
    if (standard != 0x03) { // ISO 14443A part 3
        return TagType {Unsupported,
                        QStringLiteral("memory card of standard %1, card %2")
                            .arg(QStringLiteral("%1").arg(standard, 2, 16, QLatin1Char('0')).toUpper(), codeText)};
    }
    for (const CardName& card : cardNames) {
        if (card.code == code)
            return TagType {card.kind, QString::fromLatin1(card.name)};
    }
    return TagType {Type2, QStringLiteral("ISO 14443A memory card %1").arg(codeText)};
}
