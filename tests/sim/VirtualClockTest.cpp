// Virtual time: the reproducible clock every process of a run shares, the real spans of a run at
// a speed, and what the program's own activity costs. What a program observes through its
// clocks, sleeps and TSC is in LauncherTest.
#include "VirtualClock.h"
#include "PollCost.h"

#include <gtest/gtest.h>

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

// Each row: a sequence of events and the cost the last one is charged.
TEST(PollCost, ChargesRepeatedPollsAndBusyWaitsMoreUntilSomethingChanges)
{
    const std::pair<std::string, int64_t> cases[] = {
        // r: read of place 1 finding 0x80, R: another value, w: write, t: TSC read, s: sleep
        {"r", PollCost::kAccessNs},
        {"rrr", 4 * PollCost::kAccessNs},
        {"rtrtr", 4 * PollCost::kAccessNs},
        {"rrR", PollCost::kAccessNs},
        {"rrwr", PollCost::kAccessNs},
        {"rrsr", PollCost::kAccessNs},
        {"ttt", 4 * PollCost::kTscReadNs},
        {"ttrt", PollCost::kTscReadNs},
        {std::string(40, 't'), PollCost::kMaxNs},
    };
    for (const auto& [events, expected] : cases)
    {
        PollCost cost;
        int64_t last = 0;
        for (char e : events)
        {
            if (e == 't')
                last = cost.tscRead();
            else if (e == 's')
                cost.waited();
            else
                last = cost.boardAccess(1, e == 'R' ? 0 : 0x80, e != 'w');
        }
        EXPECT_EQ(last, expected) << events;
    }
}

} // namespace
