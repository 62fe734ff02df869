#include "BofThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <pthread.h>
#include <sched.h>
#include <string>
#include <thread>

namespace
{
using namespace std::chrono_literals;

// A thread body that reports it ran and, when asked, holds until released.
struct Probe
{
    std::atomic<int> runs{0};
    std::atomic<bool> hold{false};
    std::atomic<pthread_t> self{};
    static void Run(void* context)
    {
        Probe* probe = static_cast<Probe*>(context);
        probe->self = pthread_self();
        probe->runs++;
        while (probe->hold)
        {
            std::this_thread::sleep_for(1ms);
        }
    }
    // Waits until the body ran (a hang guard, not a timing rule).
    bool WaitRuns() const
    {
        for (int i = 0; i < 2000 && runs == 0; ++i)
        {
            std::this_thread::sleep_for(5ms);
        }
        return runs > 0;
    }
};

bool HasThreadNamed(const std::string& name)
{
    bool found = false;
    DIR* tasks = opendir("/proc/self/task");
    while (dirent* entry = tasks != nullptr ? readdir(tasks) : nullptr)
    {
        std::ifstream comm(std::string("/proc/self/task/") + entry->d_name + "/comm");
        std::string each;
        found = found || (std::getline(comm, each) && each == name);
    }
    if (tasks != nullptr)
    {
        closedir(tasks);
    }
    return found;
}

BOF_THREAD_PRIORITY Level(int value)
{
    BOF_THREAD_PRIORITY level;
    memcpy(&level, &value, sizeof(value));
    return level;
}
} // namespace

TEST(BofThread, BadHandlesAreRefusedWithoutCrash)
{
    struct
    {
        uint32_t check;
        void* object;
    } foreign{0x12345678u, nullptr};
    for (BOFTHREAD handle : {static_cast<BOFTHREAD>(nullptr), static_cast<BOFTHREAD>(&foreign)})
    {
        EXPECT_EQ(Bof_ResumeThread(handle), -1);
        EXPECT_EQ(Bof_SetThreadName(handle, "name"), -1);
        EXPECT_EQ(Bof_SetThreadPriority(handle, BOF_THREAD_PRIORITY_004), -1);
        EXPECT_EQ(Bof_WaitForThreadEnd(handle), -1);
        EXPECT_EQ(Bof_CloseThread(handle), -1);
    }
}

TEST(BofThread, RunsTheFunctionOnceWithItsContext)
{
    Probe probe;
    BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, false);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(Bof_WaitForThreadEnd(thread), 0);
    EXPECT_EQ(probe.runs, 1);
    EXPECT_EQ(Bof_WaitForThreadEnd(thread), 0); // already joined: nothing left to wait for
    EXPECT_EQ(Bof_ResumeThread(thread), 0);     // a started thread is not started twice
    EXPECT_EQ(Bof_CloseThread(thread), 0);
    EXPECT_EQ(probe.runs, 1);

    Probe never;
    thread = Bof_CreateThread(0, Probe::Run, &never, true);
    EXPECT_EQ(Bof_WaitForThreadEnd(thread), 0);
    EXPECT_EQ(Bof_CloseThread(thread), 0);
    EXPECT_EQ(never.runs, 0) << "a thread never resumed never runs";
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
    EXPECT_TRUE(HasThreadNamed("CRtLogWithALong")) << "name not cut to 15 characters";
    EXPECT_EQ(Bof_SetThreadName(thread, "Renamed"), 0);
    EXPECT_TRUE(HasThreadNamed("Renamed"));

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
    // SCHED_OTHER offers the single priority 0 on Linux: its levels all clamp to it.
    const int fifoHighest = sched_get_priority_max(SCHED_FIFO);
    struct
    {
        int level;
        bool known;
        int policy;
        int priority;
    } const rows[] = {{0, true, SCHED_FIFO, fifoHighest},
                      {1, true, SCHED_OTHER, 0},
                      {2, true, SCHED_OTHER, 0},
                      {3, true, SCHED_OTHER, 0},
                      {4, true, SCHED_OTHER, 0},
                      {5, true, SCHED_OTHER, 0},
                      {6, true, SCHED_OTHER, 0},
                      {7, true, SCHED_OTHER, 0},
                      {8, false, 0, 0},
                      {-1, false, 0, 0}};
    Probe probe;
    probe.hold = true;
    BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, false);
    ASSERT_TRUE(probe.WaitRuns());
    for (const auto& row : rows)
    {
        int policy = -1;
        int priority = -1;
        EXPECT_EQ(ConvertBofPriorityToOsPriority(Level(row.level), &policy, &priority), row.known)
            << row.level;
        EXPECT_EQ(Bof_SetThreadPriority(thread, Level(row.level)), row.known ? 0 : -1) << row.level;
        if (row.known)
        {
            sched_param param{};
            ASSERT_EQ(pthread_getschedparam(probe.self, &policy, &param), 0);
            EXPECT_EQ(policy, row.policy) << row.level;
            EXPECT_EQ(param.sched_priority, row.priority) << row.level;
        }
    }
    EXPECT_FALSE(ConvertBofPriorityToOsPriority(BOF_THREAD_PRIORITY_003, nullptr, nullptr));
    probe.hold = false;
    EXPECT_EQ(Bof_CloseThread(thread), 0);
}
