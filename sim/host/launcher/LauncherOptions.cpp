#include "LauncherOptions.h"

#include "DateText.h"
#include "DriverNodes.h"
#include "SimServer.h"

#include <cstdlib>
#include <map>

namespace simhost
{

namespace
{
const char* const kNoDrivers = "no-drivers";
const std::string kNoModule = "no-module=";

bool parseSpeed(const std::string& text, double* speed)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    // Slower than a thousandth, a run's first sleep would outlast any test.
    if (text.empty() || *end != '\0' || !(value >= 1e-3) || value > 1e6)
        return false;
    *speed = value;
    return true;
}
} // namespace

std::vector<std::string> LauncherOptions::hostFaultNames()
{
    return {std::string(kNoDrivers) +
                ": a machine without the codec board: no driver nodes at all, and modprobe fails",
            kNoModule + "MODULE: a machine without that driver module: no node, and modprobe MODULE fails"};
}

bool LauncherOptions::parse(int argc, char** argv, std::string* error)
{
    static const std::map<std::string, std::string> boardKeys = {
        {"--board", "board"},       {"--ident", "ident"}, {"--board-version", "version"},
        {"--q7k-regs", "q7k-regs"}, {"--seed", "seed"},   {"--timing", "timing"}};
    sim::BoardConfig check;
    int i = 1;
    for (; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if (arg == "--")
        {
            ++i;
            break;
        }
        if (arg == "-h" || arg == "--help")
        {
            help = true;
            return true;
        }
        if (arg.rfind("--", 0) != 0)
            break;
        if (i + 1 >= argc)
        {
            *error = "option " + arg + " needs a value";
            return false;
        }
        const std::string value = argv[++i];
        std::string why;
        const auto key = boardKeys.find(arg);
        if (key != boardKeys.end())
        {
            if (!check.apply(key->second, value, &why))
            {
                *error = arg + " " + value + ": " + why;
                return false;
            }
            boardSettings.emplace_back(key->second, value);
        }
        else if (arg == "--fault" && value == kNoDrivers)
            noDrivers = true;
        else if (arg == "--fault" && value.rfind(kNoModule, 0) == 0)
        {
            const std::string module = value.substr(kNoModule.size());
            if (DriverNodes::nodeOf(module).empty())
            {
                *error = "--fault " + value + ": not a module of the server's drivers";
                return false;
            }
            missingModules += " " + module + " ";
        }
        else if (arg == "--fault")
        {
            if (!check.apply("fault", value, &why))
            {
                *error = "--fault " + value + ": " + why;
                return false;
            }
            boardSettings.emplace_back("fault", value);
        }
        else if (arg == "--eeprom")
            eeprom = value;
        else if (arg == "--root")
            root = value;
        else if (arg == "--syslog")
            syslog = value;
        else if (arg == "--trace")
            trace = value;
        else if (arg == "--speed" && !parseSpeed(value, &speed))
        {
            *error = "--speed " + value + ": not a number from 0.001 to 1000000";
            return false;
        }
        else if (arg == "--date")
        {
            if (!DateText::toEpochNs(value, &wallStartNs, &why))
            {
                *error = "--date " + value + ": " + why;
                return false;
            }
            dateGiven = true;
        }
        else if (arg == "--host-board" && (value == "0" || value == "1"))
            hostBoard = value == "1" ? 1 : 0;
        else if (arg == "--modules-loaded" && (value == "yes" || value == "no"))
            modulesLoaded = value == "yes";
        else if (arg == "--pty" && (value == "yes" || value == "no"))
            pty = value == "yes";
        else if (arg != "--speed")
        {
            *error = "unknown option or bad value: " + arg + " " + value;
            return false;
        }
    }
    for (; i < argc; ++i)
        command.emplace_back(argv[i]);
    if (command.empty())
    {
        *error = "no command to run (sarvik-sim [options] -- COMMAND [ARGS...])";
        return false;
    }
    return true;
}

std::string LauncherOptions::usage()
{
    std::string text =
        "usage: sarvik-sim [options] -- COMMAND [ARGS...]\n"
        "       sarvik-sim image make|show ...\n"
        "Runs COMMAND in a fresh simulated video server and exits with its status.\n"
        "  --board " +
        sim::modelNames() +
        "   codec board model (Q5K)\n"
        "  --ident BYTE, --board-version B1,B2, --q7k-regs R0,R1,R2,R3   board identity\n"
        "  --eeprom FILE       32768-byte EEPROM image, written back at the end (built-in sample unit)\n"
        "  --root DIR          persistent /mnt/APPS tree (a fresh one per run)\n"
        "  --syslog FILE       system log messages as JSON lines\n"
        "  --trace FILE        protocol trace as JSON lines\n"
        "  --fault SPEC        a fault, repeatable (names below)\n"
        "  --speed N           clocks follow real time scaled by N (reproducible virtual time)\n"
        "  --timing NAME=US    a board latency in microseconds, repeatable (names below)\n"
        "  --date DATE         wall clock at start, ISO 8601 or date(1) syntax (now)\n"
        "  --seed N            seed of the board's random faults (1)\n"
        "  --host-board 0|1    host controller board type; 1 provides /dev/zq8_0 (1)\n"
        "  --modules-loaded yes|no   drivers loaded at start (yes)\n"
        "  --pty yes|no        run COMMAND with a pseudo-terminal as standard input (no)\n"
        "Timings (defaults):\n";
    for (const auto& line : sim::timingNames())
        text += "  " + line + "\n";
    text += "Faults:\n";
    for (const auto& name : hostFaultNames())
        text += "  " + name + "\n";
    for (const auto& name : sim::faultNames())
        text += "  " + name + "\n";
    return text;
}

} // namespace simhost
