#include "simulatedtag.h"
#include "tagimages.h"
#include "tagreader.h"
#include "tagreadverify.h"
#include "type2tag.h"

#include <QtTest>

using namespace TagImages;

Q_DECLARE_METATYPE(TagReadResult::Outcome)

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// A 48-byte data area holding `tlvs`, as on a MIFARE Ultralight.
QByteArray small(const QByteArray& tlvs, const QByteArray& cc = QByteArray())
{
    return type2Image(48, tlvs, cc);
}

// Lays the TLV stream out from byte 16 on, leaving the reserved ranges [from, to) out of it (filled with EE).
QByteArray layOut(const QByteArray& stream, const QList<QPair<int, int>>& reserved)
{
    QByteArray laid;
    int address = 16;
    int taken = 0;
    while (taken < stream.size()) {
        bool skipped = false;
        for (const auto& range : reserved) {
            if (address >= range.first && address < range.second) {
                laid.append(char(0xEE));
                skipped = true;
                break;
            }
        }
        if (!skipped)
            laid.append(stream.at(taken++));
        ++address;
    }
    return laid;
}

int dataAreaEnd(const QByteArray& image)
{
    return 16 + quint8(image.at(14)) * 8;
}

} // namespace

class tst_Type2Tag : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheNdefMessage_data();
    void readsTheNdefMessage();
    void refusesWhatIsNotNdef_data();
    void refusesWhatIsNotNdef();
    void endsTheReadOnMalformedOrFailingTags_data();
    void endsTheReadOnMalformedOrFailingTags();
    void readsTheCapabilityContainerAloneWhenTheMemoryEndsBeforeFourPages();
    void readsTheUidWithTheReadersGetDataCommand();
    void leavesTheUidEmptyWhenTheReaderDoesNotTellIt();
    void readsEachPageOnceWithSixteenBytesPerRead();
    void readsNothingAfterTheNdefMessage();
    void countsTheApdusOfARead();
};

void tst_Type2Tag::readsTheNdefMessage_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QByteArray>("ndef");

    const QByteArray uri = uriMessage("example.com/a");
    const QByteArray multi = uriRecord(0x04, "example.com", true, false) + textRecord("en", "two", false, true);
    const QByteArray big = messageOfSize(868);

    QTest::newRow("URI on a MIFARE Ultralight") << ultralight(uri) << uri;
    QTest::newRow("URI on an NTAG213 after its Lock Control TLV") << ntag213(uri) << uri;
    QTest::newRow("multi-record message on an NTAG215") << ntag215(multi) << multi;
    QTest::newRow("message over 255 bytes on an NTAG216 (3-byte length)") << ntag216(big) << big;
    QTest::newRow("message of 254 bytes keeps the 1-byte length") << ntag216(messageOfSize(254)) << messageOfSize(254);
    QTest::newRow("message of 255 bytes takes the 3-byte length") << ntag216(messageOfSize(255)) << messageOfSize(255);
    QTest::newRow("empty NDEF message") << small(hex("0300FE")) << QByteArray();
    QTest::newRow("NULL TLVs before the NDEF TLV") << small(hex("000000") + ndefTlv(uri) + hex("FE")) << uri;
    QTest::newRow("proprietary TLV before the NDEF TLV is skipped")
        << small(hex("FD03AABBCC") + ndefTlv(uri) + hex("FE")) << uri;
    QTest::newRow("proprietary TLV with a 3-byte length is skipped")
        << type2Image(496, hex("FDFF0101") + QByteArray(0x101, 'x') + ndefTlv(uri) + hex("FE")) << uri;
    QTest::newRow("message filling the data area without a Terminator")
        << small(ndefTlv(messageOfSize(46))) << messageOfSize(46);
    QTest::newRow("no Terminator after the message") << small(ndefTlv(uri)) << uri;

    // A Memory Control TLV sets bytes 40 to 47 aside in the middle of the message: they are not part of it.
    {
        const QByteArray message = messageOfSize(60);
        const QByteArray stream = memoryControlTlv(40, 8) + ndefTlv(message) + hex("FE");
        QTest::newRow("Memory Control TLV sets bytes aside inside the message")
            << type2Image(144, layOut(stream, {{40, 48}})) << message;
    }
    // A Lock Control TLV whose 4 lock bytes (32 bits) lie inside the data area, from byte 64.
    {
        const QByteArray message = messageOfSize(100);
        const QByteArray stream = lockControlTlv(64, 32, 4) + ndefTlv(message) + hex("FE");
        QTest::newRow("Lock Control TLV sets lock bytes aside inside the message")
            << type2Image(256, layOut(stream, {{64, 68}})) << message;
    }
    // Lock and Memory Control TLVs on pages of 16 bytes: 2 lock bytes at 80, 16 reserved bytes at 96.
    {
        const QByteArray message = messageOfSize(120);
        const QByteArray stream =
            lockControlTlv(80, 16, 4) + memoryControlTlv(96, 16, 4) + ndefTlv(message) + hex("FE");
        QTest::newRow("Lock and Memory Control TLVs one after the other")
            << type2Image(256, layOut(stream, {{80, 82}, {96, 112}})) << message;
    }
    // Reserved areas that overlap and one that lies before the TLVs that name it.
    {
        const QByteArray message = messageOfSize(90);
        const QByteArray stream =
            memoryControlTlv(48, 8) + memoryControlTlv(52, 8) + memoryControlTlv(16, 4) + ndefTlv(message) + hex("FE");
        QTest::newRow("overlapping Memory Control areas") << type2Image(256, layOut(stream, {{48, 60}})) << message;
    }
    // A message that runs across the dynamic lock bytes of a large tag.
    {
        const QByteArray message = messageOfSize(700);
        const QByteArray stream = lockControlTlv(640, 96, 6, 16) + ndefTlv(message) + hex("FE");
        QTest::newRow("message spanning many pages around lock bytes")
            << type2Image(872, layOut(stream, {{640, 652}})) << message;
    }
    QTest::newRow("NDEF TLV after a Lock Control TLV pointing past the data area")
        << type2Image(48, hex("0103A00C34") + ndefTlv(uri) + hex("FE")) << uri;
    QTest::newRow("capability container of version 1.2 with write access denied")
        << small(ndefTlv(uri) + hex("FE"), hex("E1120F06")) << uri;
}

