// nfcui-ndef build: writes an NDEF message from records given on the command line, in order.
//
// The record options take several values each and their order is the order of the records, which
// QCommandLineParser cannot express; the arguments are therefore read here one by one.
#include <QFile>
#include <QList>
#include <QPair>

#include <cstdio>

#include "commands.h"
#include "ndefwriter.h"
#include "toolsupport.h"

namespace NdefTool {

namespace {

const int maxFieldLength = 255;   // type names, in one length byte
const int maxLanguageLength = 63; // language tags, in six bits of the status byte

const char buildHelp[] =
    "Usage: nfcui-ndef build RECORD... [--out FILE]\n"
    "\n"
    "Writes an NDEF message holding the records in the order given. The message is printed as\n"
    "lowercase hexadecimal without separators, or written as raw bytes to FILE with --out.\n"
    "\n"
    "Records:\n"
    "  --uri URI                    A URI record (identifier code chosen automatically).\n"
    "  --text LANG TEXT             A Text record in UTF-8, language tag LANG (for example en-GB).\n"
    "  --text16 LANG TEXT           A Text record in UTF-16 (big-endian, with a byte-order mark).\n"
    "  --mime TYPE PAYLOAD_FILE     A MIME media record of TYPE whose payload is the file's bytes.\n"
    "  --external TYPE CONTENT      An external type record (for example example.com:link) with the\n"
    "                               UTF-8 text CONTENT as payload.\n"
    "  --smartposter URI            A Smart Poster holding a URI record and the titles that follow:\n"
    "    [--title LANG TEXT]...     a UTF-8 Text record per title.\n"
    "  --raw TNF TYPE HEXPAYLOAD    Any record: TNF 0 to 7, TYPE as Latin-1 text, payload in hex.\n"
    "\n"
    "Options:\n"
    "  --out FILE                   Write the raw message to FILE (\"-\": standard output).\n"
    "  -h, --help                   Show this help.\n";

// One record as given; a Smart Poster collects its titles until the message is written.
struct RecordEntry
{
    NdefWriter::Record record;
    bool smartPoster = false;
    QString smartPosterUri;
    QList<QPair<QByteArray, QString>> titles;
};

class BuildArguments
{
public:
    explicit BuildArguments(const QStringList& arguments) : m_arguments(arguments), m_pos(1) {}

    bool atEnd() const { return m_pos >= m_arguments.size(); }
    QString next() { return m_arguments.at(m_pos++); }

