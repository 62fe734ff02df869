#include "MailboxDriver.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace simtest;

namespace
{

const Bytes kOff{0x1B, 0x47, 0x20, 0x20, 0x20};
const Bytes kOn{0x3F, 0x3F, 0x3F};

// The Q7K wake-up handshake; true when the micro-code answered it within a second.
bool handshake(MailboxDriver& host)
{
    host.write(0x0000, 1);
    host.write(0x0001, 0x80);
    host.write(0x7FFF, 0);
    for (int i = 0; i < 1000 && host.read(0x0001) == 0x80; ++i)
        host.wait(kMs);
    return host.read(0x0001) != 0x80;
}

} // namespace

TEST(Q7kRegisterFile, IdentityRegistersAreConfiguredAndReadOnly)
{
    MailboxDriver host("board=Q7K q7k-regs=0xD3,0x07,0x45,0x09");
    for (uint8_t index = 0; index < 4; ++index)
        host.setReg(index, 0);
    host.setReg(80, 0x5C);
    EXPECT_EQ((Bytes{0xD3, 0x07, 0x45, 0x09, 0x5C}),
              (Bytes{host.reg(0), host.reg(1), host.reg(2), host.reg(3), host.reg(80)}));
    EXPECT_EQ(80u, host.server.portRead(0x351, host.now)) << "the index port reads back";
}

TEST(Q7kUart, FifoDrainsOneByteATimeOnlyWhileTheTransmitterIsEnabled)
{
    MailboxDriver host("board=Q7K timing=uart-byte=100");
    host.setReg(34, 0x1B);
    host.wait(100 * kMs);
    EXPECT_EQ(0x00u, host.reg(34) & 0x01) << "transmitter disabled";
    ASSERT_TRUE(host.psuSend({})); // link set up: the waiting byte goes
    host.setReg(35, 0x00);
    for (int i = 0; i < 130; ++i) // two beyond the FIFO's depth are lost
        host.setReg(34, 0x20);
    host.setReg(35, 0x01);
    host.wait(128 * 100 * kUs - kUs);
    EXPECT_EQ(0x00u, host.reg(34) & 0x01);
    host.wait(kUs);
    EXPECT_EQ(0x01u, host.reg(34) & 0x01);
}

TEST(PsuController, SwitchesTheMicroCodeOnlyOnAnEscapedThreefoldCommandAtTheRightRate)
{
    // Options, the bytes sent, the rate's low divisor byte (0x32 is the controller's), whether the
    // FIFO drained, whether the micro-code still runs, a traced event and how often it shows.
    const std::tuple<const char*, Bytes, uint8_t, bool, bool, const char*, size_t> rows[] = {
        {"", kOff, 0x32, true, false, "\"ev\":\"psu\",\"mask\":\"0x00\",\"state\":\"off\"", 1},
        // Bytes before an escape, a wrong escape, a command whose copies disagree.
        {"",
         {0x20, 0x20, 0x20, 0x1B, 0x48, 0x20, 0x20, 0x20, 0x1B, 0x47, 0x20, 0x21, 0x20},
         0x32,
         true,
         true,
         "\"ev\":\"psu\",\"rejected\"",
         8},
        {"", kOff, 0x33, true, true, "\"ev\":\"psu\",\"rx\":\"garbled\"", 5},
        {"fault=uart-stuck", kOff, 0x32, false, true, "\"ev\":\"psu\"", 0}};
    for (const auto& [options, bytes, rate, drained, ucodeRuns, event, events] : rows)
    {
        SCOPED_TRACE(event);
        MailboxDriver host(std::string("board=Q7K ") + options);
        EXPECT_EQ(drained, host.psuSend(bytes, rate));
        host.wait(500 * kMs);
        EXPECT_EQ(ucodeRuns, handshake(host));
        EXPECT_EQ(events, host.trace.count({event}));
    }
}

TEST(PsuController, MicroCodeAnswersTheHandshakeWhenItHasBootedAfterPowerOn)
{
    MailboxDriver host("board=Q7K");
    ASSERT_TRUE(host.psuSend(kOff));
    host.wait(500 * kMs);
    ASSERT_TRUE(host.psuSend(kOn));
    host.write(0x0000, 1);
    host.write(0x0001, 0x80);
    host.write(0x7FFF, 0);
    host.wait(150 * kMs);
    EXPECT_EQ(0x80u, host.read(0x0001)) << "still booting";
    host.wait(100 * kMs);
    EXPECT_EQ(0x00u, host.read(0x0001)) << "a handshake posted during the boot is served when it ends";
    EXPECT_EQ(1u, host.trace.count({"\"ev\":\"board\",\"state\":\"ucode-running\""}));
}
