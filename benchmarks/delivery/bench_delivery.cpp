// The plugin in process, as the NFC daemon calls it: how long a tag delivery takes to put its dialog on
// screen and how long the answer to that dialog takes to come back to the caller as the reply, per kind
// of tag, against a bare QtDBus round trip on the same bus in the same run; and, in soak mode, what a
// long series of answered deliveries leaves behind (resident memory, descriptors, files).
//
// The daemon's core runs on a connection of its own to the private system bus; the built plugin is loaded
// through its entry points into a minimal dialog server in the same process and thread, so both ends read
// one clock. Each delivery is a DataDeliveryRequested call from the daemon's connection to the agent. The
// server answers each dialog on the next turn of the event loop (Cancel by default, OK with --accept).
// Before each delivery the daemon's connection makes one bare round trip (an empty method call to an
// object of the plugin's connection), so both series see the same load.
// While it waits for a reply the thread sleeps in the event loop, as a dialog server's does: a thread
// that polls would keep a CPU busy and hold QtDBus's connection thread up behind it.
//
// Run it on private buses and in a private home:
//   scripts/isolated build-bench/benchmarks/delivery/bench_delivery [--accept] [DELIVERIES PER KIND]
//   scripts/isolated build-bench/benchmarks/delivery/bench_delivery --soak [DELIVERIES]
// The soak counts the data files in /tmp that were not there before it: scripts/benchmark delivery-soak
// gives it a /tmp of its own (as root), so files other programs make there meanwhile are not counted.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QSet>
#include <QTemporaryDir>

#include <cstdio>
#include <malloc.h>
#include <vector>

#include "adapterobject.h"
#include "benchdialogserver.h"
#include "benchsupport.h"
#include "connectivitydialogplugininterface.h"
#include "inheriteddescriptors.h"
#include "managerobject.h"
#include "ndefmessagehandler.h"
#include "ndefwriter.h"
#include "nfcdaemon.h"
#include "nfcdnames.h"

namespace {

// The object the bare round trip calls. It notes when the call reaches it, so the round trip's second
// leg (the reply from the plugin's connection back to the caller) can be told apart.
class Echo : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvan.nfc.Bench")
public:
    const QElapsedTimer* clock = nullptr;
    qint64 calledAt = -1;
public Q_SLOTS:
    Q_SCRIPTABLE void Ping() { calledAt = clock->nsecsElapsed(); }
};

struct TagKind
{
    const char* name;
    QByteArray message;
};

std::vector<TagKind> tagKinds()
{
    const QByteArray vcard = "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Bench;Ada\r\nFN:Ada Bench\r\n"
                             "TEL;TYPE=CELL:+15555550100\r\nEMAIL:ada@example.com\r\nEND:VCARD\r\n";
    return {
        {"URI (http)", NdefWriter::message({NdefWriter::uri(QStringLiteral("http://example.com/"))})},
        {"Smart Poster", NdefWriter::message({NdefWriter::smartPoster(QStringLiteral("https://example.com/poster"),
                                                                      {{"en", QStringLiteral("Example poster")}})})},
        {"text", NdefWriter::message({NdefWriter::text("en", QStringLiteral("Hello from a tag"))})},
        {"contact card (text/vcard)", NdefWriter::message({NdefWriter::mime("text/vcard", vcard)})},
        {"MIME (image/png)", NdefWriter::message({NdefWriter::mime("image/png", QByteArray(512, '\x42'))})},
        {"tel:", NdefWriter::message({NdefWriter::uri(QStringLiteral("tel:+15555550100"))})},
        {"mailto:", NdefWriter::message({NdefWriter::uri(QStringLiteral("mailto:ada@example.com"))})},
        {"unsupported (external type)", NdefWriter::message({NdefWriter::external("example.com:bench", "x")})},
        {"empty record", NdefWriter::message({NdefWriter::raw(0, QByteArray(), QByteArray())})},
    };
}

int fail(const QString& message)
{
    std::fprintf(stderr, "bench_delivery: %s\n", qPrintable(message));
    return 1;
}

