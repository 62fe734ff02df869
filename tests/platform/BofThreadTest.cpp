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
    bool WaitRuns(int count) const
    {
        for (int i = 0; i < 1000 && runs < count; ++i)
        {
            std::this_thread::sleep_for(5ms);
        }
        return runs >= count;
    }
};

std::vector<std::string> ThreadNamesOfThisProcess()
{
    std::vector<std::string> names;
    DIR* tasks = opendir("/proc/self/task");
    if (tasks == nullptr)
    {
        return names;
    }
    while (dirent* entry = readdir(tasks))
    {
        std::ifstream comm(std::string("/proc/self/task/") + entry->d_name + "/comm");
        std::string name;
        if (std::getline(comm, name))
        {
            names.push_back(name);
        }
    }
    closedir(tasks);
    return names;
}

bool HasThreadNamed(const std::string& name)
{
    for (const auto& each : ThreadNamesOfThisProcess())
    {
        if (each == name)
        {
            return true;
        }
    }
    return false;
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

TEST(BofThread, RunsTheFunctionWithItsContextAndJoins)
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
    EXPECT_EQ(Bof_SetThreadPriority(thread, BOF_THREAD_PRIORITY_004), 0);
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(probe.runs, 0) << "a suspended thread ran before it was resumed";

    EXPECT_EQ(Bof_ResumeThread(thread), 0);
    ASSERT_TRUE(probe.WaitRuns(1));
    EXPECT_TRUE(HasThreadNamed("CRtLogWithALong")) << "name not cut to 15 characters in /proc";

    EXPECT_EQ(Bof_SetThreadName(thread, "Renamed"), 0);
    EXPECT_TRUE(HasThreadNamed("Renamed"));
    probe.hold = false;
    EXPECT_EQ(Bof_CloseThread(thread), 0);
}

TEST(BofThread, CloseWaitsForARunningThread)
{
    Probe probe;
    probe.hold = true;
    BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, false);
    ASSERT_TRUE(probe.WaitRuns(1));
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

TEST(BofThread, NeverResumedThreadClosesCleanly)
{
    Probe probe;
    BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, true);
    EXPECT_EQ(Bof_WaitForThreadEnd(thread), 0);
    EXPECT_EQ(Bof_CloseThread(thread), 0);
    EXPECT_EQ(probe.runs, 0);
}

TEST(BofThread, ThreadCannotWaitForOrCloseItself)
{
    struct SelfContext
    {
        BOFTHREAD handle = nullptr;
        std::atomic<bool> ready{false};
        int waitResult = 0;
        int closeResult = 0;
        std::atomic<bool> done{false};
    } self;
    self.handle = Bof_CreateThread(
        0,
        [](void* context)
        {
            SelfContext* own = static_cast<SelfContext*>(context);
            while (!own->ready)
            {
                std::this_thread::sleep_for(1ms);
            }
            own->waitResult = Bof_WaitForThreadEnd(own->handle);
            own->closeResult = Bof_CloseThread(own->handle);
            own->done = true;
        },
        &self, false);
    self.ready = true;
    while (!self.done)
    {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(self.waitResult, -1);
    EXPECT_EQ(self.closeResult, -1);
    EXPECT_EQ(Bof_CloseThread(self.handle), 0);
}

TEST(BofThread, PriorityTableClampsIntoThePolicyRange)
{
    const int fifoHighest = sched_get_priority_max(SCHED_FIFO);
    const int otherLowest = sched_get_priority_min(SCHED_OTHER);
    const int otherHighest = sched_get_priority_max(SCHED_OTHER);
    for (int level = 0; level <= 7; ++level)
    {
        int policy = -1;
        int priority = -1;
        ASSERT_TRUE(
            ConvertBofPriorityToOsPriority(static_cast<BOF_THREAD_PRIORITY>(level), &policy, &priority));
        if (level == 0)
        {
            EXPECT_EQ(policy, SCHED_FIFO);
            EXPECT_EQ(priority, fifoHighest);
        }
        else
        {
            EXPECT_EQ(policy, SCHED_OTHER) << "level " << level;
            EXPECT_GE(priority, otherLowest) << "level " << level;
            EXPECT_LE(priority, otherHighest) << "level " << level;
        }
    }
    int policy = 0;
    int priority = 0;
    int unknown = 8;
    BOF_THREAD_PRIORITY outOfTable;
    memcpy(&outOfTable, &unknown, sizeof(unknown));
    EXPECT_FALSE(ConvertBofPriorityToOsPriority(outOfTable, &policy, &priority));
    EXPECT_FALSE(ConvertBofPriorityToOsPriority(BOF_THREAD_PRIORITY_003, nullptr, &priority));
}

TEST(BofThread, PriorityOfARunningThreadIsWhatTheSystemShows)
{
    Probe probe;
    probe.hold = true;
    BOFTHREAD thread = Bof_CreateThread(0, Probe::Run, &probe, false);
    ASSERT_TRUE(probe.WaitRuns(1));
    int policy = -1;
    sched_param param{};

    EXPECT_EQ(Bof_SetThreadPriority(thread, BOF_THREAD_PRIORITY_004), 0);
    ASSERT_EQ(pthread_getschedparam(probe.self, &policy, &param), 0);
    EXPECT_EQ(policy, SCHED_OTHER);

    // A container may refuse real-time policies: the result must agree with what is in force.
    int result = Bof_SetThreadPriority(thread, BOF_THREAD_PRIORITY_000);
    ASSERT_EQ(pthread_getschedparam(probe.self, &policy, &param), 0);
    EXPECT_EQ(result == 0,
              policy == SCHED_FIFO && param.sched_priority == sched_get_priority_max(SCHED_FIFO));

    int unknown = 8;
    BOF_THREAD_PRIORITY outOfTable;
    memcpy(&outOfTable, &unknown, sizeof(unknown));
    EXPECT_EQ(Bof_SetThreadPriority(thread, outOfTable), -1);
    probe.hold = false;
    EXPECT_EQ(Bof_CloseThread(thread), 0);
}