void tst_Type2Tag::readsTheNdefMessage()
{
    QFETCH(QByteArray, image);
    QFETCH(QByteArray, ndef);
    SimulatedType2Tag tag(image);
    tag.uid = defaultUid();

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    QCOMPARE(result.reason, QString());
    QCOMPARE(result.outcome, TagReadResult::Read);
    QCOMPARE(result.ndef.toHex(), ndef.toHex());
    QCOMPARE(result.uid, defaultUid());
    for (const auto& range : tag.reads)
        QVERIFY2(range.second <= dataAreaEnd(image) || range.first == 12, "a read went past the data area");
}

void tst_Type2Tag::refusesWhatIsNotNdef_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QString>("reason");

    const QByteArray tlvs = ndefTlv(uriMessage("example.com")) + hex("FE");
    QTest::newRow("blank capability container") << small(tlvs, hex("00000000")) << "not NFC Forum";
    QTest::newRow("capability container with another magic number") << small(tlvs, hex("E0100600")) << "not NFC Forum";
    QTest::newRow("capability container of mapping version 2.0")
        << small(tlvs, hex("E1200600")) << "mapping version 2.0";
    QTest::newRow("capability container of mapping version 0.1")
        << small(tlvs, hex("E1010600")) << "mapping version 0.1";
    QTest::newRow("capability container without a data area") << small(tlvs, hex("E1100000")) << "no data area";
    QTest::newRow("capability container denying reads") << small(tlvs, hex("E1100680")) << "denies read access";
    QTest::newRow("Terminator before any NDEF TLV") << small(hex("0000FE") + tlvs) << "before the Terminator";
    QTest::newRow("only NULL TLVs") << small(QByteArray()) << "no NDEF TLV";
    QTest::newRow("Lock Control TLV then the end of the data area") << small(hex("0103A00C34")) << "no NDEF TLV";
}

void tst_Type2Tag::refusesWhatIsNotNdef()
{
    QFETCH(QByteArray, image);
    QFETCH(QString, reason);
    SimulatedType2Tag tag(image);
    tag.uid = defaultUid();

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    verifyReadEndedWithout(result, TagReadResult::NotNdef, reason);
}

