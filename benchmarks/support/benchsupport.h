#ifndef BENCHSUPPORT_H
#define BENCHSUPPORT_H

#include <QString>

#include <functional>
#include <vector>

class ConnectivityDialogPluginInterface;
class QTemporaryDir;

namespace Bench {

// The p-th percentile (0..1) of samples in nanoseconds, in microseconds.
double percentile(std::vector<qint64> values, double p);

// Runs the event loop until done() holds; false after timeoutMs. The thread sleeps in the event loop
// between events, as a server's thread does. A thread that polls keeps a CPU busy: on a machine with
// few cores QtDBus's connection thread, woken to send or read a message, then waits behind it for the
// scheduler (about a millisecond at a time), which is measured as bus latency.
bool waitSleeping(const std::function<bool()>& done, int timeoutMs);

// Runs the event loop for ms milliseconds, as an idle server does.
void idle(int ms);

// Points HOME and the XDG directories into home, switches debug and info lines off, and warnings too when
// quiet (unless QT_LOGGING_RULES says otherwise), and installs a web browser's desktop entry for http and https with
// its MIME cache. False with the reason in error when something is missing.
bool setUpPrivateHome(const QTemporaryDir& home, bool quiet, QString* error);

// Loads the built plugin library as a dialog server does, through its plugin instance. Null with the
// reason in error when the library cannot be loaded or holds no dialog plugin. The library stays loaded.
ConnectivityDialogPluginInterface* loadDialogPlugin(const QString& fileName, QString* error);

// Resident memory of this process in KiB (VmRSS), -1 when unknown.
long residentKiB();

// Descriptors this process has open.
int openDescriptors();

} // namespace Bench

#endif
