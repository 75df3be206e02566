// nfcui-host: the connectivity dialog server. It loads the dialog plugins, gives them its server and
// presents their dialogs: in windows, through automatic answers, through the automation interface on
// the session bus, and as screenshots.
#include <QApplication>
#include <QCommandLineParser>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QSocketNotifier>
#include <QRegularExpression>
#include <QTranslator>

#include <csignal>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

#include "answerpresenter.h"
#include "automation.h"
#include "dialogserver.h"
#include "hostlogging.h"
#include "inheriteddescriptors.h"
#include "pluginloader.h"
#include "widgetpresenter.h"

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const char byte = static_cast<char>(signalNumber);
    if (::write(signalPipe[1], &byte, 1) < 0) {
        // Nothing can be done about it inside a signal handler.
    }
}

// SIGINT and SIGTERM end the event loop, so that the plugins are destroyed like on any other exit.
void quitOnSignals(QCoreApplication* app)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, app);
    QObject::connect(notifier, &QSocketNotifier::activated, app, [notifier]() {
        char byte = 0;
        if (::read(signalPipe[0], &byte, 1) == 1)
            qCInfo(lcHost) << "Signal" << int(byte) << "received, quitting";
        notifier->setEnabled(false);
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

// Where plugins are looked for without --plugin or --plugin-dir: $NFCUI_PLUGIN_DIR, the build tree's
// lib/ when the host runs from a build tree, the installed plugin folder next to the program, or the
// folder of the configured installation.
QString defaultPluginDirectory()
{
    const QString environment = qEnvironmentVariable("NFCUI_PLUGIN_DIR");
    if (!environment.isEmpty())
        return environment;
    const QString programDir = QCoreApplication::applicationDirPath();
    const QString buildTree = programDir + QStringLiteral("/../lib");
    if (QFileInfo::exists(buildTree + QStringLiteral("/libnfcagentdialogplugin.so")))
        return QDir::cleanPath(buildTree);
    const QString installed = programDir + QStringLiteral("/" NFCUI_PLUGIN_DIR_FROM_BIN);
    if (QFileInfo::exists(installed))
        return QDir::cleanPath(installed);
    return QStringLiteral(NFCUI_PLUGIN_DIR);
}

// The catalogues: next to the build tree's programs, or installed.
QString translationsDirectory()
{
    const QString environment = qEnvironmentVariable("NFCUI_TRANSLATIONS_DIR");
    if (!environment.isEmpty())
        return environment;
    const QString buildTree = QCoreApplication::applicationDirPath() + QStringLiteral("/../data");
    if (QFileInfo::exists(buildTree + QStringLiteral("/nfcui-host_en.qm")))
        return QDir::cleanPath(buildTree);
    const QString installed = QCoreApplication::applicationDirPath() + QStringLiteral("/" NFCUI_TRANSLATIONS_DIR_FROM_BIN);
    if (QFileInfo::exists(installed))
        return QDir::cleanPath(installed);
    return QStringLiteral(NFCUI_TRANSLATIONS_DIR);
}

// The English catalogues give every logical id its text; the locale's language, when there is a
// catalogue for it, goes on top. The plugins' texts ("nfc-ui") and the host's own are loaded alike.
void installTranslations(QCoreApplication* app)
{
    const QString directory = translationsDirectory();
    const QLocale locale;
    for (const char* catalogue : {"nfc-ui", "nfcui-host"}) {
        auto* english = new QTranslator(app);
        if (english->load(QLatin1String(catalogue) + QStringLiteral("_en"), directory))
            QCoreApplication::installTranslator(english);
        else
            qCWarning(lcHost).noquote() << "No English catalogue" << catalogue << "in" << directory;
        if (locale.language() == QLocale::English || locale.language() == QLocale::C)
            continue;
        auto* local = new QTranslator(app);
        if (local->load(locale, QLatin1String(catalogue), QStringLiteral("_"), directory))
            QCoreApplication::installTranslator(local);
    }
}

// A screen the windows can go to. The offscreen and minimal platforms draw (for screenshots) but show
// nothing; a platform name may carry options after a colon.
bool isOffscreen()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM").split(':').first();
    return platform == "offscreen" || platform == "minimal";
}

bool hasDisplay()
{
    if (isOffscreen())
        return false;
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
           || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

void fail(const QString& message)
{
    fprintf(stderr, "nfcui-host: %s\n", qPrintable(message));
}

} // namespace

// What the plugins sent on their way out (the agent cancels the calls it still holds when it is
// unregistered) sits in the connections' outgoing queues. A round trip to each bus daemon writes the
// queue out before the process ends, so the NFC daemon gets those answers instead of NoReply.
static void flushBuses()
{
    const QDBusMessage ping = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    for (QDBusConnection bus : { QDBusConnection::systemBus(), QDBusConnection::sessionBus() }) {
        if (bus.isConnected())
            bus.call(ping, QDBus::Block, 2000);
    }
}

int main(int argc, char** argv)
{
    Host::closeInheritedDescriptorsOnExec();
    QCoreApplication::setApplicationName(QStringLiteral("nfcui-host"));
    QCoreApplication::setApplicationVersion(QStringLiteral("0.1"));

    // Whether there will be windows decides the kind of application, so the options are read first.
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const bool wantsScreenshots = arguments.contains(QStringLiteral("--screenshots"))
        || !arguments.filter(QRegularExpression(QStringLiteral("^--screenshots="))).isEmpty();
    const bool display = hasDisplay();
    if (!display && wantsScreenshots)
        qputenv("QT_QPA_PLATFORM", "minimal:enable_fonts"); // screenshots render without a display
    // Qt reads options of its own from the command line (QGuiApplication takes "-plugin"), so it gets
    // only the program name; the host's options are parsed from the list above.
    static int qtArgc = 1;
    static char* qtArgv[] = {argv[0], nullptr};
    std::unique_ptr<QCoreApplication> application;
    if (display || wantsScreenshots || isOffscreen())
        application = std::make_unique<QApplication>(qtArgc, qtArgv);
    else
        application = std::make_unique<QCoreApplication>(qtArgc, qtArgv);
    QCoreApplication& app = *application;
    installTranslations(&app);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The connectivity dialog server: loads dialog plugins and "
                                                    "presents their dialogs."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption pluginOption(QStringLiteral("plugin"),
                                          QStringLiteral("Load this plugin library (may be repeated)."),
                                          QStringLiteral("FILE"));
    const QCommandLineOption pluginDirOption(QStringLiteral("plugin-dir"),
                                             QStringLiteral("Load every plugin library in this directory."),
                                             QStringLiteral("DIR"));
    const QCommandLineOption automationOption(QStringLiteral("automation"),
                                              QStringLiteral("Export the automation interface on the session "
                                                             "bus as com.orvan.DialogServer."));
    const QCommandLineOption answerOption(QStringLiteral("answer"),
                                          QStringLiteral("Answer every dialog at once: ok, cancel or none."),
                                          QStringLiteral("ok|cancel|none"), QStringLiteral("none"));
    const QCommandLineOption screenshotsOption(QStringLiteral("screenshots"),
                                               QStringLiteral("Save a PNG of every dialog as it appears."),
                                               QStringLiteral("DIR"));
    parser.addOptions({pluginOption, pluginDirOption, automationOption, answerOption, screenshotsOption});
    parser.process(arguments);

    Host::AnswerPresenter::Answer answer = Host::AnswerPresenter::None;
    if (!Host::AnswerPresenter::parse(parser.value(answerOption), &answer)) {
        fail(QStringLiteral("--answer takes ok, cancel or none, not \"%1\"").arg(parser.value(answerOption)));
        return 2;
    }
    if (parser.isSet(pluginOption) && parser.isSet(pluginDirOption)) {
        fail(QStringLiteral("give either --plugin or --plugin-dir"));
        return 2;
    }

    quitOnSignals(&app);

    auto server = std::make_unique<Host::DialogServer>();
    Host::AnswerPresenter answerPresenter(answer);
    std::unique_ptr<Host::WidgetPresenter> widgetPresenter;
    if (qobject_cast<QApplication*>(&app)) {
        widgetPresenter = std::make_unique<Host::WidgetPresenter>(display);
        if (parser.isSet(screenshotsOption))
            widgetPresenter->setScreenshotDirectory(parser.value(screenshotsOption));
        server->addPresenter(widgetPresenter.get());
    } else {
        qCInfo(lcHost) << "No display: dialogs are answered only through --answer and --automation";
    }
    // Windows and screenshots first, so that a screenshot shows the dialog before it is answered.
    server->addPresenter(&answerPresenter);

    std::unique_ptr<Host::Automation> automation;
    if (parser.isSet(automationOption)) {
        automation = std::make_unique<Host::Automation>(server.get());
        QString error;
        if (!automation->exportOn(QDBusConnection::sessionBus(), &error)) {
            fail(error);
            return 3;
        }
    }

    Host::PluginLoader loader(server.get());
    if (parser.isSet(pluginOption)) {
        for (const QString& file : parser.values(pluginOption))
            loader.load(file);
    } else {
        const QString directory =
            parser.isSet(pluginDirOption) ? parser.value(pluginDirOption) : defaultPluginDirectory();
        if (loader.loadDirectory(directory) == 0 && loader.failures().isEmpty())
            fail(QStringLiteral("no plugin library (*.so) in %1").arg(QDir(directory).absolutePath()));
    }
    if (loader.loadedFiles().isEmpty()) {
        fail(QStringLiteral("no plugin could be loaded"));
        return 1;
    }

    // The session bus going away (the session ended, its bus daemon died) ends the host too: nothing
    // could reach its dialogs any more, and it would otherwise run on without a session. A host that
    // started without a session bus (only the automation interface needs one) has none to lose.
    const bool hadSessionBus = QDBusConnection::sessionBus().isConnected();
    if (hadSessionBus) {
        QDBusConnection::sessionBus().connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                                              QStringLiteral("org.freedesktop.DBus.Local"),
                                              QStringLiteral("Disconnected"), &app, SLOT(quit()));
    }
    const auto sessionBusLost = [hadSessionBus] {
        return hadSessionBus && !QDBusConnection::sessionBus().isConnected();
    };

    fprintf(stderr, "nfcui-host: ready with %d plugin(s)\n", int(loader.loadedFiles().size()));
    // A bus lost while the plugins loaded, before the watch above was made, sends no signal any more.
    int status = sessionBusLost() ? 1 : app.exec();
    if (sessionBusLost()) {
        fail(QStringLiteral("lost the session bus; quitting"));
        status = 1;
    }

    // Plugins first, so that their requests end before the dialogs they showed are deleted.
    loader.destroyAll();
    flushBuses();
    server->removePresenter(&answerPresenter);
    if (widgetPresenter)
        server->removePresenter(widgetPresenter.get());
    widgetPresenter.reset();
    automation.reset();
    server.reset();
    return status;
}
