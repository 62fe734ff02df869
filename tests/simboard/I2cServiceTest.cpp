#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

TEST(I2cService, ChecksumFlagVerifiesTheRequestAndSealsTheReply)
{
    MailboxDriver host;
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.transfer(0xA4, {0x01, 0x1D}, 9, &data, true));
    uint32_t sum = 1;
    for (uint8_t b : data)
        sum += b;
    EXPECT_EQ(sum, host.readLe(0x0008, 4));
}

TEST(I2cService, WrongRequestChecksumIsRefusedWithoutBusTraffic)
{
    MailboxDriver host;
    host.write(0x0002, 0xA4);
    host.writeLe(0x0004, 3, 2);
    host.writeLe(0x0006, 0, 2);
    host.write(0x0010, 0x40);
    host.write(0x0011, 0x00);
    host.write(0x0012, 0x77);
    host.writeLe(0x0008, 12345, 4);
    host.write(0x0000, 0x90);
    host.write(0x0001, 0x80);
    host.write(0x0003, 1);
    host.write(0x7FFF, 1);
    host.wait(10 * kMs);
    EXPECT_EQ(0x08u, host.read(0x0001));
    EXPECT_EQ(0xFFu, host.eeprom[0x4000]);
}

TEST(I2cService, ChecksumOffLeavesTheChecksumWordAlone)
{
    MailboxDriver host;
    host.writeLe(0x0008, 0xCAFEF00D, 4);
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.transfer(0xA4, {0x01, 0x00}, 4, &data, false));
    EXPECT_EQ(0xCAFEF00Du, host.readLe(0x0008, 4));
}

TEST(I2cService, TransferBeyondTheDataAreaIsRefused)
{
    MailboxDriver host;
    std::vector<uint8_t> data;
    EXPECT_EQ(0x07, host.transfer(0xA4, {0, 0}, 0x1001, &data));
    EXPECT_TRUE(data.empty());
}

TEST(I2cService, TransactionIsTracedWithDeviceCountsAndMemoryAddress)
{
    MailboxDriver host;
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.eepromRead(0x2B40, 64, &data));
    EXPECT_EQ(1u, host.trace
                      .matching({"\"ev\":\"i2c\"", "\"dev\":\"0xA4\"", "\"wr\":2", "\"rd\":64",
                                 "\"mem\":\"0x2B40\"", "\"status\":\"0x00\""})
                      .size());
}
