// The record handler's content-action lookup against a bare GIO lookup of the same entries.
//
// 500 desktop entries are installed in a temporary XDG data directory (20 of them handle http URIs,
// the others types of their own) and indexed with update-desktop-database. Then, interleaved:
// - cold: a new process per sample makes its first lookup: either one bare
//   g_app_info_get_all_for_type("x-scheme-handler/http"), or a record handler built for an http URI
//   record (which classifies the record and looks up its content actions);
// - warm: in one process, the same two repeated.
// Each figure is the median of its samples; the ratios are taken in this run.
#define QT_NO_KEYWORDS
#include <gio/gio.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "ndefmessage.h"
#include "ndefrecordhandler.h"
#include "ndefwriter.h"

namespace {

const int entryCount = 500;
const int httpHandlers = 20;
const char httpType[] = "x-scheme-handler/http";
const char httpUri[] = "http://example.com/page";

qint64 median(std::vector<qint64> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

bool installEntries(const QString& dataHome)
{
    const QString applications = dataHome + QStringLiteral("/applications");
    QDir().mkpath(applications);
    for (int i = 0; i < entryCount; ++i) {
        QFile file(applications + QStringLiteral("/bench%1.desktop").arg(i, 3, 10, QLatin1Char('0')));
        if (!file.open(QIODevice::WriteOnly))
            return false;
        const QByteArray type =
            i < httpHandlers ? QByteArray(httpType) : "application/x-bench-" + QByteArray::number(i);
        file.write("[Desktop Entry]\nType=Application\nName=Bench " + QByteArray::number(i) + "\nExec=/bin/true %U\n"
                   "Comment=An application installed for the benchmark\nIcon=bench\nCategories=Utility;\n"
                   "MimeType=" + type + ";\n");
    }
    return QProcess::execute(QStringLiteral("update-desktop-database"), {applications}) == 0;
}

// One lookup, timed, in this (fresh) process.
qint64 lookupOnce(const QByteArray& mode)
{
    QElapsedTimer timer;
    if (mode == "bare") {
        timer.start();
        GList* apps = g_app_info_get_all_for_type(httpType);
        const qint64 elapsed = timer.nsecsElapsed();
        if (g_list_length(apps) != guint(httpHandlers))
            return -1;
        g_list_free_full(apps, g_object_unref);
        return elapsed;
    }
    const QByteArray data = NdefWriter::message({NdefWriter::uri(QString::fromLatin1(httpUri))});
    std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(data));
    timer.start();
    ConnUi::NdefRecordHandler handler(message->getRecords().first());
    const qint64 elapsed = timer.nsecsElapsed();
    return handler.actions().size() == httpHandlers ? elapsed : -1;
}

} // namespace

int main(int argc, char** argv)
{
    // Child: one cold lookup, its time on stdout.
    if (argc == 3 && qstrcmp(argv[1], "--cold") == 0) {
        QCoreApplication app(argc, argv);
        std::printf("%lld\n", lookupOnce(argv[2]));
        return 0;
    }

    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? QByteArray(argv[1]).toInt() : 41;
    QTemporaryDir root;
    const QString dataHome = root.filePath(QStringLiteral("data"));
    if (!installEntries(dataHome)) {
        std::fprintf(stderr, "bench_contentaction: cannot install the entries (update-desktop-database from "
                             "desktop-file-utils is needed)\n");
        return 1;
    }
    // Only the benchmark's entries: no others from the system, no configured defaults.
    qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(root.filePath(QStringLiteral("none"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(root.filePath(QStringLiteral("config"))));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(root.filePath(QStringLiteral("none"))));
    qputenv("XDG_CURRENT_DESKTOP", "");

    std::vector<qint64> coldBare, coldOurs;
    for (int round = 0; round < rounds; ++round) {
        for (const char* mode : {"bare", "ours"}) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--cold"), QString::fromLatin1(mode)});
            if (!child.waitForFinished(30000) || child.exitCode() != 0) {
                std::fprintf(stderr, "bench_contentaction: the cold lookup process failed\n");
                return 1;
            }
            const qint64 ns = child.readAllStandardOutput().trimmed().toLongLong();
            if (ns < 0) {
                std::fprintf(stderr, "bench_contentaction: the %s lookup found the wrong handlers\n", mode);
                return 1;
            }
            (qstrcmp(mode, "bare") == 0 ? coldBare : coldOurs).push_back(ns);
        }
    }

    // Warm: the same lookups repeated in this process, interleaved in batches.
    const QByteArray data = NdefWriter::message({NdefWriter::uri(QString::fromLatin1(httpUri))});
    std::unique_ptr<NDEFMessage> message(NDEFMessage::createFromData(data));
    std::vector<qint64> warmBare, warmOurs;
    const int batch = 20;
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < batch; ++i) {
            GList* apps = g_app_info_get_all_for_type(httpType);
            g_list_free_full(apps, g_object_unref);
        }
        warmBare.push_back(timer.nsecsElapsed() / batch);
        timer.start();
        for (int i = 0; i < batch; ++i) {
            ConnUi::NdefRecordHandler handler(message->getRecords().first());
        }
        warmOurs.push_back(timer.nsecsElapsed() / batch);
    }

    const qint64 cb = median(coldBare), co = median(coldOurs), wb = median(warmBare), wo = median(warmOurs);
    std::printf("Record handler content actions vs bare g_app_info_get_all_for_type, %d entries (%d handle http),\n"
                "median of %d interleaved rounds\n", entryCount, httpHandlers, rounds);
    std::printf("%-6s %14s %14s %8s\n", "", "handler us", "bare GIO us", "ratio");
    std::printf("%-6s %14.1f %14.1f %7.2fx\n", "cold", co / 1e3, cb / 1e3, double(co) / double(cb));
    std::printf("%-6s %14.1f %14.1f %7.2fx\n", "warm", wo / 1e3, wb / 1e3, double(wo) / double(wb));
    std::printf("cold target: at most 1.00x\n");
    return 0;
}
