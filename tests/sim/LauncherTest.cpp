// The launcher as a command: what it passes through from the command it runs, and how it
// refuses a command line it cannot use.
#include "SimHarness.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

struct BadInput
{
    std::vector<std::string> args; // "@/" stands for the scratch folder
    int status;
    const char* message;
};

// A command line it cannot use (2) or files it cannot use (125): one clear line on standard
// error, no command run, and the files named left as they were.
TEST(Launcher, RefusesBadInputWithAClearMessage)
{
    const BadInput cases[] = {
        {{}, 2, "sarvik-sim: no command to run"},
        {{"--speed", "0"}, 2, "sarvik-sim: --speed 0: not a number from 0.001 to 1000000"},
        {{"--speed", "0.0001"}, 2, "sarvik-sim: --speed 0.0001: not a number from 0.001 to 1000000"},
        {{"--speed", "fast"}, 2, "sarvik-sim: --speed fast: not a number"},
        {{"--host-board", "2"}, 2, "sarvik-sim: unknown option or bad value: --host-board 2"},
        {{"--modules-loaded", "maybe"}, 2, "sarvik-sim: unknown option or bad value"},
        {{"--no-such-option", "x"}, 2, "sarvik-sim: unknown option or bad value"},
        {{"--date", "not a date at all"}, 2, "sarvik-sim: --date not a date at all: date(1) cannot read"},
        {{"--date", "1969-12-31T23:59:59Z"}, 2, "sarvik-sim: --date 1969-12-31T23:59:59Z: out of range"},
        {{"--date", "2262-01-01T00:00:00Z"}, 2, "sarvik-sim: --date 2262-01-01T00:00:00Z: out of range"},
        {{"--eeprom", "@/folder"}, 125, "sarvik-sim: --eeprom @/folder: a folder, not an EEPROM image"},
        {{"--eeprom", "@/fifo"}, 125, "sarvik-sim: --eeprom @/fifo: not a regular file"},
        {{"--eeprom", "@/short.bin/x"}, 125, "sarvik-sim: --eeprom @/short.bin/x: Not a directory"},
        {{"--eeprom", "@/short.bin"},
         125,
         "sarvik-sim: @/short.bin: an EEPROM image holds 32768 bytes, this file 6"},
        {{"--trace", "@/folder"}, 125, "sarvik-sim: open(@/folder): Is a directory"},
        {{"--syslog", "@/missing/syslog"},
         125,
         "sarvik-sim: open(@/missing/syslog): No such file or directory"},
    };
    SimHarness h;
    const std::string scratch = h.path("");
    ASSERT_EQ(mkdir(h.path("folder").c_str(), 0755), 0);
    ASSERT_EQ(mkfifo(h.path("fifo").c_str(), 0644), 0);
    std::ofstream(h.path("short.bin")) << "short\n";
    for (const BadInput& c : cases)
    {
        std::vector<std::string> args;
        for (std::string arg : c.args)
            args.push_back(arg.rfind("@/", 0) == 0 ? scratch + arg.substr(2) : arg);
        if (!args.empty())
            args.insert(args.end(), {"--", "/bin/sh", "-c", "echo ran"});
        std::string message = c.message;
        for (size_t at; (at = message.find("@/")) != std::string::npos;)
            message.replace(at, 2, scratch);
        const SimRunResult r = h.sim(args);
        EXPECT_EQ(r.status, c.status) << message;
        EXPECT_EQ(r.err.rfind(message, 0), 0u) << r.err;
        EXPECT_EQ(r.out, "") << message;
    }
    EXPECT_EQ(SimHarness::readFile(h.path("short.bin")), "short\n");
}

// Stopped by a signal, the launcher stops the command and removes its run folder, where the
// root-owned set-user-ID copies of the interposer lie.
TEST(Launcher, StoppedBySigintOrSigtermItEndsTheCommandAndLeavesNothingBehind)
{
    SimHarness h;
    for (const auto& [name, status] : {std::pair{"INT", 128 + 2}, std::pair{"TERM", 128 + 15}})
    {
        const std::string script =
            "echo $SARVIK_SIM_RUN > " + h.path("run") + "; kill -" + name + " $PPID; sleep 2; echo alive";
        const SimRunResult r = h.sim({"--", "/bin/sh", "-c", script});
        EXPECT_EQ(r.status, status) << name << r.err;
        EXPECT_EQ(r.out, "") << name;
        const std::string run = SimHarness::lines(SimHarness::readFile(h.path("run"))).at(0);
        EXPECT_EQ(run.rfind("/tmp/sarvik-sim.", 0), 0u) << run;
        EXPECT_NE(access(run.c_str(), F_OK), 0) << run;
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
