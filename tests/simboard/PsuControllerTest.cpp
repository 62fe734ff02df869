#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

namespace
{

const std::vector<uint8_t> kOff{0x1B, 0x47, 0x20, 0x20, 0x20};
const std::vector<uint8_t> kOn{0x3F, 0x3F, 0x3F};

// The Q7K wake-up handshake: 1 at byte 0, 0x80 at byte 1, 0 at the doorbell; true when the
// micro-code changed byte 1 within a second.
bool handshake(MailboxDriver& host)
{
    host.write(0x0000, 1);
    host.write(0x0001, 0x80);
    host.write(0x7FFF, 0);
    for (int i = 0; i < 1000; ++i)
    {
        if (host.read(0x0001) != 0x80)
            return true;
        host.wait(kMs);
    }
    return false;
}

MailboxDriver q7k(std::initializer_list<std::pair<const char*, const char*>> extra = {})
{
    sim::BoardConfig config = MailboxDriver::config({{"board", "Q7K"}});
    for (const auto& option : extra)
        config.apply(option.first, option.second, nullptr);
    return MailboxDriver(config);
}

} // namespace

TEST(PsuController, MicroCodeRunsOnAPoweredServer)
{
    MailboxDriver host = q7k();
    EXPECT_TRUE(handshake(host));
}

TEST(PsuController, SwitchingComponentsOffStopsTheMicroCode)
{
    MailboxDriver host = q7k();
    ASSERT_TRUE(host.psuSend(kOff));
    host.wait(500 * kMs);
    EXPECT_FALSE(handshake(host));
    EXPECT_EQ(1u, host.trace.matching({"\"ev\":\"psu\"", "\"mask\":\"0x00\"", "\"state\":\"off\""}).size());
}

TEST(PsuController, MicroCodeAnswersOnlyAfterPowerOnAndBootDelay)
{
    MailboxDriver host = q7k();
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
    EXPECT_EQ(1u, host.trace.matching({"\"ev\":\"board\"", "\"state\":\"ucode-running\""}).size());
}

TEST(PsuController, CommandsBeforeTheEscapeOrWithDisagreeingCopiesAreIgnored)
{
    MailboxDriver host = q7k();
    ASSERT_TRUE(host.psuSend({0x20, 0x20, 0x20}));
    ASSERT_TRUE(host.psuSend({0x1B, 0x47, 0x20, 0x21, 0x20}));
    host.wait(10 * kMs);
    EXPECT_TRUE(handshake(host));
    EXPECT_EQ(4u, host.trace.matching({"\"ev\":\"psu\"", "\"rejected\""}).size());
}

TEST(PsuController, Q7kMicroCodeServesTheEepromMailbox)
{
    MailboxDriver host = q7k();
    std::vector<uint8_t> data;
    ASSERT_EQ(0, host.eepromRead(11072 + 29, 9, &data));
    EXPECT_EQ("KV0012345", std::string(data.begin(), data.end()));
    EXPECT_EQ(0x0F, host.command(0x05)) << "identification is a bootstrap command the Q7K lacks";
}

TEST(PsuController, Q7kIgnoresTheResetLine)
{
    MailboxDriver host = q7k();
    host.write(0x7FFD, 1);
    EXPECT_TRUE(host.memoryCheck());
    EXPECT_TRUE(handshake(host));
}

TEST(PsuController, StuckUartNeverDrainsSoNothingIsSwitched)
{
    MailboxDriver host = q7k({{"fault", "uart-stuck"}});
    EXPECT_FALSE(host.psuSend(kOff));
    EXPECT_TRUE(host.trace.matching({"\"ev\":\"psu\""}).empty());
    EXPECT_TRUE(handshake(host)) << "the micro-code still runs";
}
