// Descriptors a process was started with (a shell script's leftovers, for example) stay usable in it
// but are not passed on to the programs it starts. The plugins start programs without forking the
// dialog server only when no descriptor of it could be inherited, so the dialog server marks what it
// inherited close-on-exec before anything else.
#pragma once

#include <unistd.h>

namespace Host {

// True when done. One system call for all of them (Linux 5.11 and later). Where it fails the
// descriptors stay as they are, and the plugins fork to start programs, closing them in the new process.
inline bool closeInheritedDescriptorsOnExec()
{
    return ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
}

} // namespace Host
