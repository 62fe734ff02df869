#include "KrpcInterrupt.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

TEST(KrpcInterrupt, NestedPairsNotifyTheMonitorAtTheOutermostPairAndHoldOffOtherThreads)
{
    SKrpcInterruptMonitor monitor_X = {0, 0};
    KrpcCreateGlobalIntLock();
    KrpcSetInterruptMonitor(&monitor_X);
    const uint32_t highestBefore_U32 = KrpcGetHighestInterruptNesting();
    std::atomic<bool> entered_B{false};
    for (uint32_t round_U32 = 1; round_U32 <= 2; ++round_U32)
    {
        EXPECT_EQ(KrpcDisableInterrupt(this, __LINE__), 0);
        KrpcDisableInterrupt(this, __LINE__);
        KrpcDisableInterrupt(this, __LINE__);
        EXPECT_EQ(KrpcGetInterruptNesting(), 3u);
        EXPECT_EQ(monitor_X.Disables_U32, round_U32 * 2 - 1); // the other thread's pair counts too
        std::thread other(
            [&]
            {
                KrpcDisableInterrupt(nullptr, __LINE__);
                entered_B = true;
                KrpcEnableInterrupt();
            });
        KrpcEnableInterrupt();
        KrpcEnableInterrupt();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(entered_B) << "the lock was given away before the outermost enable";
        EXPECT_EQ(monitor_X.Enables_U32, round_U32 * 2 - 2);
        EXPECT_EQ(KrpcEnableInterrupt(), 0);
        other.join();
        EXPECT_TRUE(entered_B);
        EXPECT_EQ(monitor_X.Disables_U32 + monitor_X.Enables_U32, round_U32 * 4);
        entered_B = false;
    }
    EXPECT_EQ(KrpcGetInterruptNesting(), 0u);
    EXPECT_EQ(KrpcGetHighestInterruptNesting(), std::max(highestBefore_U32, 3u));
    KrpcSetInterruptMonitor(nullptr);
    KrpcDestroyGlobalIntLock();
}
