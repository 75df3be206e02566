// nfcui-ndef: inspects and writes NDEF messages, showing how the plugin classifies each record.
#include <QCoreApplication>
#include <QStringList>

#include "commands.h"
#include "toolsupport.h"

namespace {

const char generalHelp[] =
    "Usage: nfcui-ndef COMMAND [OPTIONS]\n"
    "\n"
    "Inspects and writes NDEF messages the way the NFC UI agent's record handler sees them.\n"
    "\n"
    "Commands:\n"
    "  inspect [--hex HEX | --file PATH | -] [--locale ll_CC] [--prefix KEY]\n"
    "        Print one JSON line per record with what the record handler computes.\n"
    "  remember --record N [--prefix KEY] APPLICATION [--hex HEX | --file PATH | -]\n"
    "        Remember APPLICATION as the default application for record N's key.\n"
    "  build RECORD... [--out FILE]\n"
    "        Write an NDEF message from records given on the command line.\n"
    "  defaults list | forget KEY | clear [--force]\n"
    "        Show or forget the applications remembered for kinds of records.\n"
    "\n"
    "'nfcui-ndef COMMAND --help' describes each command.\n"
    "Exit status: 0 success, 1 failure, 2 data that is not an NDEF message, 64 bad command line.\n";

} // namespace

int main(int argc, char* argv[])
{
    // The record handler's deferred file removal needs an application object for its timer.
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("nfcui-ndef"));
    QCoreApplication::setApplicationVersion(QStringLiteral(NFCUI_VERSION));

    QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2)
        return NdefTool::usageError(QString(), QStringLiteral("a command is missing (inspect, remember, build or defaults)"));

    const QString command = arguments.takeAt(1);
    if (command == QLatin1String("inspect"))
        return NdefTool::runInspect(arguments);
    if (command == QLatin1String("remember"))
        return NdefTool::runRemember(arguments);
    if (command == QLatin1String("build"))
        return NdefTool::runBuild(arguments);
    if (command == QLatin1String("defaults"))
        return NdefTool::runDefaults(arguments);
    if (command == QLatin1String("--help") || command == QLatin1String("-h") || command == QLatin1String("help")) {
        NdefTool::printText(QString::fromLatin1(generalHelp));
        return NdefTool::ExitSuccess;
    }
    if (command == QLatin1String("--version")) {
        NdefTool::printText(QStringLiteral("nfcui-ndef %1\n").arg(QCoreApplication::applicationVersion()));
        return NdefTool::ExitSuccess;
    }
    return NdefTool::usageError(QString(), QStringLiteral("unknown command '%1'").arg(command));
}
