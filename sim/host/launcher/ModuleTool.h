// The kernel module commands of the simulated server. `modprobe NAME` loads a driver module and
// its device node appears; `rmmod NAME` removes both. The run's /bin/modprobe and /bin/rmmod
// scripts call sarvik-sim back in this mode; each call is recorded in the trace.
#pragma once

#include <string>

namespace simhost
{

class ModuleTool
{
public:
    static constexpr const char* kOption = "--module-tool";

    // argv: run directory, "modprobe" or "rmmod", then the command's own arguments.
    static int run(int argc, char** argv);
    static bool load(const std::string& runDir, const std::string& module, std::string* error);
    // A driver node as a server has it: root's alone (mode 0600), so an ordinary user's open fails.
    static bool makeNode(const std::string& path, std::string* error);

private:
    static int modprobe(const std::string& runDir, int argc, char** argv);
    static int rmmod(const std::string& runDir, int argc, char** argv);
};

} // namespace simhost
