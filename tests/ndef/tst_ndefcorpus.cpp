#include <QScopedPointer>
#include <QtTest>

#include "ndefcorpus.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "smartposterndefrecord.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

namespace {

// The one entry where this library deliberately differs from the corpus: empty data is a message
// without records here (a nested Smart Poster message may be empty too), where the corpus calls it
// invalid.
const char emptyMessageEntry[] = "ndeflib-msg-zero-bytes";

// Text as the Text record stores it: UTF-8, or UTF-16 honouring a byte-order mark and big-endian
// without one.
QString decodeText(const QByteArray& bytes, int encoding)
{
    if (encoding == TextNDEFRecord::Utf8)
        return QString::fromUtf8(bytes);
    return decodeUtf16(bytes);
}

int corpusEncoding(const QJsonValue& value)
{
    return value.toString() == QLatin1String("utf-16") ? TextNDEFRecord::Utf16 : TextNDEFRecord::Utf8;
}

} // namespace

class TestNdefCorpus : public QObject
{
    Q_OBJECT

private slots:
    void corpusEntryIsParsedAsRecorded_data();
    void corpusEntryIsParsedAsRecorded();

private:
    void checkRecord(const NDEFRecord* record, const QJsonObject& expected);
    void checkUri(const URINDEFRecord* record, const QJsonObject& expected);
    void checkText(const TextNDEFRecord* record, const QJsonObject& expected);
    void checkSmartPoster(const SmartPosterNDEFRecord* record, const QJsonObject& expected);
};

void TestNdefCorpus::corpusEntryIsParsedAsRecorded_data()
{
    if (!QFile::exists(ndefCorpusPath()))
        QSKIP(qPrintable(QStringLiteral("no NDEF corpus at %1").arg(ndefCorpusPath())));
    QString error;
    const QJsonArray entries = loadNdefCorpus(&error);
    QVERIFY2(!entries.isEmpty(), qPrintable(error));

    QTest::addColumn<QJsonObject>("entry");
    for (const QJsonValue& value : entries) {
        const QJsonObject entry = value.toObject();
        QTest::newRow(qPrintable(entry.value(QStringLiteral("id")).toString())) << entry;
    }
}

void TestNdefCorpus::corpusEntryIsParsedAsRecorded()
{
    QFETCH(QJsonObject, entry);
    const QByteArray data = corpusBytes(entry.value(QStringLiteral("hex")));
    QCOMPARE(data.size(), entry.value(QStringLiteral("length")).toInt());

    QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(data));

    if (entry.value(QStringLiteral("id")).toString() == QLatin1String(emptyMessageEntry)) {
        QVERIFY(data.isEmpty());
        QVERIFY(message);
        QVERIFY(message->getRecords().isEmpty());
        return;
    }

    const bool valid = entry.value(QStringLiteral("valid")).toBool();
    QVERIFY2(bool(message) == valid,
             qPrintable(valid ? QStringLiteral("rejected a valid message")
                              : QStringLiteral("accepted an invalid message (%1)")
                                    .arg(entry.value(QStringLiteral("error")).toString())));
    if (!valid)
        return;

    const QJsonArray expectedRecords = entry.value(QStringLiteral("records")).toArray();
    const QList<const NDEFRecord*> records = message->getRecords();
    QCOMPARE(records.size(), expectedRecords.size());
    for (int i = 0; i < records.size(); ++i) {
        checkRecord(records.at(i), expectedRecords.at(i).toObject());
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(QStringLiteral("in record %1").arg(i)));
    }
}

void TestNdefCorpus::checkRecord(const NDEFRecord* record, const QJsonObject& expected)
{
    QCOMPARE(record->getType().getTNF(), expected.value(QStringLiteral("tnf")).toInt());
    QCOMPARE(record->getType().getName(), corpusBytes(expected.value(QStringLiteral("type_hex"))));
    QCOMPARE(record->getId(), corpusBytes(expected.value(QStringLiteral("id_hex"))));
    QCOMPARE(record->getPayload(), corpusBytes(expected.value(QStringLiteral("payload_hex"))));

    if (record->getType() == NDEFRecordType::URI)
        checkUri(static_cast<const URINDEFRecord*>(record), expected);
    else if (record->getType() == NDEFRecordType::Text)
        checkText(static_cast<const TextNDEFRecord*>(record), expected);
    else if (record->getType() == NDEFRecordType::SmartPoster)
        checkSmartPoster(static_cast<const SmartPosterNDEFRecord*>(record), expected);
}