// Everything the run needs, set up once.
struct Harness
{
    QElapsedTimer clock;
    QDBusConnection daemonBus{QString()};
    BenchDialogServer* server = nullptr;
    Echo* echo = nullptr;
    int tagNumber = 0;

    // One delivery and its answer. Sets the times in ns on clock; false when no reply came.
    struct Result
    {
        qint64 start = -1, shown = -1, answered = -1, answerReturned = -1, replied = -1;
        QString reply; // error name, empty when granted
    };
    bool deliver(const QByteArray& tag, Result* result)
    {
        server->reset();
        bool replied = false;
        QDBusMessage call = QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                           QLatin1String(Nfcd::AgentPath),
                                                           QLatin1String(Nfcd::AgentInterface),
                                                           QStringLiteral("DataDeliveryRequested"));
        call << QVariant::fromValue(NdefMessageHandlerList())
             << QVariant::fromValue(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/tag%1").arg(++tagNumber)))
             << tag;
        result->start = clock.nsecsElapsed();
        auto* watcher = new QDBusPendingCallWatcher(daemonBus.asyncCall(call));
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [this, &replied, result, watcher] {
            result->replied = clock.nsecsElapsed();
            result->reply = watcher->error().name();
            replied = true;
            watcher->deleteLater();
        });
        if (!Bench::waitSleeping([&replied] { return replied; }, 20000))
            return false;
        result->shown = server->shownAt;
        result->answered = server->answeredAt;
        result->answerReturned = server->answerReturnedAt;
        // Let the dialog's deletion and the request's clean-up run before the next delivery.
        QCoreApplication::processEvents();
        return true;
    }

    // A bare round trip: its whole time, and the time from the call reaching the echo to the reply.
    bool ping(qint64* elapsed, qint64* replyLeg)
    {
        echo->calledAt = -1;
        QDBusMessage ping = QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                           QStringLiteral("/bench"),
                                                           QStringLiteral("com.orvan.nfc.Bench"),
                                                           QStringLiteral("Ping"));
        const qint64 start = clock.nsecsElapsed();
        bool answered = false;
        auto* watcher = new QDBusPendingCallWatcher(daemonBus.asyncCall(ping));
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [&answered, watcher] {
            answered = true;
            watcher->deleteLater();
        });
        if (!Bench::waitSleeping([&answered] { return answered; }, 10000))
            return false;
        const qint64 end = clock.nsecsElapsed();
        *elapsed = end - start;
        *replyLeg = end - echo->calledAt;
        return echo->calledAt >= 0;
    }
};

// The data files in /tmp. Other programs' files there can be many (tests of the same machine leave
// theirs), so the listing streams and keeps only names not in before: a whole list of names would be an
// allocation as large as /tmp's listing and show up in the resident memory measured after it.
// When counting is set only the count is kept, so what is measured next does not include the names.
QSet<QString> dataFilesInTmp(const QSet<QString>& before = QSet<QString>(), int* counting = nullptr)
{
    QSet<QString> files;
    QDirIterator it(QStringLiteral("/tmp"), {QStringLiteral("nfc-mime-tag-content-*")},
                    QDir::Files | QDir::Hidden | QDir::System);
    while (it.hasNext()) {
        const QString name = it.next();
        if (before.contains(name))
            continue;
        if (counting)
            ++*counting;
        else
            files.insert(name);
    }
    return files;
}

