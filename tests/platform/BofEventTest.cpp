#include "BofThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

long ElapsedMs(Clock::time_point start)
{
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}
} // namespace

TEST(BofEvent, BadHandlesAreRefusedWithoutCrash)
{
    uint32_t foreign[16] = {0x12345678u};
    for (BOFEVENT handle : {static_cast<BOFEVENT>(nullptr), static_cast<BOFEVENT>(foreign)})
    {
        EXPECT_EQ(Bof_SetEvent(handle), -1);
        EXPECT_EQ(Bof_ResetEvent(handle), -1);
        EXPECT_EQ(Bof_WaitForEvent(handle, 0), -1);
        EXPECT_EQ(Bof_CloseEvent(handle), -1);
    }
}

TEST(BofEvent, WaitTimesOutOnAnUnsignalledEvent)
{
    BOFEVENT event = Bof_CreateEvent(false, nullptr);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(Bof_WaitForEvent(event, 0), 1);
    Clock::time_point start = Clock::now();
    EXPECT_EQ(Bof_WaitForEvent(event, 60), 1);
    EXPECT_GE(ElapsedMs(start), 60);
    EXPECT_EQ(Bof_CloseEvent(event), 0);
}

TEST(BofEvent, SetReleasesOneWaitAndResetClears)
{
    BOFEVENT event = Bof_CreateEvent(true, nullptr);
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(Bof_WaitForEvent(event, 0), 0);
    EXPECT_EQ(Bof_WaitForEvent(event, 0), 1) << "the wait must consume the signal";
    EXPECT_EQ(Bof_SetEvent(event), 0);
    EXPECT_EQ(Bof_ResetEvent(event), 0);
    EXPECT_EQ(Bof_WaitForEvent(event, 0), 1);
    EXPECT_EQ(Bof_CloseEvent(event), 0);
}

TEST(BofEvent, SetWakesAThreadWaitingWithoutTimeout)
{
    BOFEVENT event = Bof_CreateEvent(false, nullptr);
    ASSERT_NE(event, nullptr);
    std::atomic<int> result{-5};
    std::thread waiter([&] { result = Bof_WaitForEvent(event, BOF_INFINITE); });
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(result, -5);
    EXPECT_EQ(Bof_SetEvent(event), 0);
    waiter.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Bof_CloseEvent(event), 0);
}

TEST(BofEvent, NamedEventsShareTheirStateAcrossHandlesAndProcesses)
{
    std::string name = "/SarvikEventTest." + std::to_string(getpid());
    BOFEVENT first = Bof_CreateEvent(false, name.c_str());
    ASSERT_NE(first, nullptr);
    // Opening an existing event keeps its state rather than applying the new initial state.
    BOFEVENT second = Bof_CreateEvent(true, name.c_str() + 1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Bof_WaitForEvent(second, 0), 1);

    EXPECT_EQ(Bof_SetEvent(first), 0);
    EXPECT_EQ(Bof_WaitForEvent(second, 0), 0);
    EXPECT_EQ(Bof_WaitForEvent(first, 0), 1);

    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        BOFEVENT own = Bof_CreateEvent(false, name.c_str());
        _exit(own != nullptr && Bof_SetEvent(own) == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(Bof_WaitForEvent(first, 0), 0) << "the other process's set is not visible";

    EXPECT_EQ(Bof_CloseEvent(first), 0);
    EXPECT_EQ(Bof_CloseEvent(second), 0);
    shm_unlink(name.c_str());
}
