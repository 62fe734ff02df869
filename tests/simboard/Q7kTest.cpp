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
    host.run("g0=0 g1=0 g2=0 g3=0 g50=5C q0=D3 q1=7 q2=45 q3=9 q50=5C p351=50");
}

TEST(Q7kUart, FifoDrainsOneByteATimeOnlyWhileTheTransmitterIsEnabled)
{
    MailboxDriver host("board=Q7K timing=uart-byte=100");
    std::string overrun; // two bytes beyond the FIFO's depth are lost
    for (int i = 0; i < 130; ++i)
        overrun += "g22=20 ";
    host.run("g22=1B t100000 q22=0 g20=DC g21=32 g23=1 t99 q22=0 t1 q22=1 g23=0 " + overrun +
             "g23=1 t12799 q22=0 t1 q22=1");
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
        EXPECT_EQ(events, host.trace.count(event));
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
    EXPECT_EQ(1u, host.trace.count("\"ev\":\"board\",\"state\":\"ucode-running\""));
}
