#ifndef NFCUI_SIMCOMMAND_H
#define NFCUI_SIMCOMMAND_H

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Sim {

// Exit statuses of nfcui-sim.
enum ExitStatus {
    ExitGranted = 0,
    ExitNoDaemon = 2, // no daemon, no simulator, or no UI agent registered
    ExitRejected = 3, // the agent answered com.orvan.nfc.UIAgent.Rejected
    ExitError = 4,    // any other error answer
    ExitUsage = 64    // bad command line or bad input
};

// Options that hold for every command.
struct GlobalOptions
{
    bool json = false;
    int timeoutMs = 130 * 1000; // longer than the daemon's own wait for the agent
};

// Runs one command ("touch", "pair", ...) with its arguments (the command name first), prints the
// answer and returns the exit status. "script" runs the commands of a file.
int runCommand(const QStringList& arguments, const GlobalOptions& options);

// Splits one line of a script as a shell would split simple words: blanks separate words, single and
// double quotes group, a backslash escapes the next character. False on an unterminated quote.
bool splitLine(const QString& line, QStringList* words, QString* error);

// Hexadecimal digit pairs; blanks and colons may stand between bytes.
bool parseHex(const QString& text, QByteArray* bytes, QString* error);

} // namespace Sim

#endif
