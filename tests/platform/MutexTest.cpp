#include "Mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using Orx::Corvane::Concurrency::Mutex;
using namespace std::chrono_literals;

TEST(Mutex, HolderBlocksOtherThreadsUntilUnlock)
{
    Mutex mutex;
    ASSERT_EQ(mutex.lock(), 0);
    std::atomic<bool> inside{false};
    std::thread other(
        [&]
        {
            mutex.lock();
            inside = true;
            mutex.unlock();
        });
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(inside);
    EXPECT_EQ(mutex.unlock(), 0);
    other.join();
    EXPECT_TRUE(inside);
}

TEST(Mutex, SecondLockByTheOwnerBlocks)
{
    // Observed in a child so that the deliberate self-deadlock cannot hang the test run.
    pid_t child = fork();
    ASSERT_GE(child, 0) << "fork: " << strerror(errno);
    if (child == 0)
    {
        Mutex mutex;
        mutex.lock();
        mutex.lock();
        _exit(0);
    }
    bool ended_B = false;
    for (int i = 0; i < 30 && !ended_B; ++i)
    {
        std::this_thread::sleep_for(10ms);
        ended_B = waitpid(child, nullptr, WNOHANG) == child;
    }
    EXPECT_FALSE(ended_B) << "the owner got the mutex a second time";
    if (!ended_B)
    {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}
