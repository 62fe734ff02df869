#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

TEST(SimServer, PoweredServerBoardAnswersBeforeAnyReset)
{
    MailboxDriver host;
    EXPECT_TRUE(host.memoryCheck());
    EXPECT_EQ(0, host.command(0x01));
}

TEST(SimServer, BoardInResetNeitherKeepsRamNorAnswers)
{
    MailboxDriver host;
    host.write(0x7FFD, 1);
    EXPECT_FALSE(host.memoryCheck());
    EXPECT_EQ(0xFFu, host.read(0x0001));
    EXPECT_EQ(kTimedOut, host.command(0x01, 0, 50 * kMs));
    EXPECT_EQ(1u, host.read(0x7FFD)) << "the reset line reads back while the RAM does not";
}

TEST(SimServer, RamCheckPassesAfterReleaseDelayAndBootstrapAfterAnother)
{
    sim::BoardConfig config;
    config.ramCheckDelayNs = 5 * kMs;
    config.bootstrapDelayNs = 50 * kMs;
    MailboxDriver host(config);
    host.write(0x7FFD, 1);
    host.wait(kMs);
    host.write(0x7FFD, 0);
    host.wait(4 * kMs);
    EXPECT_FALSE(host.memoryCheck());
    host.wait(2 * kMs);
    EXPECT_TRUE(host.memoryCheck());
    EXPECT_EQ(kTimedOut, host.command(0x01, 0, 30 * kMs)) << "bootstrap not up yet";
    host.wait(20 * kMs);
    EXPECT_EQ(0, host.command(0x01, 0, 10 * kMs));
}

TEST(SimServer, ToolboxResetPulseLeavesBootstrapAnswering)
{
    MailboxDriver host;
    host.resetPulse();
    EXPECT_TRUE(host.memoryCheck());
    EXPECT_TRUE(host.waitBootstrap());
    EXPECT_EQ(2u, host.trace.matching({"\"ev\":\"reset\"", "\"line\":1"}).size());
}

TEST(SimServer, StatusStaysPendingUntilTheCommandLatencyHasPassed)
{
    sim::BoardConfig config;
    config.ucodeCommandNs = 100 * kUs;
    MailboxDriver host(config);
    host.write(0x0000, 0x01);
    host.write(0x0001, 0x80);
    host.write(0x0003, 1);
    host.write(0x7FFF, 1);
    EXPECT_EQ(0u, host.read(0x7FFF)) << "the board clears the doorbell when it takes the command";
    host.wait(99 * kUs);
    EXPECT_EQ(0x80u, host.read(0x0001));
    host.wait(kUs);
    EXPECT_EQ(0x00u, host.read(0x0001));
}

TEST(SimServer, CommandWithoutDoorbellIsNotTaken)
{
    MailboxDriver host;
    host.write(0x0000, 0x01);
    host.write(0x0001, 0x80);
    host.wait(10 * kMs);
    EXPECT_EQ(0x80u, host.read(0x0001));
}

TEST(SimServer, EachMailboxAnswersOnItsOwnStatusByte)
{
    for (uint32_t mailbox : {0x0000u, 0x2F24u, 0x3024u})
    {
        MailboxDriver host;
        ASSERT_TRUE(host.wake());
        EXPECT_EQ(0, host.command(0x05, mailbox)) << std::hex << mailbox;
        EXPECT_EQ(0xB2u, host.read(0x0004)) << std::hex << mailbox;
        char fragment[32];
        std::snprintf(fragment, sizeof fragment, "\"mbx\":\"0x%04X\"", mailbox);
        EXPECT_EQ(1u, host.trace.matching({"\"ev\":\"cmd\"", fragment, "\"op\":\"0x05\""}).size());
    }
}

TEST(SimServer, RequestPostedWhileBootstrapStartsIsTakenWhenItRuns)
{
    MailboxDriver host;
    host.write(0x7FFD, 1);
    host.wait(kMs);
    host.write(0x7FFD, 0);
    host.wait(10 * kMs); // RAM usable, bootstrap still starting
    host.write(0x0000, 0x01);
    host.write(0x0001, 0x80);
    host.write(0x7FFF, 1);
    host.wait(100 * kMs);
    EXPECT_EQ(0u, host.read(0x0001));
}

TEST(SimServer, EveryTraceLineCarriesVirtualTime)
{
    MailboxDriver host;
    ASSERT_TRUE(host.wake());
    host.server.portRead(0x350, host.now);
    ASSERT_FALSE(host.trace.lines.empty());
    for (const std::string& line : host.trace.lines)
        EXPECT_EQ(0u, line.find("{\"t_us\":")) << line;
}

TEST(SimServer, NonQ7kBoardLeavesRegisterPortsFloating)
{
    MailboxDriver host;
    EXPECT_EQ(0xFFu, host.reg(0));
    EXPECT_EQ(1u, host.trace.matching({"\"ev\":\"reg\"", "\"port\":\"0x350\"", "\"dir\":\"r\""}).size());
}
