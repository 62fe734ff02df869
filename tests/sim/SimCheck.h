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

// sarvik-sim ARGS, with PROBE standing for sim-probe and TOOL for the release binary
inline SSimResult Sim(CSimRun& h, Args args)
{
    std::replace(args.begin(), args.end(), std::string("PROBE"), std::string(CSimRun::S_Probe));
    std::replace(args.begin(), args.end(), std::string("TOOL"), std::string(CSimRun::S_Tool));
    args.insert(args.begin(), CSimRun::S_Sim);
    return h.Host(args);
}

struct RunCase
{
    // sarvik-sim's arguments: blank-separated words, '+' a blank inside one, "@/" the scratch
    // folder; without "--", the command "echo ran" follows.
    const char* command;
    int status;
    const char* out;      // words standard output holds ("!word": lacks)
    const char* err = ""; // a fragment of standard error
    // '|'-separated fragments of the protocol trace and system log without their quotes, in this
    // order; "!..." one they lack, "N*..." one they hold exactly N times.
    const char* log = "";
};

inline size_t Count(const std::string& text, const std::string& what)
{
    size_t times = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++times;
    return times;
}

inline std::string Scratch(std::string text, const CSimRun& h)
{
    for (size_t at; (at = text.find("@/")) != std::string::npos;)
        text.replace(at, 2, h.Path(""));
    return text;
}

// One run of sarvik-sim per row.
template <size_t N> void ExpectRuns(CSimRun& h, const RunCase (&cases)[N])
{
    for (const RunCase& c : cases)
    {
        SCOPED_TRACE(c.command);
        const std::string logs = h.Path("log" + std::to_string(&c - cases));
        Args args = !*c.log ? Args{} : Args{"--trace", logs + ".trace", "--syslog", logs + ".syslog"};
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
        std::string text = CSimRun::ReadText(logs + ".trace") + CSimRun::ReadText(logs + ".syslog");
        text.erase(std::remove(text.begin(), text.end(), '"'), text.end());
        size_t from = 0;
        std::istringstream fragments(c.log);
        for (std::string fragment; std::getline(fragments, fragment, '|');)
        {
            const size_t star = fragment.find('*');
            const std::string what = fragment.substr(fragment[0] == '!' ? 1 : star + 1);
            if (fragment[0] == '!' || star != std::string::npos)
                EXPECT_EQ(Count(text, what), fragment[0] == '!' ? 0 : std::stoul(fragment.substr(0, star)))
                    << fragment;
            else if ((from = text.find(what, from)) == std::string::npos)
                ADD_FAILURE() << "not in order: " << fragment << "\n" << text;
        }
    }
}
