// The basic OS layer: its two locks (the recursive critical section and the plain mutex), the tick
// count, sleeping, bounded formatting, and the threads and events the real-time log uses.
#include "BofSystem.h"
#include "BofCriticalSection.h"
#include "BofThread.h"
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
#include <sched.h>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

using Orx::Corvane::Concurrency::Mutex;
using namespace std::chrono_literals;

namespace
{
// The first line of one of this process's thread files under /proc.
std::string TaskLine(long thread, const char* file)
{
    std::string line;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(thread) + "/" + file), line);
    return line;
}

// Field `number` (3 and up) of a thread's stat line: 3 is its state, 18 the priority the kernel
// gives it now: 20 for an ordinary thread, -1 - p while it runs at or inherits real-time priority p.
std::string StatField(long thread, int number)
{
    const std::string line = TaskLine(thread, "stat");
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    std::string field;
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
// A thread body that reports it ran and, when asked, holds until released.
struct Probe
{
    std::atomic<int> runs{0};
    std::atomic<bool> hold{false};
    std::atomic<pthread_t> self{};
    std::atomic<long> id{0};
    static void Run(void* context)
    {
        Probe* probe = static_cast<Probe*>(context);
        probe->self = pthread_self();
        probe->id = syscall(SYS_gettid);
        probe->runs++;
        while (probe->hold)
            std::this_thread::sleep_for(1ms);
    }
    // Waits until the body ran (a hang guard, not a timing rule).
    bool WaitRuns() const
    {
        for (int i = 0; i < 2000 && runs == 0; ++i)
            std::this_thread::sleep_for(5ms);
        return runs > 0;
    }
};

BOF_THREAD_PRIORITY Level(int value)
{
    BOF_THREAD_PRIORITY level;
    memcpy(&level, &value, sizeof(value));
    return level;
}
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

// A handle that is null or lacks its check word is refused, by thread and event calls alike.
TEST(BofHandles, BadHandlesAreRefusedWithoutCrash)
{
    uint32_t foreign[16] = {0x12345678u};
    for (void* handle : {static_cast<void*>(nullptr), static_cast<void*>(foreign)})
    {
        EXPECT_EQ((std::vector<int>{Bof_SetEvent(handle), Bof_ResetEvent(handle), Bof_WaitForEvent(handle, 0),
                                    Bof_CloseEvent(handle), Bof_ResumeThread(handle),
                                    Bof_SetThreadName(handle, "name"),
                                    Bof_SetThreadPriority(handle, BOF_THREAD_PRIORITY_004),
                                    Bof_WaitForThreadEnd(handle), Bof_CloseThread(handle)}),
                  std::vector<int>(9, -1));
    }
}

TEST(BofEvent, AWaitConsumesTheSignalAndTimesOutWithoutOne)
{
    BOFEVENT event = Bof_CreateEvent(true, nullptr);
    ASSERT_NE(event, nullptr);
    // A wait consumes the signal; a reset one is not seen.
    EXPECT_EQ((std::vector<int>{Bof_WaitForEvent(event, 0), Bof_WaitForEvent(event, 0), Bof_SetEvent(event),
                                Bof_ResetEvent(event)}),
              (std::vector<int>{0, 1, 0, 0}));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Bof_WaitForEvent(event, 60), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);
    std::atomic<int> result{-5};
    std::thread waiter([&] { result = Bof_WaitForEvent(event, BOF_INFINITE); });
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(result, -5);
    EXPECT_EQ(Bof_SetEvent(event), 0);
    waiter.join();
    EXPECT_EQ(result + Bof_CloseEvent(event), 0);
}

