#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

namespace
{

int probe(MailboxDriver& host)
{
    host.write(0x0002, 0xA2);
    host.writeLe(0x0004, 0, 4);
    return host.command(0x90);
}

} // namespace

TEST(I2cBus, StuckBusFailsTransfersUntilTenPulsesFreeIt)
{
    for (uint64_t seed = 1; seed <= 8; ++seed)
    {
        sim::BoardConfig config = MailboxDriver::config({{"fault", "i2c-stuck"}});
        config.seed = seed;
        MailboxDriver host(config);
        host.bsMailbox = 0x2F24;
        ASSERT_TRUE(host.wake());
        ASSERT_EQ(0, host.command(0x92));
        EXPECT_EQ(0x03, probe(host)) << "seed " << seed;
        host.busReset();
        EXPECT_EQ(0, probe(host)) << "seed " << seed;
        EXPECT_EQ(1u, host.trace.matching({"\"bus\":\"freed\""}).size());
    }
}

TEST(I2cBus, PulsesWhileThePinBelongsToTheControllerDoNotFreeIt)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "i2c-stuck"}}));
    host.bsMailbox = 0x2F24;
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.command(0x92));
    ASSERT_EQ(0, host.bsWrite(0x80, 0xF0000A18, 0x01));
    for (int i = 0; i < 10; ++i)
    {
        host.bsWrite(0x80, 0xF0000A38, 0xFE);
        host.bsWrite(0x80, 0xF0000A28, 0x01);
    }
    EXPECT_EQ(0x03, probe(host));
}

TEST(I2cBus, BoardResetDoesNotFreeTheStuckDevice)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "i2c-stuck"}}));
    ASSERT_TRUE(host.wake());
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.command(0x92));
    EXPECT_EQ(0x03, probe(host));
}

TEST(I2cBus, ToolboxBusResetOnInterfaceZeroMissesThePinAndLeavesTheBusStuck)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "i2c-stuck"}}));
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.command(0x92));
    host.busReset();
    EXPECT_EQ(0x03, probe(host));
}

TEST(I2cBus, HardStuckBusStaysStuckAfterBusReset)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "i2c-stuck-hard"}}));
    host.bsMailbox = 0x2F24;
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.command(0x92));
    host.busReset();
    EXPECT_EQ(0x03, probe(host));
}

TEST(I2cBus, AbsentDeviceIsNotAcknowledged)
{
    MailboxDriver host;
    EXPECT_EQ(0x02, host.transfer(0xB0, {0x00}, 0, nullptr));
    EXPECT_EQ(0x00, host.transfer(0xA2, {0x00}, 1, nullptr));
}
