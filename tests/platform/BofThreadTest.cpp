#include "BofThread.h"

#include <gtest/gtest.h>

#include <tuple>

#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <pthread.h>
#include <sched.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

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

TEST(BofThread, RunsTheFunctionOnceWithItsContextAndNeverUnlessStarted)
{
    for (bool suspended : {false, true})
    {
        Probe probe;
        BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, suspended);
        ASSERT_NE(thread, nullptr);
        // Waiting again, or resuming an ended thread, starts nothing.
        EXPECT_EQ(Bof_WaitForThreadEnd(thread), 0);
        EXPECT_EQ(Bof_WaitForThreadEnd(thread), 0);
        EXPECT_EQ(suspended ? 0 : Bof_ResumeThread(thread), 0);
        EXPECT_EQ(Bof_CloseThread(thread), 0);
        EXPECT_EQ(probe.runs, suspended ? 0 : 1) << "a thread never resumed never runs";
    }
}

TEST(BofThread, SuspendedThreadStartsOnResumeWithItsCutNameAndSmallStack)
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
    EXPECT_EQ(Bof_CloseThread(thread), 0);
    EXPECT_FALSE(probe.hold) << "close returned while the thread still ran";
    releaser.join();
}

TEST(BofThread, PriorityLevelsMapToWhatTheSystemApplies)
{
    // Level 0 is the highest real-time priority; SCHED_OTHER offers the single priority 0 on Linux.
    const int top = sched_get_priority_max(SCHED_FIFO);
    const std::tuple<int, bool, int, int> rows[] = {{0, true, SCHED_FIFO, top},
                                                    {1, true, SCHED_OTHER, 0},
                                                    {7, true, SCHED_OTHER, 0},
                                                    {8, false, 0, 0},
                                                    {-1, false, 0, 0}};
    Probe probe;
    probe.hold = true;
    BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, false);
    ASSERT_TRUE(probe.WaitRuns());
    for (const auto& [level, known, wantedPolicy, wantedPriority] : rows)
    {
        int policy = -1;
        sched_param param{};
        EXPECT_EQ(ConvertBofPriorityToOsPriority(Level(level), &policy, &param.sched_priority), known);
        EXPECT_EQ(Bof_SetThreadPriority(thread, Level(level)), known ? 0 : -1) << level;
        ASSERT_EQ(pthread_getschedparam(probe.self, &policy, &param), 0);
        if (known)
        {
            EXPECT_EQ(std::to_string(policy) + " " + std::to_string(param.sched_priority),
                      std::to_string(wantedPolicy) + " " + std::to_string(wantedPriority))
                << level;
        }
    }
    EXPECT_FALSE(ConvertBofPriorityToOsPriority(BOF_THREAD_PRIORITY_003, nullptr, nullptr));
    probe.hold = false;
    EXPECT_EQ(Bof_CloseThread(thread), 0);
}
