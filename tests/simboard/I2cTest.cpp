#include "MailboxDriver.h"

#include <gtest/gtest.h>
#include <numeric>
#include <tuple>

using namespace simtest;

// Each row is one 0x90 request; it follows a two-byte EEPROM read at 285, the serial number.
TEST(I2cService, AnswersEachRequestAsTheBusAndTheEepromDo)
{
    // Name; device; bytes written; count read; checksum flag; added to the request checksum; status;
    // what the reply holds from offset AT; AT.
    const std::tuple<const char*, uint8_t, Bytes, uint16_t, bool, uint32_t, int, std::string, size_t> rows[] =
        {{"serial", 0xA4, {0x01, 0x1D}, 9, true, 0, 0x00, "KV0012345", 0},
         {"highest address bit ignored", 0xA4, {0x81, 0x1D}, 2, false, 0, 0x00, "KV", 0},
         {"current address after an empty write", 0xA4, {}, 3, false, 0, 0x00, "001", 0},
         {"read rolls over at the end", 0xA4, {0x7F, 0xFF}, 76, true, 0, 0x00, "ORX", 73},
         {"wrong request checksum", 0xA4, {0x40, 0x00, 0x77}, 0, true, 1, 0x08, "", 0},
         {"beyond the data area", 0xA4, {0, 0}, 0x1001, false, 0, 0x07, "", 0},
         {"absent device", 0xB0, {0x00}, 0, false, 0, 0x02, "", 0},
         {"the bootstrap's default device", 0xA2, {0x00}, 1, false, 0, 0x00, "", 0}};
    for (const auto& [name, device, out, readCount, checksum, skew, status, reply, at] : rows)
    {
        SCOPED_TRACE(name);
        MailboxDriver host;
        Bytes data;
        ASSERT_EQ(0, host.eepromRead(285, 2, &data));
        host.writeLe(0x0008, 0xCAFEF00D, 4);
        data.clear();
        EXPECT_EQ(status, host.transfer(device, out, readCount, &data, checksum, skew));
        const std::string read(data.begin(), data.end());
        EXPECT_EQ(reply, read.substr(std::min(at, read.size()), reply.size()));
        // The reply's checksum, and without the flag the word left as it was.
        const uint32_t sum = checksum ? std::accumulate(data.begin(), data.end(), 1u) : 0xCAFEF00Du;
        EXPECT_TRUE((checksum && status != 0) || sum == host.readLe(0x0008, 4)) << host.readLe(0x0008, 4);
        EXPECT_EQ(sim::sampleEepromImage(), host.eeprom);
    }
}

TEST(I2cBus, StuckBusIsFreedOnlyByTenPulsesOnTheGpioPin)
{
    // Fault; the bus recovery's interface (0 misses the pin registers); whether the recovery gives
    // the pin to the port before pulsing it; the status of a transfer after it.
    const std::tuple<const char*, uint32_t, bool, int> rows[] = {{"i2c-stuck", 0x2F24, true, 0x00},
                                                                 {"i2c-stuck", 0x0000, true, 0x03},
                                                                 {"i2c-stuck", 0x2F24, false, 0x03},
                                                                 {"i2c-stuck-hard", 0x2F24, true, 0x03}};
    for (const auto& [fault, mailbox, pinHandedOver, after] : rows)
        for (const char* seed : {"1", "2", "3", "4", "5", "6", "7", "8"})
        {
            SCOPED_TRACE(std::string(fault) + " " + std::to_string(mailbox) + " seed " + seed);
            MailboxDriver host(std::string("fault=") + fault + " seed=" + seed);
            host.bsMailbox = mailbox;
            ASSERT_TRUE(host.wake());
            ASSERT_TRUE(host.wake()) << "a board reset leaves the device stuck";
            ASSERT_EQ(0, host.command(0x92));
            host.writeLe(0x0004, 0, 4);
            EXPECT_EQ(0x03, host.command(0x90));
            host.busReset(pinHandedOver);
            host.write(0x0002, 0xA2);
            host.writeLe(0x0004, 0, 4);
            EXPECT_EQ(after, host.command(0x90));
            EXPECT_EQ(after == 0 ? 1u : 0u, host.trace.count("\"bus\":\"freed\""));
        }
}
