// nfcui-ndef defaults: shows the applications remembered for kinds of records, and forgets them again,
// in the record handler's database ($HOME/.nfc/defaulttaghandlers).
#include <QCommandLineParser>

#include "commands.h"
#include "defaultsdatabase.h"
#include "jsonline.h"
#include "toolsupport.h"

namespace NdefTool {

namespace {

const char defaultsUsage[] = "Usage: nfcui-ndef defaults list [--json] | forget KEY [--force] | clear [--force] "
                             "[--database FILE]\n\n";

const char defaultsDescription[] =
    "The applications remembered when the user chose one for a kind of record (a URI scheme, a MIME\n"
    "type, an external type), kept in $HOME/.nfc/defaulttaghandlers.\n"
    "  list          print every record key and its application, one per line (KEY, a tab, APPLICATION)\n"
    "  forget KEY    remove the application remembered for KEY\n"
    "  clear         remove every remembered application\n"
    "A damaged database is reported and left alone; --force lets forget and clear rewrite it with what\n"
    "could still be read.";

QString describe(const DefaultsDatabase& database)
{
    return QStringLiteral("%1 is damaged: %2").arg(database.path(), database.errorString());
}

} // namespace

int runDefaults(const QStringList& arguments)
{
    const QString command = QStringLiteral("defaults");
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(defaultsDescription));
    const QCommandLineOption helpOption(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                        QStringLiteral("Show this help."));
    const QCommandLineOption jsonOption(QStringLiteral("json"),
                                        QStringLiteral("list: print {\"key\": KEY, \"application\": APP} lines."));
    const QCommandLineOption forceOption(QStringLiteral("force"),
                                         QStringLiteral("Rewrite a damaged database."));
    const QCommandLineOption databaseOption(QStringLiteral("database"),
                                            QStringLiteral("Another database file than the user's."),
                                            QStringLiteral("FILE"));
    parser.addOptions({helpOption, jsonOption, forceOption, databaseOption});
    parser.addPositionalArgument(QStringLiteral("ACTION"), QStringLiteral("list, forget KEY or clear"));

    if (!parser.parse(arguments))
        return usageError(command, parser.errorText());
    if (parser.isSet(helpOption)) {
        printText(QString::fromLatin1(defaultsUsage) + parser.helpText().section(QLatin1Char('\n'), 1));
        return ExitSuccess;
    }
    QStringList positionals = parser.positionalArguments();
    if (positionals.isEmpty())
        return usageError(command, QStringLiteral("an action is missing (list, forget KEY or clear)"));
    const QString action = positionals.takeFirst();

    DefaultsDatabase database(parser.isSet(databaseOption) ? parser.value(databaseOption)
                                                           : DefaultsDatabase::defaultPath());
    database.load();
    if (database.state() == DefaultsDatabase::Unreadable)
        return failure(command, QStringLiteral("cannot read %1: %2").arg(database.path(), database.errorString()));

    if (action == QLatin1String("list")) {
        if (!positionals.isEmpty())
            return usageError(command, QStringLiteral("list takes no argument"));
        const auto entries = database.entries();
        for (const auto& entry : entries) {
            if (parser.isSet(jsonOption)) {
                printLine(JsonLine()
                              .addString(QStringLiteral("key"), entry.first)
                              .addString(QStringLiteral("application"), entry.second)
                              .toJson());
            } else {
                printLine((entry.first + QLatin1Char('\t') + entry.second).toUtf8());
            }
        }
        if (database.state() == DefaultsDatabase::Damaged)
            return failure(command, describe(database) + QStringLiteral(" (the lines above could be read; the "
                                                                        "NFC agent takes the file as empty)"));
        return ExitSuccess;
    }

    if (action == QLatin1String("forget")) {
        if (positionals.size() != 1)
            return usageError(command, QStringLiteral("forget takes one KEY"));
        const QString key = positionals.first();
        if (database.state() == DefaultsDatabase::Damaged && !parser.isSet(forceOption))
            return failure(command, describe(database) + QStringLiteral("; nothing was changed (--force rewrites it)"));
        if (!database.contains(key) && database.state() != DefaultsDatabase::Damaged)
            return failure(command, QStringLiteral("no application is remembered for '%1'").arg(key));
        database.remove(key);
        if (!database.save())
            return failure(command, QStringLiteral("cannot write %1: %2").arg(database.path(), database.errorString()));
        return ExitSuccess;
    }

    if (action == QLatin1String("clear")) {
        if (!positionals.isEmpty())
            return usageError(command, QStringLiteral("clear takes no argument"));
        if (database.state() == DefaultsDatabase::Missing)
            return ExitSuccess;
        if (database.state() == DefaultsDatabase::Damaged && !parser.isSet(forceOption))
            return failure(command, describe(database) + QStringLiteral("; nothing was changed (--force rewrites it)"));
        database.clear();
        if (!database.save())
            return failure(command, QStringLiteral("cannot write %1: %2").arg(database.path(), database.errorString()));
        return ExitSuccess;
    }

    return usageError(command, QStringLiteral("unknown action '%1' (list, forget KEY or clear)").arg(action));
}

} // namespace NdefTool
