// Virtual time: the arithmetic every process of a run shares, and what a time64 i386 program
// observes through its clocks and sleeps.
#include "VirtualClock.h"
#include "SimHarness.h"

#include <gtest/gtest.h>

namespace
{

constexpr int64_t kSecond = 1000000000LL;

TEST(VirtualClock, RunsSpeedTimesFasterFromTheStartOfTheRun)
{
    const simhost::VirtualClock clock(100 * kSecond, 2000000000LL * kSecond, 20);
    EXPECT_EQ(clock.monotonicAt(100 * kSecond), 100 * kSecond);
    EXPECT_EQ(clock.monotonicAt(101 * kSecond), 120 * kSecond);
    EXPECT_EQ(clock.wallAt(101 * kSecond), 2000000020LL * kSecond);
    EXPECT_EQ(clock.toReal(10 * kSecond), kSecond / 2);
    EXPECT_EQ(clock.realMonoForMonotonic(120 * kSecond), 101 * kSecond);
    EXPECT_EQ(clock.realMonoForWall(2000000020LL * kSecond), 101 * kSecond);
}

TEST(VirtualClock, FractionalSpeedSlowsTimeDown)
{
    const simhost::VirtualClock clock(0, 0, 0.5);
    EXPECT_EQ(clock.monotonicAt(2 * kSecond), kSecond);
    EXPECT_EQ(clock.toReal(kSecond), 2 * kSecond);
}

TEST(VirtualClock, ASleepOfTenSecondsLastsTenVirtualSecondsAtAnySpeed)
{
    for (const char* speed : {"50", "200"})
    {
        SimHarness h;
        const SimRunResult r = h.probe({"--speed", speed}, {"sleep", "10000"});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_GE(std::stoll(SimHarness::value(r.out, "virtual_ms")), 10000) << speed;
        EXPECT_GE(std::stoll(SimHarness::value(r.out, "wall_s")), 9) << speed;
    }
}

TEST(VirtualClock, DateSetsTheWallClockBeyond2038ForTime64Programs)
{
    SimHarness h;
    const SimRunResult r = h.probe({"--date", "2040-01-01T12:00:00"}, {"date"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "time64"), "1");
    EXPECT_EQ(SimHarness::value(r.out, "year"), "2040");
}

TEST(VirtualClock, DateAcceptsDateCommandSyntax)
{
    SimHarness h;
    const SimRunResult r = h.probe({"--date", "2031-06-15 08:30"}, {"date"});
    EXPECT_EQ(SimHarness::value(r.out, "year"), "2031") << r.err;
}

} // namespace
