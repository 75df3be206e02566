// The latency of a tag delivery over the NFC daemon link, against a bare QtDBus round trip on the same
// bus in the same run.
//
// The daemon's core (NfcDaemon with its manager and adapter objects) runs on a connection of its own to
// the private system bus; the built plugin is loaded through its two entry points into a minimal dialog
// server in the same process and thread, so both ends read one clock. For each touch of a URI tag the delivery time
// runs from the daemon's DataDeliveryRequested call to the server's showDialog of the permission dialog;
// the dialog is then declined and the next touch waits for the daemon to get the rejection. The bare
// round trip is an empty method call from the daemon's connection to an object of the plugin's
// connection and its reply.
//
// Run it on private buses: scripts/with-private-buses build/benchmarks/nfcd/bench_agentdelivery [touches]
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>

#include <cstdio>
#include <vector>

#include "adapterobject.h"
#include "benchdialogserver.h"
#include "benchsupport.h"
#include "connectivitydialogplugininterface.h"
#include "managerobject.h"
#include "ndefmessagehandler.h"
#include "ndefwriter.h"
#include "nfcdaemon.h"
#include "nfcdnames.h"

namespace {

// The object the bare round trip calls.
class Echo : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvan.nfc.Bench")
public Q_SLOTS:
    Q_SCRIPTABLE void Ping() {}
};

int fail(const char* message)
{
    std::fprintf(stderr, "bench_agentdelivery: %s\n", message);
    return 1;
}

} // namespace

