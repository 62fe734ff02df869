#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

TEST(Q7kRegisterFile, IdentityRegistersComeFromTheConfiguration)
{
    MailboxDriver host(MailboxDriver::config({{"board", "Q7K"}, {"q7k-regs", "0xD3,0x07,0x45,0x09"}}));
    EXPECT_EQ(0xD3u, host.reg(0));
    EXPECT_EQ(0x07u, host.reg(1));
    EXPECT_EQ(0x45u, host.reg(2));
    EXPECT_EQ(0x09u, host.reg(3));
}

TEST(Q7kRegisterFile, IdentityRegistersAreReadOnlyAndOthersLatch)
{
    MailboxDriver host(MailboxDriver::config({{"board", "Q7K"}}));
    host.setReg(0, 0x00);
    EXPECT_EQ(0xD1u, host.reg(0));
    host.setReg(80, 0x5C);
    EXPECT_EQ(0x5Cu, host.reg(80));
}

TEST(Q7kRegisterFile, IndexPortReadsBackAndAccessesAreTraced)
{
    MailboxDriver host(MailboxDriver::config({{"board", "Q7K"}}));
    host.server.portWrite(0x351, 2, host.now);
    EXPECT_EQ(2u, host.server.portRead(0x351, host.now));
    host.server.portRead(0x350, host.now);
    EXPECT_EQ(1u, host.trace.matching({"\"port\":\"0x351\"", "\"value\":\"0x02\"", "\"dir\":\"w\""}).size());
    EXPECT_EQ(
        1u, host.trace.matching({"\"port\":\"0x350\"", "\"index\":2", "\"value\":\"0x34\"", "\"dir\":\"r\""})
                .size());
}
