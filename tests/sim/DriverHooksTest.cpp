// The drivers as the process sees them: the configuration record, the accepted ioctls, port
// grants and the host events of the protocol trace.
#include "SimHarness.h"

#include <gtest/gtest.h>

namespace
{

TEST(DriverHooks, ConfigurationRecordPlacesTheRamAndAnIoAreaStartingAtPortZero)
{
    SimHarness h;
    const SimRunResult r = h.probe({}, {"config"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "word1"), "0x100000");
    EXPECT_EQ(SimHarness::value(r.out, "word2"), "0x8000");
    EXPECT_EQ(SimHarness::value(r.out, "word4"), "0x0");
    EXPECT_EQ(SimHarness::value(r.out, "word5"), "0x400");
}

TEST(DriverHooks, AcceptsTheDriversOwnIoctlsAndRefusesOthers)
{
    SimHarness h;
    const SimRunResult r = h.probe({}, {"config"});
    EXPECT_EQ(SimHarness::value(r.out, "init"), "0");
    EXPECT_EQ(SimHarness::value(r.out, "shutdown"), "0");
    EXPECT_EQ(SimHarness::value(r.out, "timecode_init"), "0");
    EXPECT_EQ(SimHarness::value(r.out, "bogus"), "-1");
}

TEST(DriverHooks, TraceRecordsOpenIoctlMmapAndIopermInOrder)
{
    SimHarness h;
    ASSERT_EQ(h.probe({"--trace", h.path("trace")}, {"config"}).status, 0);
    const std::string trace = SimHarness::readFile(h.path("trace"));
    const std::vector<std::string> expected = {
        "\"ev\":\"open\",\"path\":\"/dev/comram0\"",
        "\"ev\":\"ioctl\",\"path\":\"/dev/comram0\",\"request\":\"0x80206E01\",\"result\":0",
        "\"ev\":\"mmap\",\"path\":\"/dev/"
        "comram0\",\"offset\":\"0x100000\",\"length\":32768,\"area\":\"comram\"",
        "\"ev\":\"ioperm\",\"from\":\"0x070\",\"count\":2,\"on\":1,\"result\":0",
        "\"ev\":\"mmap\",\"path\":\"/dev/comram0\",\"offset\":\"0x000000\",\"length\":1024,\"area\":\"io\"",
        "\"ev\":\"ioctl\",\"path\":\"/dev/comram0\",\"request\":\"0x40046E10\",\"value\":0,\"result\":0",
        "\"ev\":\"open\",\"path\":\"/dev/timecode0\""};
    size_t at = 0;
    for (const auto& event : expected)
    {
        const size_t found = trace.find(event, at);
        ASSERT_NE(found, std::string::npos) << event << "\n" << trace;
        at = found;
    }
    for (const auto& line : SimHarness::lines(trace))
        EXPECT_EQ(line.rfind("{\"t_us\":", 0), 0u) << line;
}

TEST(DriverHooks, APortNeverGrantedKillsTheProcessLikeTheMachine)
{
    SimHarness h;
    EXPECT_EQ(h.probe({}, {"inb", "0x350"}).status, 128 + 11);
}

TEST(DriverHooks, AMappedAreaByteBeyondTheDriversPortsKillsTheProcess)
{
    SimHarness h;
    EXPECT_EQ(h.probe({}, {"areabeyond"}).status, 128 + 11);
}

TEST(DriverHooks, OnHostBoardZeroThePortsAreGrantedAndNoAreaIsMapped)
{
    SimHarness h;
    ASSERT_EQ(h.probe({"--host-board", "0", "--trace", h.path("trace")}, {"config"}).status, 0);
    const std::string trace = SimHarness::readFile(h.path("trace"));
    EXPECT_NE(trace.find("\"ev\":\"ioperm\",\"from\":\"0x000\",\"count\":1024,\"on\":1"), std::string::npos)
        << trace;
    EXPECT_EQ(trace.find("\"area\":\"io\""), std::string::npos) << trace;
}

} // namespace
