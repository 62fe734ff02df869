#include "CSystemCommand.h"

#include <cstdlib>
#include <unistd.h>

namespace
{
// The system's own tool directories only; a C locale so messages and parsing do not depend on
// the caller's settings.
const char* const kCleanEnvironment[] = {
    "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
    "LC_ALL=C",
    nullptr,
};
} // namespace

const char* const* CSystemCommand::CleanEnvironment()
{
    return kCleanEnvironment;
}

int CSystemCommand::Run(const char* command)
{
    if (command == nullptr)
    {
        return -1;
    }
    // system() hands the current environ to the shell it spawns; swapping it for the call keeps
    // the caller's variables out without touching the process's own environment afterwards.
    char** saved = environ;
    environ = const_cast<char**>(kCleanEnvironment);
    const int result = system(command);
    environ = saved;
    return result;
}
