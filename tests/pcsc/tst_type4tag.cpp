#include "simulatedtag.h"
#include "tagimages.h"
#include "tagreader.h"
#include "tagreadverify.h"
#include "type4tag.h"

#include <QtTest>

#include <functional>

using namespace TagImages;

Q_DECLARE_METATYPE(TagReadResult::Outcome)

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

} // namespace

class tst_Type4Tag : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheNdefMessage_data();
    void readsTheNdefMessage();
    void selectsVersionTwoOfTheApplicationFirst();
    void fallsBackToVersionOneOfTheSelect();
    void refusesWhatIsNotNdef_data();
    void refusesWhatIsNotNdef();
    void endsTheReadOnMalformedOrFailingTags_data();
    void endsTheReadOnMalformedOrFailingTags();
    void readsInChunksNoLargerThanTheCardAllows();
    void readsTheLengthAloneWhenTheCardRefusesALongerFirstRead();
    void readsAnExtendedNdefFileControlTlv();
    void aCardAnsweringAByteAtATimeIsGivenUpAfterItsCommandBudget();
    void aWrongLengthAnswerToACommandWithoutLeIsNotRetried();
    void aWrongLengthAnswerToAReadIsRetriedWithTheLengthAsked();
};

void tst_Type4Tag::readsTheNdefMessage_data()
{
    QTest::addColumn<QByteArray>("cc");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("ndef");

    const QByteArray uri = uriMessage("example.com/type4");
    const QByteArray multi = uriRecord(0x04, "example.com", true, false) + textRecord("en", "two", false, true);
    QTest::newRow("URI") << type4CapabilityContainer(0xFF) << type4NdefFile(uri, 0x800) << uri;
    QTest::newRow("multi-record message") << type4CapabilityContainer(0x3B) << type4NdefFile(multi) << multi;
    QTest::newRow("message read in several chunks")
        << type4CapabilityContainer(0x0F) << type4NdefFile(messageOfSize(200)) << messageOfSize(200);
    QTest::newRow("message of 1000 bytes")
        << type4CapabilityContainer(0xFF) << type4NdefFile(messageOfSize(1000), 0x800) << messageOfSize(1000);
    QTest::newRow("MLe above what one short READ BINARY carries")
        << type4CapabilityContainer(0xFFFF) << type4NdefFile(messageOfSize(600)) << messageOfSize(600);
    QTest::newRow("empty NDEF") << type4CapabilityContainer(0xFF) << type4NdefFile(QByteArray(), 0x100) << QByteArray();
    QTest::newRow("file exactly as long as the message")
        << type4CapabilityContainer(0x80, 0xE104, 2 + uri.size()) << type4NdefFile(uri) << uri;
    QTest::newRow("mapping version 1.0") << type4CapabilityContainer(0xFF, 0xE104, 0x800, 0x00, 0x10)
                                         << type4NdefFile(uri) << uri;
    QTest::newRow("another NDEF file id") << type4CapabilityContainer(0xFF, 0x0001) << type4NdefFile(uri) << uri;
}

void tst_Type4Tag::readsTheNdefMessage()
{
    QFETCH(QByteArray, cc);
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, ndef);
    const quint16 fileId = quint16((quint8(cc.at(9)) << 8) | quint8(cc.at(10)));
    SimulatedType4Tag tag(cc, file, fileId);
    tag.uid = hex("04A1B2C3");

    const TagReadResult result = TagReader::read(tag, type4Atr());

    QCOMPARE(result.reason, QString());
    QCOMPARE(result.outcome, TagReadResult::Read);
    QCOMPARE(result.ndef.toHex(), ndef.toHex());
    QCOMPARE(result.uid, hex("04A1B2C3"));
    QVERIFY(eachByteReadOnce(tag.reads.value(fileId)));
    const int maxRead = qMin(255, (quint8(cc.at(3)) << 8) | quint8(cc.at(4)));
    QVERIFY(tag.largestLe <= maxRead);
}

