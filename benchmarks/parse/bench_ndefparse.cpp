// Parsing NDEF messages: this project's library against QtNfc 5.15, over the shared corpus of
// real-world messages, per corpus category. Both parsers run in the same process, interleaved
// round by round (the order swapped every round), so that a ratio compares like with like.
//
// Two measures per category:
//   parse  - the bytes to a message and back to nothing (the message freed);
//   read   - the same, then every record's type, id and payload read, and for a Smart Poster its
//            URI and titles (QtNfc: QNdefNfcSmartPosterRecord built from the record).
// A ratio is the median over the rounds of (ours / QtNfc); below 1 means ours is faster.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QNdefMessage>
#include <QNdefNfcSmartPosterRecord>
#include <QNdefRecord>
#include <QVector>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "ndefmessage.h"
#include "ndefrecord.h"
#include "smartposterndefrecord.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

namespace {

// Keeps results alive so that the compiler cannot drop the work.
volatile quint64 sink;

// The primary category of an entry, as the corpus README counts them.
QString categoryOf(const QJsonObject& entry)
{
    if (!entry.value(QStringLiteral("valid")).toBool())
        return QStringLiteral("invalid");
    QStringList tags;
    for (const QJsonValue& tag : entry.value(QStringLiteral("categories")).toArray())
        tags << tag.toString();
    const QList<QPair<QString, QStringList>> order = {
        {QStringLiteral("smartposter"), {QStringLiteral("smartposter")}},
        {QStringLiteral("chunked"), {QStringLiteral("chunked")}},
        {QStringLiteral("handover"), {QStringLiteral("handover"), QStringLiteral("bluetooth"), QStringLiteral("bt-oob"),
                                      QStringLiteral("wifi")}},
        {QStringLiteral("multi-record"), {QStringLiteral("multi-record")}},
        {QStringLiteral("mime"), {QStringLiteral("mime"), QStringLiteral("image"), QStringLiteral("vcard")}},
        {QStringLiteral("external"), {QStringLiteral("external"), QStringLiteral("absolute-uri"), QStringLiteral("aar")}},
        {QStringLiteral("text"), {QStringLiteral("text")}},
        {QStringLiteral("uri"), {QStringLiteral("uri")}},
    };
    for (const auto& category : order) {
        for (const QString& tag : category.second) {
            if (tags.contains(tag))
                return category.first;
        }
    }
    return QStringLiteral("record-structure");
}

quint64 oursParse(const QVector<QByteArray>& messages)
{
    quint64 n = 0;
    for (const QByteArray& data : messages) {
        std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(data));
        if (message)
            n += quint64(message->getRecords().size());
    }
    return n;
}

quint64 qtParse(const QVector<QByteArray>& messages)
{
    quint64 n = 0;
    for (const QByteArray& data : messages) {
        const QNdefMessage message = QNdefMessage::fromByteArray(data);
        n += quint64(message.size());
    }
    return n;
}

quint64 oursRead(const QVector<QByteArray>& messages)
{
    quint64 n = 0;
    for (const QByteArray& data : messages) {
        std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(data));
        if (!message)
            continue;
        for (const NDEFRecord* record : message->getRecords()) {
            const NDEFRecordType type = record->getType();
            n += quint64(type.getTNF()) + quint64(type.getName().size()) + quint64(record->getId().size())
                + quint64(record->getPayload().size());
            if (type == NDEFRecordType::SmartPoster) {
                const SmartPosterNDEFRecord* poster = static_cast<const SmartPosterNDEFRecord*>(record);
                if (const URINDEFRecord* uri = poster->getURIRecord())
                    n += quint64(uri->getURI().size());
                n += quint64(poster->getTitleRecords().size());
            }
        }
    }
    return n;
}

