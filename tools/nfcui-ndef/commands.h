#ifndef NFCUI_NDEF_COMMANDS_H
#define NFCUI_NDEF_COMMANDS_H

#include <QStringList>

namespace NdefTool {

// Each command takes its arguments with the program name first and the command name removed
// ("nfcui-ndef", "--hex", "d1...") and returns the process exit status.
int runInspect(const QStringList& arguments);
int runRemember(const QStringList& arguments);
int runBuild(const QStringList& arguments);
int runDefaults(const QStringList& arguments);

} // namespace NdefTool

#endif
