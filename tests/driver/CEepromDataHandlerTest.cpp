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

TEST_F(CEepromDataHandlerOnBoard, CopyWithZeroChecksumIsRejectedAndRepairedFromTheNextCopy)
{
    ASSERT_EQ(mpHandler->Read(true), 0);
    SETTINGSFILE record = mpHandler->GetSettings();
    SETTINGSFILE broken = record;
    broken.CheckSum_U32 = 0;
    ASSERT_EQ(mpHandler->WriteCopy(0, &broken), 0);
    SETTINGSFILE readBack = {};
    EXPECT_EQ(mpHandler->ReadCopy(0, &readBack), 6);

    EXPECT_EQ(mpHandler->Read(true), 0x200);
    EXPECT_EQ(memcmp(&mpHandler->GetSettings(), &record, sizeof(record)), 0);
    EXPECT_EQ(mpHandler->ReadCopy(0, &readBack), 0);
    EXPECT_EQ(memcmp(&readBack, &record, sizeof(record)), 0);
    EXPECT_EQ(mpHandler->Read(true), 0);
}

TEST_F(CEepromDataHandlerOnBoard, NineCharacterSerialRunsOnIntoTheRecord)
{
    ASSERT_EQ(mpHandler->Read(true), 0);
    SETTINGSFILE record = mpHandler->GetSettings();
    memcpy(record.SerialNumber_c, "123456789", 9);
    memcpy(record.Reserved2_U8, "AB\0", 3);
    record.CheckSum_U32 = 1;
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(&record);
    for (uint32_t i = 0; i < SETTINGS_CHECKSUM_SPAN; i++)
    {
        record.CheckSum_U32 += bytes[i];
    }
    for (unsigned copy = 0; copy < 3; copy++)
    {
        ASSERT_EQ(mpHandler->WriteCopy(copy, &record), 0);
    }
    ASSERT_EQ(mpHandler->Read(true), 0);
    EXPECT_EQ(std::string(mpHandler->GetSerialNumber()), "123456789AB");
}
} // namespace
