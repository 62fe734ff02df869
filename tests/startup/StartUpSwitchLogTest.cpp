#include "SimRun.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace
{
constexpr off_t LIMIT = 2097152;
constexpr off_t SESSION_LINE = 26 + 43;
const std::string SESSION = "-------------- New Session --------------\r\n";
const std::string SAMPLE = "Serial number : KV0012345\nChassis : KV5-4U\n"; // the simulator's unit
const std::string PREFIX = R"(<\d{2}/\d{2}/\d{4} \d{2}:\d{2}:\d{2}\.\d{3}> )";

// The switch log of the simulated server's /mnt/APPS.
std::string SwitchLog(const CSimRun& sim)
{
    return sim.Root() + "/data/log/QXK_Switch.log";
}

off_t FileSize(const std::string& path) // -1 when missing
{
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

// The tool run quietly: status 0, nothing on standard error.
std::string RunQuietly(CSimRun& sim, const Args& options = {})
{
    const SSimResult result = sim.Tool(options);
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Err, "");
    return result.Out;
}

// Two runs, the second dated after 2038; the mask 003 set before the log is created gives the
// group write permission (the tool starts with mask 022).
TEST(StartUpSwitchLog, EveryRunAppendsOneTimeStampedSessionLineToAGroupWritableLog)
{
    CSimRun sim;
    RunQuietly(sim);
    RunQuietly(sim, {"--date", "2041-07-15 13:45:30"});
    const std::string log = CSimRun::ReadText(SwitchLog(sim));
    EXPECT_TRUE(
        std::regex_match(log, std::regex(PREFIX + SESSION + R"(<15/07/2041 13:45:3\d\.\d{3}> )" + SESSION)))
        << log;
    struct stat info = {};
    ASSERT_EQ(stat(SwitchLog(sim).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0664u);
}

TEST(StartUpSwitchLog, SizeLimitKeepsAFullLogAndMovesALargerOneAsideForOneSilentRun)
{
    // The log's size before the run, then the log's and the moved-aside log's after it (-1: none).
    const std::tuple<off_t, off_t, off_t> cases[] = {
        // Kept and written to; that line takes it over the limit, so it is then moved aside whole.
        {LIMIT, 0, LIMIT + SESSION_LINE},
        // Moved aside at start; that run writes no line at all.
        {LIMIT + 1, -1, LIMIT + 1},
    };
    for (const auto& [existing, afterLog, afterBak] : cases)
    {
        SCOPED_TRACE(existing);
        CSimRun sim;
        std::ofstream(SwitchLog(sim)).close();
        ASSERT_EQ(truncate(SwitchLog(sim).c_str(), existing), 0);
        RunQuietly(sim);
        EXPECT_EQ(std::pair(FileSize(SwitchLog(sim)), FileSize(SwitchLog(sim) + ".bak")),
                  std::pair(afterLog, afterBak));
        RunQuietly(sim);
        EXPECT_TRUE(std::regex_match(CSimRun::ReadText(SwitchLog(sim)), std::regex(PREFIX + SESSION)))
            << "the next run starts a new file";
    }
}

TEST(StartUpSwitchLog, WithoutTheLogDirectoryNothingIsWrittenAndNothingMoreIsPrinted)
{
    // The simulated server recreates a missing log folder; a link to nowhere is just as absent
    // for the tool.
    CSimRun sim;
    ASSERT_EQ(rmdir((sim.Root() + "/data/log").c_str()), 0);
    ASSERT_EQ(symlink("/nonexistent/sarvik-log", (sim.Root() + "/data/log").c_str()), 0);
    EXPECT_EQ(RunQuietly(sim), SAMPLE);
    EXPECT_EQ(FileSize(SwitchLog(sim)), -1);
    EXPECT_EQ(FileSize("/nonexistent"), -1);
}

TEST(StartUpSwitchLog, AClosedOrPlainStandardDescriptorSendsNothingIntoTheSwitchLog)
{
    // Arguments and redirections, and what is printed.
    const std::pair<const char*, std::string> cases[] = {
        {">&-", ""},
        {"--bogus-option 2>&-", SAMPLE},
        {"<&-", SAMPLE},
        {"</dev/null", SAMPLE}, // not a terminal: the console is left alone
        {"--bogus-option <&- >&- 2>&-", ""},
    };
    for (const auto& [redirections, out] : cases)
    {
        SCOPED_TRACE(redirections);
        CSimRun sim;
        // The tool run the way a shell does for `Sarvik ARGS REDIRECTIONS`.
        const SSimResult result =
            sim.Run({}, {"/bin/sh", "-c", std::string("exec \"$0\" ") + redirections, CSimRun::S_Tool});
        ASSERT_EQ(result.Status, 0) << result.Err;
        EXPECT_EQ(result.Out, out);
        const std::string log = CSimRun::ReadText(SwitchLog(sim));
        EXPECT_TRUE(std::regex_match(log, std::regex(PREFIX + SESSION))) << log;
    }
}
} // namespace
