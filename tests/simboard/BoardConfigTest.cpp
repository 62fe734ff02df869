#include "SimServer.h"

#include <gtest/gtest.h>

TEST(BoardConfig, ModelBringsItsIdentificationUnlessOneIsGiven)
{
    struct
    {
        const char* board;
        sim::BoardModel model;
        uint8_t ident;
        uint8_t version0;
    } cases[] = {{"ZEBX", sim::BoardModel::Zebx, 0x12, 0x03},
                 {"Q5K", sim::BoardModel::Q5k, 0xB2, 0x03},
                 {"Q5KP", sim::BoardModel::Q5kp, 0xC5, 0x03},
                 {"Q5KP-V", sim::BoardModel::Q5kpVariant, 0xC5, 0x0B},
                 {"Q7K", sim::BoardModel::Q7k, 0xD1, 0x03}};
    for (const auto& c : cases)
    {
        sim::BoardConfig config;
        ASSERT_TRUE(config.apply("board", c.board, nullptr)) << c.board;
        EXPECT_EQ(c.model, config.model) << c.board;
        EXPECT_EQ(c.ident, config.ident) << c.board;
        EXPECT_EQ(c.version0, config.version[0]) << c.board;
    }
    sim::BoardConfig explicitFirst;
    ASSERT_TRUE(explicitFirst.apply("ident", "0x9A", nullptr));
    ASSERT_TRUE(explicitFirst.apply("board", "ZEBX", nullptr));
    EXPECT_EQ(0x9A, explicitFirst.ident);
}

TEST(BoardConfig, ParsesByteListsAndSeed)
{
    sim::BoardConfig config;
    ASSERT_TRUE(config.apply("version", "0x21,67", nullptr));
    EXPECT_EQ(0x21, config.version[0]);
    EXPECT_EQ(67, config.version[1]);
    ASSERT_TRUE(config.apply("q7k-regs", "0xD1,0x02,0x34,0x05", nullptr));
    EXPECT_EQ(0x34, config.q7kRegs[2]);
    ASSERT_TRUE(config.apply("seed", "18446744073709551615", nullptr));
    EXPECT_EQ(18446744073709551615ull, config.seed);
    ASSERT_TRUE(config.apply("fault", "eeprom-busy=3", nullptr));
    ASSERT_TRUE(config.apply("fault", "bitflip=old:2", nullptr));
    ASSERT_EQ(2u, config.faults.size());
    EXPECT_EQ((std::vector<uint32_t>{3, 2}), config.faults[1].args);
    ASSERT_TRUE(config.apply("timing", "ram-ready=7000", nullptr));
    ASSERT_TRUE(config.apply("timing", "uart-byte=86.8", nullptr));
    EXPECT_EQ(7'000'000u, config.ramCheckDelayNs);
    EXPECT_EQ(86'800u, config.uartByteNs);
}

TEST(BoardConfig, RejectsUnknownKeysAndBadValuesWithAText)
{
    const std::pair<const char*, const char*> bad[] = {{"board", "Q9K"},
                                                       {"ident", "0x100"},
                                                       {"ident", "1,2"},
                                                       {"version", "0x03"},
                                                       {"version", "1,2,3"},
                                                       {"q7k-regs", "1,2,3"},
                                                       {"seed", "-1"},
                                                       {"seed", "abc"},
                                                       {"fault", "no-such-fault"},
                                                       {"speed", "20"},
                                                       {"timing", "ram-ready"},
                                                       {"timing", "ram-ready=x"},
                                                       {"timing", "ram-ready=-1"},
                                                       {"timing", "no-such=1"}};
    for (const auto& option : bad)
    {
        sim::BoardConfig config;
        std::string error;
        EXPECT_FALSE(config.apply(option.first, option.second, &error))
            << option.first << "=" << option.second;
        EXPECT_FALSE(error.empty()) << option.first;
    }
}
