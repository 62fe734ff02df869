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
#include <thread>
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

// Another thread, at real-time priority `fifo` if not 0, that takes the lock once.
struct Contender
{
    Contender(const std::function<void()>& lock, const std::function<void()>& unlock, int fifo)
        : thread(
              [=]
              {
                  const sched_param param{fifo};
                  if (fifo > 0)
                      pthread_setschedparam(pthread_self(), SCHED_FIFO, &param);
                  id = syscall(SYS_gettid);
                  lock();
                  inside = true;
                  unlock();
              })
    {
    }
    ~Contender() { thread.join(); }
    // True once the thread sleeps in the lock (a hang guard of 10 s, not a timing rule).
    bool WaitBlocked() const
    {
        for (int i = 0; i < 10000 && (id == 0 || StatField(id, 3) != "S"); ++i)
            std::this_thread::sleep_for(1ms);
        return id != 0 && StatField(id, 3) == "S";
    }
    std::atomic<long> id{0};
    std::atomic<bool> inside{false};
    std::thread thread;
};
} // namespace

TEST(BofCriticalSection, NullHandlePointerIsRefusedAndANullHandleTolerated)
{
    EXPECT_EQ(Bof_CreateCriticalSection("x", nullptr), BOF_ERR_NULL_HANDLE_POINTER);
    for (auto call : {Bof_EnterCriticalSection, Bof_LeaveCriticalSection, Bof_DestroyCriticalSection})
    {
        BOF_CRITICAL_SECTION none = 0;
        EXPECT_EQ(call(nullptr), BOF_ERR_NULL_HANDLE_POINTER);
        EXPECT_EQ(call(&none), 0u);
    }
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
                        [&] { Bof_LeaveCriticalSection(&handle); }, 0);
        ASSERT_TRUE(other.WaitBlocked());
        Bof_LeaveCriticalSection(&handle);
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(other.inside) << "one leave must not release a section entered twice";
        Bof_LeaveCriticalSection(&handle);
    }
    const BOF_CRITICAL_SECTION kept = handle;
    EXPECT_EQ(Bof_DestroyCriticalSection(&handle), 0u);
    EXPECT_EQ(handle, kept) << "destroy leaves the variable as it was";
}

// Real-time threads share these locks with ordinary ones: a holder inherits the priority of a
// real-time thread that waits for it, so that it cannot be starved while holding the lock.
TEST(Locks, HolderInheritsThePriorityOfARealTimeWaiter)
{
    BOF_CRITICAL_SECTION section = 0;
    ASSERT_EQ(Bof_CreateCriticalSection("Inheriting", &section), 0u);
    Mutex mutex;
    const std::pair<std::function<void()>, std::function<void()>> locks[] = {
        {[&] { Bof_EnterCriticalSection(&section); }, [&] { Bof_LeaveCriticalSection(&section); }},
        {[&] { mutex.lock(); }, [&] { mutex.unlock(); }}};
    const long self = syscall(SYS_gettid);
    for (const auto& [lock, unlock] : locks)
    {
        ASSERT_EQ(StatField(self, 18), "20") << "the test must start as an ordinary thread";
        lock();
        {
            Contender waiter(lock, unlock, 50);
            EXPECT_TRUE(waiter.WaitBlocked());
            EXPECT_EQ(StatField(self, 18), "-51") << (&lock == &locks[0].first ? "section" : "mutex");
            unlock();
        }
        EXPECT_EQ(StatField(self, 18), "20");
    }
    Bof_DestroyCriticalSection(&section);
}