    // The values of option, from an attached "=value" (one-value options only) or the next arguments.
    bool takeValues(const QString& option, const QString& attached, bool hasAttached, int count,
                    QStringList* values, QString* error)
    {
        values->clear();
        if (hasAttached) {
            if (count != 1) {
                *error = QStringLiteral("%1 takes %2 values, given as separate arguments").arg(option).arg(count);
                return false;
            }
            values->append(attached);
            return true;
        }
        while (values->size() < count) {
            if (atEnd()) {
                *error = QStringLiteral("%1 needs %2 value(s)").arg(option).arg(count);
                return false;
            }
            values->append(next());
        }
        return true;
    }

private:
    QStringList m_arguments;
    int m_pos;
};

bool toLatin1(const QString& text, const QString& what, QByteArray* bytes, QString* error)
{
    *bytes = text.toLatin1();
    if (QString::fromLatin1(*bytes) != text) {
        *error = QStringLiteral("%1 '%2' has characters outside Latin-1").arg(what, text);
        return false;
    }
    return true;
}

bool checkTypeName(const QByteArray& type, QString* error)
{
    if (type.size() > maxFieldLength) {
        *error = QStringLiteral("a record type name holds at most %1 bytes").arg(maxFieldLength);
        return false;
    }
    return true;
}

bool languageTag(const QString& language, QByteArray* tag, QString* error)
{
    if (!toLatin1(language, QStringLiteral("language tag"), tag, error))
        return false;
    if (tag->size() > maxLanguageLength) {
        *error = QStringLiteral("a language tag holds at most %1 bytes").arg(maxLanguageLength);
        return false;
    }
    return true;
}

bool writeOutput(const QString& path, const QByteArray& message, QString* error)
{
    QFile file;
    bool opened;
    if (path == QLatin1String("-")) {
        opened = file.open(stdout, QIODevice::WriteOnly);
    } else {
        file.setFileName(path);
        opened = file.open(QIODevice::WriteOnly);
    }
    if (!opened || file.write(message) != message.size() || !file.flush()) {
        *error = QStringLiteral("cannot write '%1': %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace

int runBuild(const QStringList& arguments)
{
    const QString command = QStringLiteral("build");
    BuildArguments args(arguments);
    QList<RecordEntry> entries;
    QString outPath;
    bool hasOut = false;
    QString error;

    while (!args.atEnd()) {
        const QString argument = args.next();
        if (argument == QLatin1String("-h") || argument == QLatin1String("--help")) {
            printText(QString::fromLatin1(buildHelp));
            return ExitSuccess;
        }
        if (!argument.startsWith(QLatin1String("--")))
            return usageError(command, QStringLiteral("unexpected argument '%1'; records are given as options")
                                           .arg(argument));

        const int equals = argument.indexOf(QLatin1Char('='));
        const QString option = equals < 0 ? argument : argument.left(equals);
        const QString attached = equals < 0 ? QString() : argument.mid(equals + 1);
        const bool hasAttached = equals >= 0;
        QStringList values;
        RecordEntry entry;

        if (option == QLatin1String("--uri")) {
            if (!args.takeValues(option, attached, hasAttached, 1, &values, &error))
                return usageError(command, error);
            entry.record = NdefWriter::uri(values.at(0));
        } else if (option == QLatin1String("--text") || option == QLatin1String("--text16")) {
            if (!args.takeValues(option, attached, hasAttached, 2, &values, &error))
                return usageError(command, error);
            QByteArray tag;
            if (!languageTag(values.at(0), &tag, &error))
                return usageError(command, error);
            entry.record = NdefWriter::text(tag, values.at(1), option == QLatin1String("--text16"));
        } else if (option == QLatin1String("--mime")) {
            if (!args.takeValues(option, attached, hasAttached, 2, &values, &error))
                return usageError(command, error);
            const QByteArray type = values.at(0).toUtf8();
            QByteArray payload;
            if (!checkTypeName(type, &error) || !readFile(values.at(1), &payload, &error))
                return usageError(command, error);
            entry.record = NdefWriter::mime(type, payload);
        } else if (option == QLatin1String("--external")) {
            if (!args.takeValues(option, attached, hasAttached, 2, &values, &error))
                return usageError(command, error);
            const QByteArray type = values.at(0).toUtf8();
            if (!checkTypeName(type, &error))
                return usageError(command, error);
            entry.record = NdefWriter::external(type, values.at(1).toUtf8());
        } else if (option == QLatin1String("--smartposter")) {
            if (!args.takeValues(option, attached, hasAttached, 1, &values, &error))
                return usageError(command, error);
            entry.smartPoster = true;
            entry.smartPosterUri = values.at(0);
        } else if (option == QLatin1String("--title")) {
            if (!args.takeValues(option, attached, hasAttached, 2, &values, &error))
                return usageError(command, error);
            if (entries.isEmpty() || !entries.last().smartPoster)
                return usageError(command, QStringLiteral("--title must follow a --smartposter or its titles"));
            QByteArray tag;
            if (!languageTag(values.at(0), &tag, &error))
                return usageError(command, error);
            entries.last().titles.append(qMakePair(tag, values.at(1)));
            continue;
        } else if (option == QLatin1String("--raw")) {
            if (!args.takeValues(option, attached, hasAttached, 3, &values, &error))
                return usageError(command, error);
            bool isNumber = false;
            const int tnf = values.at(0).toInt(&isNumber);
            if (!isNumber || tnf < 0 || tnf > 7)
                return usageError(command, QStringLiteral("--raw needs a TNF from 0 to 7, not '%1'").arg(values.at(0)));
            QByteArray type;
            QByteArray payload;
            if (!toLatin1(values.at(1), QStringLiteral("record type"), &type, &error) || !checkTypeName(type, &error))
                return usageError(command, error);
            if (!parseHex(values.at(2), &payload, &error))
                return usageError(command, QStringLiteral("bad --raw payload: %1").arg(error));
            entry.record = NdefWriter::raw(tnf, type, payload);
        } else if (option == QLatin1String("--out")) {
            if (!args.takeValues(option, attached, hasAttached, 1, &values, &error))
                return usageError(command, error);
            if (hasOut)
                return usageError(command, QStringLiteral("--out can be given only once"));
            if (values.at(0).isEmpty())
                return usageError(command, QStringLiteral("--out needs a file name"));
            hasOut = true;
            outPath = values.at(0);
            continue;
        } else {
            return usageError(command, QStringLiteral("unknown option '%1'").arg(option));
        }
        entries.append(entry);
    }

    if (entries.isEmpty())
        return usageError(command, QStringLiteral("no records given"));

    QList<NdefWriter::Record> records;
    for (const RecordEntry& entry : qAsConst(entries))
        records.append(entry.smartPoster ? NdefWriter::smartPoster(entry.smartPosterUri, entry.titles) : entry.record);
    const QByteArray message = NdefWriter::message(records);
    if (message.isEmpty())
        return usageError(command, QStringLiteral("the records cannot be written as one NDEF message"));

    if (!hasOut) {
        printLine(toHex(message));
        return ExitSuccess;
    }
    if (!writeOutput(outPath, message, &error))
        return failure(command, error);
    return ExitSuccess;
}

} // namespace NdefTool
