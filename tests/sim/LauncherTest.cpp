// The launcher as a command: what it passes through from the command it runs, and how it
// refuses a command line it cannot use.
#include "SimHarness.h"

#include <gtest/gtest.h>

namespace
{

struct ExitCase
{
    std::vector<std::string> probeArgs;
    int status;
};

class LauncherExitStatus : public testing::TestWithParam<ExitCase>
{
};

TEST_P(LauncherExitStatus, IsTheCommandsOwnOr128PlusItsSignal)
{
    SimHarness h;
    const SimRunResult r = h.probe({}, GetParam().probeArgs);
    EXPECT_EQ(r.status, GetParam().status) << r.err;
}

INSTANTIATE_TEST_SUITE_P(Statuses, LauncherExitStatus,
                         testing::Values(ExitCase{{"exit", "0"}, 0}, ExitCase{{"exit", "3"}, 3},
                                         ExitCase{{"exit", "255"}, 255}, ExitCase{{"kill", "15"}, 128 + 15},
                                         ExitCase{{"kill", "6"}, 128 + 6}));

TEST(Launcher, PassesStandardOutputAndErrorThroughUntouched)
{
    SimHarness h;
    const SimRunResult r = h.probe({}, {"exit", "0"});
    EXPECT_EQ(r.out, "out\n");
    EXPECT_EQ(r.err, "err\n");
}

TEST(Launcher, CommandThatCannotBeStartedExitsWith127NamingTheCall)
{
    SimHarness h;
    const SimRunResult r = h.sim({"--", "/nonexistent/program"});
    EXPECT_EQ(r.status, 127);
    EXPECT_NE(r.err.find("execvp(/nonexistent/program)"), std::string::npos) << r.err;
}

TEST(Launcher, RefusesUnusableCommandLinesWithStatus2)
{
    const std::vector<std::vector<std::string>> bad = {{},
                                                       {"--speed", "0", "--", "true"},
                                                       {"--speed", "fast", "--", "true"},
                                                       {"--host-board", "2", "--", "true"},
                                                       {"--modules-loaded", "maybe", "--", "true"},
                                                       {"--no-such-option", "x", "--", "true"},
                                                       {"--date", "not a date at all", "--", "true"}};
    for (const auto& args : bad)
    {
        SimHarness h;
        const SimRunResult r = h.sim(args);
        EXPECT_EQ(r.status, 2) << testing::PrintToString(args);
        EXPECT_NE(r.err.find("sarvik-sim: "), std::string::npos) << testing::PrintToString(args);
    }
}

TEST(Launcher, PtyGivesTheCommandATerminalAsStandardInput)
{
    SimHarness h;
    const std::string check = "if test -t 0; then echo terminal; else echo none; fi";
    EXPECT_EQ(h.sim({"--pty", "yes", "--", "/bin/sh", "-c", check}).out, "terminal\n");
    EXPECT_EQ(h.sim({"--", "/bin/sh", "-c", check}).out, "none\n");
}

TEST(Launcher, HelpListsTheOptionsAndTheHostFaults)
{
    SimHarness h;
    const SimRunResult r = h.sim({"--help"});
    EXPECT_EQ(r.status, 0);
    for (const char* word : {"--board", "--eeprom", "--root", "--syslog", "--trace", "--fault", "--speed",
                             "--date", "--seed", "no-drivers"})
        EXPECT_NE(r.out.find(word), std::string::npos) << word;
}

} // namespace
