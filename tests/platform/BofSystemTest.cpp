// The basic OS layer: its two locks (the recursive critical section and the plain mutex), the tick
// count, sleeping and bounded formatting.
#include "BofSystem.h"
#include "BofCriticalSection.h"
#include "Mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <pthread.h>
#include <sstream>
#include <string>
#include <sys/syscall.h>
#include <sys/time.h>
#include <thread>
#include <tuple>
#include <unistd.h>

using Orx::Corvane::Concurrency::Mutex;
using namespace std::chrono_literals;

namespace
{
// Field `number` (3 and up) of a thread's stat line: 3 is its state, 18 the priority the kernel
// gives it now: 20 for an ordinary thread, -1 - p while it runs at or inherits real-time priority p.
std::string StatField(long thread, int number)
{
    std::string line, field;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat"), line);
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    for (int i = 3; i <= number; ++i)
        fields >> field;
    return field;
}

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

TEST(BofCriticalSection, NullHandlePointerIsRefusedANullHandleToleratedAndDestroyKeepsTheVariable)
{
    EXPECT_EQ(Bof_CreateCriticalSection("x", nullptr), BOF_ERR_NULL_HANDLE_POINTER);
    for (auto call : {Bof_EnterCriticalSection, Bof_LeaveCriticalSection, Bof_DestroyCriticalSection})
    {
        BOF_CRITICAL_SECTION none = 0;
        EXPECT_EQ(call(nullptr), BOF_ERR_NULL_HANDLE_POINTER);
        EXPECT_EQ(call(&none), 0u);
    }
    EXPECT_EQ(CritSectLeave(0), 0);
    BOF_CRITICAL_SECTION handle = 0;
    ASSERT_EQ(Bof_CreateCriticalSection(nullptr, &handle), 0u);
    const BOF_CRITICAL_SECTION kept = handle;
    EXPECT_NE(kept, 0u);
    EXPECT_EQ(Bof_DestroyCriticalSection(&handle), 0u);
    EXPECT_EQ(handle, kept) << "destroy leaves the variable as it was";
}

// Real-time threads share these locks with ordinary ones: a holder inherits the priority of a
// real-time thread that waits for it, so that it cannot be starved while holding the lock. The
// critical section is recursive: entered twice, it needs two leaves before another thread gets in.
TEST(Locks, HolderInheritsThePriorityOfARealTimeWaiterAndTheSectionIsRecursive)
{
    BOF_CRITICAL_SECTION section = 0;
    ASSERT_EQ(Bof_CreateCriticalSection("Inheriting", &section), 0u);
    Mutex mutex;
    const std::tuple<const char*, int, std::function<void()>, std::function<void()>> locks[] = {
        {"section", 2, [&] { Bof_EnterCriticalSection(&section); },
         [&] { Bof_LeaveCriticalSection(&section); }},
        {"mutex", 1, [&] { mutex.lock(); }, [&] { mutex.unlock(); }}};
    const long self = syscall(SYS_gettid);
    for (const auto& [name, entries, lock, unlock] : locks)
    {
        ASSERT_EQ(StatField(self, 18), "20") << "the test must start as an ordinary thread";
        for (int i = 0; i < entries; ++i)
            lock();
        std::atomic<long> waiter{0};
        std::atomic<bool> inside{false};
        std::thread contender(
            [&, lock = lock, unlock = unlock]
            {
                const sched_param param{50};
                pthread_setschedparam(pthread_self(), SCHED_FIFO, &param);
                waiter = syscall(SYS_gettid);
                lock();
                inside = true;
                unlock();
            });
        // Until the waiter sleeps in the lock (a hang guard of 10 s, not a timing rule).
        for (int i = 0; i < 10000 && (waiter == 0 || StatField(waiter, 3) != "S"); ++i)
            std::this_thread::sleep_for(1ms);
        EXPECT_EQ(StatField(self, 18), "-51") << name;
        for (int i = 1; i < entries; ++i)
            unlock();
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(inside) << name << ": one leave must not release a section entered twice";
        unlock();
        contender.join();
        EXPECT_EQ(StatField(self, 18), "20") << name;
    }
    Bof_DestroyCriticalSection(&section);
}

TEST(BofSystem, TickCountFollowsTheRawMonotonicClock)
{
    for (int i = 0; i < 2000; ++i)
    {
        const uint32_t before_U32 = Ms(CLOCK_MONOTONIC_RAW);
        const uint32_t tick_U32 = Bof_GetTickCount();
        const uint32_t after_U32 = Ms(CLOCK_MONOTONIC_RAW);
        // Unsigned differences: the count may wrap between readings, and a step back would show
        // as an unsigned step far larger than the raw clock advanced.
        ASSERT_LE(static_cast<uint32_t>(tick_U32 - before_U32),
                  static_cast<uint32_t>(after_U32 - before_U32));
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
    char small[8], untouched[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(Bof_Snprintf(small, sizeof(small), "%s-%d", "abcdef", 42), 9);
    EXPECT_STREQ(small, "abcdef-");
    EXPECT_EQ(Bof_Snprintf(untouched, 0, "%s", "text"), 4);
    EXPECT_EQ(untouched[0], 'a');
    std::string longText(10000, 'y'), buffer(9000, 'z');
    EXPECT_EQ(Bof_Sprintf(&buffer[0], "%s", longText.c_str()), 10000);
    EXPECT_EQ(strlen(buffer.c_str()), 8191u);
    EXPECT_EQ(buffer[8192], 'z'); // nothing written past the fixed bound
}
