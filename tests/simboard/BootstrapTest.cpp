#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

struct ModelCase
{
    const char* board;
    uint8_t ident;
    uint8_t version;
    bool needsWakeupStep;
};

class BootstrapModels : public ::testing::TestWithParam<ModelCase>
{
};

TEST_P(BootstrapModels, AnswersIdentificationAndVersionOfTheModel)
{
    const ModelCase& c = GetParam();
    MailboxDriver host(MailboxDriver::config({{"board", c.board}}));
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.command(0x05));
    EXPECT_EQ(c.ident, host.read(0x0004));
    ASSERT_EQ(0, host.command(0x03));
    EXPECT_EQ(c.version, host.read(0x0002));
    EXPECT_EQ(0x12u, host.read(0x0003));
}

TEST_P(BootstrapModels, I2cPathNeedsTheWakeupStepOnlyOnZebxAndQ5k)
{
    const ModelCase& c = GetParam();
    MailboxDriver host(MailboxDriver::config({{"board", c.board}}));
    ASSERT_TRUE(host.wake());
    host.writeLe(0x0004, 0, 4);
    EXPECT_EQ(c.needsWakeupStep ? 0x06 : 0x00, host.command(0x90));
    EXPECT_EQ(c.needsWakeupStep ? 0x00 : 0x0F, host.command(0x92));
    EXPECT_EQ(0, host.command(0x90));
}

INSTANTIATE_TEST_SUITE_P(Models, BootstrapModels,
                         ::testing::Values(ModelCase{"ZEBX", 0x12, 0x03, true},
                                           ModelCase{"Q5K", 0xB2, 0x03, true},
                                           ModelCase{"Q5KP", 0xC5, 0x03, false},
                                           ModelCase{"Q5KP-V", 0xC5, 0x0B, false}),
                         [](const auto& info)
                         {
                             std::string name = info.param.board;
                             return name == "Q5KP-V" ? std::string("Q5KPV") : name;
                         });

TEST(Bootstrap, ConfiguredIdentificationAndVersionWin)
{
    MailboxDriver host(
        MailboxDriver::config({{"ident", "0x44"}, {"board", "Q5K"}, {"version", "0x21,0x43"}}));
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.command(0x05));
    EXPECT_EQ(0x44u, host.read(0x0004));
    ASSERT_EQ(0, host.command(0x03));
    EXPECT_EQ(0x21u, host.read(0x0002));
    EXPECT_EQ(0x43u, host.read(0x0003));
}

TEST(Bootstrap, UnknownOpcodeAnswersAnErrorStatus)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    EXPECT_EQ(0x0F, host.command(0x44));
    EXPECT_EQ(0, host.command(0x02)) << "enhanced mode is known";
}

TEST(Bootstrap, WakeupProbeAddressesTheDefaultDeviceTheBootstrapLeaves)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    EXPECT_EQ(0xA2u, host.read(0x0002));
    ASSERT_EQ(0, host.command(0x92));
    host.writeLe(0x0004, 0, 4);
    EXPECT_EQ(0, host.command(0x90));
    EXPECT_EQ(1u, host.trace.matching({"\"ev\":\"i2c\"", "\"dev\":\"0xA2\"", "\"status\":\"0x00\""}).size());
}

TEST(Bootstrap, ResetAsksForTheWakeupStepAgain)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    ASSERT_EQ(0, host.command(0x92));
    ASSERT_TRUE(host.wake());
    host.writeLe(0x0004, 0, 4);
    EXPECT_EQ(0x06, host.command(0x90));
}
