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
