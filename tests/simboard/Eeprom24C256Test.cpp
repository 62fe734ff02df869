#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

namespace
{

std::vector<uint8_t> counting(size_t n, uint8_t first)
{
    std::vector<uint8_t> bytes(n);
    for (size_t i = 0; i < n; ++i)
        bytes[i] = static_cast<uint8_t>(first + i);
    return bytes;
}

} // namespace

TEST(Eeprom24C256, ReadsTheImageFromATwoByteAddress)
{
    MailboxDriver host;
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.eepromRead(256 + 29, 9, &data));
    EXPECT_EQ("KV0012345", std::string(data.begin(), data.end()));
}

TEST(Eeprom24C256, WritesLandInTheCallersPersistentImage)
{
    MailboxDriver host;
    ASSERT_EQ(0, host.eepromWrite(0x4000, {1, 2, 3}));
    EXPECT_EQ(1u, host.eeprom[0x4000]);
    EXPECT_EQ(3u, host.eeprom[0x4002]);
}

TEST(Eeprom24C256, DoesNotAcknowledgeDuringItsWriteCycle)
{
    sim::BoardConfig config;
    config.eepromWriteCycleNs = 5 * kMs;
    MailboxDriver host(config);
    ASSERT_EQ(0, host.eepromWrite(0x0100, {0xAA}));
    std::vector<uint8_t> data;
    EXPECT_EQ(0x02, host.eepromRead(0x0100, 1, &data)) << "the transfer starts 1 ms after the write";
    EXPECT_EQ(0x02, host.transfer(0xA4, {}, 0, nullptr)) << "an empty write polls the device";
    host.wait(5 * kMs);
    EXPECT_EQ(0x00, host.transfer(0xA4, {}, 0, nullptr));
    ASSERT_EQ(0, host.eepromRead(0x0100, 1, &data));
    EXPECT_EQ(0xAAu, data[0]);
}

TEST(Eeprom24C256, PageWriteWrapsInsideItsPage)
{
    MailboxDriver host;
    ASSERT_EQ(0, host.eepromWrite(0x2038, counting(16, 0x10))); // 8 bytes to the page end, 8 wrap
    EXPECT_EQ(0x10u, host.eeprom[0x2038]);
    EXPECT_EQ(0x17u, host.eeprom[0x203F]);
    EXPECT_EQ(0x18u, host.eeprom[0x2000]);
    EXPECT_EQ(0x1Fu, host.eeprom[0x2007]);
    EXPECT_EQ(0xFFu, host.eeprom[0x2040]) << "the next page is untouched";
}

TEST(Eeprom24C256, MoreThanAPageOverwritesTheSamePage)
{
    MailboxDriver host;
    ASSERT_EQ(0, host.eepromWrite(0x3000, counting(66, 0)));
    EXPECT_EQ(64u, host.eeprom[0x3000]);
    EXPECT_EQ(65u, host.eeprom[0x3001]);
    EXPECT_EQ(2u, host.eeprom[0x3002]);
    EXPECT_EQ(0xFFu, host.eeprom[0x3040]);
}

TEST(Eeprom24C256, SequentialReadRollsOverAtTheEndOfMemory)
{
    MailboxDriver host;
    host.eeprom[0x7FFF] = 0x5A;
    host.eeprom[0x0000] = 0xA5;
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.eepromRead(0x7FFF, 2, &data));
    EXPECT_EQ((std::vector<uint8_t>{0x5A, 0xA5}), data);
}

TEST(Eeprom24C256, HighestAddressBitIsIgnored)
{
    MailboxDriver host;
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.eepromRead(0x8000 + 256 + 29, 2, &data));
    EXPECT_EQ('K', data[0]);
}

TEST(Eeprom24C256, ReadAfterAnEmptyPollContinuesAtTheCurrentAddress)
{
    MailboxDriver host;
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.eepromRead(256 + 29, 2, &data));
    data.clear();
    ASSERT_EQ(0, host.transfer(0xA4, {}, 3, &data));
    EXPECT_EQ("001", std::string(data.begin(), data.end()));
}
