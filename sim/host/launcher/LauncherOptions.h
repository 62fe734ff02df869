// The command line of sarvik-sim: `sarvik-sim [options] -- COMMAND [ARGS...]`.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace simhost
{

struct LauncherOptions
{
    std::vector<std::pair<std::string, std::string>> boardSettings; // BoardConfig key, value
    std::string eeprom;
    std::string root;
    std::string syslog;
    std::string trace;
    double speed = 0; // 0: reproducible virtual time
    bool dateGiven = false;
    int64_t wallStartNs = 0;
    int hostBoard = 1;
    bool modulesLoaded = true;
    bool noDrivers = false;
    std::string missingModules; // " drv_a drv_b ": modules the machine does not have
    bool pty = false;
    bool help = false;
    std::vector<std::string> command;

    // Host faults, each with its one-line description.
    static std::vector<std::string> hostFaultNames();
    // false with a message for the user; `date` converts a --date text to ns since the epoch.
    bool parse(int argc, char** argv, std::string* error);
    static std::string usage();
};

} // namespace simhost
