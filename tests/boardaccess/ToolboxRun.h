#pragma once
// sim-probe's start-up and toolbox operations in a fresh simulated server; a probe that does not
// exit with 0 fails the calling test.
#include "SimRun.h"

#include <gtest/gtest.h>

inline SSimResult ToolboxRun(const Args& options, const Args& ops)
{
    CSimRun sim;
    Args command = {CSimRun::S_Probe, "toolbox"};
    command.insert(command.end(), ops.begin(), ops.end());
    SSimResult run = sim.Run(options, command);
    EXPECT_EQ(run.Status, 0) << run.Out << run.Err;
    return run;
}

// Names a parameterised case after its Name field.
inline const auto ByName = [](const auto& info) { return std::string(info.param.Name); };