#include "bench_agentdelivery.moc"

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("NFCUI_PRIVATE_BUSES"))
        return fail("run it on private buses: scripts/with-private-buses bench_agentdelivery [touches]");
    // A web browser for the URI, in XDG directories of the benchmark's own.
    QTemporaryDir home;
    QString error;
    if (!Bench::setUpPrivateHome(home, false, &error))
        return fail(qPrintable(error));
    QCoreApplication app(argc, argv);
    const int touches = argc > 1 ? QByteArray(argv[1]).toInt() : 2000;
    const int roundTrips = std::max(touches, 2000);
    const int warmUp = 50;

    // The daemon's side, on its own connection.
    QDBusConnection daemonBus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("bench-daemon"));
    if (!daemonBus.isConnected())
        return fail("no system bus");
    NfcDaemon daemon(daemonBus, true, 120000);
    auto* manager = new ManagerObject(&daemon);
    auto* adapter = new AdapterObject(&daemon);
    if (!manager->exportOn(daemonBus) || !adapter->exportOn(daemonBus))
        return fail("cannot export the daemon's objects");

    // The plugin, as a dialog server loads it.
    QElapsedTimer clock;
    clock.start();
    BenchDialogServer server(&clock, 0x400000); // Cancel
    ConnectivityDialogPluginInterface* plugin = Bench::loadDialogPlugin(QStringLiteral(NFCUI_PLUGIN_FILE), &error);
    if (!plugin)
        return fail(qPrintable(error));
    // The plugin starts first and finds the daemon when it takes its name: the adapter's start-up
    // questions are asynchronous then, and one thread can serve both ends.
    plugin->initialize(&server);
    if (!daemonBus.registerService(QLatin1String(Nfcd::ServiceName)))
        return fail("cannot own com.orvan.nfc");
    if (!Bench::waitSleeping([&daemon] { return daemon.hasAgent(); }, 10000))
        return fail("the plugin registered no agent");

    // Bare round trips: the daemon's connection calls an empty method on the plugin's connection.
    Echo echo;
    QDBusConnection::systemBus().registerObject(QStringLiteral("/bench"), &echo, QDBusConnection::ExportScriptableSlots);
    std::vector<qint64> bare;
    for (int i = 0; i < roundTrips + warmUp; ++i) {
        QDBusMessage ping = QDBusMessage::createMethodCall(QDBusConnection::systemBus().baseService(),
                                                           QStringLiteral("/bench"), QStringLiteral("com.orvan.nfc.Bench"),
                                                           QStringLiteral("Ping"));
        const qint64 start = clock.nsecsElapsed();
        QDBusPendingCall call = daemonBus.asyncCall(ping);
        bool answered = false;
        auto* watcher = new QDBusPendingCallWatcher(call);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [&answered, watcher] {
            answered = true;
            watcher->deleteLater();
        });
        if (!Bench::waitSleeping([&answered] { return answered; }, 10000))
            return fail("a bare round trip got no answer");
        if (i >= warmUp)
            bare.push_back(clock.nsecsElapsed() - start);
    }

    // Deliveries, twice: as the daemon makes them for a touch (NotifyTouch, then DataDeliveryRequested),
    // and DataDeliveryRequested alone, which leaves out the UI's touch feedback.
    const QByteArray uriTag = NdefWriter::message({NdefWriter::uri(QStringLiteral("http://example.com/"))});
    std::vector<qint64> touchDelivery;
    std::vector<qint64> bareDelivery;
    double touchesPerSecond = 0;
    for (const bool withTouch : {true, false}) {
        std::vector<qint64>& samples = withTouch ? touchDelivery : bareDelivery;
        QElapsedTimer total;
        for (int i = 0; i < touches + warmUp; ++i) {
            if (i == warmUp)
                total.start();
            bool answered = false;
            QString error;
            server.reset();
            const qint64 start = clock.nsecsElapsed();
            if (withTouch) {
                daemon.touchTag(uriTag, [&answered, &error](const QDBusError& e, const QDBusObjectPath&) {
                    answered = true;
                    error = e.name();
                });
            } else {
                QDBusMessage call = QDBusMessage::createMethodCall(
                    QDBusConnection::systemBus().baseService(), QLatin1String(Nfcd::AgentPath),
                    QLatin1String(Nfcd::AgentInterface), QStringLiteral("DataDeliveryRequested"));
                call << QVariant::fromValue(NdefMessageHandlerList())
                     << QVariant::fromValue(QDBusObjectPath(QStringLiteral("/com/orvan/nfc/adapter0/bench%1").arg(i)))
                     << uriTag;
                auto* watcher = new QDBusPendingCallWatcher(daemonBus.asyncCall(call));
                QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [&answered, &error, watcher] {
                    answered = true;
                    error = watcher->error().name();
                    watcher->deleteLater();
                });
            }
            if (!Bench::waitSleeping([&answered] { return answered; }, 20000))
                return fail("a delivery got no answer");
            if (error != QLatin1String(Nfcd::AgentErrorRejected) || server.shownAt < 0) {
                std::fprintf(stderr, "bench_agentdelivery: touch %d answered %s, dialog shown %s\n", i,
                             qPrintable(error.isEmpty() ? QStringLiteral("granted") : error),
                             server.shownAt < 0 ? "no" : "yes");
                return 1;
            }
            if (i >= warmUp)
                samples.push_back(server.shownAt - start);
        }
        if (withTouch)
            touchesPerSecond = double(touches) / (double(total.nsecsElapsed()) / 1e9);
    }

    plugin->destroy();
    const double bare50 = Bench::percentile(bare, 0.5), bare99 = Bench::percentile(bare, 0.99);
    const double touch50 = Bench::percentile(touchDelivery, 0.5), touch99 = Bench::percentile(touchDelivery, 0.99);
    const double del50 = Bench::percentile(bareDelivery, 0.5), del99 = Bench::percentile(bareDelivery, 0.99);
    std::printf("bare QtDBus round trip                      n=%zu  p50 %8.1f us  p99 %8.1f us\n", bare.size(),
                bare50, bare99);
    std::printf("touch: DataDeliveryRequested -> showDialog  n=%zu  p50 %8.1f us  p99 %8.1f us  "
                "(p50 x%.2f, p99 x%.2f)\n",
                touchDelivery.size(), touch50, touch99, touch50 / bare50, touch99 / bare99);
    std::printf("DataDeliveryRequested alone -> showDialog   n=%zu  p50 %8.1f us  p99 %8.1f us  "
                "(p50 x%.2f, p99 x%.2f)\n",
                bareDelivery.size(), del50, del99, del50 / bare50, del99 / bare99);
    std::printf("target: p99 of the delivery within 3 times the p99 of the bare round trip\n");
    std::printf("touches per second (touch to the rejection back at the daemon): %.0f\n", touchesPerSecond);
    return 0;
}