void tst_Type4Tag::selectsVersionTwoOfTheApplicationFirst()
{
    SimulatedType4Tag tag(type4CapabilityContainer(0xFF), type4NdefFile(uriMessage("example.com")));

    TagReader::read(tag, type4Atr());

    QCOMPARE(tag.commands.value(1), hex("00A4040007D276000085010100"));
    QCOMPARE(tag.commands.value(2), hex("00A4000C02E103"));
    QCOMPARE(tag.commands.value(3), hex("00B000000F"));
    QCOMPARE(tag.commands.value(4), hex("00A4000C02E104"));
}

void tst_Type4Tag::fallsBackToVersionOneOfTheSelect()
{
    const QByteArray message = uriMessage("example.com");
    SimulatedType4Tag tag(type4CapabilityContainer(0xFF, 0xE104, 0x800, 0, 0x10), type4NdefFile(message));
    tag.applicationVersions = {1};

    const TagReadResult result = TagReader::read(tag, type4Atr());

    QCOMPARE(result.outcome, TagReadResult::Read);
    QCOMPARE(result.ndef, message);
    QCOMPARE(tag.commands.value(1), hex("00A4040007D276000085010100"));
    QCOMPARE(tag.commands.value(2), hex("00A4040007D2760000850100"));
    QCOMPARE(tag.commands.value(3), hex("00A4000002E103"));
}

void tst_Type4Tag::refusesWhatIsNotNdef_data()
{
    QTest::addColumn<QByteArray>("cc");
    QTest::addColumn<bool>("hasApplication");
    QTest::addColumn<QString>("reason");

    const QByteArray good = type4CapabilityContainer(0xFF);
    QTest::newRow("no NDEF application") << good << false << "no NDEF application (the card answered 6A82, 6A82)";
    QTest::newRow("mapping version 4.0") << type4CapabilityContainer(0xFF, 0xE104, 0x800, 0, 0x40) << true
                                         << "mapping version 4.0";
    QTest::newRow("mapping version 0.9") << type4CapabilityContainer(0xFF, 0xE104, 0x800, 0, 0x09) << true
                                         << "mapping version 0.9";
    QTest::newRow("CCLEN below 15") << QByteArray(hex("000E") + good.mid(2)) << true << "declares 14 bytes";
    QTest::newRow("capability container file of 10 bytes") << good.left(10) << true << "has 10 bytes";
    QTest::newRow("MLe of 0") << type4CapabilityContainer(0) << true << "reads of 0 bytes";
    QTest::newRow("MLe of 14, below the smallest allowed")
        << type4CapabilityContainer(14) << true << "reads of 14 bytes, fewer than the 15";
    QTest::newRow("no NDEF File Control TLV")
        << QByteArray(good.left(7) + hex("0506") + good.mid(9)) << true << "no NDEF File Control TLV";
    QTest::newRow("NDEF File Control TLV too short")
        << QByteArray(good.left(7) + hex("0405") + good.mid(9)) << true << "no NDEF File Control TLV";
    QTest::newRow("the capability container named as the NDEF file")
        << type4CapabilityContainer(0xFF, 0xE103) << true << "names E103";
    QTest::newRow("reserved file id FFFF") << type4CapabilityContainer(0xFF, 0xFFFF) << true << "names FFFF";
    QTest::newRow("NDEF file smaller than its length field")
        << type4CapabilityContainer(0xFF, 0xE104, 1) << true << "gives the NDEF file 1 bytes";
    QTest::newRow("NDEF file not readable")
        << type4CapabilityContainer(0xFF, 0xE104, 0x800, 0xFF) << true << "not readable";
}

void tst_Type4Tag::refusesWhatIsNotNdef()
{
    QFETCH(QByteArray, cc);
    QFETCH(bool, hasApplication);
    QFETCH(QString, reason);
    SimulatedType4Tag tag(cc, type4NdefFile(uriMessage("example.com")));
    tag.hasApplication = hasApplication;

    const TagReadResult result = TagReader::read(tag, type4Atr());

    verifyReadEndedWithout(result, TagReadResult::NotNdef, reason);
}

