// The product's hardware accesses reaching the board model: loads and stores of every width on
// the mapped communication RAM and I/O area, and port instructions after a grant.
#include "SimHarness.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

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

// The image is replaced whole, never rewritten in place: a reader that opened it before the run
// still reads the complete old image, and the file keeps its mode.
TEST(BusTrap, EepromChangesPersistFromRunToRunThroughAWholeNewFile)
{
    SimHarness h;
    const std::string image = h.path("unit.bin");
    ASSERT_EQ(h.probe({"--eeprom", image}, {"config"}).status, 0);
    const std::string sample = SimHarness::readFile(image);
    ASSERT_EQ(sample.size(), 32768u);
    ASSERT_EQ(chmod(image.c_str(), 0640), 0);
    const int before = open(image.c_str(), O_RDONLY);
    ASSERT_EQ(h.probe({"--eeprom", image, "--fault", "bitflip=0"}, {"config"}).status, 0);
    const std::string flipped = SimHarness::readFile(image);
    EXPECT_NE(flipped, sample);
    std::string old(32768, '\0');
    EXPECT_EQ(pread(before, old.data(), old.size(), 0), 32768);
    EXPECT_EQ(old, sample);
    close(before);
    struct stat st;
    ASSERT_EQ(stat(image.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    ASSERT_EQ(h.probe({"--eeprom", image}, {"config"}).status, 0);
    EXPECT_EQ(SimHarness::readFile(image), flipped);
}

TEST(BusTrap, AnImageAnotherRunHoldsIsRefusedAndKept)
{
    SimHarness h;
    const std::string image = h.path("unit.bin");
    ASSERT_EQ(h.probe({"--eeprom", image}, {"exit", "0"}).status, 0);
    const std::string sample = SimHarness::readFile(image);
    const int held = open(image.c_str(), O_RDONLY);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    const SimRunResult r = h.probe({"--eeprom", image, "--fault", "bitflip=0"}, {"config"});
    close(held);
    EXPECT_EQ(r.status, 125);
    EXPECT_NE(r.err.find("in use by another run"), std::string::npos) << r.err;
    EXPECT_EQ(SimHarness::readFile(image), sample);
}

// A store through the I/O area writes the port and never reads it first; an instruction the
// bus does not emulate ends the program with its address named, instead of guessing.
TEST(BusTrap, StoresDoNotReadAndUnknownInstructionsEndTheProgramLoudly)
{
    SimHarness h;
    SimRunResult r = h.probe({"--board", "Q7K", "--trace", h.path("trace")}, {"iostore"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string trace = SimHarness::readFile(h.path("trace"));
    EXPECT_NE(trace.find("\"port\":\"0x351\",\"value\":\"0x00\",\"dir\":\"w\""), std::string::npos) << trace;
    EXPECT_EQ(trace.find("\"dir\":\"r\""), std::string::npos) << trace;
    r = h.probe({}, {"unknown"});
    EXPECT_EQ(r.status, 128 + 11);
    EXPECT_NE(r.err.find("sarvik-sim: instruction at 0x"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("(d9 38 "), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("on the communication RAM at offset 0x1000 is not emulated"), std::string::npos)
        << r.err;
}

} // namespace
