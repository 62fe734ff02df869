#include "ModuleTool.h"

#include "DriverNodes.h"
#include "RunConfig.h"
#include "TraceFile.h"
#include "TraceJson.h"
#include "VirtualClock.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <syslog.h>
#include <unistd.h>

namespace simhost
{

namespace
{

// Driver nodes this module tool was started with: a tool that lets its shell inherit its
// driver descriptors shows up here.
int inheritedDriverDescriptors()
{
    int count = 0;
    for (int fd = 3; fd < 256; ++fd)
    {
        char link[64];
        char target[256];
        std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
        const ssize_t n = readlink(link, target, sizeof target - 1);
        if (n <= 0)
            continue;
        target[n] = '\0';
        for (const char* node : {"/dev/comram", "/dev/timecode", "/dev/zq8"})
            if (std::strncmp(target, node, std::strlen(node)) == 0)
                ++count;
    }
    return count;
}

void traceCall(const RunConfig& config, const char* command, const std::string& module, int status)
{
    const int driverFds = inheritedDriverDescriptors();
    TraceFile trace(config.get("trace"));
    const VirtualClock clock = VirtualClock::forRun(config);
    trace.emit(sim::TraceJson(static_cast<uint64_t>(clock.monotonicNow()), command)
                   .str("module", module)
                   .snum("status", status)
                   .snum("driver_fds", driverFds)
                   .snum("uid", getuid())
                   .snum("euid", geteuid())
                   .line());
}

bool exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

void report(bool toSyslog, const char* ident, const std::string& text)
{
    if (toSyslog)
    {
        openlog(ident, LOG_PID, LOG_DAEMON);
        syslog(LOG_ERR, "%s", text.c_str());
        closelog();
    }
    else
        std::fprintf(stderr, "%s: %s\n", ident, text.c_str());
}
} // namespace

bool ModuleTool::makeNode(const std::string& path, std::string* error)
{
    std::ofstream file(path);
    if (!file || chmod(path.c_str(), 0600) != 0)
    {
        *error = "open(" + path + "): " + std::strerror(errno);
        return false;
    }
    return true;
}

bool ModuleTool::load(const std::string& runDir, const std::string& module, std::string* error)
{
    return makeNode(runDir + "/modules/" + module, error) &&
           makeNode(runDir + "/dev/" + DriverNodes::nodeOf(module), error);
}

int ModuleTool::run(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    const std::string runDir = argv[0];
    const std::string command = argv[1];
    if (command == "modprobe")
        return modprobe(runDir, argc - 2, argv + 2);
    if (command == "rmmod")
        return rmmod(runDir, argc - 2, argv + 2);
    return 2;
}

int ModuleTool::modprobe(const std::string& runDir, int argc, char** argv)
{
    RunConfig config;
    config.load(runDir);
    bool toSyslog = false;
    std::string module;
    for (int i = 0; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if (arg == "-s" || arg == "--syslog")
            toSyslog = true;
        else if (!arg.empty() && arg[0] != '-' && module.empty())
            module = arg;
    }
    int status = 0;
    std::string error;
    if (module.empty())
    {
        report(toSyslog, "modprobe", "ERROR: missing module name.");
        status = 1;
    }
    else if (config.getInt("no_drivers", 0) != 0 || DriverNodes::nodeOf(module).empty() ||
             config.get("missing_modules").find(" " + module + " ") != std::string::npos)
    {
        struct utsname uts
        {
        };
        uname(&uts);
        report(toSyslog, "modprobe",
               "FATAL: Module " + module + " not found in directory /lib/modules/" + uts.release);
        status = 1;
    }
    else if (!exists(runDir + "/modules/" + module) && !load(runDir, module, &error))
    {
        report(toSyslog, "modprobe", error);
        status = 1;
    }
    traceCall(config, "modprobe", module, status);
    return status;
}

int ModuleTool::rmmod(const std::string& runDir, int argc, char** argv)
{
    RunConfig config;
    config.load(runDir);
    std::string module;
    for (int i = 0; i < argc; ++i)
        if (argv[i][0] != '-' && module.empty())
            module = argv[i];
    int status = 0;
    if (module.empty() || !exists(runDir + "/modules/" + module))
    {
        std::fprintf(stderr, "rmmod: ERROR: Module %s is not currently loaded\n", module.c_str());
        status = 1;
    }
    else
    {
        unlink((runDir + "/modules/" + module).c_str());
        unlink((runDir + "/dev/" + DriverNodes::nodeOf(module)).c_str());
    }
    traceCall(config, "rmmod", module, status);
    return status;
}

} // namespace simhost
