// nfcui-ndef inspect: one NdefRecordHandler per record, as the tag read request builds them, and one
// JSON line per record with what the handler computed.
#include <QCommandLineParser>
#include <QList>

#include "uilocale.h"
#include <QRegularExpression>
#include <QScopedPointer>
#include <QTemporaryFile>

#include <cstdio>

#include "commands.h"
#include "jsonline.h"
#include "ndefmessage.h"
#include "ndefrecordhandler.h"
#include "ndefrecordexaminer.h"
#include "toolsupport.h"

namespace NdefTool {

namespace {

const char inspectDescription[] =
    "Parses an NDEF message and prints one JSON object per line: first {\"records\": N}, then one\n"
    "object per record with what the plugin's record handler computes for it (kind, URI, MIME type,\n"
    "external type and content, text, record key, support, content actions, default application,\n"
    "data file). The message comes from --hex, --file, or standard input (\"-\" or nothing).\n"
    "Data that is not an NDEF message prints {\"error\": \"unparsable\"} and exits with status 2.";

// Handlers and the data files they wrote. A handler leaves its data file to a deletion 20 seconds
// after it goes; the tool does not live that long, so it deletes the files itself once the
// handlers are gone.
class HandlerSet
{
public:
    HandlerSet() = default;
    ~HandlerSet()
    {
        QList<QTemporaryFile*> files;
        for (ConnUi::NdefRecordHandler* handler : qAsConst(m_handlers)) {
            if (handler->dataFile())
                files.append(handler->dataFile());
        }
        qDeleteAll(m_handlers);
        qDeleteAll(files); // removes the files from disk
    }

    void append(ConnUi::NdefRecordHandler* handler) { m_handlers.append(handler); }

private:
    Q_DISABLE_COPY(HandlerSet)
    QList<ConnUi::NdefRecordHandler*> m_handlers;
};

// "fi_FI" or "fi", taken as given: the language and the country (none for "fi") go to the UI locale
// unchanged, whether or not Qt knows the pair.
bool parseLocale(const QString& name, QString* language, QString* country)
{
    static const QRegularExpression pattern(QStringLiteral("^([A-Za-z]{2,3})(?:_([A-Za-z]{2}))?$"));
    const QRegularExpressionMatch match = pattern.match(name);
    if (!match.hasMatch())
        return false;
    *language = match.captured(1);
    *country = match.captured(2);
    return true;
}

// Blocks until standard input is closed; whatever arrives meanwhile is ignored.
void waitForStdinToClose()
{
    char buffer[4096];
    while (std::fread(buffer, 1, sizeof buffer, stdin) > 0) {
    }
}

} // namespace

int runInspect(const QStringList& arguments)
{
    const QString command = QStringLiteral("inspect");
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(inspectDescription));
    // Not addHelpOption(): it would also offer --help-all, with Qt's own options this tool ignores.
    const QCommandLineOption helpOption(QStringList{ QStringLiteral("h"), QStringLiteral("help") },
                                        QStringLiteral("Show this help."));
    parser.addOption(helpOption);
    addMessageInputOptions(&parser);
    const QCommandLineOption localeOption(QStringLiteral("locale"),
        QStringLiteral("The user interface locale (for example fi_FI) for choosing a Smart Poster title."),
        QStringLiteral("ll_CC"));
    const QCommandLineOption prefixOption(QStringLiteral("prefix"),
        QStringLiteral("Prefix of the record keys, as the tag read request sets it."), QStringLiteral("KEY"));
    const QCommandLineOption holdOption(QStringLiteral("hold"),
        QStringLiteral("Keep the record data files until standard input is closed (the message must then "
                       "come from --hex or --file), so that they can be opened meanwhile."));
    parser.addOption(localeOption);
    parser.addOption(prefixOption);
    parser.addOption(holdOption);
    parser.addPositionalArgument(QStringLiteral("-"), QStringLiteral("Read the message from standard input."),
                                 QStringLiteral("[-]"));

    if (!parser.parse(arguments))
        return usageError(command, parser.errorText());
    if (parser.isSet(helpOption)) {
        printText(QStringLiteral("Usage: nfcui-ndef inspect [--hex HEX | --file PATH | -] [--locale ll_CC] "
                                 "[--prefix KEY] [--hold]\n\n")
                  + parser.helpText().section(QLatin1Char('\n'), 1));
        return ExitSuccess;
    }
    if (parser.values(localeOption).size() > 1 || parser.values(prefixOption).size() > 1)
        return usageError(command, QStringLiteral("--locale and --prefix can be given only once"));

    if (parser.isSet(localeOption)) {
        QString language;
        QString country;
        if (!parseLocale(parser.value(localeOption), &language, &country))
            return usageError(command, QStringLiteral("unknown locale '%1'; give it as ll_CC, for example fi_FI")
                                           .arg(parser.value(localeOption)));
        // The handler reads the UI language and country from the UI locale.
        ConnUi::UiLocale::setCurrent(language, country);
    }

    QByteArray data;
    bool fromStdin = false;
    QString error;
    if (!readMessageInput(parser, parser.positionalArguments(), &data, &fromStdin, &error))
        return usageError(command, error);
    const bool hold = parser.isSet(holdOption);
    if (hold && fromStdin)
        return usageError(command, QStringLiteral("--hold needs the message from --hex or --file"));

    const QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(data));
    if (!message) {
        printLine(JsonLine().addString(QStringLiteral("error"), QStringLiteral("unparsable")).toJson());
        return ExitUnparsable;
    }

    const QList<const NDEFRecord*> records = message->getRecords();
    printLine(JsonLine().add(QStringLiteral("records"), records.size()).toJson());

    // Destroyed before the message, which owns the records.
    HandlerSet handlers;
    for (int index = 0; index < records.size(); ++index) {
        auto* handler = new ConnUi::NdefRecordHandler(records.at(index));
        handlers.append(handler);
        if (parser.isSet(prefixOption))
            handler->setDefaultApplicationKey(parser.value(prefixOption));
        printLine(ConnUi::NdefRecordExaminer::describe(index, *handler));
    }

    if (hold)
        waitForStdinToClose();
    return ExitSuccess;
}

} // namespace NdefTool
