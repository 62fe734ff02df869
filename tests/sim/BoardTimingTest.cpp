// The release binary against the board's timing and its transient faults, in reproducible
// virtual time.
#include "SimCheck.h"

namespace
{

struct ToolRun
{
    SSimResult result;
    std::string trace;
    std::string syslog;
};

ToolRun runTool(const Args& simArgs, const char* program = SARVIK_TOOL_PATH, const Args& programArgs = {})
{
    CSimRun h;
    Args args = simArgs;
    args.insert(args.end(), {"--date", "2030-01-01", "--trace", h.Path("trace"), "--syslog", h.Path("syslog"),
                             "--", program});
    args.insert(args.end(), programArgs.begin(), programArgs.end());
    const SSimResult result = Sim(h, args);
    return {result, CSimRun::ReadText(h.Path("trace")), CSimRun::ReadText(h.Path("syslog"))};
}

// Runs repeat byte for byte; on a healthy board every answered command was polled while pending.
TEST(BoardTiming, RunsRepeatAndEveryCommandIsPolledWhilePending)
{
    const std::pair<Args, bool> cases[] = {
        {{}, true},
        {{"--board", "ZEBX"}, true},
        {{"--board", "Q5KP"}, true},
        {{"--board", "Q7K"}, true},
        {{"--fault", "bitflip=0"}, false},
        {{"--fault", "ram-late=150"}, false},
    };
    for (const auto& [simArgs, healthy] : cases)
    {
        SCOPED_TRACE(simArgs.empty() ? "Q5K" : simArgs[1]);
        const ToolRun first = runTool(simArgs);
        const ToolRun second = runTool(simArgs);
        ASSERT_EQ(first.result.Status, 0) << first.result.Err;
        ASSERT_FALSE(first.syslog.empty());
        EXPECT_EQ(first.trace, second.trace);
        EXPECT_EQ(first.syslog, second.syslog);
        const size_t answered = Count(first.trace, "\"ev\":\"cmd\""),
                     polled = Count(first.trace, "\"ev\":\"polled\"");
        ASSERT_GT(answered, 0u);
        EXPECT_TRUE(!healthy || polled == answered) << polled << " of " << answered << " commands polled";
        EXPECT_EQ(Count(first.trace, "\"pending\":0,"), 0u);
    }
}

// A repair writes several pages; the EEPROM answers busy (0x02) at least N times after each but
// the last, while its write cycle runs.
TEST(BoardTiming, EveryPageWriteIsFollowedByBusyAnswers)
{
    const std::pair<Args, size_t> cases[] = {
        {{"--fault", "bitflip=0"}, 1},
        {{"--fault", "bitflip=0", "--fault", "write-busy=4"}, 4},
    };
    for (const auto& [simArgs, busyAnswers] : cases)
    {
        const ToolRun run = runTool(simArgs);
        ASSERT_EQ(run.result.Status, 0) << run.result.Err;
        std::vector<size_t> busyAfter;
        for (const std::string& line : Words(run.trace))
        {
            const bool busy = line.find("\"ev\":\"i2c\"") != std::string::npos &&
                              line.find("\"status\":\"0x02\"") != std::string::npos;
            if (line.find("\"wr\":66") != std::string::npos && !busy)
                busyAfter.push_back(0);
            else if (!busyAfter.empty() && busy)
                ++busyAfter.back();
        }
        ASSERT_GE(busyAfter.size(), 2u);
        busyAfter.pop_back();
        for (size_t i = 0; i < busyAfter.size(); ++i)
            EXPECT_GE(busyAfter[i], busyAnswers) << "page write " << i;
    }
}

// Each wake-up attempt starts with a reset pulse (line 1 twice in the trace); a board that is
// late is woken on a later attempt, or the unit is not read.
TEST(BoardTiming, LateBoardIsWokenOnALaterAttempt)
{
    CSimRun h;
    const RunCase cases[] = {
        {"-- TOOL", 0, "Serial", "", "2*ev:reset,line:1"},
        {"--fault ram-late=100 -- TOOL", 0, "Serial", "", "2*ev:reset,line:1"},
        {"--fault ram-late=150 -- TOOL", 0, "Serial", "", "4*ev:reset,line:1"},
        {"--fault ram-late=400 -- TOOL", 0, "!Serial", "", "6*ev:reset,line:1|BoardWakeUp() returned 0x1"},
        {"--fault bootstrap-late=205 -- TOOL", 0, "Serial", "", "4*ev:reset,line:1"},
    };
    ExpectRuns(h, cases);
}

struct ChecksumCase
{
    const char* name;
    Args simArgs;
    const char* mode;
    const char* status;
};

class ChecksumModeTest : public testing::TestWithParam<ChecksumCase>
{
};

TEST_P(ChecksumModeTest, CorruptedReplyIsCaughtOnlyWithTheChecksumOn)
{
    const ToolRun run =
        runTool(GetParam().simArgs, PROBE_PATH, {"toolbox", "wakeup", "3", "eeread", GetParam().mode});
    ASSERT_EQ(run.result.Status, 0) << run.result.Err;
    EXPECT_EQ(run.result.Value("1.result"), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, ChecksumModeTest,
    testing::Values(ChecksumCase{"intact", {}, "on", "0"},
                    ChecksumCase{"data", {"--fault", "reply-corrupt=1"}, "on", "4"},
                    ChecksumCase{"checksum", {"--fault", "checksum-corrupt=1"}, "on", "4"},
                    ChecksumCase{"data_unchecked", {"--fault", "reply-corrupt=1"}, "off", "0"}),
    [](const testing::TestParamInfo<ChecksumCase>& info) { return info.param.name; });

} // namespace
