#include "keyDriver.h"

#include "BoardUp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
TEST(keyDriverTest, WithoutBoardFailsAtOnceWithoutTouchingTheMailbox)
{
    keyDriver driver; // no driver opened: the communication RAM is not mapped
    unsigned char page[64] = {};
    const std::vector<int> statuses = {driver.detect(), driver.I2CService(0xA4, 0, page, 0, page),
                                       driver.EEPROMRead(0, 64, page), driver.EEPROMWrite(0, 64, page),
                                       driver.EEPROMPoll()};
    EXPECT_EQ(statuses, (std::vector<int>{1, 5, 5, 5, 5}));
}

TEST(keyDriverTest, OnBoardPagesReadBackInBothChecksumModes)
{
    ASSERT_TRUE(BringBoardUp());
    keyDriver driver;
    ASSERT_EQ(driver.detect(), 0);
    EXPECT_EQ(driver.detect(), 0);
    EXPECT_EQ(driver.GetLastStatus() >> 8, 0x01) << "a detected driver answers without probing again";
    // A spare page between the older record and copy 0.
    constexpr unsigned short SCRATCH = 3 * 64;
    std::vector<unsigned char> mailbox(32752); // one byte more than the mailbox holds
    unsigned char none[1] = {0};
    for (int checksumMode : {1, 0})
    {
        SCOPED_TRACE(checksumMode ? "checksum on" : "checksum off");
        driver.EnableCheckSum(checksumMode);
        EXPECT_EQ(driver.I2CService(0xA4, 0, none, 0, none), 0);
        EXPECT_EQ(driver.EEPROMRead(0, 0, none), 0);
        EXPECT_EQ(driver.EEPROMPoll(), 0);
        unsigned char written[64];
        unsigned char read[64] = {};
        for (int i = 0; i < 64; i++)
            written[i] = static_cast<unsigned char>(i * 7 + checksumMode);
        EXPECT_EQ(driver.EEPROMWrite(SCRATCH, 64, written), 0);
        // Refused before anything is posted: the page keeps what was written.
        EXPECT_EQ(driver.EEPROMWrite(SCRATCH, 65, mailbox.data()), 6);
        EXPECT_EQ(driver.EEPROMRead(SCRATCH, 64, read), 0);
        EXPECT_EQ(memcmp(read, written, 64), 0);
    }
    // Too much for the mailbox, or no buffer: refused unposted; what fits reaches the micro-code.
    const std::vector<int> statuses = {driver.I2CService(0xA4, 0, none, 32751, mailbox.data()),
                                       driver.I2CService(0xA4, 0, none, 32752, mailbox.data()),
                                       driver.I2CService(0xA4, 32752, mailbox.data(), 0, none),
                                       driver.I2CService(0xA4, 2, nullptr, 0, none),
                                       driver.I2CService(0xA4, 0, none, 1, nullptr)};
    EXPECT_EQ(statuses, (std::vector<int>{7, 6, 6, 6, 6}));
}
} // namespace