QSet<QString> filesUnder(const QString& path)
{
    QSet<QString> files;
    QDirIterator it(path, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.insert(it.next());
    return files;
}

QString reply(const QString& error)
{
    return error.isEmpty() ? QStringLiteral("granted") : error.section(QLatin1Char('.'), -1);
}

int latency(Harness& bench, int perKind, bool accept)
{
    const int warmUp = 50;
    std::vector<qint64> bare, bareReplyLeg;
    struct Series
    {
        std::vector<qint64> shown, answerToReply, answerSynchronous, deliveryToReply;
        QSet<QString> replies;
    };
    const std::vector<TagKind> kinds = tagKinds();
    std::vector<Series> series(kinds.size());
    // Rounds over the kinds, so a change of load during the run falls on every kind alike.
    for (int round = 0; round < perKind + warmUp; ++round) {
        for (size_t k = 0; k < kinds.size(); ++k) {
            qint64 roundTrip = 0, replyLeg = 0;
            if (!bench.ping(&roundTrip, &replyLeg))
                return fail(QStringLiteral("a bare round trip got no answer"));
            Harness::Result result;
            if (!bench.deliver(kinds[k].message, &result))
                return fail(QStringLiteral("a delivery of %1 got no reply").arg(QLatin1String(kinds[k].name)));
            if (round < warmUp)
                continue;
            bare.push_back(roundTrip);
            bareReplyLeg.push_back(replyLeg);
            Series& s = series[k];
            s.replies.insert(reply(result.reply));
            if (result.shown >= 0)
                s.shown.push_back(result.shown - result.start);
            if (result.answered >= 0 && result.replied >= result.answered) {
                s.answerToReply.push_back(result.replied - result.answered);
                s.answerSynchronous.push_back(result.answerReturned - result.answered);
            } else
                s.deliveryToReply.push_back(result.replied - result.start);
        }
    }

    const double bare50 = Bench::percentile(bare, 0.5), bare99 = Bench::percentile(bare, 0.99);
    std::printf("answer to every dialog: %s; %d deliveries per kind after %d rounds of warm-up\n",
                accept ? "OK" : "Cancel", perKind, warmUp);
    std::printf("bare QtDBus round trip: n=%zu  p50 %.1f us  p99 %.1f us\n", bare.size(), bare50, bare99);
    std::printf("  of which its reply leg (echo called -> reply at the caller): p50 %.1f us  p99 %.1f us "
                "(p99 x%.2f of the round trip's)\n\n",
                Bench::percentile(bareReplyLeg, 0.5), Bench::percentile(bareReplyLeg, 0.99),
                Bench::percentile(bareReplyLeg, 0.99) / bare99);
    std::printf("%-28s %-22s %-32s %-30s %-22s %s\n", "tag kind", "delivery -> showDialog", "answer -> reply",
                "of which in done()", "delivery -> reply", "reply");
    std::printf("%-28s %-22s %-32s %-30s %-22s %s\n", "", "p50 / p99 us", "p50 / p99 us (p99 / bare p99)",
                "p50 / p99 us (p99 / bare p99)", "(no answer awaited)", "");
    bool targetHolds = true, sentWithinTarget = true;
    double worst = 0, worstSent = 0;
    for (size_t k = 0; k < kinds.size(); ++k) {
        const Series& s = series[k];
        char shown[64] = "no dialog", answer[64] = "-", synchronous[64] = "-", direct[64] = "-";
        if (!s.shown.empty())
            std::snprintf(shown, sizeof shown, "%7.1f / %7.1f", Bench::percentile(s.shown, 0.5),
                          Bench::percentile(s.shown, 0.99));
        if (!s.answerToReply.empty()) {
            const double p99 = Bench::percentile(s.answerToReply, 0.99);
            std::snprintf(answer, sizeof answer, "%7.1f / %7.1f (x%.2f)%s", Bench::percentile(s.answerToReply, 0.5),
                          p99, p99 / bare99, s.answerToReply.size() < size_t(perKind) ? " some" : "");
            worst = std::max(worst, p99 / bare99);
            const double sent99 = Bench::percentile(s.answerSynchronous, 0.99);
            std::snprintf(synchronous, sizeof synchronous, "%7.1f / %7.1f (x%.2f)",
                          Bench::percentile(s.answerSynchronous, 0.5), sent99, sent99 / bare99);
            targetHolds = targetHolds && p99 <= bare99 / 2;
            worstSent = std::max(worstSent, sent99 / bare99);
            sentWithinTarget = sentWithinTarget && sent99 <= bare99 / 2;
        }
        if (!s.deliveryToReply.empty())
            std::snprintf(direct, sizeof direct, "%7.1f / %7.1f", Bench::percentile(s.deliveryToReply, 0.5),
                          Bench::percentile(s.deliveryToReply, 0.99));
        QStringList replies = s.replies.values();
        replies.sort();
        std::printf("%-28s %-22s %-32s %-30s %-22s %s\n", kinds[k].name, shown, answer, synchronous, direct,
                    qPrintable(replies.join(QLatin1Char(','))));
    }
    std::printf("\ntarget: answer -> reply p99 at most 0.5 x the bare round trip's p99, every kind: %s "
                "(worst x%.2f)\n",
                targetHolds ? "holds" : "DOES NOT HOLD", worst);
    // The reply at the caller includes its own trip through QtDBus's connection threads and the bus,
    // which the bare round trip's reply leg pays as well (printed above); the plugin's part ends when
    // done() returns, by which time the reply has been handed to QtDBus.
    std::printf("  the plugin's part (answer -> reply handed to QtDBus, done() returned): %s (worst x%.2f)\n",
                sentWithinTarget ? "holds" : "DOES NOT HOLD", worstSent);
    return 0;
}

int soak(Harness& bench, ConnectivityDialogPluginInterface* plugin, const QString& home, int deliveries, bool accept)
{
    const std::vector<TagKind> kinds = tagKinds();
    const int warmUp = 2000;
    const QSet<QString> tmpBefore = dataFilesInTmp();
    const QSet<QString> homeBefore = filesUnder(home);
    long rssWarm = -1;
    int fdsWarm = -1;
    int shown = 0;
    QElapsedTimer total;
    for (int i = 0; i < warmUp + deliveries; ++i) {
        if (i == warmUp) {
            // Settle what the warm-up left pending before the reference figures are taken.
            QCoreApplication::processEvents();
            rssWarm = Bench::residentKiB();
            fdsWarm = Bench::openDescriptors();
            total.start();
        }
        Harness::Result result;
        const TagKind& kind = kinds[size_t(i) % kinds.size()];
        if (!bench.deliver(kind.message, &result))
            return fail(QStringLiteral("delivery %1 (%2) got no reply").arg(i).arg(QLatin1String(kind.name)));
        if (i >= warmUp && result.shown >= 0)
            ++shown;
    }
    const double seconds = double(total.nsecsElapsed()) / 1e9;
    QCoreApplication::processEvents();
    const long rssEnd = Bench::residentKiB();
    const int fdsEnd = Bench::openDescriptors();
    int tmpPending = 0;
    dataFilesInTmp(tmpBefore, &tmpPending);
    // The data files of the last deliveries are kept 20 s after their handlers; once they are gone,
    // what remains is what the deliveries left behind.
    Bench::idle(21000);
    const long rssSettled = Bench::residentKiB();
    const int fdsSettled = Bench::openDescriptors();
    int tmpSettled = 0;
    dataFilesInTmp(tmpBefore, &tmpSettled);
    // What of the growth is heap the allocator keeps after it was freed (the peak of pending data files)
    // rather than memory still in use: the same figure after handing free heap back to the system.
    malloc_trim(0);
    const long rssTrimmed = Bench::residentKiB();

    plugin->destroy();
    Bench::idle(200); // deferred deletions and clean-up
    const int fdsDestroyed = Bench::openDescriptors();
    const QSet<QString> tmpLeft = dataFilesInTmp(tmpBefore);
    const QSet<QString> homeLeft = filesUnder(home) - homeBefore;

    std::printf("answer to every dialog: %s; %d deliveries cycling over %zu tag kinds after %d of warm-up, "
                "%.1f s (%.0f per second), %d dialogs shown\n",
                accept ? "OK" : "Cancel", deliveries, kinds.size(), warmUp, seconds, deliveries / seconds, shown);
    std::printf("resident memory (VmRSS): %ld KiB after warm-up, %ld KiB at the end: growth %ld KiB "
                "(target under 1024 KiB: %s)\n",
                rssWarm, rssEnd, rssEnd - rssWarm, rssEnd - rssWarm < 1024 ? "holds" : "DOES NOT HOLD");
    std::printf("  21 s later, once the last data files are due: %ld KiB (growth %ld KiB)\n", rssSettled,
                rssSettled - rssWarm);
    std::printf("  then with the allocator's free heap handed back (malloc_trim): %ld KiB (growth %ld KiB)\n",
                rssTrimmed, rssTrimmed - rssWarm);
    std::printf("open descriptors: %d after warm-up, %d at the end, %d 21 s later, %d after destroy()\n", fdsWarm,
                fdsEnd, fdsSettled, fdsDestroyed);
    std::printf("/tmp/nfc-mime-tag-content-*: %d pending at the end (removed 20 s after their handler), "
                "%d 21 s later, %d left after destroy()\n",
                tmpPending, tmpSettled, int(tmpLeft.size()));
    std::printf("files written in the private home during the run: %d\n", int(homeLeft.size()));
    int listed = 0;
    for (const QString& file : tmpLeft + homeLeft) {
        if (listed++ == 5)
            break;
        std::printf("  left: %s\n", qPrintable(file));
    }
    std::printf("target: no file left: %s\n", tmpLeft.isEmpty() && homeLeft.isEmpty() ? "holds" : "DOES NOT HOLD");
    return 0;
}

} // namespace

