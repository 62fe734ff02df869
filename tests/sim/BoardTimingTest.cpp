// The release binary against the board's timing and its transient faults, in reproducible
// virtual time.
#include "SimCheck.h"

namespace
{

SSimResult RunTool(Args options)
{
    CSimRun h;
    options.insert(options.end(), {"--date", "2030-01-01"});
    return h.Tool(options);
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
    for (const auto& [options, healthy] : cases)
    {
        SCOPED_TRACE(options.empty() ? "Q5K" : options[1]);
        const SSimResult first = RunTool(options), second = RunTool(options);
        ASSERT_EQ(first.Status, 0) << first.Err;
        ASSERT_FALSE(first.Syslog.empty());
        EXPECT_EQ(first.Trace, second.Trace);
        EXPECT_EQ(first.Syslog, second.Syslog);
        const std::vector<uint32_t> pending = TraceNumbers(first.Events("polled"), "pending");
        ASSERT_FALSE(first.Events("cmd").empty());
        EXPECT_TRUE(!healthy || pending.size() == first.Events("cmd").size()) << pending.size() << " polled";
        EXPECT_EQ(std::count(pending.begin(), pending.end(), 0u), 0);
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
    for (const auto& [options, busyAnswers] : cases)
    {
        const SSimResult run = RunTool(options);
        ASSERT_EQ(run.Status, 0) << run.Err;
        std::vector<size_t> busyAfter;
        for (const Json::Value& event : run.Events("i2c"))
        {
            const bool busy = event["status"] == "0x02";
            if (event["wr"] == 66 && !busy)
                busyAfter.push_back(0);
            else if (busy && !busyAfter.empty())
                ++busyAfter.back();
        }
        ASSERT_GE(busyAfter.size(), 2u);
        busyAfter.pop_back();
        for (size_t i = 0; i < busyAfter.size(); ++i)
            EXPECT_GE(busyAfter[i], busyAnswers) << "page write " << i;
    }
}

// Each wake-up attempt starts with a reset pulse (line 1 twice in the trace); a board that is
// late is woken on a later attempt, or the unit is not read. sim-probe reads a page with the
// reply checksum on or off: a corrupted reply (4) is caught only with it on.
TEST(BoardTiming, LateBoardIsWokenOnALaterAttemptAndACorruptReplyCaught)
{
    CSimRun h;
    const RunCase cases[] = {
        {"-- TOOL", 0, "Serial", "", "2*ev:reset,line:1"},
        {"--fault ram-late=100 -- TOOL", 0, "Serial", "", "2*ev:reset,line:1"},
        {"--fault ram-late=150 -- TOOL", 0, "Serial", "", "4*ev:reset,line:1"},
        {"--fault ram-late=400 -- TOOL", 0, "!Serial", "", "6*ev:reset,line:1|BoardWakeUp() returned 0x1"},
        {"--fault bootstrap-late=205 -- TOOL", 0, "Serial", "", "4*ev:reset,line:1"},
        {"-- PROBE toolbox wakeup 3 eeread on", 0, "1.result=0"},
        {"--fault reply-corrupt=1 -- PROBE toolbox wakeup 3 eeread on", 0, "1.result=4"},
        {"--fault checksum-corrupt=1 -- PROBE toolbox wakeup 3 eeread on", 0, "1.result=4"},
        {"--fault reply-corrupt=1 -- PROBE toolbox wakeup 3 eeread off", 0, "1.result=0"},
    };
    ExpectRuns(h, cases);
}

} // namespace
