// Loads, stores and port instructions reaching the board model, its commands, and the EEPROM
// image a run writes back.
#include "SimCheck.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

TEST(BusTrap, LoadsStoresAndPortsReachTheBoard)
{
    CSimRun h;
    const RunCase cases[] = {
        // Every width, a high-byte load, a 16-bit load and a sign-extending load from the board's RAM.
        {"-- PROBE board", 0,
         "ram8=0x5a ram16=0x1234 ram32=0xcafef00d byte1005=0xf0 ah=0x1122f044 ax=0x1122f00d movsx=-16"},
        // A store through the I/O area writes the port and never reads it first.
        {"--board Q7K -- PROBE iostore", 0, "", "", "port:0x351,value:0x00,dir:w|!dir:r"},
        // An instruction the bus does not emulate ends the program with its address named.
        {"-- PROBE unknown", 128 + 11, "", "sarvik-sim: instruction at 0x"},
        {"-- PROBE unknown", 128 + 11, "", ") on the communication RAM at offset 0x1000 is not emulated"},
    };
    ExpectRuns(h, cases);
}

// The image is replaced whole, never rewritten in place: a reader that opened it before the run
// still reads the complete old image, and the file keeps its mode. An image another run holds is
// refused and kept.
TEST(BusTrap, EepromChangesPersistThroughAWholeNewFileUnlessAnotherRunHoldsIt)
{
    CSimRun h;
    const std::string image = h.Path("unit.bin");
    const Args flip = {"--eeprom", image, "--fault", "bitflip=0", "--", "PROBE", "config"};
    ASSERT_EQ(Sim(h, {"--eeprom", image, "--", "PROBE", "config"}).Status, 0);
    const std::string sample = CSimRun::ReadText(image);
    ASSERT_EQ(chmod(image.c_str(), 0640), 0);
    const int before = open(image.c_str(), O_RDONLY);
    ASSERT_EQ(flock(before, LOCK_EX), 0);
    const SSimResult held = Sim(h, flip);
    EXPECT_EQ(held.Status, 125);
    EXPECT_NE(held.Err.find("in use by another run"), std::string::npos) << held.Err;
    EXPECT_EQ(CSimRun::ReadText(image), sample);
    ASSERT_EQ(flock(before, LOCK_UN), 0);
    ASSERT_EQ(Sim(h, flip).Status, 0);
    const std::string flipped = CSimRun::ReadText(image);
    EXPECT_NE(flipped, sample);
    std::string old(32768, '\0');
    EXPECT_EQ(pread(before, old.data(), old.size(), 0), 32768);
    EXPECT_EQ(old, sample);
    close(before);
    struct stat st;
    ASSERT_EQ(stat(image.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    ASSERT_EQ(Sim(h, {"--eeprom", image, "--", "PROBE", "config"}).Status, 0);
    EXPECT_EQ(CSimRun::ReadText(image), flipped);
}

} // namespace
