#include "toolsupport.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace NdefTool {

namespace {

int hexDigit(QChar c)
{
    const ushort u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'a' && u <= 'f')
        return u - 'a' + 10;
    if (u >= 'A' && u <= 'F')
        return u - 'A' + 10;
    return -1;
}

bool isSeparator(QChar c)
{
    return c.isSpace() || c == QLatin1Char(':');
}

void writeStdout(const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void writeStderr(const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace

void printLine(const QByteArray& line)
{
    writeStdout(line + '\n');
}

void printText(const QString& text)
{
    writeStdout(text.toUtf8());
}

int usageError(const QString& command, const QString& message)
{
    const QString program = QStringLiteral("nfcui-ndef");
    const QString name = command.isEmpty() ? program : program + QLatin1Char(' ') + command;
    writeStderr(QStringLiteral("%1: %2\nTry '%1 --help' for more information.\n").arg(name, message));
    return ExitUsage;
}

int failure(const QString& command, const QString& message)
{
    writeStderr(QStringLiteral("nfcui-ndef %1: %2\n").arg(command, message));
    return ExitFailure;
}

bool parseHex(const QString& text, QByteArray* bytes, QString* error)
{
    bytes->clear();
    int pos = 0;
    while (pos < text.size()) {
        if (isSeparator(text.at(pos))) {
            ++pos;
            continue;
        }
        const int high = hexDigit(text.at(pos));
        if (high < 0) {
            *error = QStringLiteral("'%1' at position %2 is not a hexadecimal digit")
                         .arg(text.at(pos)).arg(pos + 1);
            return false;
        }
        if (pos + 1 >= text.size() || isSeparator(text.at(pos + 1))) {
            *error = QStringLiteral("the hexadecimal digit at position %1 is not part of a pair; "
                                    "every byte takes two digits").arg(pos + 1);
            return false;
        }
        const int low = hexDigit(text.at(pos + 1));
        if (low < 0) {
            *error = QStringLiteral("'%1' at position %2 is not a hexadecimal digit")
                         .arg(text.at(pos + 1)).arg(pos + 2);
            return false;
        }
        bytes->append(char(high << 4 | low));
        pos += 2;
    }
    return true;
}

QByteArray toHex(const QByteArray& bytes)
{
    return bytes.toHex();
}

bool readFile(const QString& path, QByteArray* bytes, QString* error)
{
    QFile file;
    bool opened;
    if (path == QLatin1String("-")) {
        opened = file.open(stdin, QIODevice::ReadOnly);
    } else {
        file.setFileName(path);
        if (QFileInfo(path).isDir()) {
            *error = QStringLiteral("cannot read '%1': it is a directory").arg(path);
            return false;
        }
        opened = file.open(QIODevice::ReadOnly);
    }
    if (!opened) {
        *error = QStringLiteral("cannot read '%1': %2").arg(path, file.errorString());
        return false;
    }
    *bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = QStringLiteral("cannot read '%1': %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

void addMessageInputOptions(QCommandLineParser* parser)
{
    parser->addOption(QCommandLineOption(QStringLiteral("hex"),
        QStringLiteral("The message as hexadecimal bytes; whitespace and colons may separate bytes."),
        QStringLiteral("HEX")));
    parser->addOption(QCommandLineOption(QStringLiteral("file"),
        QStringLiteral("Read the message as raw bytes from the file."), QStringLiteral("PATH")));
}

bool readMessageInput(const QCommandLineParser& parser, const QStringList& inputPositionals,
                      QByteArray* data, bool* fromStdin, QString* error)
{
    *fromStdin = false;
    const bool hex = parser.isSet(QStringLiteral("hex"));
    const bool file = parser.isSet(QStringLiteral("file"));
    if (parser.values(QStringLiteral("hex")).size() > 1 || parser.values(QStringLiteral("file")).size() > 1) {
        *error = QStringLiteral("give the message once");
        return false;
    }
    if (inputPositionals.size() > 1) {
        *error = QStringLiteral("unexpected argument '%1'").arg(inputPositionals.at(1));
        return false;
    }
    if (inputPositionals.size() == 1 && inputPositionals.first() != QLatin1String("-")) {
        *error = QStringLiteral("unexpected argument '%1'").arg(inputPositionals.first());
        return false;
    }
    const bool stdinSelected = inputPositionals.size() == 1;
    if (int(hex) + int(file) + int(stdinSelected) > 1) {
        *error = QStringLiteral("give the message only one way: --hex, --file or -");
        return false;
    }

    if (hex) {
        QString hexError;
        if (!parseHex(parser.value(QStringLiteral("hex")), data, &hexError)) {
            *error = QStringLiteral("bad --hex value: %1").arg(hexError);
            return false;
        }
        return true;
    }
    if (file) {
        const QString path = parser.value(QStringLiteral("file"));
        if (path.isEmpty()) {
            *error = QStringLiteral("--file needs a file name");
            return false;
        }
        *fromStdin = path == QLatin1String("-");
        return readFile(path, data, error);
    }
    *fromStdin = true;
    return readFile(QStringLiteral("-"), data, error);
}

} // namespace NdefTool
