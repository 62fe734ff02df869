#include "CTscTimer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace
{
using Clock = std::chrono::steady_clock;

int64_t MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

// Runs in a fresh process (threadsafe death-test style re-executes the binary), where nothing
// has calibrated yet: the first timer's period sets the frequency, later periods are ignored.
void CalibrateOnceThenExit(unsigned firstMs, unsigned secondMs)
{
    if (CTscTimer::S_GetFrequency() != 0)
    {
        fprintf(stderr, "already calibrated\n");
        exit(2);
    }
    const Clock::time_point first = Clock::now();
    CTscTimer firstTimer(firstMs);
    const int64_t firstMsTaken = MillisecondsSince(first);
    const uint64_t frequency = CTscTimer::S_GetFrequency();
    const Clock::time_point second = Clock::now();
    CTscTimer secondTimer(secondMs);
    const int64_t secondMsTaken = MillisecondsSince(second);
    fprintf(stderr, "first=%lld second=%lld frequency=%llu\n", static_cast<long long>(firstMsTaken),
            static_cast<long long>(secondMsTaken), static_cast<unsigned long long>(frequency));
    const bool firstSlept = firstMsTaken >= static_cast<int64_t>(firstMs);
    const bool secondReused = secondMsTaken < static_cast<int64_t>(secondMs) / 2 && frequency == CTscTimer::S_GetFrequency();
    exit(frequency != 0 && firstSlept && secondReused ? 0 : 1);
}

struct SCalibrationCase
{
    unsigned FirstMs;
    unsigned SecondMs;
};

class CTscTimerCalibrationTest : public ::testing::TestWithParam<SCalibrationCase>
{
};

TEST_P(CTscTimerCalibrationTest, FirstTimerOfTheProcessCalibratesAndLaterPeriodsAreIgnored)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(CalibrateOnceThenExit(GetParam().FirstMs, GetParam().SecondMs), ::testing::ExitedWithCode(0), "");
}

// The toolbox's two periods, in both orders: whichever runs first sets the precision.
INSTANTIATE_TEST_SUITE_P(Periods, CTscTimerCalibrationTest,
                         ::testing::Values(SCalibrationCase{200, 2000}, SCalibrationCase{2000, 200}));

TEST(CTscTimerTest, ZeroPeriodCalibratesWithoutDividingByZero)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            CTscTimer timer(0);
            exit(CTscTimer::S_GetFrequency() != 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(CTscTimerTest, NeverResetTimerAndZeroDeadlineAreTimedOutAtOnce)
{
    CTscTimer timer(20);
    EXPECT_TRUE(timer.isTimedOut());
    timer.reset(0);
    EXPECT_TRUE(timer.isTimedOut());
}

TEST(CTscTimerTest, DeadlineFallsBetweenItsStartAndTwiceItsLength)
{
    CTscTimer timer(20);
    timer.reset(300000);
    EXPECT_FALSE(timer.isTimedOut());
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    EXPECT_TRUE(timer.isTimedOut());
}
} // namespace
