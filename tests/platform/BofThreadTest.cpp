// Threads and events of the portability layer, as the real-time log uses them.
#include "BofThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <pthread.h>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
using namespace std::chrono_literals;

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
    std::string Name() const
    {
        std::string name;
        std::getline(std::ifstream("/proc/self/task/" + std::to_string(id) + "/comm"), name);
        return name;
    }
};

BOF_THREAD_PRIORITY Level(int value)
{
    BOF_THREAD_PRIORITY level;
    memcpy(&level, &value, sizeof(value));
    return level;
}
} // namespace

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
    EXPECT_EQ(probe.Name(), "CRtLogWithALong") << "cut to 15 characters";
    EXPECT_EQ(Bof_SetThreadName(thread, "Renamed"), 0);
    EXPECT_EQ(probe.Name(), "Renamed");
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
