#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

namespace
{

MailboxDriver q7k(uint64_t byteNs)
{
    sim::BoardConfig config = MailboxDriver::config({{"board", "Q7K"}});
    config.uartByteNs = byteNs;
    return MailboxDriver(config);
}

void configureLink(MailboxDriver& host)
{
    host.setReg(32, 0xDC);
    host.setReg(33, 0x32);
    host.setReg(35, 0x01);
    host.setReg(38, 0x40);
    host.setReg(38, 0x81);
}

} // namespace

TEST(Q7kUart, FifoEmptyBitClearsWhileBytesAreOnTheWire)
{
    MailboxDriver host = q7k(100 * kUs);
    configureLink(host);
    EXPECT_EQ(0x01u, host.reg(34) & 0x01);
    for (int i = 0; i < 3; ++i)
        host.setReg(34, 0x1B);
    host.wait(299 * kUs);
    EXPECT_EQ(0x00u, host.reg(34) & 0x01);
    host.wait(kUs);
    EXPECT_EQ(0x01u, host.reg(34) & 0x01);
}

TEST(Q7kUart, DisabledTransmitterNeverDrains)
{
    MailboxDriver host = q7k(100 * kUs);
    host.setReg(34, 0x1B);
    host.wait(100 * kMs);
    EXPECT_EQ(0x00u, host.reg(34) & 0x01);
}

TEST(Q7kUart, WrongRateGarblesTheBytesAtTheController)
{
    MailboxDriver host = q7k(100 * kUs);
    host.setReg(35, 0x01);
    for (uint8_t b : {0x1B, 0x47, 0x20, 0x20, 0x20})
        host.setReg(34, b);
    host.wait(10 * kMs);
    host.reg(34);
    EXPECT_EQ(5u, host.trace.matching({"\"ev\":\"psu\"", "\"rx\":\"garbled\""}).size());
    EXPECT_TRUE(host.trace.matching({"\"state\":\"off\""}).empty());
}

TEST(Q7kUart, OverrunBeyondTheFifoDepthLosesBytes)
{
    MailboxDriver host = q7k(100 * kUs);
    configureLink(host);
    host.setReg(35, 0x00);
    for (int i = 0; i < 130; ++i)
        host.setReg(34, 0x20);
    host.setReg(35, 0x01);
    host.wait(128 * 100 * kUs);
    EXPECT_EQ(0x01u, host.reg(34) & 0x01) << "only the 128 queued bytes were sent";
}
