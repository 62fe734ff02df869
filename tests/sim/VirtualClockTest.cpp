// Virtual time: the reproducible clock every process of a run shares, what the program's own
// activity costs in it, and what an i386 program observes through its clocks, sleeps and TSC.
#include "VirtualClock.h"
#include "PollCost.h"
#include "SimHarness.h"

#include <gtest/gtest.h>

namespace
{

constexpr int64_t kSecond = 1000000000LL;
using simhost::PollCost;

TEST(VirtualClock, ReproducibleClockMovesOnlyWhenAdvanced)
{
    simhost::ClockPage page{};
    const simhost::VirtualClock clock(100 * kSecond, 2000000000LL * kSecond, 0, 0, &page);
    ASSERT_TRUE(clock.reproducible());
    EXPECT_EQ(clock.monotonicNow(), 100 * kSecond);
    clock.advance(kSecond / 2);
    clock.advance(-kSecond);                                          // a deadline already past moves nothing
    const simhost::VirtualClock other(100 * kSecond, 0, 0, 0, &page); // another process of the run
    EXPECT_EQ(other.monotonicNow(), 100 * kSecond + kSecond / 2);
    EXPECT_EQ(clock.wallNow(), 2000000000LL * kSecond + kSecond / 2);
    EXPECT_EQ(clock.toReal(kSecond), kSecond) << "other threads wait a virtual span in real time";
}

TEST(VirtualClock, SpeedScalesRealSpans)
{
    const simhost::VirtualClock clock(0, 0, 0.5, 0, nullptr);
    EXPECT_FALSE(clock.reproducible());
    EXPECT_EQ(clock.toReal(kSecond), 2 * kSecond);
    EXPECT_EQ(clock.toVirtual(2 * kSecond), kSecond);
}

// Each row: a sequence of events and the cost the last one is charged.
struct CostCase
{
    const char* name;
    std::vector<char> events; // r: read of place 1 finding 0x80, R: another value, w: write, t: TSC, s: sleep
    int64_t lastCostNs;
};

class PollCostTest : public testing::TestWithParam<CostCase>
{
};

TEST_P(PollCostTest, ChargesTheLastEvent)
{
    PollCost cost;
    int64_t last = 0;
    for (char e : GetParam().events)
    {
        if (e == 't')
            last = cost.tscRead();
        else if (e == 's')
            cost.waited();
        else
            last = cost.boardAccess(1, e == 'R' ? 0 : 0x80, e != 'w');
    }
    EXPECT_EQ(last, GetParam().lastCostNs);
}

INSTANTIATE_TEST_SUITE_P(
    Events, PollCostTest,
    testing::Values(
        CostCase{"first_read", {'r'}, PollCost::kAccessNs},
        CostCase{"repeated_poll_doubles", {'r', 'r', 'r'}, 4 * PollCost::kAccessNs},
        CostCase{"tsc_between_polls_keeps_doubling", {'r', 't', 'r', 't', 'r'}, 4 * PollCost::kAccessNs},
        CostCase{"changed_value_starts_afresh", {'r', 'r', 'R'}, PollCost::kAccessNs},
        CostCase{"write_starts_afresh", {'r', 'r', 'w', 'r'}, PollCost::kAccessNs},
        CostCase{"sleep_starts_afresh", {'r', 'r', 's', 'r'}, PollCost::kAccessNs},
        CostCase{"busy_wait_doubles", {'t', 't', 't'}, 4 * PollCost::kTscReadNs},
        CostCase{"board_access_ends_busy_wait", {'t', 't', 'r', 't'}, PollCost::kTscReadNs},
        CostCase{"capped", std::vector<char>(40, 't'), PollCost::kMaxNs}),
    [](const testing::TestParamInfo<CostCase>& info) { return info.param.name; });

struct SleepCase
{
    const char* speed; // nullptr: reproducible
    bool exact;
};

class SleepTest : public testing::TestWithParam<SleepCase>
{
};

TEST_P(SleepTest, ASleepOfTenSecondsLastsTenVirtualSeconds)
{
    SimHarness h;
    std::vector<std::string> args;
    if (GetParam().speed != nullptr)
        args = {"--speed", GetParam().speed};
    const SimRunResult r = h.probe(args, {"sleep", "10000"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_GE(std::stoll(SimHarness::value(r.out, "virtual_ms")), 10000);
    EXPECT_GE(std::stoll(SimHarness::value(r.out, "wall_s")), 9);
    if (GetParam().exact)
    {
        EXPECT_EQ(SimHarness::value(r.out, "virtual_ms"), "10000");
        EXPECT_EQ(SimHarness::value(r.out, "tsc_ms"), "10000") << "the TSC runs on the virtual clock";
    }
}

INSTANTIATE_TEST_SUITE_P(Speeds, SleepTest,
                         testing::Values(SleepCase{nullptr, true}, SleepCase{"50", false},
                                         SleepCase{"200", false}));

struct DateCase
{
    const char* date;
    const char* year;
};

class DateTest : public testing::TestWithParam<DateCase>
{
};

TEST_P(DateTest, SetsTheWallClockForTime64Programs)
{
    SimHarness h;
    const SimRunResult r = h.probe({"--date", GetParam().date}, {"date"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "time64"), "1");
    EXPECT_EQ(SimHarness::value(r.out, "year"), GetParam().year);
}

INSTANTIATE_TEST_SUITE_P(Dates, DateTest,
                         testing::Values(DateCase{"2040-01-01T12:00:00", "2040"},
                                         DateCase{"2031-06-15 08:30", "2031"}));

} // namespace
