#include "MailboxDriver.h"

#include <algorithm>
#include <gtest/gtest.h>

using simtest::words;

TEST(BoardConfig, AcceptsEveryFaultItListsForHelpAndExactValues)
{
    sim::BoardConfig config;
    const std::vector<std::string> help = sim::faultNames();
    for (const std::string& fault :
         words("reset-stuck ram-check-fail bootstrap-silent ident-fail=0x21 version-fail=2 "
               "wakeup-step-fail=0xFE "
               "i2c-stuck i2c-stuck-hard ucode-absent ucode-refuse ucode-timeout eeprom-busy=3 "
               "page-status=0x7FFF:5:2 bitflip=old:64 power-cut=0 status-stuck=0xFF uart-stuck ram-late=1 "
               "bootstrap-late=1 write-busy=1 reply-corrupt=1 checksum-corrupt=1 status-unsettled=1 "
               "status-flicker status-flicker=4"))
    {
        std::string error;
        EXPECT_TRUE(config.apply("fault", fault, &error)) << error;
        const std::string name = fault.substr(0, fault.find('='));
        EXPECT_EQ(
            1, std::count_if(help.begin(), help.end(),
                             [&](const std::string& line)
                             { return line.rfind(name + (line[name.size()] == '=' ? "=" : " "), 0) == 0; }))
            << name;
    }
    ASSERT_TRUE(config.apply("seed", "18446744073709551615", nullptr));
    ASSERT_TRUE(config.apply("timing", "uart-byte=86.8", nullptr));
    EXPECT_EQ(18446744073709551615ull, config.seed);
    EXPECT_EQ(86'800u, config.uartByteNs);
}

TEST(BoardConfig, RejectsUnknownKeysAndBadValuesWithAText)
{
    for (const std::string& option :
         words("board=Q9K ident=0x100 ident=1,2 version=0x03 version=1,2,3 q7k-regs=1,2,3 seed=-1 seed=abc "
               "seed=18446744073709551616 "
               "speed=20 "
               "timing=ram-ready timing=ram-ready=x timing=ram-ready=-1 timing=no-such=1 fault=no-such-fault "
               "fault=ident-fail fault=ident-fail=0x80 fault=ident-fail=0 fault=eeprom-busy=x "
               "fault=page-status=0x100 fault=page-status=0x8000:5 fault=bitflip=4 fault=bitflip=old:0 "
               "fault=bitflip=0:65 fault=status-stuck=0x7F fault=reset-stuck=1"))
    {
        const std::string key = option.substr(0, option.find('='));
        sim::BoardConfig config;
        std::string error;
        EXPECT_FALSE(config.apply(key, option.substr(key.size() + 1), &error)) << option;
        EXPECT_NE(std::string::npos, error.find(key)) << error;
    }
}
