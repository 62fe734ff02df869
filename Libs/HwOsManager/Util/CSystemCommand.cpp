#include "CSystemCommand.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace
{
// The system's own tool directories only; a C locale so messages and parsing do not depend on
// the caller's settings.
const char* const S_ppCleanEnvironment_c[] = {
    "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
    "LC_ALL=C",
    nullptr,
};
} // namespace

int CSystemCommand::Run(const char* command)
{
    if (command == nullptr)
    {
        return -1;
    }
    // The tool's standard output is its report and its error stream stays clean for scripts:
    // the command (and a shell that cannot find it) talks to /dev/null instead. Module tools
    // report through the system log themselves.
    fflush(stdout);
    fflush(stderr);
    int saved_S32[3] = {-1, -1, -1};
    const int null_S32 = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null_S32 >= 0)
    {
        for (int fd = 0; fd < 3; ++fd)
        {
            saved_S32[fd] = fcntl(fd, F_DUPFD_CLOEXEC, 3);
            dup2(null_S32, fd);
        }
    }
    // system() hands the current environ to the shell it spawns; swapping it for the call keeps
    // the caller's variables out without touching the process's own environment afterwards.
    char** saved = environ;
    environ = const_cast<char**>(S_ppCleanEnvironment_c);
    const int result = system(command);
    environ = saved;
    if (null_S32 >= 0)
    {
        for (int fd = 0; fd < 3; ++fd)
        {
            if (saved_S32[fd] >= 0)
            {
                dup2(saved_S32[fd], fd);
                close(saved_S32[fd]);
            }
            else
            {
                close(fd); // it was closed before the call
            }
        }
        close(null_S32);
    }
    return result;
}
