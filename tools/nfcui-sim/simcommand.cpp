#include "simcommand.h"

#include "ndefwriter.h"
#include "nfcdnames.h"
#include "nfcdsimulatorproxy.h"

#include <QCommandLineParser>
#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTextStream>

#include <cstdio>

namespace Sim {

namespace {

// An option that takes a value, from the literal texts of its name, help and value name.
QCommandLineOption valueOption(const char* name, const char* description, const char* valueName,
                               const char* defaultValue = "")
{
    return QCommandLineOption(QLatin1String(name), QLatin1String(description), QLatin1String(valueName),
                              QLatin1String(defaultValue));
}

int usageError(const QString& command, const QString& message)
{
    std::fprintf(stderr, "nfcui-sim %s: %s\nTry 'nfcui-sim %s --help'.\n", qPrintable(command), qPrintable(message),
                 qPrintable(command));
    return ExitUsage;
}

bool readFile(const QString& path, QByteArray* bytes, QString* error)
{
    QFile file;
    const bool opened = path == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                    : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened) {
        *error = QStringLiteral("cannot read '%1': %2").arg(path, file.errorString());
        return false;
    }
    *bytes = file.readAll();
    return true;
}

// Parses the command's own options. Returns -1 when the command should run, else the exit status
// (help printed, or a bad command line explained).
int parseCommand(QCommandLineParser* parser, const QStringList& arguments, const QString& usage,
                 const QString& description)
{
    parser->setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help."));
    parser->addOption(help);
    // The command's name stands where QCommandLineParser expects the program.
    QStringList argv = arguments;
    argv.first() = QStringLiteral("nfcui-sim ") + arguments.first();
    if (!parser->parse(argv))
        return usageError(arguments.first(), parser->errorText());
    if (parser->isSet(help)) {
        QString text = QStringLiteral("Usage: nfcui-sim %1\n\n%2\n").arg(usage, description);
        const QString options = parser->helpText().section(QLatin1String("Options:"), 1);
        if (!options.trimmed().isEmpty())
            text += QStringLiteral("\nOptions:") + options;
        std::fputs(qPrintable(text), stdout);
        return ExitGranted;
    }
    return -1;
}

// Prints the answer and turns it into the exit status.
int report(const QString& command, const QDBusPendingCall& call, bool hasTarget, const GlobalOptions& options)
{
    // Qt's D-Bus thread goes on handling an error answer (it reports it to the connection too) after it
    // has woken the caller. A round trip to the bus on the same connection comes back only once it is
    // done, so that the program does not end while that thread still holds the answer.
    if (call.isError()) {
        QDBusConnection bus = QDBusConnection::systemBus();
        bus.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                QStringLiteral("/org/freedesktop/DBus"),
                                                QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
    }
    const QDBusError error = call.error();
    QString target;
    if (hasTarget && !error.isValid()) {
        QDBusPendingReply<QDBusObjectPath> reply = call;
        target = reply.value().path();
    }

    int status = ExitGranted;
    QString result = QStringLiteral("granted");
    if (error.isValid()) {
        static const QStringList noDaemon = {
            QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown"),
            QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner"),
            QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"),
            QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"),
            QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"),
            QStringLiteral("org.freedesktop.DBus.Error.Disconnected"),
        };
        if (error.name() == QLatin1String(Nfcd::AgentErrorRejected)) {
            status = ExitRejected;
            result = QStringLiteral("rejected");
        } else if (error.name() == QLatin1String(Nfcd::ErrorNoAgent)) {
            status = ExitNoDaemon;
            result = QStringLiteral("no-agent");
            std::fprintf(stderr, "nfcui-sim %s: no UI agent is registered with the NFC daemon\n",
                         qPrintable(command));
        } else if (noDaemon.contains(error.name())) {
            status = ExitNoDaemon;
            result = QStringLiteral("no-daemon");
            std::fprintf(stderr,
                         "nfcui-sim %s: no NFC daemon with its simulator on the system bus "
                         "(start nfcui-daemon --simulator): %s\n",
                         qPrintable(command), qPrintable(error.message()));
        } else {
            status = ExitError;
            result = QStringLiteral("error");
        }
    }

    if (options.json) {
        QJsonObject object{{QStringLiteral("command"), command}, {QStringLiteral("result"), result}};
        if (!target.isEmpty())
            object.insert(QStringLiteral("target"), target);
        if (error.isValid()) {
            object.insert(QStringLiteral("error"), error.name());
            object.insert(QStringLiteral("message"), error.message());
        }
        std::printf("%s\n", QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    } else if (!error.isValid()) {
        std::printf("granted%s%s\n", target.isEmpty() ? "" : " ", qPrintable(target));
    } else {
        std::printf("%s %s: %s\n", qPrintable(result), qPrintable(error.name()), qPrintable(error.message()));
    }
    std::fflush(stdout);
    return status;
}

struct Simulator
{
    explicit Simulator(const GlobalOptions& options)
        : proxy(QLatin1String(Nfcd::ServiceName), QLatin1String(Nfcd::SimulatorPath), QDBusConnection::systemBus())
    {
        proxy.setTimeout(options.timeoutMs);
    }
    NfcdSimulatorProxy proxy;
};

bool checkBus(const QString& command)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (bus.isConnected())
        return true;
    std::fprintf(stderr, "nfcui-sim %s: cannot connect to the system bus: %s\n", qPrintable(command),
                 qPrintable(bus.lastError().message()));
    return false;
}

int runTouch(const QStringList& arguments, const GlobalOptions& options)
{
    const QString command = arguments.first();
    QCommandLineParser parser;
    const QCommandLineOption hex = valueOption("hex", "The NDEF message as hexadecimal.", "HEX");
    const QCommandLineOption file = valueOption("file", "The NDEF message from a file ('-': stdin).", "FILE");
    const QCommandLineOption uri = valueOption("uri", "A message of one URI record.", "URI");
    const QCommandLineOption text = valueOption("text", "A message of one Text record.", "TEXT");
    const QCommandLineOption lang = valueOption("lang", "The language of --text (default en).", "LANG");
    const QCommandLineOption vcard =
        valueOption("vcard", "A message of one text/x-vCard record holding the file.", "FILE");
    const QCommandLineOption mime =
        valueOption("mime", "A message of one MIME record of TYPE holding the file given as the argument.", "TYPE");
    const QCommandLineOption unreadable(QStringLiteral("unreadable"), QStringLiteral("A tag that cannot be read."));
    const QCommandLineOption handler = valueOption("handler",
                                                   "An application to deliver to instead of the registered ones; "
                                                   "':foreground' when it runs in the foreground. Repeatable.",
                                                   "APPID[:foreground]");
    parser.addOptions({hex, file, uri, text, lang, vcard, mime, unreadable, handler});
    const int parsed = parseCommand(
        &parser, arguments,
        QStringLiteral("touch (--hex HEX | --file FILE | --uri URI | --text TEXT [--lang LANG] | --vcard FILE | "
                       "--mime TYPE FILE) [--handler APPID[:foreground]]...\n       nfcui-sim touch --unreadable"),
        QStringLiteral("Touches a tag: the daemon calls NotifyTouch, then DataDeliveryRequested with the message\n"
                       "(BtPairingRequested for a Bluetooth handover message). --unreadable touches a tag that\n"
                       "cannot be read: NotifyTouch with status 1 only. Prints the agent's answer."));
    if (parsed >= 0)
        return parsed;

    int inputs = 0;
    for (const QCommandLineOption* option : {&hex, &file, &uri, &text, &vcard, &mime, &unreadable})
        inputs += parser.isSet(*option) ? 1 : 0;
    if (inputs == 0)
        return usageError(command, QStringLiteral("what to touch is missing (--hex, --file, --uri, --text, --vcard, "
                                                  "--mime or --unreadable)"));
    if (inputs > 1)
        return usageError(command, QStringLiteral("give only one of --hex, --file, --uri, --text, --vcard, --mime "
                                                  "and --unreadable"));
    if (parser.isSet(lang) && !parser.isSet(text))
        return usageError(command, QStringLiteral("--lang goes with --text"));
    const QStringList positionals = parser.positionalArguments();
    if (parser.isSet(mime) ? positionals.size() != 1 : !positionals.isEmpty()) {
        return usageError(command, parser.isSet(mime) ? QStringLiteral("--mime TYPE takes one FILE argument")
                                                      : QStringLiteral("unexpected argument '%1'")
                                                            .arg(positionals.first()));
    }
    if (parser.isSet(unreadable) && parser.isSet(handler))
        return usageError(command, QStringLiteral("--handler has no meaning for an unreadable tag"));

    QStringList handlers;
    QStringList foreground;
    for (const QString& value : parser.values(handler)) {
        QString id = value;
        bool inForeground = false;
        if (id.endsWith(QLatin1String(":foreground"))) {
            id.chop(int(qstrlen(":foreground")));
            inForeground = true;
        }
        if (id.isEmpty())
            return usageError(command, QStringLiteral("--handler '%1' has no application id").arg(value));
        handlers << id;
        if (inForeground)
            foreground << id;
    }

    QByteArray data;
    QString error;
    if (parser.isSet(hex)) {
        if (!parseHex(parser.value(hex), &data, &error))
            return usageError(command, QStringLiteral("--hex: %1").arg(error));
    } else if (parser.isSet(file)) {
        if (!readFile(parser.value(file), &data, &error))
            return usageError(command, QStringLiteral("--file: %1").arg(error));
    } else if (parser.isSet(uri)) {
        if (parser.value(uri).isEmpty())
            return usageError(command, QStringLiteral("--uri is empty"));
        data = NdefWriter::message({NdefWriter::uri(parser.value(uri))});
    } else if (parser.isSet(text)) {
        const QString language = parser.isSet(lang) ? parser.value(lang) : QStringLiteral("en");
        if (language.isEmpty() || language.toUtf8().size() > 63)
            return usageError(command, QStringLiteral("--lang takes a language tag of 1 to 63 bytes"));
        data = NdefWriter::message({NdefWriter::text(language.toUtf8(), parser.value(text))});
    } else if (parser.isSet(vcard)) {
        QByteArray card;
        if (!readFile(parser.value(vcard), &card, &error))
            return usageError(command, QStringLiteral("--vcard: %1").arg(error));
        data = NdefWriter::message({NdefWriter::mime(QByteArrayLiteral("text/x-vCard"), card)});
    } else if (parser.isSet(mime)) {
        const QString type = parser.value(mime);
        static const QRegularExpression mimePattern(QStringLiteral("^[!-~]+/[!-~]+$"));
        if (!mimePattern.match(type).hasMatch() || type.size() > 255)
            return usageError(command, QStringLiteral("--mime: '%1' is not a MIME type").arg(type));
        QByteArray payload;
        if (!readFile(positionals.first(), &payload, &error))
            return usageError(command, QStringLiteral("--mime: %1").arg(error));
        data = NdefWriter::message({NdefWriter::mime(type.toUtf8(), payload)});
    }

    if (!checkBus(command))
        return ExitNoDaemon;
    Simulator simulator(options);
    if (parser.isSet(unreadable)) {
        QDBusPendingCall call = simulator.proxy.TouchUnreadableTag();
        call.waitForFinished();
        return report(command, call, true, options);
    }
    QDBusPendingCall call = simulator.proxy.TouchTag(data, handlers, foreground);
    call.waitForFinished();
    return report(command, call, true, options);
}

int runDevice(const QStringList& arguments, const GlobalOptions& options)
{
    const QString command = arguments.first();
    const bool pairing = command == QLatin1String("pair");
    QCommandLineParser parser;
    const QCommandLineOption cod =
        valueOption("cod", "The class of device, decimal or 0x hexadecimal (default 0).", "N", "0");
    const QCommandLineOption pin = valueOption("pin", "The PIN to pair with (default none).", "PIN");
    parser.addOption(cod);
    if (pairing)
        parser.addOption(pin);
    const QString what = pairing ? QStringLiteral("pairing with")
                                 : command == QLatin1String("connect") ? QStringLiteral("connection to")
                                                                       : QStringLiteral("disconnection from");
    const int parsed = parseCommand(
        &parser, arguments,
        QStringLiteral("%1 ADDRESS NAME [--cod N]%2").arg(command, pairing ? QStringLiteral(" [--pin PIN]") : QString()),
        QStringLiteral("Asks the UI agent for %1 the Bluetooth device ADDRESS (AA:BB:CC:DD:EE:FF) called NAME.\n"
                       "Prints the agent's answer.")
            .arg(what));
    if (parsed >= 0)
        return parsed;
    const QStringList positionals = parser.positionalArguments();
    if (positionals.size() != 2)
        return usageError(command, QStringLiteral("give the device's ADDRESS and NAME"));
    static const QRegularExpression addressPattern(QStringLiteral("^[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}$"));
    if (!addressPattern.match(positionals.at(0)).hasMatch()) {
        return usageError(command,
                          QStringLiteral("'%1' is not a Bluetooth address (AA:BB:CC:DD:EE:FF)").arg(positionals.at(0)));
    }
    bool ok = false;
    const uint classOfDevice = parser.value(cod).toUInt(&ok, 0);
    if (!ok || classOfDevice > 0xffffff)
        return usageError(command, QStringLiteral("--cod takes a class of device of 24 bits, not '%1'")
                                       .arg(parser.value(cod)));

    if (!checkBus(command))
        return ExitNoDaemon;
    Simulator simulator(options);
    QDBusPendingCall call = pairing ? simulator.proxy.RequestPairing(positionals.at(0), positionals.at(1),
                                                                     classOfDevice, parser.value(pin))
        : command == QLatin1String("connect")
        ? simulator.proxy.RequestConnection(positionals.at(0), positionals.at(1), classOfDevice)
        : simulator.proxy.RequestDisconnection(positionals.at(0), positionals.at(1), classOfDevice);
    call.waitForFinished();
    return report(command, call, true, options);
}

int runSharing(const QStringList& arguments, const GlobalOptions& options)
{
    const QString command = arguments.first();
    const bool permission = command == QLatin1String("share-permission");
    QCommandLineParser parser;
    const QCommandLineOption carrier = valueOption("carrier", "The carrier (default bluetooth).", "NAME", "bluetooth");
    const QCommandLineOption info = valueOption(
        "info", "The sharing information the agent answers with (default: one made up for this request).", "TEXT");
    parser.addOptions({carrier, info});
    const int parsed = parseCommand(
        &parser, arguments,
        permission ? QStringLiteral("share-permission [--carrier NAME] [--info TEXT] RESOURCE...")
                   : QStringLiteral("share-selection [--carrier NAME] [--info TEXT]"),
        permission ? QStringLiteral("Asks the UI agent for permission to share the RESOURCEs. Prints its answer.")
                   : QStringLiteral("Asks the UI agent to select what to share. Prints its answer."));
    if (parsed >= 0)
        return parsed;
    const QStringList resources = parser.positionalArguments();
    if (permission && resources.isEmpty())
        return usageError(command, QStringLiteral("give at least one RESOURCE"));
    if (!permission && !resources.isEmpty())
        return usageError(command, QStringLiteral("unexpected argument '%1'").arg(resources.first()));
    const QString sharingInfo = parser.isSet(info)
        ? parser.value(info)
        : QStringLiteral("nfcui-sim-%1-%2").arg(QCoreApplication::applicationPid()).arg(QRandomGenerator::global()->generate());

    if (!checkBus(command))
        return ExitNoDaemon;
    Simulator simulator(options);
    QDBusPendingCall call = permission
        ? simulator.proxy.RequestSharingPermission(parser.value(carrier), QDBusVariant(sharingInfo), resources)
        : simulator.proxy.RequestSharingSelection(parser.value(carrier), QDBusVariant(sharingInfo));
    call.waitForFinished();
    return report(command, call, false, options);
}

int runScript(const QStringList& arguments, const GlobalOptions& options)
{
    const QString command = arguments.first();
    QCommandLineParser parser;
    const int parsed = parseCommand(
        &parser, arguments, QStringLiteral("script FILE|-"),
        QStringLiteral("Runs the commands of FILE (or standard input), one per line, in order. Blank lines and\n"
                       "lines starting with '#' are skipped; words are split as a shell splits simple words.\n"
                       "Every command runs; the exit status is the first that was not 0. A bad line stops the\n"
                       "script with 64."));
    if (parsed >= 0)
        return parsed;
    if (parser.positionalArguments().size() != 1)
        return usageError(command, QStringLiteral("give one FILE, or '-' for standard input"));
    QByteArray content;
    QString error;
    if (!readFile(parser.positionalArguments().first(), &content, &error))
        return usageError(command, error);

    int status = ExitGranted;
    const QStringList lines = QString::fromUtf8(content).split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        QStringList words;
        if (!splitLine(line, &words, &error))
            return usageError(command, QStringLiteral("line %1: %2").arg(i + 1).arg(error));
        if (words.first() == QLatin1String("script"))
            return usageError(command, QStringLiteral("line %1: a script cannot run a script").arg(i + 1));
        const int lineStatus = runCommand(words, options);
        if (lineStatus == ExitUsage)
            return usageError(command, QStringLiteral("line %1 is not a command nfcui-sim understands").arg(i + 1));
        if (status == ExitGranted)
            status = lineStatus;
    }
    return status;
}

} // namespace

