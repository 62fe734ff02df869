#pragma once
// Runs a program under the simulated server (or on the bare machine) and collects what it left:
// standard output, the protocol trace (one JSON object per line), the syslog and the wall time.
#include <json/json.h>

#include <cstdint>
#include <string>
#include <vector>

struct SSimRun
{
    int Exit_S32 = -1;
    std::string Stdout_S;
    Json::Value Output_X; // standard output parsed as JSON when it is JSON
    std::vector<Json::Value> Trace_X;
    std::string Syslog_S;
    int64_t WallMs_S64 = 0;

    // Trace events of one kind ("cmd", "reset", "i2c", "reg", "psu", ...), in order.
    std::vector<Json::Value> Events(const char* kind) const;
    // "cmd" events of one opcode.
    std::vector<Json::Value> Commands(uint32_t opcode) const;
    // The probe's operation results, in order.
    const Json::Value& Op(unsigned index) const { return Output_X["ops"][index]; }
};

// Hex text of the trace ("0x7F") or a JSON number, as a number; ~0u when absent.
uint32_t TraceNumber(const Json::Value& event, const char* key);

// sarvik-sim OPTIONS... --trace T --syslog S -- PROGRAM ARGS...
SSimRun RunInSim(const std::vector<std::string>& simOptions, const std::vector<std::string>& command);
// The probe program under the simulated server (speed 20 unless the options give one); a
// probe that does not exit with 0 fails the calling test.
SSimRun RunProbe(std::vector<std::string> simOptions, const std::vector<std::string>& ops);
// PROGRAM ARGS... straight on this machine, no simulated server.
SSimRun RunBare(const std::vector<std::string>& command);
