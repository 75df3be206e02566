#include "simulatedtag.h"
#include "tagimages.h"
#include "tagreader.h"
#include "tagtype.h"

#include <QtTest>

Q_DECLARE_METATYPE(TagType::Kind)

class tst_TagType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsTheTagTypeFromTheAtr_data();
    void tellsTheTagTypeFromTheAtr();
    void readsNothingOfAnUnsupportedCard();
};

void tst_TagType::tellsTheTagTypeFromTheAtr_data()
{
    QTest::addColumn<QByteArray>("atr");
    QTest::addColumn<TagType::Kind>("kind");

    QTest::newRow("MIFARE Ultralight / NTAG") << TagImages::ultralightAtr() << TagType::Type2;
    QTest::newRow("MIFARE Ultralight C") << QByteArray::fromHex("3B8F8001804F0CA000000306 03 003A 00000000 51")
                                         << TagType::Type2;
    QTest::newRow("unlisted ISO 14443A part 3 card")
        << QByteArray::fromHex("3B8F8001804F0CA0000003060300440000000000") << TagType::Type2;
    QTest::newRow("MIFARE Classic 1K") << TagImages::classicAtr() << TagType::Unsupported;
    QTest::newRow("ISO 15693 memory card")
        << QByteArray::fromHex("3B8F8001804F0CA0000003060B00140000000077") << TagType::Unsupported;
    QTest::newRow("ISO 14443-4 card") << TagImages::type4Atr() << TagType::Type4;
    QTest::newRow("ATR cut short") << QByteArray::fromHex("3B8F8001804F0C") << TagType::Type4;
    QTest::newRow("empty ATR") << QByteArray() << TagType::Type4;
}

void tst_TagType::tellsTheTagTypeFromTheAtr()
{
    QFETCH(QByteArray, atr);
    QFETCH(TagType::Kind, kind);

    QCOMPARE(TagType::fromAtr(atr).kind, kind);
}

void tst_TagType::readsNothingOfAnUnsupportedCard()
{
    SimulatedType2Tag tag(TagImages::ultralight(TagImages::uriMessage("example.com")));
    tag.uid = TagImages::defaultUid();

    const TagReadResult result = TagReader::read(tag, TagImages::classicAtr());

    QCOMPARE(result.outcome, TagReadResult::NotNdef);
    QVERIFY2(result.reason.contains(QLatin1String("MIFARE Classic 1K")), qPrintable(result.reason));
    QCOMPARE(tag.commands, QList<QByteArray> {QByteArray::fromHex("FFCA000000")});
}

QTEST_GUILESS_MAIN(tst_TagType)
#include "tst_tagtype.moc"
