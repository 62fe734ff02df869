#pragma once
// Runs the release binary inside a fresh simulated server and collects what a user or a support
// script would see: standard output and error, exit status, system log, EEPROM image.
#include <cstdint>
#include <string>
#include <vector>

struct SyslogLine
{
    std::string ident;
    int facility = -1;   // the facility number (LOG_USER is 1)
    uint64_t timeUs = 0; // virtual time
    int priority = -1;
    std::string message;
};

struct RunResult
{
    int exitStatus = -1;
    std::string out;
    std::string err;
    std::vector<SyslogLine> syslog; // every line of the run, any ident
    std::string trace;              // the protocol trace, one JSON object a line

    // The lines logged under the tool's own ident.
    std::vector<SyslogLine> ToolLog() const;
};

class CSimRun
{
public:
    CSimRun();
    ~CSimRun();
    CSimRun(const CSimRun&) = delete;
    CSimRun& operator=(const CSimRun&) = delete;

    // "sarvik-sim image make ARGS" into a file of the run's folder; empty on failure.
    std::string MakeImage(const std::vector<std::string>& makeArgs);
    // One run of Sarvik with the launcher options (an --eeprom image is written back after the run).
    RunResult Run(const std::vector<std::string>& simArgs, const std::vector<std::string>& toolArgs);

    static std::vector<uint8_t> ReadBytes(const std::string& path);
    static std::string ReadText(const std::string& path);
    std::string Folder() const { return mFolder; }

private:
    int Spawn(const std::vector<std::string>& argv, const std::string& outPath, const std::string& errPath);

    std::string mFolder;
    unsigned mRuns = 0;
};
