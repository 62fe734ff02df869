// The platform's two locks: the recursive critical section and the plain mutex.
#include "BofCriticalSection.h"
#include "Mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <pthread.h>
#include <sstream>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using Orx::Corvane::Concurrency::Mutex;
using namespace std::chrono_literals;

namespace
{
pid_t ThreadId()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

// Field `number` (3 and up) of a thread's stat line: 3 is its state, 18 the priority the kernel
// gives it now: 20 for an ordinary thread, -1 - p while it runs at or inherits real-time priority p.
std::string StatField(pid_t thread, int number)
{
    std::ifstream in("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(in, line);
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    std::string field;
    for (int i = 3; i <= number; ++i)
    {
        fields >> field;
    }
    return field;
}

// Another thread that takes the lock once; Inside() tells whether it got in so far.
class Contender
{
public:
    Contender(const std::function<void()>& lock, const std::function<void()>& unlock, int fifoPriority = 0)
        : mThread(
              [this, lock, unlock, fifoPriority]
              {
                  if (fifoPriority > 0)
                  {
                      sched_param param{};
                      param.sched_priority = fifoPriority;
                      pthread_setschedparam(pthread_self(), SCHED_FIFO, &param);
                  }
                  mId = ThreadId();
                  lock();
                  mInside = true;
                  unlock();
              })
    {
    }
    ~Contender() { mThread.join(); }
    bool Inside() const { return mInside; }
    // True once the thread sleeps in the lock (a hang guard of 10 s, not a timing rule).
    bool WaitBlocked() const
    {
        for (int i = 0; i < 10000; ++i, std::this_thread::sleep_for(1ms))
        {
            if (mId != 0 && StatField(mId, 3) == "S")
            {
                return true;
            }
        }
        return false;
    }

private:
    std::atomic<pid_t> mId{0};
    std::atomic<bool> mInside{false};
    std::thread mThread;
};

struct SLock
{
    const char* name;
    std::function<void()> lock;
    std::function<void()> unlock;
};
} // namespace

TEST(BofCriticalSection, NullHandlePointerIsRefusedAndANullHandleTolerated)
{
    EXPECT_EQ(Bof_CreateCriticalSection("x", nullptr), 0xC0090101u);
    EXPECT_EQ(Bof_EnterCriticalSection(nullptr), 0xC0090101u);
    EXPECT_EQ(Bof_LeaveCriticalSection(nullptr), 0xC0090101u);
    EXPECT_EQ(Bof_DestroyCriticalSection(nullptr), 0xC0090101u);
    BOF_CRITICAL_SECTION none = 0;
    EXPECT_EQ(Bof_EnterCriticalSection(&none), 0u);
    EXPECT_EQ(Bof_LeaveCriticalSection(&none), 0u);
    EXPECT_EQ(Bof_DestroyCriticalSection(&none), 0u);
    EXPECT_EQ(CritSectLeave(0), 0);
}

TEST(BofCriticalSection, OwnerEntersTwiceAndOthersWaitForTheSecondLeave)
{
    BOF_CRITICAL_SECTION handle = 0;
    ASSERT_EQ(Bof_CreateCriticalSection(nullptr, &handle), 0u);
    ASSERT_NE(handle, 0u);
    ASSERT_EQ(Bof_EnterCriticalSection(&handle), 0u);
    ASSERT_EQ(Bof_EnterCriticalSection(&handle), 0u); // would deadlock if not recursive
    {
        Contender other([&] { Bof_EnterCriticalSection(&handle); },
                        [&] { Bof_LeaveCriticalSection(&handle); });
        ASSERT_TRUE(other.WaitBlocked());
        Bof_LeaveCriticalSection(&handle);
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(other.Inside()) << "one leave must not release a section entered twice";
        Bof_LeaveCriticalSection(&handle);
    }
    BOF_CRITICAL_SECTION kept = handle;
    EXPECT_EQ(Bof_DestroyCriticalSection(&handle), 0u);
    EXPECT_EQ(handle, kept) << "destroy leaves the variable as it was";
}

TEST(Mutex, SecondLockByTheOwnerBlocks)
{
    // Observed in a child so that the deliberate self-deadlock cannot hang the test run.
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        Mutex mutex;
        mutex.lock();
        mutex.lock();
        _exit(0);
    }
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0) << "the owner got the mutex a second time";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

// Real-time threads share these locks with ordinary ones: a holder inherits the priority of a
// real-time thread that waits for it, so that it cannot be starved while holding the lock.
TEST(Locks, HolderInheritsThePriorityOfARealTimeWaiter)
{
    BOF_CRITICAL_SECTION section = 0;
    ASSERT_EQ(Bof_CreateCriticalSection("Inheriting", &section), 0u);
    Mutex mutex;
    const SLock locks[] = {
        {"critical section", [&] { Bof_EnterCriticalSection(&section); },
         [&] { Bof_LeaveCriticalSection(&section); }},
        {"mutex", [&] { mutex.lock(); }, [&] { mutex.unlock(); }},
    };
    for (const SLock& each : locks)
    {
        ASSERT_EQ(StatField(ThreadId(), 18), "20") << "the test must start as an ordinary thread";
        each.lock();
        {
            Contender waiter(each.lock, each.unlock, 50);
            EXPECT_TRUE(waiter.WaitBlocked()) << each.name;
            EXPECT_EQ(StatField(ThreadId(), 18), "-51") << each.name;
            each.unlock();
        }
        EXPECT_EQ(StatField(ThreadId(), 18), "20") << each.name;
    }
    Bof_DestroyCriticalSection(&section);
}
