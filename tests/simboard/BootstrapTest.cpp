#include "MailboxDriver.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace simtest;

TEST(Bootstrap, EachModelAnswersItsOwnOpcodes)
{
    // Options; the mailbox asked for identification and version; the identification, -1 where
    // the firmware lacks the bootstrap's opcodes; the version; whether 0x90 answers 0x06 until 0x92
    // opened the I2C path, after every reset; whether the board has a reset line.
    const std::tuple<const char*, uint32_t, int, uint16_t, bool, bool> rows[] = {
        {"board=ZEBX", 0x2F24, 0x12, 0x1203, true, true},
        {"board=Q5K", 0x0000, 0xB2, 0x1203, true, true},
        {"board=Q5KP", 0x3024, 0xC5, 0x1203, false, true},
        {"board=Q5KP-V", 0x0000, 0xC5, 0x120B, false, true},
        {"ident=0x44 board=Q5K version=0x21,0x43", 0x0000, 0x44, 0x4321, true, true},
        {"board=Q7K", 0x0000, -1, 0, false, false}};
    for (const auto& [options, mailbox, ident, version, wakeupStep, resetLine] : rows)
    {
        SCOPED_TRACE(options);
        MailboxDriver host(options);
        host.write(0x7FFD, 1);
        EXPECT_EQ(!resetLine, host.memoryCheck()) << "RAM with the reset line held";
        ASSERT_TRUE(host.wake());
        EXPECT_EQ(0xA2, host.read(0x0002)) << "the bootstrap leaves its default I2C device";
        host.writeLe(0x0004, 0, 4);
        EXPECT_EQ(wakeupStep ? 0x06 : 0x00, host.command(0x90));
        EXPECT_EQ(wakeupStep ? 0x00 : 0x0F, host.command(0x92));
        EXPECT_EQ(0x00, host.command(0x90));
        const int known = ident < 0 ? 0x0F : 0x00;
        EXPECT_EQ(known, host.command(0x02));
        EXPECT_EQ(known, host.command(0x05, mailbox));
        EXPECT_TRUE(ident < 0 || ident == host.read(0x0004)) << "the identification";
        EXPECT_EQ(known, host.command(0x03, mailbox));
        EXPECT_TRUE(ident < 0 || version == host.readLe(0x0002, 2)) << "the version";
        EXPECT_EQ(0x0F, host.command(0x44));
        ASSERT_TRUE(host.wake());
        host.writeLe(0x0004, 0, 4);
        EXPECT_EQ(wakeupStep ? 0x06 : 0x00, host.command(0x90)) << "after a reset";
    }
}

TEST(Bootstrap, MemoryCommandsReachTheColdFireBus)
{
    // Mailbox, write opcode (0: none), read opcode, address, value written, status, value read.
    const std::tuple<uint32_t, uint8_t, uint8_t, uint32_t, uint32_t, int, uint32_t> rows[] = {
        {0x2F24, 0x80, 0x86, 0x1000, 0x5A, 0, 0x5A},
        {0x2F24, 0x81, 0x87, 0x1000, 0xBEEF, 0, 0xBEEF},
        {0x2F24, 0x82, 0x88, 0x1000, 0x12345678, 0, 0x12345678},
        {0x2F24, 0x82, 0x86, 0x0100, 0x11223344, 0, 0x11}, // big-endian
        {0x2F24, 0x80, 0x88, 0xE0000000, 1, 0x09, 0},      // nothing decodes the address
        {0x3024, 0, 0x88, 0xF0000B00, 0, 0, 0},            // unimplemented registers read 0
        {0x3024, 0, 0x87, 0xF0000A44, 0, 0, 0x03FC},       // I2C pins on their controller
        {0x0000, 0, 0x87, 0xF0000A44, 0, 0, 0}};           // interface 0 reads 0xF0000144
    for (const auto& [mailbox, writeOp, readOp, address, written, status, readBack] : rows)
    {
        SCOPED_TRACE(address);
        MailboxDriver host;
        host.bsMailbox = mailbox;
        ASSERT_TRUE(host.wake());
        EXPECT_TRUE(writeOp == 0 || status == host.bsWrite(writeOp, address, written));
        uint32_t value = 0;
        EXPECT_EQ(status, host.bsRead(readOp, address, &value));
        EXPECT_TRUE(status != 0 || readBack == value) << value;
    }
}
