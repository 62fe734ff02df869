#include "MailboxDriver.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace simtest;

namespace
{

const char* const kOff = "1B 47 20 20 20";
// The Q7K wake-up handshake, posted without ringing.
const char* const kHandshake = " w0=1 w1=80 w7FFF=0";

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
    // Options, the bytes sent, the rate's low divisor byte (0x32 is the controller's), the FIFO's flag
    // a second later, the handshake's status; a traced event and how often it shows.
    const std::tuple<const char*, const char*, const char*, const char*, const char*, const char*, size_t>
        rows[] = {
            {"", kOff, "32", "1", "80", "\"ev\":\"psu\",\"mask\":\"0x00\",\"state\":\"off\"", 1},
            // Bytes before an escape, a wrong escape, a command whose copies disagree.
            {"", "20 20 20 1B 48 20 20 20 1B 47 20 21 20", "32", "1", "0", "\"ev\":\"psu\",\"rejected\"", 8},
            {"", kOff, "33", "1", "0", "\"ev\":\"psu\",\"rx\":\"garbled\"", 5},
            {"fault=uart-stuck", kOff, "32", "0", "0", "\"ev\":\"psu\"", 0}};
    for (const auto& [options, bytes, rate, fifoEmpty, answer, event, events] : rows)
    {
        MailboxDriver host(std::string("board=Q7K ") + options);
        host.run(MailboxDriver::psuScript(bytes, rate) + " t1000000 q22=" + fifoEmpty + " t500000" +
                 kHandshake + " t1000000 r1=" + answer);
        EXPECT_EQ(events, host.trace.count(event)) << event;
    }
}

TEST(PsuController, MicroCodeAnswersTheHandshakeWhenItHasBootedAfterPowerOn)
{
    MailboxDriver host("board=Q7K");
    // A handshake posted during the boot is served when it ends.
    host.run(MailboxDriver::psuScript(kOff) + " t500000 " + MailboxDriver::psuScript("3F 3F 3F") +
             " t1000 q22=1" + kHandshake + " t150000 r1=80 t100000 r1=0");
    EXPECT_EQ(1u, host.trace.count("\"ev\":\"board\",\"state\":\"ucode-running\""));
}
