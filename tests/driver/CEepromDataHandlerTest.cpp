#include "CEepromDataHandler.h"

#include "BoardUp.h"
#include "keyDriver.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
TEST(CEepromDataHandlerWithoutBoard, EveryTransferReportsTheMissingMicroCode)
{
    CEepromDataHandler handler(nullptr);
    SETTINGSFILE record = {};
    OLDSETTINGS old = {};
    EXPECT_EQ(handler.Read(true), 5);
    EXPECT_FALSE(handler.IsValid());
    EXPECT_EQ(handler.ReadCopy(0, &record), 5);
    EXPECT_EQ(handler.WriteCopy(0, &record), 5);
    EXPECT_EQ(handler.ReadOldCopy(&old), 5);
}

TEST(CEepromDataHandlerConversion, KeepsTheIdentityFieldsAndClearsTheRest)
{
    CEepromDataHandler handler(nullptr);
    OLDSETTINGS old;
    memset(&old, 0xEE, sizeof(old));
    memcpy(old.UserName_c, "Nineteen characters", 19);
    memcpy(old.SerialNumber_c, "SN123456", 8);
    old.HardwareId_U32 = 0x12345678;
    old.PsuType_U8 = 2;
    old.CaseType_U8 = 13;
    SETTINGSFILE record;
    memset(&record, 0xAA, sizeof(record));

    handler.ConvertFromOldFormat(&old, &record);

    EXPECT_EQ(std::string(record.UserName_c), "Nineteen characters");
    EXPECT_EQ(std::string(record.SerialNumber_c), "SN123456");
    EXPECT_EQ(record.HardwareId_U32, 0x12345678u);
    EXPECT_EQ(record.PsuType_U8, 2);
    EXPECT_EQ(record.CaseType_U8, 13);
    EXPECT_EQ(record.CheckSum_U32, 0u);
    EXPECT_EQ(record.LastSave_U32, 0u);
    EXPECT_EQ(record.Signature_U16, 0);
    for (uint8_t byte : record.Further_U8)
    {
        ASSERT_EQ(byte, 0);
    }
    EXPECT_EQ(handler.GetModifiedFlags() & 1u, 1u);
}

TEST(CEepromDataHandlerConversion, NullRecordsAreIgnored)
{
    CEepromDataHandler handler(nullptr);
    OLDSETTINGS old = {};
    handler.ConvertFromOldFormat(&old, nullptr);
    handler.ConvertFromOldFormat(nullptr, nullptr);
    EXPECT_EQ(handler.GetModifiedFlags(), 0u);
}

class CEepromDataHandlerOnBoard : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(BringBoardUp());
        mpHandler = new CEepromDataHandler(nullptr);
        mpHandler->SetBusyRetry(false);
        mpHandler->GetKeyDriver()->EnableCheckSum(0);
    }
    void TearDown() override { delete mpHandler; }
    CEepromDataHandler* mpHandler = nullptr;
};

TEST_F(CEepromDataHandlerOnBoard, OutOfRangeCopyOrNullRecordIsRefused)
{
    SETTINGSFILE record = {};
    EXPECT_EQ(mpHandler->ReadCopy(3, &record), 5);
    EXPECT_EQ(mpHandler->ReadCopy(0, nullptr), 5);
    EXPECT_EQ(mpHandler->WriteCopy(3, &record), 5);
    EXPECT_EQ(mpHandler->WriteCopy(0, nullptr), 5);
}

// How a rejected copy is repaired from the next one is the scenario suite's.
TEST_F(CEepromDataHandlerOnBoard, CopyWithZeroChecksumIsRejected)
{
    ASSERT_EQ(mpHandler->Read(true), 0);
    SETTINGSFILE broken = mpHandler->GetSettings();
    broken.CheckSum_U32 = 0;
    ASSERT_EQ(mpHandler->WriteCopy(0, &broken), 0);
    SETTINGSFILE readBack = {};
    EXPECT_EQ(mpHandler->ReadCopy(0, &readBack), 6);
}

// Damage done to the sample unit (three good copies of "KV0012345", an older record of
// "KV001234") before Read, and what Read makes of it. Which copy is read and rewritten while one
// is good is the scenario suite's: here the fallbacks behind the copies.
struct DamageCase
{
    const char* name;
    bool brokenOld; // all three copies are broken
    short result;
    bool valid;
    std::string serial;
    std::string user;
    uint32_t modified;
};

class CEepromDataHandlerDamage : public CEepromDataHandlerOnBoard,
                                 public testing::WithParamInterface<DamageCase>
{
};

TEST_P(CEepromDataHandlerDamage, FallsBackCopyByCopyThenOlderLayoutThenDefaults)
{
    const DamageCase& c = GetParam();
    ASSERT_EQ(mpHandler->Read(true), 0);
    SETTINGSFILE broken = mpHandler->GetSettings();
    broken.CheckSum_U32 = 0;
    for (unsigned copy = 0; copy < 3; copy++)
    {
        ASSERT_EQ(mpHandler->WriteCopy(copy, &broken), 0);
    }
    if (c.brokenOld)
    {
        // The older record's 8-bit checksum is its byte 101, in EEPROM page 1.
        unsigned char page[64] = {};
        ASSERT_EQ(mpHandler->GetKeyDriver()->EEPROMRead(64, 64, page), 0);
        page[101 - 64]++;
        ASSERT_EQ(mpHandler->GetKeyDriver()->EEPROMWrite(64, 64, page), 0);
    }

    CEepromDataHandler fresh(nullptr);
    fresh.SetBusyRetry(false);
    fresh.GetKeyDriver()->EnableCheckSum(0);
    EXPECT_EQ(fresh.Read(true), c.result);
    EXPECT_EQ(fresh.IsValid(), c.valid);
    EXPECT_EQ(std::string(fresh.GetSerialNumber()), c.serial);
    EXPECT_EQ(std::string(fresh.GetSettings().UserName_c), c.user);
    EXPECT_EQ(fresh.GetModifiedFlags(), c.modified);
    if (!c.valid)
    {
        // Nothing but the two default texts survives.
        SETTINGSFILE defaults = {};
        memcpy(defaults.UserName_c, "ORX", 4);
        memcpy(defaults.SerialNumber_c, "100000", 7);
        EXPECT_EQ(memcmp(&fresh.GetSettings(), &defaults, sizeof(defaults)), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(SampleUnit, CEepromDataHandlerDamage,
                         testing::Values(DamageCase{"AllCopies", false, 0x200, true, "KV001234", "ORX", 1},
                                         DamageCase{"AllCopiesAndOld", true, 11, false, "100000", "ORX", 0}),
                         [](const testing::TestParamInfo<DamageCase>& info)
                         { return std::string(info.param.name); });

} // namespace
