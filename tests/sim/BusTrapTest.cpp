// The product's hardware accesses reaching the board model: loads and stores of every width on
// the mapped communication RAM and I/O area, and port instructions after a grant.
#include "SimHarness.h"

#include <gtest/gtest.h>

namespace
{

TEST(BusTrap, RamStoresOfEveryWidthReadBackThroughTheBoard)
{
    SimHarness h;
    const SimRunResult r = h.probe({}, {"board"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "ram8"), "0x5a");
    EXPECT_EQ(SimHarness::value(r.out, "ram16"), "0x1234");
    EXPECT_EQ(SimHarness::value(r.out, "ram32"), "0xcafef00d");
    EXPECT_EQ(SimHarness::value(r.out, "byte1005"), "0xf0");
    // A high-byte load, a 16-bit load and a sign-extending load from the board's RAM.
    EXPECT_EQ(SimHarness::value(r.out, "ah"), "0x1122f044");
    EXPECT_EQ(SimHarness::value(r.out, "ax"), "0x1122f00d");
    EXPECT_EQ(SimHarness::value(r.out, "movsx"), "-16");
}

struct BoardCase
{
    std::vector<std::string> simArgs;
    const char* ident;
};

class BusTrapCommands : public testing::TestWithParam<BoardCase>
{
};

TEST_P(BusTrapCommands, ResetPulseRamCheckAndCommandsReachTheBoard)
{
    SimHarness h;
    std::vector<std::string> args = GetParam().simArgs;
    args.insert(args.end(), {"--speed", "20", "--trace", h.path("trace")});
    const SimRunResult r = h.probe(args, {"board"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "ram_ready"), "1");
    EXPECT_EQ(SimHarness::value(r.out, "presence"), "0");
    EXPECT_EQ(SimHarness::value(r.out, "ident_status"), "0");
    EXPECT_EQ(SimHarness::value(r.out, "ident"), GetParam().ident);
    const std::string trace = SimHarness::readFile(h.path("trace"));
    EXPECT_NE(trace.find("\"ev\":\"reset\",\"line\":1"), std::string::npos);
    EXPECT_NE(trace.find("\"op\":\"0x01\""), std::string::npos);
    EXPECT_NE(trace.find("\"op\":\"0x05\""), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Boards, BusTrapCommands,
                         testing::Values(BoardCase{{}, "0xb2"}, BoardCase{{"--ident", "0xC3"}, "0xc3"},
                                         BoardCase{{"--host-board", "0"}, "0xb2"}));

TEST(BusTrap, Q7kRegistersReadTheSameThroughTheAreaAndThroughPorts)
{
    SimHarness h;
    const SimRunResult r = h.probe({"--board", "Q7K", "--trace", h.path("trace")}, {"q7k"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "area_reg0"), "0xd1");
    EXPECT_EQ(SimHarness::value(r.out, "port_reg0"), "0xd1");
    const std::string trace = SimHarness::readFile(h.path("trace"));
    EXPECT_NE(trace.find("\"ev\":\"reg\",\"port\":\"0x351\",\"value\":\"0x00\",\"dir\":\"w\""),
              std::string::npos)
        << trace;
}

TEST(BusTrap, EepromChangesPersistFromRunToRun)
{
    SimHarness h;
    const std::string image = h.path("unit.bin");
    ASSERT_EQ(h.probe({"--eeprom", image}, {"config"}).status, 0);
    const std::string sample = SimHarness::readFile(image);
    ASSERT_EQ(sample.size(), 32768u);
    ASSERT_EQ(h.probe({"--eeprom", image, "--fault", "bitflip=0"}, {"config"}).status, 0);
    const std::string flipped = SimHarness::readFile(image);
    EXPECT_NE(flipped, sample);
    ASSERT_EQ(h.probe({"--eeprom", image}, {"config"}).status, 0);
    EXPECT_EQ(SimHarness::readFile(image), flipped);
}

TEST(BusTrap, AnEepromImageOfTheWrongSizeIsRefused)
{
    SimHarness h;
    ASSERT_EQ(h.sim({"--", "/bin/sh", "-c", "echo short > " + h.path("short.bin")}).status, 0);
    const SimRunResult r = h.probe({"--eeprom", h.path("short.bin")}, {"exit", "0"});
    EXPECT_EQ(r.status, 125);
    EXPECT_NE(r.err.find("32768"), std::string::npos) << r.err;
}

} // namespace