#include "bench_delivery.moc"

int main(int argc, char** argv)
{
    // As nfcui-host does: what the scripts that run the benchmark leave open is not passed on to the
    // programs confirmed tags start.
    Host::closeInheritedDescriptorsOnExec();
    if (qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"))
        return fail(QStringLiteral("run it on private buses: scripts/isolated bench_delivery [--soak] [N]"));
    bool soakMode = false, accept = false;
    int count = -1;
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg(argv[i]);
        if (arg == "--soak")
            soakMode = true;
        else if (arg == "--accept")
            accept = true;
        else if (arg.toInt() > 0)
            count = arg.toInt();
        else
            return fail(QStringLiteral("usage: bench_delivery [--soak] [--accept] [N]"));
    }
    if (count < 0)
        count = soakMode ? 100000 : 1000;

    QTemporaryDir home;
    QString error;
    // The warnings of tags nothing handles would fill the output: they are switched off with the debug lines.
    if (!Bench::setUpPrivateHome(home, true, &error))
        return fail(error);
    QCoreApplication app(argc, argv);

    Harness bench;
    bench.clock.start();
    bench.daemonBus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("bench-daemon"));
    if (!bench.daemonBus.isConnected())
        return fail(QStringLiteral("no system bus"));
    NfcDaemon daemon(bench.daemonBus, true, 120000);
    auto* manager = new ManagerObject(&daemon);
    auto* adapter = new AdapterObject(&daemon);
    if (!manager->exportOn(bench.daemonBus) || !adapter->exportOn(bench.daemonBus))
        return fail(QStringLiteral("cannot export the daemon's objects"));

    BenchDialogServer server(&bench.clock, accept ? 0x400 /* Ok */ : 0x400000 /* Cancel */);
    bench.server = &server;
    ConnectivityDialogPluginInterface* plugin = Bench::loadDialogPlugin(QStringLiteral(NFCUI_PLUGIN_FILE), &error);
    if (!plugin)
        return fail(error);
    // The plugin starts first and finds the daemon when it takes its name: the adapter's start-up
    // questions are asynchronous then, and one thread can serve both ends.
    plugin->initialize(&server);
    if (!bench.daemonBus.registerService(QLatin1String(Nfcd::ServiceName)))
        return fail(QStringLiteral("cannot own com.orvan.nfc"));
    if (!Bench::waitSleeping([&daemon] { return daemon.hasAgent(); }, 10000))
        return fail(QStringLiteral("the plugin registered no agent"));

    Echo echo;
    echo.clock = &bench.clock;
    bench.echo = &echo;
    QDBusConnection::systemBus().registerObject(QStringLiteral("/bench"), &echo,
                                                QDBusConnection::ExportScriptableSlots);

    if (soakMode)
        return soak(bench, plugin, home.path(), count, accept);
    const int status = latency(bench, count, accept);
    plugin->destroy();
    return status;
}
