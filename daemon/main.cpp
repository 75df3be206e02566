// nfcui-daemon: the NFC daemon side of the UI agent link. Owns com.orvan.nfc on the system bus (the bus
// DBUS_SYSTEM_BUS_ADDRESS names, so tests and the demo run it on a private bus as a normal user), serves
// the manager and one adapter, and turns what its tag sources find into calls to the UI agent.
#include "adapterobject.h"
#include "daemonlogging.h"
#include "managerobject.h"
#include "nfcdaemon.h"
#include "nfcdnames.h"
#include "pcsctagsource.h"
#include "simulatortagsource.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2];

void onSignal(int)
{
    const char byte = 1;
    (void)::write(signalPipe[1], &byte, 1);
}

// The PC/SC reader source: it returns the source, or null with the reason in *error. The source waits
// for pcscd by itself when pcscd is not running yet.
TagSource* createPcscTagSource(NfcDaemon* daemon, QString* error)
{
    Q_UNUSED(error);
    return new PcscTagSource(daemon);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nfcui-daemon"));
    if (qEnvironmentVariableIsEmpty("QT_MESSAGE_PATTERN"))
        qSetMessagePattern(QStringLiteral("nfcui-daemon: %{if-warning}warning: %{endif}%{message}"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "The NFC daemon: owns com.orvan.nfc on the system bus and calls the registered UI agent for every "
        "tag or device touched."));
    parser.addHelpOption();
    const QCommandLineOption simulator(QStringLiteral("simulator"),
                                       QStringLiteral("Export the simulator interface (com.orvan.nfc.Simulator)."));
    const QCommandLineOption pcsc(
        QStringLiteral("pcsc"),
        QStringLiteral("Read tags from PC/SC readers (also the default when no source is named and pcscd answers)."));
    const QCommandLineOption noConfirmation(QStringLiteral("no-confirmation"),
                                            QStringLiteral("Start with ConfirmationEnabled false."));
    const QCommandLineOption replyTimeout(QStringLiteral("reply-timeout"),
                                          QStringLiteral("Seconds to wait for the agent's answer (default 120)."),
                                          QStringLiteral("seconds"), QStringLiteral("120"));
    parser.addOptions({simulator, pcsc, noConfirmation, replyTimeout});
    if (!parser.parse(app.arguments())) {
        std::fprintf(stderr, "nfcui-daemon: %s\nTry nfcui-daemon --help\n", qPrintable(parser.errorText()));
        return 64;
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);
    if (!parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "nfcui-daemon: unexpected argument \"%s\"\nTry nfcui-daemon --help\n",
                     qPrintable(parser.positionalArguments().first()));
        return 64;
    }
    bool ok = false;
    const double timeoutSeconds = parser.value(replyTimeout).toDouble(&ok);
    if (!ok || timeoutSeconds <= 0 || timeoutSeconds > 24 * 3600) {
        std::fprintf(stderr, "nfcui-daemon: --reply-timeout takes a number of seconds above 0, not \"%s\"\n",
                     qPrintable(parser.value(replyTimeout)));
        return 64;
    }

    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        std::fprintf(stderr, "nfcui-daemon: cannot connect to the system bus: %s\n",
                     qPrintable(bus.lastError().message()));
        return 1;
    }

    auto daemon = std::make_unique<NfcDaemon>(bus, !parser.isSet(noConfirmation), int(timeoutSeconds * 1000));
    auto* manager = new ManagerObject(daemon.get());
    auto* adapter = new AdapterObject(daemon.get());
    if (!manager->exportOn(bus) || !adapter->exportOn(bus)) {
        std::fprintf(stderr, "nfcui-daemon: cannot export the manager and adapter objects\n");
        return 1;
    }

    std::vector<TagSource*> sources;
    if (parser.isSet(simulator))
        sources.push_back(new SimulatorTagSource(daemon.get(), bus));
    // Without a source named, PC/SC readers are read when pcscd answers.
    const bool pcscByDefault =
        !parser.isSet(simulator) && !parser.isSet(pcsc) && PcscTagSource::serviceReachable();
    if (parser.isSet(pcsc) || pcscByDefault) {
        QString error;
        TagSource* source = createPcscTagSource(daemon.get(), &error);
        if (!source) {
            std::fprintf(stderr, "nfcui-daemon: --pcsc: %s\n", qPrintable(error));
            return 1;
        }
        sources.push_back(source);
    }
    for (TagSource* source : sources) {
        QObject::connect(source, &TagSource::tagRead, daemon.get(), &NfcDaemon::tagRead);
        QObject::connect(source, &TagSource::tagUnreadable, daemon.get(), &NfcDaemon::tagUnreadable);
        if (!source->start()) {
            std::fprintf(stderr, "nfcui-daemon: a tag source cannot start\n");
            return 1;
        }
    }

    // The name last: a client that sees it finds every object in place.
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> owned = bus.interface()->registerService(
        QLatin1String(Nfcd::ServiceName), QDBusConnectionInterface::DontQueueService,
        QDBusConnectionInterface::DontAllowReplacement);
    if (!owned.isValid() || owned.value() != QDBusConnectionInterface::ServiceRegistered) {
        std::fprintf(stderr, "nfcui-daemon: cannot own %s on the system bus: %s\n", Nfcd::ServiceName,
                     owned.isValid() ? "another process owns it" : qPrintable(owned.error().message()));
        return 1;
    }
    qCInfo(lcDaemon, "owns %s; adapter %s; ConfirmationEnabled %s%s", Nfcd::ServiceName,
           qPrintable(daemon->adapterPath().path()), daemon->isConfirmationEnabled() ? "true" : "false",
           parser.isSet(simulator) ? "; simulator on" : "");

    // SIGTERM and SIGINT end the event loop, so that the name is given back cleanly.
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) == 0) {
        auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &app, [] {
            char byte;
            (void)::read(signalPipe[0], &byte, 1);
            qCInfo(lcDaemon, "stopping");
            QCoreApplication::quit();
        });
        std::signal(SIGTERM, onSignal);
        std::signal(SIGINT, onSignal);
    }
    // The system bus going away ends the daemon: no client could reach it any more.
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"), QStringLiteral("org.freedesktop.DBus.Local"),
                QStringLiteral("Disconnected"), &app, SLOT(quit()));
    // A bus lost before the watch above was made sends no signal any more.
    const int status = bus.isConnected() ? app.exec() : 1;
    if (!bus.isConnected()) {
        std::fprintf(stderr, "nfcui-daemon: lost the system bus; quitting\n");
        return 1;
    }
    return status;
}
