#include "BofThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

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
    EXPECT_EQ(Bof_WaitForEvent(event, 0), 0);
    EXPECT_EQ(Bof_WaitForEvent(event, 0), 1) << "the wait must consume the signal";
    EXPECT_EQ(Bof_SetEvent(event), 0);
    EXPECT_EQ(Bof_ResetEvent(event), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Bof_WaitForEvent(event, 60), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
    std::atomic<int> result{-5};
    std::thread waiter([&] { result = Bof_WaitForEvent(event, BOF_INFINITE); });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(result, -5);
    EXPECT_EQ(Bof_SetEvent(event), 0);
    waiter.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Bof_CloseEvent(event), 0);
}

TEST(BofEvent, NamedEventsShareTheirStateAcrossHandlesAndProcesses)
{
    const std::string name = "/SarvikEventTest." + std::to_string(getpid());
    BOFEVENT first = Bof_CreateEvent(false, name.c_str());
    // Opening an existing event keeps its state rather than applying the new initial state.
    BOFEVENT second = Bof_CreateEvent(true, name.c_str() + 1);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_EQ(Bof_WaitForEvent(second, 0), 1);
    EXPECT_EQ(Bof_SetEvent(first), 0);
    EXPECT_EQ(Bof_WaitForEvent(second, 0), 0);
    EXPECT_EQ(Bof_WaitForEvent(first, 0), 1);
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
