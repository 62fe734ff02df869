#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

struct MemoryCase
{
    uint8_t writeOp;
    uint8_t readOp;
    uint32_t value;
};

class ColdFireMemory : public ::testing::TestWithParam<MemoryCase>
{
};

TEST_P(ColdFireMemory, BoardRamKeepsWhatTheBootstrapWrote)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.bsWrite(GetParam().writeOp, 0x00001000, GetParam().value));
    uint32_t back = 0;
    ASSERT_EQ(0, host.bsRead(GetParam().readOp, 0x00001000, &back));
    EXPECT_EQ(GetParam().value, back);
}

INSTANTIATE_TEST_SUITE_P(Widths, ColdFireMemory,
                         ::testing::Values(MemoryCase{0x80, 0x86, 0x5A}, MemoryCase{0x81, 0x87, 0xBEEF},
                                           MemoryCase{0x82, 0x88, 0x12345678}));

TEST(ColdFireBus, ProcessorIsBigEndian)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.bsWrite(0x82, 0x00000100, 0x11223344));
    uint32_t first = 0;
    ASSERT_EQ(0, host.bsRead(0x86, 0x00000100, &first));
    EXPECT_EQ(0x11u, first);
}

TEST(ColdFireBus, UndecodedAddressAnswersBusError)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    uint32_t value = 0;
    EXPECT_EQ(0x09, host.bsRead(0x88, 0x40000000, &value));
    EXPECT_EQ(0x09, host.bsWrite(0x80, 0xE0000000, 1));
    EXPECT_EQ(0, host.bsRead(0x88, 0xF0000B00, &value)) << "unimplemented peripheral registers read as zero";
    EXPECT_EQ(0u, value);
}

TEST(ColdFireBus, PinAssignmentStartsWithI2cOnItsController)
{
    MailboxDriver host;
    host.bsMailbox = 0x2F24;
    ASSERT_TRUE(host.wake());
    uint32_t par = 0;
    ASSERT_EQ(0, host.bsRead(0x87, 0xF0000A44, &par));
    EXPECT_EQ(0x0004u, par & 0x0004);
    uint32_t direction = 0xFF;
    ASSERT_EQ(0, host.bsRead(0x86, 0xF0000A18, &direction));
    EXPECT_EQ(0u, direction & 0x01);
}

TEST(ColdFireBus, SetAndClearRegistersMoveThePortLatch)
{
    MailboxDriver host;
    host.bsMailbox = 0x3024;
    ASSERT_TRUE(host.wake());
    uint32_t pin = 0;
    ASSERT_EQ(0, host.bsWrite(0x80, 0xF0000A38, 0xFE));
    ASSERT_EQ(0, host.bsRead(0x86, 0xF0000A28, &pin));
    EXPECT_EQ(0u, pin & 0x01);
    ASSERT_EQ(0, host.bsWrite(0x80, 0xF0000A28, 0x01));
    ASSERT_EQ(0, host.bsRead(0x86, 0xF0000A28, &pin));
    EXPECT_EQ(1u, pin & 0x01);
}

TEST(ColdFireBus, InterfaceZeroFlagByteIsTheSecondAddressByte)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    uint32_t value = 0;
    EXPECT_EQ(0, host.bsRead(0x87, 0xF0000A44, &value));
    EXPECT_EQ(0u, value);
    EXPECT_EQ(1u, host.trace.matching({"\"op\":\"0x87\"", "\"addr\":\"0xF0000144\""}).size());
}

TEST(ColdFireBus, ToolboxBusResetIsThreeReadsAndTwentyThreeWrites)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    host.trace.lines.clear();
    host.busReset();
    EXPECT_EQ(3u, host.trace.matching({"\"ev\":\"cmd\"", "\"op\":\"0x86\""}).size() +
                      host.trace.matching({"\"ev\":\"cmd\"", "\"op\":\"0x87\""}).size());
    EXPECT_EQ(23u, host.trace.matching({"\"ev\":\"cmd\"", "\"op\":\"0x80\""}).size() +
                       host.trace.matching({"\"ev\":\"cmd\"", "\"op\":\"0x81\""}).size());
}

TEST(ColdFireBus, BusResetOnInterfaceOneReachesTheGpioRegistersInOrder)
{
    MailboxDriver host;
    host.bsMailbox = 0x2F24;
    ASSERT_TRUE(host.wake());
    host.trace.lines.clear();
    host.busReset();
    std::vector<std::string> ops;
    for (const std::string& line : host.trace.matching({"\"ev\":\"cmd\""}))
        ops.push_back(line.substr(line.find("\"op\":") + 6, 4) + line.substr(line.find("\"addr\":") + 8, 10));
    ASSERT_EQ(26u, ops.size());
    EXPECT_EQ("0x870xF0000A44", ops[0]);
    EXPECT_EQ("0x810xF0000A44", ops[1]);
    EXPECT_EQ("0x860xF0000A18", ops[2]);
    EXPECT_EQ("0x800xF0000A18", ops[3]);
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_EQ("0x800xF0000A38", ops[4 + 2 * i]);
        EXPECT_EQ("0x800xF0000A28", ops[5 + 2 * i]);
    }
    EXPECT_EQ("0x870xF0000A44", ops[24]);
    EXPECT_EQ("0x810xF0000A44", ops[25]);
}
