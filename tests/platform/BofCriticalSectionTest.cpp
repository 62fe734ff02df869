#include "BofCriticalSection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace
{
using namespace std::chrono_literals;

// Starts a thread that enters the section and records when it got in.
class Contender
{
public:
    explicit Contender(BOF_CRITICAL_SECTION* handle)
        : mThread(
              [this, handle]
              {
                  Bof_EnterCriticalSection(handle);
                  mInside = true;
                  Bof_LeaveCriticalSection(handle);
              })
    {
    }
    ~Contender() { mThread.join(); }
    bool Inside() const { return mInside; }
    bool WaitInside() const
    {
        for (int i = 0; i < 500 && !mInside; ++i)
        {
            std::this_thread::sleep_for(10ms);
        }
        return mInside;
    }

private:
    std::atomic<bool> mInside{false};
    std::thread mThread;
};
} // namespace

TEST(BofCriticalSection, NullHandlePointerIsRefusedByEveryCall)
{
    EXPECT_EQ(Bof_CreateCriticalSection("x", nullptr), 0xC0090101u);
    EXPECT_EQ(Bof_EnterCriticalSection(nullptr), 0xC0090101u);
    EXPECT_EQ(Bof_LeaveCriticalSection(nullptr), 0xC0090101u);
    EXPECT_EQ(Bof_DestroyCriticalSection(nullptr), 0xC0090101u);
}

TEST(BofCriticalSection, NullHandleInTheVariableIsTolerated)
{
    BOF_CRITICAL_SECTION none = 0;
    EXPECT_EQ(Bof_EnterCriticalSection(&none), 0u);
    EXPECT_EQ(Bof_LeaveCriticalSection(&none), 0u);
    EXPECT_EQ(Bof_DestroyCriticalSection(&none), 0u);
    CritSectEnter(0);
    EXPECT_EQ(CritSectLeave(0), 0);
    CritSectDestroy(0);
}

TEST(BofCriticalSection, CreateAcceptsAnyNameAndDestroyLeavesTheVariable)
{
    for (const char* name : {"GlobalIntLock", static_cast<const char*>(nullptr)})
    {
        BOF_CRITICAL_SECTION handle = 0;
        EXPECT_EQ(Bof_CreateCriticalSection(name, &handle), 0u);
        EXPECT_NE(handle, 0u);
        BOF_CRITICAL_SECTION kept = handle;
        EXPECT_EQ(Bof_DestroyCriticalSection(&handle), 0u);
        EXPECT_EQ(handle, kept);
    }
}

TEST(BofCriticalSection, OwnerEntersTwiceAndOthersWaitForTheSecondLeave)
{
    BOF_CRITICAL_SECTION handle = 0;
    ASSERT_EQ(Bof_CreateCriticalSection("Recursive", &handle), 0u);
    ASSERT_EQ(Bof_EnterCriticalSection(&handle), 0u);
    ASSERT_EQ(Bof_EnterCriticalSection(&handle), 0u); // would deadlock if not recursive
    {
        Contender other(&handle);
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(other.Inside());
        Bof_LeaveCriticalSection(&handle);
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(other.Inside()) << "one leave must not release a section entered twice";
        Bof_LeaveCriticalSection(&handle);
        EXPECT_TRUE(other.WaitInside());
    }
    Bof_DestroyCriticalSection(&handle);
}