bool parseHex(const QString& text, QByteArray* bytes, QString* error)
{
    bytes->clear();
    int i = 0;
    auto digit = [](QChar c) {
        const int value = QString(c).toInt(nullptr, 16);
        return c.isDigit() || (c.toLower() >= QLatin1Char('a') && c.toLower() <= QLatin1Char('f')) ? value : -1;
    };
    while (i < text.size()) {
        const QChar c = text.at(i);
        if (c.isSpace() || c == QLatin1Char(':')) {
            ++i;
            continue;
        }
        if (i + 1 >= text.size() || digit(c) < 0 || digit(text.at(i + 1)) < 0) {
            *error = QStringLiteral("'%1' is not hexadecimal digit pairs (at character %2)").arg(text).arg(i + 1);
            return false;
        }
        bytes->append(char(digit(c) * 16 + digit(text.at(i + 1))));
        i += 2;
    }
    return true;
}

bool splitLine(const QString& line, QStringList* words, QString* error)
{
    words->clear();
    QString word;
    bool inWord = false;
    QChar quote;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (!quote.isNull()) {
            if (c == quote) {
                quote = QChar();
            } else if (c == QLatin1Char('\\') && quote == QLatin1Char('"') && i + 1 < line.size()) {
                word += line.at(++i);
            } else {
                word += c;
            }
        } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            quote = c;
            inWord = true;
        } else if (c == QLatin1Char('\\') && i + 1 < line.size()) {
            word += line.at(++i);
            inWord = true;
        } else if (c.isSpace()) {
            if (inWord)
                *words << word;
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (!quote.isNull()) {
        *error = QStringLiteral("unterminated %1 quote").arg(quote);
        return false;
    }
    if (inWord)
        *words << word;
    return true;
}

int runCommand(const QStringList& arguments, const GlobalOptions& options)
{
    const QString command = arguments.first();
    if (command == QLatin1String("touch"))
        return runTouch(arguments, options);
    if (command == QLatin1String("pair") || command == QLatin1String("connect")
        || command == QLatin1String("disconnect"))
        return runDevice(arguments, options);
    if (command == QLatin1String("share-permission") || command == QLatin1String("share-selection"))
        return runSharing(arguments, options);
    if (command == QLatin1String("script"))
        return runScript(arguments, options);
    std::fprintf(stderr, "nfcui-sim: unknown command '%s'\nTry 'nfcui-sim --help'.\n", qPrintable(command));
    return ExitUsage;
}

} // namespace Sim
