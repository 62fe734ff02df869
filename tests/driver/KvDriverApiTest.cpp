// Driver handle semantics, each case in a fresh simulated server with its default unit.
#include "KvDriverApi.h"
#include "ComramDriverApi.h"
#include "KrpcBoardType.h"
#include "TimecodeDriverApi.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{
TEST(KvDriverApiTest, MaskNineOpensComramAndTimecodeOnlyAndIsCreatedOnce)
{
    EXPECT_EQ(KvDriverApi::S_GetInstance(0), nullptr) << "mask 0 creates nothing";
    KvDriverApi* pApi = KvDriverApi::S_GetInstance(9);
    ASSERT_NE(pApi, nullptr);
    EXPECT_EQ(KvDriverApi::S_GetInstance(9), pApi);
    EXPECT_EQ(KvDriverApi::S_GetInstance(0), pApi);
    KVDRIVER_PINGUINTERFACE interface_X = {0xDEAD, 0xDEAD, 0xDEAD, 0xDEAD, 0xDEAD, 0xDEAD};
    EXPECT_EQ(pApi->GetKvDriverInterface(&interface_X), 0);
    EXPECT_EQ(interface_X[PINGU_COMRAM], reinterpret_cast<uintptr_t>(ComramDriverApi::S_GetInstance()));
    EXPECT_EQ(interface_X[PINGU_TIMECODE], reinterpret_cast<uintptr_t>(TimecodeDriverApi::S_GetInstance()));
    for (int slot : {PINGU_DSPUART, PINGU_GENLOCK, PINGU_CEDSPUART, PINGU_RESERVED})
        EXPECT_EQ(interface_X[slot], 0u) << "slot " << slot;
    EXPECT_EQ(pApi->GetKvDriverInterface(nullptr), 22);
    EXPECT_EQ(pApi->KrpcBoardType(), static_cast<int32_t>(GetKrpcBoardType()));
    KvDriverApi::S_ReleaseInstance(false);
    EXPECT_EQ(KvDriverApi::S_GetInstance(0), nullptr);
}

TEST(ComramDriverApiTest, MappedRamIsSharedWithTheBoardAndOpenRulesHold)
{
    ComramDriverApi* pApi = ComramDriverApi::S_GetInstance();
    ASSERT_NE(pApi, nullptr);
    _MMAP_COMRAM volatile* pComram_X = nullptr;
    COMRAM_OPENDEVICE open_X = {};
    COMRAM_CLOSEDEVICE close_X = {};
    // Bad index or no pointer (22); open already (24); closed, so no pointer (9) and closing again
    // fails (24); a closed handle opens again and hands out its pointer. Evaluated in this order.
    const std::vector<int32_t> statuses = {
        pApi->GetComramPointer(1, &pComram_X), pApi->GetComramPointer(0, nullptr),
        pApi->OpenDevice(0, &open_X),          pApi->OpenDevice(0, nullptr),
        pApi->CloseDevice(0, &close_X),        pApi->GetComramPointer(0, &pComram_X),
        pApi->CloseDevice(0, &close_X),        pApi->OpenDevice(0, &open_X),
        pApi->GetComramPointer(0, &pComram_X)};
    EXPECT_EQ(statuses, (std::vector<int32_t>{22, 22, 24, 22, 0, 9, 24, 0, 0}));
    EXPECT_NE(pComram_X, nullptr);
    ComramDriverApi::S_ReleaseInstance(false);
}
} // namespace