void tst_Type4Tag::endsTheReadOnMalformedOrFailingTags_data()
{
    QTest::addColumn<QByteArray>("cc");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("strict");
    QTest::addColumn<int>("removeAfter");
    QTest::addColumn<int>("readError");
    QTest::addColumn<QString>("reason");

    const QByteArray cc = type4CapabilityContainer(0x20, 0xE104, 0x100);
    const QByteArray message = messageOfSize(200);
    QTest::newRow("NDEF length past the NDEF file's maximum size")
        << cc << QByteArray(hex("0200") + message) << false << -1 << 0 << "length 512 goes past";
    QTest::newRow("NDEF length past the file the card holds")
        << cc << QByteArray(hex("00F0") + message) << false << -1 << 0 << "the card answered 6B00";
    QTest::newRow("NDEF length past the file, strict card")
        << cc << QByteArray(hex("00F0") + message) << true << -1 << 0 << "the card answered 6700";
    QTest::newRow("NDEF file of one byte") << cc << hex("00") << false << -1 << 0 << "the card answered 6B00";
    QTest::newRow("tag removed halfway") << cc << type4NdefFile(message) << false << 7 << 0 << "Card was removed";
    QTest::newRow("tag removed while selecting")
        << cc << type4NdefFile(message) << false << 1 << 0 << "selecting the NDEF application: Card was removed";
    QTest::newRow("card answering errors to READ BINARY")
        << cc << type4NdefFile(message) << false << -1 << 0x6F00 << "the card answered 6F00";
}

void tst_Type4Tag::endsTheReadOnMalformedOrFailingTags()
{
    QFETCH(QByteArray, cc);
    QFETCH(QByteArray, file);
    QFETCH(bool, strict);
    QFETCH(int, removeAfter);
    QFETCH(int, readError);
    QFETCH(QString, reason);
    SimulatedType4Tag tag(cc, file);
    tag.strictLengths = strict;
    tag.removeAfter = removeAfter;
    tag.readError = quint16(readError);

    const TagReadResult result = TagReader::read(tag, type4Atr());

    verifyReadEndedWithout(result, TagReadResult::Failed, reason);
}

void tst_Type4Tag::readsInChunksNoLargerThanTheCardAllows()
{
    const QByteArray message = messageOfSize(100);
    SimulatedType4Tag tag(type4CapabilityContainer(0x20), type4NdefFile(message, 0x800));

    const TagReadResult result = TagReader::read(tag, type4Atr());

    QCOMPARE(result.ndef, message);
    // 102 bytes of file in reads of 32: 0-32, 32-64, 64-96, 96-102.
    QCOMPARE(tag.reads.value(0xE104), (QList<QPair<int, int>> {{0, 32}, {32, 64}, {64, 96}, {96, 102}}));
    QCOMPARE(result.apdus, 1 + 1 + 1 + 1 + 1 + 4);
}

void tst_Type4Tag::readsTheLengthAloneWhenTheCardRefusesALongerFirstRead()
{
    const QByteArray message = uriMessage("example.com");
    SimulatedType4Tag tag(type4CapabilityContainer(0xFF), type4NdefFile(message));
    tag.strictLengths = true;

    const TagReadResult result = TagReader::read(tag, type4Atr());

    QCOMPARE(result.outcome, TagReadResult::Read);
    QCOMPARE(result.ndef, message);
    QCOMPARE(tag.reads.value(0xE104), (QList<QPair<int, int>> {{0, 2}, {2, 2 + int(message.size())}}));
}

void tst_Type4Tag::readsAnExtendedNdefFileControlTlv()
{
    const QByteArray message = messageOfSize(300);
    QByteArray cc = hex("0011") + hex("30") + hex("00FF") + hex("00FF") + hex("0608") + hex("E104") + hex("00001000")
        + hex("00") + hex("00");
    QByteArray file = hex("0000012C") + message;
    SimulatedType4Tag tag(cc, file);

    const TagReadResult result = TagReader::read(tag, type4Atr());

    QCOMPARE(result.reason, QString());
    QCOMPARE(result.ndef, message);
}

