#pragma once
// sim-probe's start-up and toolbox operations in a fresh simulated server; a probe that does not
// exit with 0 fails the calling test.
#include "SimRun.h"

#include <gtest/gtest.h>

inline SSimResult ToolboxRun(const Args& options, const Args& ops)
{
    CSimRun sim;
    Args args = {"toolbox"};
    args.insert(args.end(), ops.begin(), ops.end());
    SSimResult run = sim.Probe(options, args);
    EXPECT_EQ(run.Status, 0) << run.Out << run.Err;
    return run;
}
