#include <QRandomGenerator>
#include <QScopedPointer>
#include <QtTest>

#include "ndefcorpus.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefwriter.h"
#include "smartposterndefrecord.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

// Feeds damaged and random data through the parser and reads every accessor of whatever comes
// out. Nothing may crash, and whatever a record hands back must come from within its payload.
// Run under AddressSanitizer or valgrind, this also shows that no read goes past the data.
class TestNdefRobustness : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyPrefixOfCorpusMessagesIsHandled();
    void everySingleByteChangeOfCorpusMessagesIsHandled();
    void randomBytesAreHandled();
    void randomChangesOfWrittenMessagesAreHandled();

private:
    void parseAndWalk(const QByteArray& data);
    void walkRecord(const NDEFRecord* record, int dataSize);

    QList<QByteArray> m_corpus;
    int m_parsed = 0;
};

void TestNdefRobustness::initTestCase()
{
    QString error;
    if (QFile::exists(ndefCorpusPath())) {
        const QJsonArray entries = loadNdefCorpus(&error);
        QVERIFY2(!entries.isEmpty(), qPrintable(error));
        for (const QJsonValue& entry : entries)
            m_corpus.append(corpusBytes(entry.toObject().value(QStringLiteral("hex"))));
    }
}

void TestNdefRobustness::walkRecord(const NDEFRecord* record, int dataSize)
{
    const NDEFRecordType type = record->getType();
    QVERIFY(type.getTNF() >= 0 && type.getTNF() <= 6);
    QVERIFY(type.getName().size() <= dataSize);
    QVERIFY(record->getId().size() <= dataSize);
    const QByteArray payload = record->getPayload();
    QVERIFY(payload.size() <= dataSize);

    if (type == NDEFRecordType::URI) {
        const URINDEFRecord* uri = static_cast<const URINDEFRecord*>(record);
        if (!payload.isEmpty())
            QVERIFY(uri->getURI().endsWith(payload.mid(1)));
        else
            QVERIFY(uri->getURI().isEmpty());
    } else if (type == NDEFRecordType::Text) {
        const TextNDEFRecord* text = static_cast<const TextNDEFRecord*>(record);
        const QByteArray language = text->getLanguage();
        const QByteArray body = text->getText();
        QVERIFY(text->getEncoding() == 0 || text->getEncoding() == 1);
        QVERIFY(language.size() <= 0x3f);
        if (payload.isEmpty())
            QVERIFY(language.isEmpty() && body.isEmpty());
        else
            QCOMPARE(payload.mid(1), language + body);
    } else if (type == NDEFRecordType::SmartPoster) {
        const SmartPosterNDEFRecord* poster = static_cast<const SmartPosterNDEFRecord*>(record);
        if (const URINDEFRecord* uri = poster->getURIRecord())
            walkRecord(uri, payload.size());
        for (const TextNDEFRecord* title : poster->getTitleRecords())
            walkRecord(title, payload.size());
    }
}

void TestNdefRobustness::parseAndWalk(const QByteArray& data)
{
    QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(data));
    if (!message)
        return;
    ++m_parsed;
    for (const NDEFRecord* record : message->getRecords()) {
        walkRecord(record, data.size());
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(QStringLiteral("for data %1").arg(QString::fromLatin1(data.toHex()))));
    }
}

void TestNdefRobustness::everyPrefixOfCorpusMessagesIsHandled()
{
    if (m_corpus.isEmpty())
        QSKIP("no NDEF corpus");
    for (const QByteArray& data : qAsConst(m_corpus)) {
        for (int length = 0; length <= data.size(); ++length) {
            // A detached copy, so that a read past the prefix is a read past the allocation.
            parseAndWalk(QByteArray(data.constData(), length));
            if (QTest::currentTestFailed())
                return;
        }
    }
}

void TestNdefRobustness::everySingleByteChangeOfCorpusMessagesIsHandled()
{
    if (m_corpus.isEmpty())
        QSKIP("no NDEF corpus");
    for (const QByteArray& original : qAsConst(m_corpus)) {
        QByteArray data(original.constData(), original.size());
        for (int i = 0; i < data.size(); ++i) {
            const char kept = data.at(i);
            for (int value = 0; value < 256; ++value) {
                if (char(value) == kept)
                    continue;
                data[i] = char(value);
                parseAndWalk(data);
                if (QTest::currentTestFailed())
                    return;
            }
            data[i] = kept;
        }
    }
}

void TestNdefRobustness::randomBytesAreHandled()
{
    QRandomGenerator random(0x4e444546);
    for (int round = 0; round < 200000; ++round) {
        QByteArray data(int(random.bounded(48)), Qt::Uninitialized);
        for (int i = 0; i < data.size(); ++i)
            data[i] = char(random.bounded(256));
        // Often start with a plausible header, so that more data gets past the first byte.
        if (!data.isEmpty() && random.bounded(2))
            data[0] = char(0x80 | (quint8(data.at(0)) & 0x3f));
        parseAndWalk(data);
        if (QTest::currentTestFailed())
            return;
    }
}

void TestNdefRobustness::randomChangesOfWrittenMessagesAreHandled()
{
    const QList<QByteArray> messages = {
        NdefWriter::message({ NdefWriter::smartPoster("https://example.org", { { "en", "title" }, { "de", "Titel" } }) }),
        NdefWriter::message({ NdefWriter::raw(1, "Sp", NdefWriter::message({ NdefWriter::smartPoster("tel:1", { { "en", "x" } }) })) }),
        NdefWriter::message({ NdefWriter::text("en", "hello"), NdefWriter::uri("mailto:a@b"), NdefWriter::raw(2, "a/b", "x", "id") }),
        NdefWriter::chunked(NdefWriter::smartPoster("https://example.org/chunked", { { "fi", "paloina" } }), 3),
        NdefWriter::message({ NdefWriter::mime("a/b", QByteArray(300, 'x')), NdefWriter::text("ja", "long", true) }),
    };

    QRandomGenerator random(0x53503031);
    for (int round = 0; round < 100000; ++round) {
        QByteArray data = messages.at(int(random.bounded(messages.size())));
        data.detach();
        const int changes = 1 + int(random.bounded(4));
        for (int c = 0; c < changes; ++c)
            data[int(random.bounded(data.size()))] = char(random.bounded(256));
        if (random.bounded(4) == 0)
            data.truncate(int(random.bounded(data.size() + 1)));
        parseAndWalk(data);
        if (QTest::currentTestFailed())
            return;
    }
    // Something of what was written must still have parsed, or the walk tested nothing.
    QVERIFY(m_parsed > 0);
}

QTEST_GUILESS_MAIN(TestNdefRobustness)

#include "tst_ndefrobustness.moc"
