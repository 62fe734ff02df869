// The simulated server's view of the file system, built in the child process before it runs
// the command: a private mount namespace in which the run directory's dev/ is /dev, its mnt/
// is /mnt and the module commands replace the system's own.
#pragma once

#include "LauncherOptions.h"
#include "RunDirectory.h"

#include <string>

namespace simhost
{

class Sandbox
{
public:
    // Builds the namespace; false with a message naming the failing call.
    static bool enter(const RunDirectory& run, const LauncherOptions& options, std::string* error);
    // LD_PRELOAD, PATH and the run variable of the command's environment.
    static void prepareEnvironment(const RunDirectory& run, const std::string& preloadRoot);
};

} // namespace simhost
