// The EEPROM image a run writes back, and the bus's own limits: a store never reads the port
// first, and an instruction it does not emulate ends the program loudly.
#include "SimCheck.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

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
    ASSERT_EQ(sample.size(), 32768u);
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

TEST(BusTrap, StoresDoNotReadAndUnknownInstructionsEndTheProgramLoudly)
{
    CSimRun h;
    ASSERT_EQ(Sim(h, {"--board", "Q7K", "--trace", h.Path("trace"), "--", "PROBE", "iostore"}).Status, 0);
    const std::string trace = CSimRun::ReadText(h.Path("trace"));
    EXPECT_NE(trace.find("\"port\":\"0x351\",\"value\":\"0x00\",\"dir\":\"w\""), std::string::npos) << trace;
    EXPECT_EQ(trace.find("\"dir\":\"r\""), std::string::npos) << trace;
    const SSimResult r = Sim(h, {"--", "PROBE", "unknown"});
    EXPECT_EQ(r.Status, 128 + 11);
    EXPECT_EQ(r.Err.rfind("sarvik-sim: instruction at 0x", 0), 0u) << r.Err;
    EXPECT_NE(r.Err.find(" (d9 38 "), std::string::npos) << r.Err;
    EXPECT_NE(r.Err.find(") on the communication RAM at offset 0x1000 is not emulated"), std::string::npos);
}

} // namespace
