#pragma once
// Runs of sarvik-sim for the simulator's own tests: the options exactly as given, so that time is
// the reproducible virtual time unless a test asks for --speed.
#include "SimRun.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

inline Args Words(const std::string& text)
{
    std::istringstream in(text);
    return Args(std::istream_iterator<std::string>(in), std::istream_iterator<std::string>());
}

// sarvik-sim ARGS, with PROBE standing for sim-probe
inline SSimResult Sim(CSimRun& h, Args args)
{
    std::replace(args.begin(), args.end(), std::string("PROBE"), std::string(CSimRun::S_Probe));
    args.insert(args.begin(), CSimRun::S_Sim);
    return h.Host(args);
}

struct RunCase
{
    // sarvik-sim's arguments: blank-separated words, '+' a blank inside one, "@/" the scratch
    // folder; without "--", the command "echo ran" follows.
    const char* command;
    int status;
    const char* out;        // words standard output holds ("!word": lacks)
    const char* err = "";   // a fragment of standard error
    const char* trace = ""; // a fragment of the protocol trace without its quotes ("!...": lacks)
};

inline std::string Scratch(std::string text, const CSimRun& h)
{
    for (size_t at; (at = text.find("@/")) != std::string::npos;)
        text.replace(at, 2, h.Path(""));
    return text;
}

// One run of sarvik-sim per row.
inline void ExpectRuns(CSimRun& h, const std::vector<RunCase>& cases)
{
    for (const RunCase& c : cases)
    {
        SCOPED_TRACE(c.command);
        const std::string tracePath = h.Path("trace" + std::to_string(&c - cases.data()));
        Args args = *c.trace ? Args{"--trace", tracePath} : Args{};
        for (std::string word : Words(Scratch(c.command, h)))
        {
            std::replace(word.begin(), word.end(), '+', ' ');
            args.push_back(word);
        }
        if (*c.command && std::find(args.begin(), args.end(), "--") == args.end())
            args.insert(args.end(), {"--", "echo", "ran"});
        const SSimResult r = Sim(h, args);
        EXPECT_EQ(r.Status, c.status) << r.Err;
        const Args out = Words(r.Out);
        for (const std::string& word : Words(c.out))
            EXPECT_EQ(std::count(out.begin(), out.end(), word.substr(word[0] == '!')), word[0] != '!')
                << word;
        EXPECT_NE(r.Err.find(Scratch(c.err, h)), std::string::npos) << r.Err;
        std::string trace = CSimRun::ReadText(tracePath);
        trace.erase(std::remove(trace.begin(), trace.end(), '"'), trace.end());
        const bool lacks = c.trace[0] == '!';
        EXPECT_EQ(trace.find(c.trace + lacks) == std::string::npos, lacks) << c.trace;
    }
}