void tst_Type2Tag::endsTheReadOnMalformedOrFailingTags_data()
{
    const QByteArray uri = uriMessage("example.com/a-longer-path-to-span-pages");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<int>("removeAfter");
    QTest::addColumn<int>("readError");
    QTest::addColumn<QString>("reason");

    QTest::newRow("NDEF length past the data area") << small(hex("0340") + uri) << -1 << 0 << "claims 64 bytes";
    QTest::newRow("3-byte NDEF length past the data area")
        << small(hex("03FF0400") + uri) << -1 << 0 << "claims 1024 bytes";
    QTest::newRow("3-byte length cut off by the end of the data area")
        << type2Image(48, QByteArray(45, '\0') + hex("03FF01")) << -1 << 0 << "ends inside the length";
    QTest::newRow("3-byte length with only its marker")
        << type2Image(48, QByteArray(46, '\0') + hex("03FF")) << -1 << 0 << "ends inside the length";
    QTest::newRow("1-byte length cut off by the end of the data area")
        << type2Image(48, QByteArray(47, '\0') + hex("03")) << -1 << 0 << "ends inside the length";
    QTest::newRow("Lock Control TLV length past the data area")
        << small(QByteArray(40, '\0') + hex("01FF0100")) << -1 << 0 << "claims 256 bytes";
    QTest::newRow("data area declared past the tag's memory")
        << type2Image(48, hex("03FF0300") + messageOfSize(0x300), hex("E1107F00")) << -1 << 0 << "6300";
    QTest::newRow("tag removed before the UID") << ntag216(messageOfSize(600)) << 0 << 0 << "reading the UID";
    QTest::newRow("tag removed before the capability container")
        << ntag216(messageOfSize(600)) << 1 << 0 << "reading the capability container: Card was removed";
    QTest::newRow("tag removed halfway") << ntag216(messageOfSize(600)) << 6 << 0 << "Card was removed";
    QTest::newRow("card answering errors") << ntag213(uri) << -1 << 0x6300 << "the card answered 6300";
    QTest::newRow("card answering a wrong status") << ntag213(uri) << -1 << 0x6A82 << "the card answered 6A82";
}

void tst_Type2Tag::endsTheReadOnMalformedOrFailingTags()
{
    QFETCH(QByteArray, image);
    QFETCH(int, removeAfter);
    QFETCH(int, readError);
    QFETCH(QString, reason);
    SimulatedType2Tag tag(image);
    tag.uid = defaultUid();
    tag.removeAfter = removeAfter;
    tag.readError = quint16(readError);

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    verifyReadEndedWithout(result, TagReadResult::Failed, reason);
}

void tst_Type2Tag::readsTheCapabilityContainerAloneWhenTheMemoryEndsBeforeFourPages()
{
    // 16 bytes of header and 8 of data: a read of 16 bytes from page 3 would go past the memory.
    QByteArray image = type2Image(8, hex("0303D00000FE"), hex("E1100100"));
    SimulatedType2Tag tag(image);
    tag.uid = defaultUid();

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    QCOMPARE(result.outcome, TagReadResult::Read);
    QCOMPARE(result.ndef, hex("D00000"));
    QCOMPARE(tag.commands.mid(1), (QList<QByteArray> {hex("FFB0000310"), hex("FFB0000304"), hex("FFB0000408")}));
}

void tst_Type2Tag::readsTheUidWithTheReadersGetDataCommand()
{
    SimulatedType2Tag tag(ultralight(uriMessage("example.com")));
    tag.uid = hex("04112233445566");

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    QCOMPARE(tag.commands.first(), hex("FFCA000000"));
    QCOMPARE(result.uid, hex("04112233445566"));
}

void tst_Type2Tag::leavesTheUidEmptyWhenTheReaderDoesNotTellIt()
{
    SimulatedType2Tag tag(ultralight(uriMessage("example.com")));

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    QCOMPARE(result.outcome, TagReadResult::Read);
    QVERIFY(result.uid.isEmpty());
}

void tst_Type2Tag::readsEachPageOnceWithSixteenBytesPerRead()
{
    const QByteArray message = messageOfSize(868);
    SimulatedType2Tag tag(ntag216(message));
    tag.uid = defaultUid();

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    QCOMPARE(result.ndef, message);
    // The TLV (4 bytes of header) and 868 bytes end at byte 888, the end of the data area.
    // Every read takes 16 bytes from where the previous one ended, except the last, which stops at the end.
    int next = 12;
    for (const auto& range : tag.reads) {
        QCOMPARE(range.first, next);
        QCOMPARE(range.second - range.first, range.second == 16 + 872 ? (872 + 4) % 16 : 16);
        next = range.second;
    }
    QCOMPARE(next, 16 + 872);
}

void tst_Type2Tag::readsNothingAfterTheNdefMessage()
{
    const QByteArray message = uriMessage("example.com"); // 13 bytes: TLV ends at byte 31
    SimulatedType2Tag tag(ntag216(message));
    tag.uid = defaultUid();

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    QCOMPARE(result.ndef, message);
    QCOMPARE(tag.reads, (QList<QPair<int, int>> {{12, 28}, {28, 44}}));
}

void tst_Type2Tag::countsTheApdusOfARead()
{
    SimulatedType2Tag tag(ntag213(messageOfSize(48)));
    tag.uid = defaultUid();

    const TagReadResult result = TagReader::read(tag, ultralightAtr());

    // UID, pages 3-6, then 7-10, 11-14, 15-18 for the Lock Control TLV, the TLV header and 48 bytes (ends at 73).
    QCOMPARE(result.apdus, 5);
    QCOMPARE(result.apdus, tag.commands.size());
}

QTEST_GUILESS_MAIN(tst_Type2Tag)
#include "tst_type2tag.moc"
