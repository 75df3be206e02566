#ifndef NFCUI_NDEF_TOOLSUPPORT_H
#define NFCUI_NDEF_TOOLSUPPORT_H

#include <QByteArray>
#include <QString>
#include <QStringList>

class QCommandLineParser;

namespace NdefTool {

// Exit statuses of the tool.
enum ExitStatus {
    ExitSuccess = 0,
    ExitFailure = 1,     // the command ran but could not do its work (for example an unwritable file)
    ExitUnparsable = 2,  // the NDEF data is not a well-formed message
    ExitUsage = 64       // bad command line: unknown option, bad value, unreadable input file
};

// Writes the bytes and a newline to standard output and flushes at once, so that a reader sees each
// line as soon as it is complete.
void printLine(const QByteArray& line);
// Writes the text to standard output as it is (UTF-8).
void printText(const QString& text);

// Explains a bad command line on standard error ("nfcui-ndef COMMAND: message" and a pointer to the
// command's help) and returns ExitUsage.
int usageError(const QString& command, const QString& message);
// Explains a failure on standard error and returns ExitFailure.
int failure(const QString& command, const QString& message);

// Bytes written as hexadecimal digit pairs. Whitespace and colons may stand between bytes, never inside
// one. Returns false and sets error when the text is not such a list; empty text is no bytes.
bool parseHex(const QString& text, QByteArray* bytes, QString* error);
// Lowercase hexadecimal, two digits per byte, no separators.
QByteArray toHex(const QByteArray& bytes);

// Reads a whole file (or standard input for "-"); false with an error text when it cannot be read.
bool readFile(const QString& path, QByteArray* bytes, QString* error);

// The input options shared by the commands that read a message: --hex HEX, --file PATH, or "-"
// (standard input) as a positional argument, standard input also when none is given.
void addMessageInputOptions(QCommandLineParser* parser);
// Reads the message bytes as the options say. stdinPositionals are the positional arguments left
// for the input ("-" or nothing). Sets fromStdin when standard input was read. Returns false with an
// error text on a bad command line.
bool readMessageInput(const QCommandLineParser& parser, const QStringList& inputPositionals,
                      QByteArray* data, bool* fromStdin, QString* error);

} // namespace NdefTool

#endif
