#include "BofSystem.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/time.h>

namespace
{
// Milliseconds of a clock, cut to 32 bits as the tick count is.
uint32_t Ms(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<uint32_t>((static_cast<uint64_t>(now.tv_sec) * 1000000000ull + now.tv_nsec) /
                                 1000000ull);
}

volatile sig_atomic_t GL_SignalCount_S32 = 0;
} // namespace

TEST(BofSystem, TickCountFollowsTheRawMonotonicClockAndNeverGoesBack)
{
    const uint32_t start_U32 = Ms(CLOCK_MONOTONIC_RAW);
    uint32_t previous_U32 = Bof_GetTickCount();
    for (int i = 0; i < 2000; ++i)
    {
        const uint32_t before_U32 = Ms(CLOCK_MONOTONIC_RAW);
        const uint32_t tick_U32 = Bof_GetTickCount();
        const uint32_t after_U32 = Ms(CLOCK_MONOTONIC_RAW);
        // Unsigned differences: the count may wrap between readings, and a step back would show
        // as an unsigned step far larger than the raw clock advanced.
        ASSERT_LE(static_cast<uint32_t>(tick_U32 - before_U32),
                  static_cast<uint32_t>(after_U32 - before_U32));
        ASSERT_LE(static_cast<uint32_t>(tick_U32 - previous_U32),
                  static_cast<uint32_t>(after_U32 - start_U32));
        previous_U32 = tick_U32;
    }
}

TEST(BofSystem, SleepLastsAtLeastTheAskedTimeThoughSignalsInterruptIt)
{
    struct sigaction action = {}, previous = {};
    action.sa_handler = [](int) { GL_SignalCount_S32 = GL_SignalCount_S32 + 1; };
    ASSERT_EQ(sigaction(SIGALRM, &action, &previous), 0); // no SA_RESTART: nanosleep returns EINTR
    itimerval timer = {{0, 150000}, {0, 100000}};         // first signal after 100 ms, then every 150 ms
    ASSERT_EQ(setitimer(ITIMER_REAL, &timer, nullptr), 0);
    for (uint32_t ms_U32 : {0u, 1u, 1005u})
    {
        const uint32_t start_U32 = Ms(CLOCK_MONOTONIC);
        const uint64_t tsc_U64 = Bof_RdTsc();
        EXPECT_EQ(Bof_Sleep(ms_U32), 0u);
        EXPECT_GE(Ms(CLOCK_MONOTONIC) - start_U32, ms_U32) << ms_U32 << " ms";
        EXPECT_GT(Bof_RdTsc(), tsc_U64) << "the time-stamp counter advances";
    }
    timer = {};
    setitimer(ITIMER_REAL, &timer, nullptr);
    sigaction(SIGALRM, &previous, nullptr);
    EXPECT_GE(GL_SignalCount_S32, 1);
}

TEST(BofSystem, FormattingCutsToTheBoundAndReportsTheFullLength)
{
    char small[8];
    char exact[16];
    EXPECT_EQ(Bof_Snprintf(small, sizeof(small), "%s-%d", "abcdef", 42), 9);
    EXPECT_STREQ(small, "abcdef-");
    char untouched[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(Bof_Snprintf(untouched, 0, "%s", "text"), 4);
    EXPECT_EQ(untouched[0], 'a');
    std::string longText(10000, 'y');
    std::string buffer(9000, 'z');
    EXPECT_EQ(Bof_Sprintf(&buffer[0], "%s", longText.c_str()), 10000);
    EXPECT_EQ(strlen(buffer.c_str()), 8191u);
    EXPECT_EQ(buffer[8192], 'z'); // nothing written past the fixed bound
    EXPECT_EQ(Bof_Sprintf(exact, "%05.1f|%x", 3.14159, 255u), 8);
    EXPECT_STREQ(exact, "003.1|ff");
}
