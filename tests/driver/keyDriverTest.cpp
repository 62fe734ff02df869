#include "keyDriver.h"

#include "BoardUp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
// A spare EEPROM page between the older record and copy 0: tests may scribble on it.
constexpr unsigned short SCRATCH_PAGE_ADDRESS = 3 * 64;

TEST(keyDriverWithoutBoard, FailsAtOnceWithoutTouchingTheMailbox)
{
    // No driver opened: the communication RAM is not mapped.
    keyDriver driver;
    unsigned char page[64] = {};
    EXPECT_EQ(driver.detect(), 1);
    EXPECT_EQ(driver.I2CService(0xA4, 0, page, 0, page), 5);
    EXPECT_EQ(driver.EEPROMRead(0, 64, page), 5);
    EXPECT_EQ(driver.EEPROMWrite(0, 64, page), 5);
    EXPECT_EQ(driver.EEPROMPoll(), 5);
}

class keyDriverOnBoard : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(BringBoardUp());
        mpDriver = new keyDriver();
        ASSERT_EQ(mpDriver->detect(), 0);
    }
    void TearDown() override { delete mpDriver; }
    keyDriver* mpDriver = nullptr;
};

TEST_F(keyDriverOnBoard, WrittenPageReadsBackAfterTheWriteCycle)
{
    for (int checksumMode : {1, 0})
    {
        SCOPED_TRACE(checksumMode ? "checksum on" : "checksum off");
        mpDriver->EnableCheckSum(checksumMode);
        unsigned char written[64];
        for (int i = 0; i < 64; i++)
        {
            written[i] = static_cast<unsigned char>(i * 7 + checksumMode);
        }
        EXPECT_EQ(mpDriver->EEPROMWrite(SCRATCH_PAGE_ADDRESS, 64, written), 0);
        unsigned char read[64] = {};
        EXPECT_EQ(mpDriver->EEPROMRead(SCRATCH_PAGE_ADDRESS, 64, read), 0);
        EXPECT_EQ(memcmp(read, written, 64), 0);
    }
}

TEST_F(keyDriverOnBoard, OversizedWriteIsRefusedAndPostsNothing)
{
    unsigned char before[64] = {};
    ASSERT_EQ(mpDriver->EEPROMRead(SCRATCH_PAGE_ADDRESS, 64, before), 0);
    std::vector<unsigned char> block(65, 0x5A);
    EXPECT_EQ(mpDriver->EEPROMWrite(SCRATCH_PAGE_ADDRESS, 65, block.data()), 6);
    unsigned char after[64] = {};
    ASSERT_EQ(mpDriver->EEPROMRead(SCRATCH_PAGE_ADDRESS, 64, after), 0);
    EXPECT_EQ(memcmp(before, after, 64), 0);
}

TEST_F(keyDriverOnBoard, EmptyTransfersSucceedWhateverTheChecksumMode)
{
    unsigned char none[1] = {0};
    for (int checksumMode : {1, 0})
    {
        mpDriver->EnableCheckSum(checksumMode);
        EXPECT_EQ(mpDriver->I2CService(0xA4, 0, none, 0, none), 0);
        EXPECT_EQ(mpDriver->EEPROMRead(0, 0, none), 0);
        EXPECT_EQ(mpDriver->EEPROMPoll(), 0);
    }
}

TEST_F(keyDriverOnBoard, DetectedDriverAnswersAgainWithoutProbing)
{
    EXPECT_EQ(mpDriver->detect(), 0);
    EXPECT_EQ(mpDriver->GetLastStatus() >> 8, 0x01) << "the presence check was the last command";
}
} // namespace
