// Virtual time: the reproducible clock every process of a run shares, the real spans of a run at
// a speed, and what the program's own activity costs. What a program observes through its
// clocks, sleeps and TSC is in LauncherTest.
#include "VirtualClock.h"
#include "PollCost.h"

#include <gtest/gtest.h>
#include <tuple>

namespace
{

constexpr int64_t kSecond = 1000000000LL;
using simhost::PollCost;

TEST(VirtualClock, ReproducibleClockMovesOnlyWhenAdvancedAndSpeedScalesRealSpans)
{
    simhost::ClockPage page{};
    const simhost::VirtualClock clock(100 * kSecond, 2000000000LL * kSecond, 0, 0, &page);
    EXPECT_EQ(clock.monotonicNow(), 100 * kSecond);
    clock.advance(kSecond / 2);
    clock.advance(-kSecond);                                          // a deadline already past moves nothing
    const simhost::VirtualClock other(100 * kSecond, 0, 0, 0, &page); // another process of the run
    EXPECT_EQ(other.monotonicNow(), 100 * kSecond + kSecond / 2);
    EXPECT_EQ(clock.wallNow(), 2000000000LL * kSecond + kSecond / 2);
    EXPECT_EQ(clock.toReal(kSecond), kSecond) << "other threads wait a virtual span in real time";
    const simhost::VirtualClock slow(0, 0, 0.5, 0, nullptr);
    EXPECT_EQ(slow.toReal(kSecond), 2 * kSecond);
    EXPECT_EQ(slow.toVirtual(2 * kSecond), kSecond);
}

// Each row: a pattern repeated N times, then a tail, and the cost the last event is charged.
TEST(PollCost, ChargesAShareOfTheTimeARepeatingPollOrBusyWaitHasRun)
{
    // r: read of place 1 finding 0x80, R: another value, w: write of 1 to place 2, x: a new value
    // written there, t: TSC read, s: sleep
    const std::tuple<const char*, int, const char*, int64_t> rows[] = {
        {"r", 1, "", 1000},   {"r", 18, "", 1062},   {"rt", 17, "r", 1062},
        {"r", 17, "R", 1000}, {"r", 17, "wr", 1000}, {"r", 17, "sr", 1000},
        {"t", 18, "", 1062},  {"t", 17, "rt", 1000}, {"wr", 10, "", 1062},
        {"wx", 40, "", 1000}, {"ww", 40, "", 1000},  {"t", 20000, "", PollCost::kMaxNs},
    };
    for (const auto& [pattern, times, tail, expected] : rows)
    {
        std::string events;
        for (int i = 0; i < times; ++i)
            events += pattern;
        events += tail;
        PollCost cost;
        int64_t last = 0;
        uint32_t fresh = 0;
        for (char e : events)
        {
            if (e == 't')
                last = cost.tscRead();
            else if (e == 's')
                cost.waited();
            else if (e == 'w' || e == 'x')
                last = cost.boardAccess(2, e == 'w' ? 1 : ++fresh, false);
            else
                last = cost.boardAccess(1, e == 'R' ? 0 : 0x80, true);
        }
        EXPECT_EQ(last, expected) << pattern << " x" << times << tail;
    }
}

} // namespace
