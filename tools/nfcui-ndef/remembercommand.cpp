// nfcui-ndef remember: stores an application as the default for a record's key, as the tag read
// request does when the user confirms a choice, in the handler's database ($HOME/.nfc/defaulttaghandlers).
#include <QCommandLineParser>
#include <QList>
#include <QScopedPointer>
#include <QTemporaryFile>

#include "commands.h"
#include "jsonline.h"
#include "ndefmessage.h"
#include "ndefrecordhandler.h"
#include "ndefrecordexaminer.h"
#include "toolsupport.h"

namespace NdefTool {

namespace {

const char rememberDescription[] =
    "Stores APPLICATION as the default application for the key of record N of the message (counted\n"
    "from 0), in $HOME/.nfc/defaulttaghandlers, and prints {\"index\":N,\"key\":KEY,\"defaultApplication\":...}\n"
    "as read back from the database. The message comes from --hex, --file, or standard input.";

// Deletes a handler and then the data file it wrote, which the handler itself would only remove
// 20 seconds later.
void deleteHandler(ConnUi::NdefRecordHandler* handler)
{
    QTemporaryFile* file = handler->dataFile();
    delete handler;
    delete file;
}

} // namespace

int runRemember(const QStringList& arguments)
{
    const QString command = QStringLiteral("remember");
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(rememberDescription));
    // Not addHelpOption(): it would also offer --help-all, with Qt's own options this tool ignores.
    const QCommandLineOption helpOption(QStringList{ QStringLiteral("h"), QStringLiteral("help") },
                                        QStringLiteral("Show this help."));
    parser.addOption(helpOption);
    const QCommandLineOption recordOption(QStringLiteral("record"),
        QStringLiteral("Index of the record, from 0."), QStringLiteral("N"));
    const QCommandLineOption prefixOption(QStringLiteral("prefix"),
        QStringLiteral("Prefix of the record key, as the tag read request sets it."), QStringLiteral("KEY"));
    parser.addOption(recordOption);
    parser.addOption(prefixOption);
    addMessageInputOptions(&parser);
    parser.addPositionalArgument(QStringLiteral("APPLICATION"),
        QStringLiteral("The application (content action name) to remember."));
    parser.addPositionalArgument(QStringLiteral("-"), QStringLiteral("Read the message from standard input."),
                                 QStringLiteral("[-]"));

    if (!parser.parse(arguments))
        return usageError(command, parser.errorText());
    if (parser.isSet(helpOption)) {
        printText(QStringLiteral("Usage: nfcui-ndef remember --record N [--prefix KEY] APPLICATION "
                                 "[--hex HEX | --file PATH | -]\n\n")
                  + parser.helpText().section(QLatin1Char('\n'), 1));
        return ExitSuccess;
    }

    if (!parser.isSet(recordOption))
        return usageError(command, QStringLiteral("--record N is required"));
    if (parser.values(recordOption).size() > 1 || parser.values(prefixOption).size() > 1)
        return usageError(command, QStringLiteral("--record and --prefix can be given only once"));
    bool isNumber = false;
    const int index = parser.value(recordOption).toInt(&isNumber);
    if (!isNumber || index < 0)
        return usageError(command, QStringLiteral("--record needs a record index (0, 1, ...), not '%1'")
                                       .arg(parser.value(recordOption)));

    QStringList positionals = parser.positionalArguments();
    if (positionals.isEmpty())
        return usageError(command, QStringLiteral("the APPLICATION to remember is missing"));
    // Stored as given, even empty: that is what the user's choice was.
    const QString application = positionals.takeFirst();

    QByteArray data;
    bool fromStdin = false;
    QString error;
    if (!readMessageInput(parser, positionals, &data, &fromStdin, &error))
        return usageError(command, error);

    const QScopedPointer<NDEFMessage> message(NDEFMessage::createFromData(data));
    if (!message) {
        printLine(JsonLine().addString(QStringLiteral("error"), QStringLiteral("unparsable")).toJson());
        return ExitUnparsable;
    }
    const QList<const NDEFRecord*> records = message->getRecords();
    if (index >= records.size())
        return usageError(command, QStringLiteral("there is no record %1: the message has %2 record(s)")
                                       .arg(index).arg(records.size()));

    const QString prefix = parser.value(prefixOption);
    auto* handler = new ConnUi::NdefRecordHandler(records.at(index));
    if (parser.isSet(prefixOption))
        handler->setDefaultApplicationKey(prefix);
    handler->setDefaultApplication(application);
    const QString key = ConnUi::NdefRecordExaminer::recordKey(*handler);
    deleteHandler(handler);

    // A fresh handler knows only what is in the file, so this also tells whether the file was written.
    auto* check = new ConnUi::NdefRecordHandler(records.at(index));
    if (parser.isSet(prefixOption))
        check->setDefaultApplicationKey(prefix);
    const QString stored = check->defaultApplication();
    deleteHandler(check);
    if (stored != application)
        return failure(command, QStringLiteral("the choice could not be stored in $HOME/.nfc/defaulttaghandlers"));

    printLine(JsonLine()
                  .add(QStringLiteral("index"), index)
                  .addString(QStringLiteral("key"), key)
                  .addString(QStringLiteral("defaultApplication"), stored)
                  .toJson());
    return ExitSuccess;
}

} // namespace NdefTool
