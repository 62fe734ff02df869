#pragma once
// Runs a program in a fresh simulated server (sarvik-sim) and collects what it left: exit status,
// standard output and error, the protocol trace and the system log. Every run of one CSimRun
// shares its scratch folder, EEPROM images and /mnt/APPS tree, so a unit can be run again.
#include <json/json.h>

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

using Args = std::vector<std::string>;
using LogLines = std::vector<std::pair<int, std::string>>; // priority, message

struct SSimResult
{
    int Status = -1; // exit status, 128 + N after signal N, -1 when it could not be started
    std::string Out;
    std::string Err;
    std::vector<Json::Value> Trace;  // protocol trace events, in order
    std::vector<Json::Value> Syslog; // system log lines of every ident, in order

    // The value of "key=" in key=value output (the probe's), empty when missing.
    std::string Value(const std::string& key) const;
    std::vector<Json::Value> Events(const std::string& ev) const;
    // "cmd" events of one opcode.
    std::vector<Json::Value> Commands(uint32_t opcode) const;
    // Priority and message of the lines logged under one ident (facility LOG_USER checked).
    LogLines Log(const std::string& ident = "Sarvik") const;
};

// A trace field as a number: hex text ("0x7F") or a JSON number; ~0u when absent.
uint32_t TraceNumber(const Json::Value& event, const char* key);
// One field of each event, as TraceNumber reads it.
std::vector<uint32_t> TraceNumbers(const std::vector<Json::Value>& events, const char* key);

// How a started command meets the terminal given as its standard input.
enum class ETerminal
{
    NONE,        // an ordinary descriptor
    CONTROLLING, // the controlling terminal of the command's own session, the command in front
    BACKGROUND,  // as a shell runs `COMMAND &`: the session's foreground stays with the shell
    // started in front; SIGUSR1 to the started pid moves it to the background (Ctrl-Z, `bg`)
    MOVED_TO_BACKGROUND
};

class CSimRun
{
public:
    // A background command that was stopped ends its run with this status + the signal.
    static constexpr int STOPPED_BY_SIGNAL = 100;
    static const char* const S_Sim;   // sarvik-sim
    static const char* const S_Tool;  // the release binary
    static const char* const S_Probe; // sim-probe

    CSimRun();  // makes a fresh folder under /tmp, or throws
    ~CSimRun(); // removes that folder, and nothing else
    CSimRun(const CSimRun&) = delete;
    CSimRun& operator=(const CSimRun&) = delete;

    std::string Path(const std::string& name) const { return mFolder + "/" + name; }
    // The runs' /mnt/APPS (--root): its switch log accumulates across runs.
    std::string Root() const { return Path("APPS"); }

    // "sarvik-sim image make ARGS" into a new file of the folder; its path, empty on failure.
    std::string Image(const Args& makeArgs);
    // sarvik-sim --root --trace --syslog OPTIONS -- COMMAND in reproducible virtual time, standard
    // input from /dev/null.
    SSimResult Run(const Args& options, const Args& command);
    SSimResult Tool(const Args& options, const Args& toolArgs = {});
    // As Run, without waiting, standard input from stdinFd (-1: /dev/null).
    pid_t Start(const Args& options, const Args& command, int stdinFd = -1,
                ETerminal terminal = ETerminal::NONE);
    SSimResult Wait(pid_t pid);
    // A program outside the simulated server (dpkg, cp...), never the tool or the probe.
    SSimResult Host(const Args& argv);

    static std::string ReadText(const std::string& path);
    static std::vector<uint8_t> ReadBytes(const std::string& path);

private:
    pid_t Spawn(const Args& argv, int stdinFd, ETerminal terminal);

    std::string mFolder;
    std::string mStem;
    unsigned mRuns = 0;
};
