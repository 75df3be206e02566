// Descriptors a process was started with (a shell script's leftovers, for example) stay usable in it
// but are not passed on to the programs it starts. The plugins start programs without forking the
// dialog server only when no descriptor of it could be inherited, so the dialog server marks what it
// inherited close-on-exec before anything else.
#pragma once

#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace Host {

inline void closeInheritedDescriptorsOnExec()
{
    DIR* dir = ::opendir("/proc/self/fd");
    if (!dir)
        return;
    const int listing = ::dirfd(dir);
    while (const dirent* entry = ::readdir(dir)) {
        char* end = nullptr;
        const long fd = std::strtol(entry->d_name, &end, 10);
        if (end == entry->d_name || *end != '\0' || fd <= STDERR_FILENO || fd == listing)
            continue;
        const int flags = ::fcntl(int(fd), F_GETFD);
        if (flags >= 0 && !(flags & FD_CLOEXEC))
            ::fcntl(int(fd), F_SETFD, flags | FD_CLOEXEC);
    }
    ::closedir(dir);
}

} // namespace Host