void TestNdefCorpus::checkUri(const URINDEFRecord* record, const QJsonObject& expected)
{
    if (expected.contains(QStringLiteral("uri"))) {
        QCOMPARE(record->getURI(), expected.value(QStringLiteral("uri")).toString().toUtf8());
        return;
    }

    // The corpus gives no URI for an undefined identifier code or a URI that is not valid UTF-8 or
    // holds control characters. This library hands back bytes and leaves such judgements to its
    // callers: the URI still ends with the stored bytes after the code, and an undefined code
    // (above 0x23) adds no prefix.
    QVERIFY(expected.contains(QStringLiteral("decode_error")));
    const QByteArray payload = record->getPayload();
    QVERIFY(!payload.isEmpty());
    QVERIFY(record->getURI().endsWith(payload.mid(1)));
    if (quint8(payload.at(0)) > 0x23)
        QCOMPARE(record->getURI(), payload.mid(1));
}

void TestNdefCorpus::checkText(const TextNDEFRecord* record, const QJsonObject& expected)
{
    const QByteArray payload = record->getPayload();
    if (expected.contains(QStringLiteral("lang")))
        QCOMPARE(record->getLanguage(), expected.value(QStringLiteral("lang")).toString().toUtf8());
    if (expected.contains(QStringLiteral("encoding")))
        QCOMPARE(record->getEncoding(), corpusEncoding(expected.value(QStringLiteral("encoding"))));
    if (expected.contains(QStringLiteral("text"))) {
        QCOMPARE(decodeText(record->getText(), record->getEncoding()), expected.value(QStringLiteral("text")).toString());
        return;
    }

    // The corpus gives no text where it cannot be decoded (invalid UTF-8, an odd number of UTF-16
    // bytes) or where the language tag's length runs past the payload, and in the latter case no
    // language either. This library does not decode: the text is the raw bytes after the
    // language tag, and an overlong tag is cut at the end of the payload, leaving no text.
    QVERIFY(expected.contains(QStringLiteral("decode_error")));
    QVERIFY(!payload.isEmpty());
    const int languageLength = quint8(payload.at(0)) & 0x3f;
    QCOMPARE(record->getLanguage(), payload.mid(1, languageLength));
    if (1 + languageLength <= payload.size())
        QCOMPARE(record->getText(), payload.mid(1 + languageLength));
    else
        QCOMPARE(record->getText(), QByteArray());
    QCOMPARE(record->getEncoding(), (quint8(payload.at(0)) & 0x80) ? 1 : 0);
}

void TestNdefCorpus::checkSmartPoster(const SmartPosterNDEFRecord* record, const QJsonObject& expected)
{
    if (expected.contains(QStringLiteral("smartposter"))) {
        const QJsonObject poster = expected.value(QStringLiteral("smartposter")).toObject();
        QVERIFY(record->getURIRecord());
        QCOMPARE(record->getURIRecord()->getURI(), poster.value(QStringLiteral("uri")).toString().toUtf8());

        const QJsonArray expectedTitles = poster.value(QStringLiteral("titles")).toArray();
        const QList<const TextNDEFRecord*> titles = record->getTitleRecords();
        QCOMPARE(titles.size(), expectedTitles.size());
        for (int i = 0; i < titles.size(); ++i) {
            const QJsonObject title = expectedTitles.at(i).toObject();
            QCOMPARE(titles.at(i)->getLanguage(), title.value(QStringLiteral("lang")).toString().toUtf8());
            QCOMPARE(titles.at(i)->getEncoding(), corpusEncoding(title.value(QStringLiteral("encoding"))));
            QCOMPARE(decodeText(titles.at(i)->getText(), titles.at(i)->getEncoding()),
                     title.value(QStringLiteral("text")).toString());
        }
        return;
    }

    // The corpus gives no Smart Poster contents where the nested message does not parse, is empty
    // or holds other than exactly one URI record. This library does not judge the poster: it
    // offers the first URI record and every Text record of the nested message when that parses,
    // and nothing when it does not.
    QVERIFY(expected.contains(QStringLiteral("decode_error")));
    QScopedPointer<NDEFMessage> nested(NDEFMessage::createFromData(record->getPayload()));
    if (!nested) {
        QVERIFY(!record->getURIRecord());
        QVERIFY(record->getTitleRecords().isEmpty());
        return;
    }
    const NDEFRecord* firstUri = nullptr;
    int textRecords = 0;
    for (const NDEFRecord* nestedRecord : nested->getRecords()) {
        if (!firstUri && nestedRecord->getType() == NDEFRecordType::URI)
            firstUri = nestedRecord;
        if (nestedRecord->getType() == NDEFRecordType::Text)
            ++textRecords;
    }
    QCOMPARE(bool(record->getURIRecord()), bool(firstUri));
    if (firstUri)
        QCOMPARE(record->getURIRecord()->getPayload(), firstUri->getPayload());
    QCOMPARE(record->getTitleRecords().size(), textRecords);
}

QTEST_GUILESS_MAIN(TestNdefCorpus)

#include "tst_ndefcorpus.moc"
