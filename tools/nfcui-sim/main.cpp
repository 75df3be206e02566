// nfcui-sim: the command line of nfcui-daemon's simulator. Touches tags and devices, asks for sharing,
// and prints what the UI agent answered.
#include "simcommand.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

namespace {

const char generalHelp[] =
    "Usage: nfcui-sim [--json] [--timeout SECONDS] COMMAND [OPTIONS]\n"
    "\n"
    "Drives nfcui-daemon's simulator (started with --simulator) on the system bus and prints the UI\n"
    "agent's answer.\n"
    "\n"
    "Commands:\n"
    "  touch (--hex HEX | --file FILE | --uri URI | --text TEXT [--lang LANG] | --vcard FILE\n"
    "         | --mime TYPE FILE) [--handler APPID[:foreground]]...\n"
    "        Touch a tag holding an NDEF message.\n"
    "  touch --unreadable\n"
    "        Touch a tag that cannot be read.\n"
    "  pair ADDRESS NAME [--cod N] [--pin PIN]\n"
    "  connect ADDRESS NAME [--cod N]\n"
    "  disconnect ADDRESS NAME [--cod N]\n"
    "        Ask for pairing with, connection to or disconnection from a Bluetooth device.\n"
    "  share-permission [--carrier NAME] [--info TEXT] RESOURCE...\n"
    "  share-selection [--carrier NAME] [--info TEXT]\n"
    "        Ask for permission to share resources, or for a selection of what to share.\n"
    "  script FILE|-\n"
    "        Run the commands of a file (or standard input), one per line; '#' starts a comment.\n"
    "\n"
    "Options:\n"
    "  --json             Print one JSON object per answer.\n"
    "  --timeout SECONDS  How long to wait for the answer (default 130).\n"
    "\n"
    "'nfcui-sim COMMAND --help' describes each command.\n"
    "Exit status: 0 granted, 3 rejected, 4 any other error, 2 no daemon or no agent, 64 bad command line.\n";

int usage(const QString& message)
{
    std::fprintf(stderr, "nfcui-sim: %s\nTry 'nfcui-sim --help'.\n", qPrintable(message));
    return Sim::ExitUsage;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nfcui-sim"));

    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    Sim::GlobalOptions options;
    while (!arguments.isEmpty() && arguments.first().startsWith(QLatin1String("-"))) {
        const QString option = arguments.takeFirst();
        if (option == QLatin1String("--help") || option == QLatin1String("-h")) {
            std::fputs(generalHelp, stdout);
            return Sim::ExitGranted;
        }
        if (option == QLatin1String("--json")) {
            options.json = true;
        } else if (option == QLatin1String("--timeout") || option.startsWith(QLatin1String("--timeout="))) {
            QString value;
            if (option.contains(QLatin1Char('='))) {
                value = option.section(QLatin1Char('='), 1);
            } else {
                if (arguments.isEmpty())
                    return usage(QStringLiteral("--timeout needs a number of seconds"));
                value = arguments.takeFirst();
            }
            bool ok = false;
            const double seconds = value.toDouble(&ok);
            if (!ok || seconds <= 0 || seconds > 24 * 3600)
                return usage(QStringLiteral("--timeout takes a number of seconds above 0, not '%1'").arg(value));
            options.timeoutMs = int(seconds * 1000);
        } else {
            return usage(QStringLiteral("unknown option '%1'").arg(option));
        }
    }
    if (arguments.isEmpty())
        return usage(QStringLiteral("a command is missing"));
    return Sim::runCommand(arguments, options);
}