void tst_Type4Tag::aCardAnsweringAByteAtATimeIsGivenUpAfterItsCommandBudget()
{
    const QByteArray message = messageOfSize(8000);
    SimulatedType4Tag tag(type4CapabilityContainer(0xFF, 0xE104, 0x2000), type4NdefFile(message, 0x2000));
    tag.answerAtMost = 1;

    const TagReadResult result = TagReader::read(tag, type4Atr());

    verifyReadEndedWithout(result, TagReadResult::Failed, "has taken 2500 commands; given up");
    QCOMPARE(result.apdus, 2500);
    QCOMPARE(tag.commands.size(), 2500);
}

namespace {

// A card that answers each command by a rule of the test's, logging the commands.
class ScriptedCard : public ApduTransport
{
public:
    explicit ScriptedCard(std::function<QByteArray(const QByteArray&)> rule) : rule(std::move(rule)) {}
    bool transmit(const QByteArray& command, QByteArray* response, QString*) override
    {
        commands.append(command);
        *response = rule(command);
        return true;
    }
    std::function<QByteArray(const QByteArray&)> rule;
    QList<QByteArray> commands;
};

} // namespace

void tst_Type4Tag::aWrongLengthAnswerToACommandWithoutLeIsNotRetried()
{
    // SELECT of the capability container file: CLA INS P1 P2 Lc and the file id, no Le. Its last byte is
    // the file id, which a retry must not replace.
    ScriptedCard card([](const QByteArray& command) {
        if (command.startsWith(hex("00A40400")))
            return hex("9000");
        if (command.startsWith(hex("00A4000C02")))
            return hex("6C0F");
        return hex("6A82");
    });

    const TagReadResult result = TagReader::read(card, type4Atr());

    QCOMPARE(result.outcome, TagReadResult::NotNdef);
    QVERIFY2(result.reason.contains(QStringLiteral("selecting file E103: the card answered 6C0F")),
             qPrintable(result.reason));
    QCOMPARE(card.commands.count(hex("00A4000C02E103")), 1);
    for (const QByteArray& command : qAsConst(card.commands))
        QVERIFY2(!command.startsWith(hex("00A4000C02E1")) || command == hex("00A4000C02E103"),
                 command.toHex().constData());
}

void tst_Type4Tag::aWrongLengthAnswerToAReadIsRetriedWithTheLengthAsked()
{
    const QByteArray message = uriMessage("example.com");
    SimulatedType4Tag tag(type4CapabilityContainer(0xFF), type4NdefFile(message));
    bool askedForLength = false;
    ScriptedCard card([&tag, &askedForLength](const QByteArray& command) {
        // The first read of the NDEF file (after the capability container's, of 15 bytes) is answered
        // "wrong length, ask for 2"; the rest as the tag does.
        if (command.size() == 5 && quint8(command.at(1)) == 0xB0 && command.mid(2, 2) == hex("0000")
            && !askedForLength && quint8(command.at(4)) != 2 && quint8(command.at(4)) != 0x0F) {
            askedForLength = true;
            return hex("6C02");
        }
        QByteArray response;
        QString error;
        tag.transmit(command, &response, &error);
        return response;
    });

    const TagReadResult result = TagReader::read(card, type4Atr());

    QCOMPARE(result.reason, QString());
    QCOMPARE(result.ndef, message);
    QVERIFY(askedForLength);
    const int retried = card.commands.indexOf(hex("00B0000002"));
    QVERIFY(retried > 0);
    QCOMPARE(quint8(card.commands.at(retried - 1).at(1)), quint8(0xB0));
}

QTEST_GUILESS_MAIN(tst_Type4Tag)
#include "tst_type4tag.moc"
