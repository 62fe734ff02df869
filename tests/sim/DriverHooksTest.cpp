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

struct MapCase
{
    const char* request; // sim-probe mmap NODE OPEN PROT FLAGS LENGTH OFFSET [STEP ARG]...
    int status;
    const char* out;
};

// Every row is one mmap (and mprotect) as the kernel and the communication RAM driver answer
// it: what they refuse, with which errno, and what a mapping then lets the process reach.
TEST(DriverHooks, MmapIsAnsweredAsTheKernelAndTheDriverDo)
{
    const MapCase cases[] = {
        {"/dev/comram0 rw rw 1 0x8000 0x100000", 0, "mmap=ok\n"},
        {"/dev/comram0 rw rw 1 0x9000 0x100000", 0, "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0 0x100000", 0, "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x100800", 0, "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0x2000 0x107000", 0, "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x2000", 0, "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 0 0x1000 0x100000", 0, "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 0x80003 0x1000 0x100000", 0, "mmap=EOPNOTSUPP\n"},
        {"/dev/comram0 ro rw 1 0x1000 0x100000", 0, "mmap=EACCES\n"},
        {"/dev/comram0 wo w 1 0x1000 0x100000", 0, "mmap=EACCES\n"},
        {"/dev/timecode0 rw rw 1 0x1000 0", 0, "mmap=ENODEV\n"},
        {"/dev/comram0 ro r 1 0x1000 0x100000 load 0xfff", 0, "mmap=ok\nvalue=0x00\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x100000 load 0x1000", 139, "mmap=ok\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x101000 store 0x10", 0, "mmap=ok\nown=0x5a board=0x5a\n"},
        {"/dev/comram0 ro rw 2 0x1000 0x101000 store 0x10", 0, "mmap=ok\nown=0x5a board=0x00\n"},
        {"/dev/comram0 rw r 1 0x1000 0x101000 store 0x10", 139, "mmap=ok\n"},
        {"/dev/comram0 rw - 1 0x1000 0x100000 load 0", 139, "mmap=ok\n"},
        {"/dev/comram0 rw - 1 0x1000 0x101000 protect rw store 0x10", 0,
         "mmap=ok\nmprotect=ok\nown=0x5a board=0x5a\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x101000 protect r store 0x10", 139, "mmap=ok\nmprotect=ok\n"},
        {"/dev/comram0 ro r 1 0x1000 0x100000 protect rw", 0, "mmap=ok\nmprotect=EACCES\n"},
        {"/dev/comram0 ro r 2 0x1000 0x101000 protect rw store 0x10", 0,
         "mmap=ok\nmprotect=ok\nown=0x5a board=0x00\n"},
        {"/dev/comram0 rw rw 1 0x1000 0 load 0x3ff", 0, "mmap=ok\nvalue=0xff\n"},
        {"/dev/comram0 rw rw 1 0x1000 0 load 0x400", 139, "mmap=ok\n"},
    };
    SimHarness h;
    for (const MapCase& c : cases)
    {
        std::vector<std::string> args = {"mmap"};
        for (const auto& word : SimHarness::words(c.request))
            args.push_back(word);
        const SimRunResult r = h.probe({}, args);
        EXPECT_EQ(r.status, c.status) << c.request << "\n" << r.err;
        EXPECT_EQ(r.out, c.out) << c.request;
    }
}

// Port access needs effective root; giving ports back does not.
TEST(DriverHooks, PortGrantsNeedEffectiveRoot)
{
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "ioperm=0 iopl=0 empty=EINVAL beyond=EINVAL release=0\n"},
        {{"setpriv", "--reuid=1000", "--regid=1000", "--clear-groups"},
         "ioperm=EPERM iopl=EPERM empty=EINVAL beyond=EINVAL release=0\n"},
    };
    SimHarness h;
    const std::string probe = h.shareWithUsers(PROBE_PATH);
    for (const auto& [user, out] : cases)
    {
        std::vector<std::string> args = {"--"};
        args.insert(args.end(), user.begin(), user.end());
        args.insert(args.end(), {probe, "ports"});
        const SimRunResult r = h.sim(args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, out);
    }
}

struct UserCase
{
    std::vector<std::string> command; // the program first
    int status;
    const char* out;
    const char* syslog; // a line the system log must hold, or empty
};

// Driver nodes are root's alone, as on a server: an ordinary user running a program that is
// not set-user-ID gets EACCES and the program goes on; the tool then fails its defined way.
TEST(DriverHooks, AnOrdinaryUserGetsEaccesFromTheNodesAndKeepsRunning)
{
    const UserCase cases[] = {
        {{PROBE_PATH, "config"}, 1, "error=Permission denied\n", ""},
        {{SARVIK_TOOL_PATH}, 0, "", "\"message\":\"::ResetQXKBoard: failed, BoardWakeUp() returned 0x1\""},
    };
    SimHarness h;
    for (const UserCase& c : cases)
    {
        std::vector<std::string> args = {"--syslog",
                                         h.path("syslog"),
                                         "--",
                                         "setpriv",
                                         "--reuid=1000",
                                         "--regid=1000",
                                         "--clear-groups",
                                         h.shareWithUsers(c.command[0])};
        args.insert(args.end(), c.command.begin() + 1, c.command.end());
        const SimRunResult r = h.sim(args);
        EXPECT_EQ(r.status, c.status) << c.command[0] << "\n" << r.err;
        EXPECT_EQ(r.out, c.out) << c.command[0];
        EXPECT_EQ(r.err, "") << c.command[0];
        EXPECT_NE(SimHarness::readFile(h.path("syslog")).find(c.syslog), std::string::npos) << c.command[0];
    }
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
