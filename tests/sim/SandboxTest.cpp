// The sandbox's file system: device nodes per host board and driver state, the module
// commands, and the persistent /mnt/APPS tree.
#include "SimHarness.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

struct NodeCase
{
    std::vector<std::string> simArgs;
    const char* comram;
    const char* timecode;
    const char* zq8;
};

class SandboxNodes : public testing::TestWithParam<NodeCase>
{
};

TEST_P(SandboxNodes, ShowTheDriversTheServerHas)
{
    SimHarness h;
    const SimRunResult r = h.probe(GetParam().simArgs, {"nodes"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "comram0"), GetParam().comram);
    EXPECT_EQ(SimHarness::value(r.out, "timecode0"), GetParam().timecode);
    EXPECT_EQ(SimHarness::value(r.out, "zq8_0"), GetParam().zq8);
}

INSTANTIATE_TEST_SUITE_P(Hosts, SandboxNodes,
                         testing::Values(NodeCase{{}, "present", "present", "present"},
                                         NodeCase{{"--host-board", "0"}, "present", "present", "absent"},
                                         NodeCase{{"--modules-loaded", "no"}, "absent", "absent", "present"},
                                         NodeCase{{"--fault", "no-drivers"}, "absent", "absent", "absent"}));

TEST(Sandbox, ModprobeLoadsADriverAndItsNodeAppears)
{
    SimHarness h;
    const SimRunResult r = h.probe({"--modules-loaded", "no", "--trace", h.path("trace")},
                                   {"modprobe", "modprobe -s drv_comram"});
    EXPECT_EQ(SimHarness::value(r.out, "status"), "0");
    EXPECT_EQ(SimHarness::value(r.out, "comram0"), "present");
    EXPECT_EQ(SimHarness::value(r.out, "timecode0"), "absent");
    EXPECT_NE(SimHarness::readFile(h.path("trace"))
                  .find("\"ev\":\"modprobe\",\"module\":\"drv_comram\",\"status\":0"),
              std::string::npos);
}

TEST(Sandbox, RmmodRemovesTheNodeAndFailsForAModuleNotLoaded)
{
    SimHarness h;
    SimRunResult r = h.probe({}, {"modprobe", "rmmod drv_timecode"});
    EXPECT_EQ(SimHarness::value(r.out, "status"), "0");
    EXPECT_EQ(SimHarness::value(r.out, "timecode0"), "absent");
    r = h.probe({"--modules-loaded", "no"}, {"modprobe", "rmmod drv_timecode"});
    EXPECT_EQ(SimHarness::value(r.out, "status"), "1");
}

TEST(Sandbox, WithoutDriversModprobeFailsAndNoNodeAppears)
{
    SimHarness h;
    const SimRunResult r = h.probe({"--fault", "no-drivers"}, {"modprobe", "modprobe -s drv_comram"});
    EXPECT_EQ(SimHarness::value(r.out, "status"), "1");
    EXPECT_EQ(SimHarness::value(r.out, "comram0"), "absent");
}

TEST(Sandbox, ModprobeFoundThroughAFixedSystemPathWithACleanEnvironmentIsTheSimulatedOne)
{
    SimHarness h;
    const SimRunResult r =
        h.probe({"--modules-loaded", "no"},
                {"modprobe", "env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin sh -c 'modprobe -s drv_timecode'"});
    EXPECT_EQ(SimHarness::value(r.out, "status"), "0") << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "timecode0"), "present");
}

TEST(Sandbox, RootKeepsWhatTheCommandWritesUnderMntAppsAcrossRuns)
{
    SimHarness h;
    const std::string root = h.path("apps");
    for (int run = 0; run < 2; ++run)
        ASSERT_EQ(
            h.sim({"--root", root, "--", "/bin/sh", "-c", "echo line >> /mnt/APPS/data/log/QXK_Switch.log"})
                .status,
            0);
    EXPECT_EQ(SimHarness::readFile(root + "/data/log/QXK_Switch.log"), "line\nline\n");
}

TEST(Sandbox, WithoutRootEachRunStartsWithAnEmptyLogFolderAndTheHostKeepsNothing)
{
    SimHarness h;
    const SimRunResult r = h.sim(
        {"--", "/bin/sh", "-c", "ls -A /mnt/APPS/data/log; echo x > /mnt/APPS/data/log/f; ls /dev/log"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "/dev/log\n");
    std::ifstream hostFile("/mnt/APPS/data/log/f");
    EXPECT_FALSE(hostFile.good());
}

} // namespace

namespace
{

// A set-user-ID program runs in the loader's secure mode, which preloads only set-user-ID
// libraries from the system library folders: the sandbox lays the interposer there, so such a
// program started by an ordinary user still reaches the simulated drivers, and the 64-bit
// programs around it load the interposer's twin without a word on standard error.
TEST(Sandbox, SetUserIdProgramStartedByAnOrdinaryUserReachesTheDrivers)
{
    SimHarness h;
    const std::string probe = h.shareWithUsers(PROBE_PATH);
    ASSERT_EQ(chown(probe.c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(probe.c_str(), 04755), 0);
    const SimRunResult r =
        h.sim({"--", "setpriv", "--reuid=1000", "--regid=1000", "--clear-groups", probe, "config"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(SimHarness::value(r.out, "word1"), "0x100000");
    EXPECT_EQ(SimHarness::value(r.out, "word2"), "0x8000");
    EXPECT_EQ(r.err, "");
}

} // namespace