quint64 qtRead(const QVector<QByteArray>& messages)
{
    quint64 n = 0;
    for (const QByteArray& data : messages) {
        const QNdefMessage message = QNdefMessage::fromByteArray(data);
        for (const QNdefRecord& record : message) {
            n += quint64(record.typeNameFormat()) + quint64(record.type().size()) + quint64(record.id().size())
                + quint64(record.payload().size());
            if (record.isRecordType<QNdefNfcSmartPosterRecord>()) {
                const QNdefNfcSmartPosterRecord poster(record);
                n += quint64(poster.uri().toString().size());
                n += quint64(poster.titleRecords().size());
            }
        }
    }
    return n;
}

using Work = quint64 (*)(const QVector<QByteArray>&);

qint64 timeOf(Work work, const QVector<QByteArray>& messages, int repeat)
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < repeat; ++i)
        sink = sink + work(messages);
    return timer.nsecsElapsed();
}

double median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0 : values.at(values.size() / 2);
}

struct Result
{
    double ratio;
    double oursNs;
    double qtNs;
};

Result compare(Work ours, Work qt, const QVector<QByteArray>& messages, int rounds)
{
    // About two milliseconds a side a round.
    int repeat = 1;
    while (timeOf(qt, messages, repeat) < 2000000 && repeat < (1 << 20))
        repeat *= 2;
    QVector<double> ratios, oursTimes, qtTimes;
    for (int round = 0; round < rounds; ++round) {
        qint64 a, b;
        if (round % 2 == 0) {
            a = timeOf(ours, messages, repeat);
            b = timeOf(qt, messages, repeat);
        } else {
            b = timeOf(qt, messages, repeat);
            a = timeOf(ours, messages, repeat);
        }
        ratios << double(a) / double(b);
        const double per = double(repeat) * messages.size();
        oursTimes << a / per;
        qtTimes << b / per;
    }
    return {median(ratios), median(oursTimes), median(qtTimes)};
}

void discardMessages(QtMsgType, const QMessageLogContext&, const QString&)
{
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString path = qEnvironmentVariable("NFCUI_NDEF_CORPUS", QStringLiteral(NFCUI_CORPUS_PATH));
    const int rounds = qEnvironmentVariableIntValue("NFCUI_BENCH_ROUNDS") > 0
        ? qEnvironmentVariableIntValue("NFCUI_BENCH_ROUNDS") : 31;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "bench_ndefparse: cannot read the corpus %s\n", qPrintable(path));
        return 1;
    }
    const QJsonArray entries = QJsonDocument::fromJson(file.readAll()).object().value(QStringLiteral("entries")).toArray();
    if (entries.isEmpty()) {
        std::fprintf(stderr, "bench_ndefparse: no entries in %s\n", qPrintable(path));
        return 1;
    }

    QMap<QString, QVector<QByteArray>> categories;
    for (const QJsonValue& value : entries) {
        const QJsonObject entry = value.toObject();
        const QByteArray bytes = QByteArray::fromHex(entry.value(QStringLiteral("hex")).toString().toLatin1());
        categories[categoryOf(entry)] << bytes;
        categories[QStringLiteral("all")] << bytes;
    }

    // QtNfc warns about every malformed message; neither side's time should include printing.
    qInstallMessageHandler(discardMessages);

    std::printf("NDEF parsing, this project / QtNfc %s, median of %d interleaved rounds\n", qVersion(), rounds);
    std::printf("%-18s %9s | %10s %10s %7s | %10s %10s %7s\n", "category", "messages", "parse ns", "QtNfc ns",
                "ratio", "read ns", "QtNfc ns", "ratio");
    double worst = 0;
    for (auto it = categories.constBegin(); it != categories.constEnd(); ++it) {
        const Result parse = compare(oursParse, qtParse, it.value(), rounds);
        const Result read = compare(oursRead, qtRead, it.value(), rounds);
        worst = std::max({worst, parse.ratio, read.ratio});
        std::printf("%-18s %9d | %10.0f %10.0f %6.2fx | %10.0f %10.0f %6.2fx\n", qPrintable(it.key()),
                    int(it.value().size()), parse.oursNs, parse.qtNs, parse.ratio, read.oursNs, read.qtNs, read.ratio);
    }
    std::printf("worst ratio: %.2fx (target: at most 0.80x)\n", worst);
    return 0;
}
