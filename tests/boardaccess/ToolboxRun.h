#pragma once
// sim-probe's start-up and toolbox operations in a fresh simulated server (a probe that does not
// exit with 0 fails the calling test), and what its output and trace hold as one comparable text.
#include "SimRun.h"

#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

inline SSimResult ToolboxRun(const Args& options, const Args& ops)
{
    CSimRun sim;
    Args command = {CSimRun::S_Probe, "toolbox"};
    command.insert(command.end(), ops.begin(), ops.end());
    SSimResult run = sim.Run(options, command);
    EXPECT_EQ(run.Status, 0) << run.Out << run.Err;
    return run;
}

inline Args Words(const std::string& text)
{
    std::istringstream in(text);
    return Args(std::istream_iterator<std::string>(in), std::istream_iterator<std::string>());
}

// Names a parameterised case after its Name field.
inline const auto ByName = [](const auto& info) { return std::string(info.param.Name); };

// The key=value words of `values` with the values the run printed, for one comparison with them.
inline std::string Printed(const SSimResult& run, const std::string& values)
{
    std::string printed;
    for (const std::string& word : Words(values))
    {
        const std::string key = word.substr(0, word.find('='));
        printed += (printed.empty() ? "" : " ") + key + "=" + run.Value(key);
    }
    return printed;
}

// The words "EV*N" or "EV:KEY=VALUE,...*N" of `counts` with the number of trace events of kind EV
// (whose fields KEY read VALUE) the run left, for one comparison with them.
inline std::string Counted(const SSimResult& run, const std::string& counts)
{
    std::string counted;
    for (const std::string& word : Words(counts))
    {
        const std::string what = word.substr(0, word.find('*'));
        const size_t colon = what.find(':');
        size_t n = 0;
        for (const Json::Value& event : run.Events(what.substr(0, colon)))
        {
            std::istringstream fields(colon == std::string::npos ? "" : what.substr(colon + 1));
            bool match = true;
            for (std::string field; std::getline(fields, field, ',');)
                match = match && TraceNumber(event, field.substr(0, field.find('=')).c_str()) ==
                                     std::stoul(field.substr(field.find('=') + 1), nullptr, 0);
            n += match;
        }
        counted += (counted.empty() ? "" : " ") + what + "*" + std::to_string(n);
    }
    return counted;
}