TEST(BofEvent, NamedEventsShareTheirStateAcrossHandlesAndProcesses)
{
    const std::string name = "/SarvikEventTest." + std::to_string(getpid());
    BOFEVENT first = Bof_CreateEvent(false, name.c_str());
    // Opening an existing event keeps its state rather than applying the new initial state.
    BOFEVENT second = Bof_CreateEvent(true, name.c_str() + 1);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_EQ((std::vector<int>{Bof_WaitForEvent(second, 0), Bof_SetEvent(first), Bof_WaitForEvent(second, 0),
                                Bof_WaitForEvent(first, 0)}),
              (std::vector<int>{1, 0, 0, 1}));
    const pid_t child = fork();
    if (child == 0)
        _exit(Bof_SetEvent(Bof_CreateEvent(false, name.c_str())) == 0 ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Bof_WaitForEvent(first, 0), 0) << "the other process's set is not visible";
    EXPECT_EQ(Bof_CloseEvent(first) | Bof_CloseEvent(second), 0);
    shm_unlink(name.c_str());
}

TEST(BofThread, SuspendedThreadRunsOnceOnResumeWithItsCutNameAndSmallStack)
{
    Probe probe;
    probe.hold = true;
    // The real-time log's own request: a 4096-byte stack, below the system minimum.
    BOFTHREAD thread = Bof_CreateThread(4096, Probe::Run, &probe, true);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(Bof_SetThreadName(thread, nullptr), -1);
    EXPECT_EQ(Bof_SetThreadName(thread, "CRtLogWithALongName"), 0);
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(probe.runs, 0) << "a suspended thread ran before it was resumed";
    EXPECT_EQ(Bof_ResumeThread(thread), 0);
    ASSERT_TRUE(probe.WaitRuns());
    EXPECT_EQ(TaskLine(probe.id, "comm"), "CRtLogWithALong") << "cut to 15 characters";
    EXPECT_EQ(Bof_SetThreadName(thread, "Renamed"), 0);
    EXPECT_EQ(TaskLine(probe.id, "comm"), "Renamed");
    std::thread releaser(
        [&]
        {
            std::this_thread::sleep_for(50ms);
            probe.hold = false;
        });
    EXPECT_EQ(Bof_WaitForThreadEnd(thread), 0);
    EXPECT_FALSE(probe.hold) << "the wait returned while the thread still ran";
    releaser.join();
    // Waiting again, or resuming an ended thread, starts nothing.
    EXPECT_EQ(Bof_WaitForThreadEnd(thread) | Bof_ResumeThread(thread) | Bof_CloseThread(thread), 0);
    EXPECT_EQ(probe.runs, 1);
    Probe idle;
    EXPECT_EQ(Bof_CloseThread(Bof_CreateThread(0, Probe::Run, &idle, true)), 0);
    EXPECT_EQ(idle.runs, 0) << "a thread never resumed never runs";
}

// Level 0 is the highest real-time priority; SCHED_OTHER offers the single priority 0 on Linux.
// Rows: the level, then the result and the thread's policy and priority after the call.
TEST(BofThread, PriorityLevelsMapToWhatTheSystemApplies)
{
    const std::pair<int, std::string> rows[] = {
        {0, "0: " + std::to_string(SCHED_FIFO) + " " + std::to_string(sched_get_priority_max(SCHED_FIFO))},
        {1, "0: 0 0"},
        {7, "0: 0 0"},
        {8, "-1: 0 0"},
        {-1, "-1: 0 0"}};
    Probe probe;
    probe.hold = true;
    BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, false);
    ASSERT_TRUE(probe.WaitRuns());
    for (const auto& [level, expected] : rows)
    {
        const int result = Bof_SetThreadPriority(thread, Level(level));
        int policy = -1;
        sched_param param{};
        ASSERT_EQ(pthread_getschedparam(probe.self, &policy, &param), 0);
        EXPECT_EQ(std::to_string(result) + ": " + std::to_string(policy) + " " +
                      std::to_string(param.sched_priority),
                  expected)
            << level;
    }
    EXPECT_FALSE(ConvertBofPriorityToOsPriority(BOF_THREAD_PRIORITY_003, nullptr, nullptr));
    probe.hold = false;
    EXPECT_EQ(Bof_CloseThread(thread), 0);
}
