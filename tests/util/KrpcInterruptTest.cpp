#include "KrpcInterrupt.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace
{
class KrpcInterruptTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        KrpcCreateGlobalIntLock();
        KrpcSetInterruptMonitor(&mMonitor_X);
    }
    void TearDown() override
    {
        KrpcSetInterruptMonitor(nullptr);
        KrpcDestroyGlobalIntLock();
    }
    SKrpcInterruptMonitor mMonitor_X = {0, 0};
};

TEST_F(KrpcInterruptTest, NestedPairsNotifyTheMonitorOnlyAtTheOutermostPair)
{
    const uint32_t highestBefore_U32 = KrpcGetHighestInterruptNesting();
    for (int round = 0; round < 2; ++round)
    {
        EXPECT_EQ(KrpcDisableInterrupt(this, __LINE__), 0);
        KrpcDisableInterrupt(this, __LINE__);
        KrpcDisableInterrupt(this, __LINE__);
        EXPECT_EQ(KrpcGetInterruptNesting(), 3u);
        EXPECT_EQ(mMonitor_X.Disables_U32, static_cast<uint32_t>(round + 1));
        KrpcEnableInterrupt();
        KrpcEnableInterrupt();
        EXPECT_EQ(mMonitor_X.Enables_U32, static_cast<uint32_t>(round));
        EXPECT_EQ(KrpcEnableInterrupt(), 0);
        EXPECT_EQ(mMonitor_X.Enables_U32, static_cast<uint32_t>(round + 1));
    }
    EXPECT_EQ(KrpcGetInterruptNesting(), 0u);
    EXPECT_EQ(KrpcGetHighestInterruptNesting(), std::max(highestBefore_U32, 3u));
}

TEST_F(KrpcInterruptTest, AnotherThreadWaitsUntilTheOutermostEnable)
{
    std::atomic<bool> entered_B{false};
    KrpcDisableInterrupt(this, __LINE__);
    KrpcDisableInterrupt(this, __LINE__);
    std::thread other([&] {
        KrpcDisableInterrupt(nullptr, __LINE__);
        entered_B = true;
        KrpcEnableInterrupt();
    });
    KrpcEnableInterrupt();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered_B) << "the lock was given away before the outermost enable";
    KrpcEnableInterrupt();
    other.join();
    EXPECT_TRUE(entered_B);
    EXPECT_EQ(mMonitor_X.Disables_U32, 2u);
    EXPECT_EQ(mMonitor_X.Enables_U32, 2u);
}
} // namespace
