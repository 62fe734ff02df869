// The drivers as the process sees them: the host events of the protocol trace, mmap as the kernel
// and the driver answer it, and the nodes and ports of root alone.
#include "SimCheck.h"

#include <sys/stat.h>
#include <unistd.h>

namespace
{

TEST(DriverHooks, TraceRecordsOpenIoctlMmapAndIopermInOrder)
{
    CSimRun h;
    ASSERT_EQ(Sim(h, {"--trace", h.Path("trace"), "--", "PROBE", "config"}).Status, 0);
    const std::string trace = CSimRun::ReadText(h.Path("trace"));
    size_t at = 0;
    for (const char* event :
         {"\"ev\":\"open\",\"path\":\"/dev/comram0\"",
          "\"ev\":\"ioctl\",\"path\":\"/dev/comram0\",\"request\":\"0x80206E01\",\"result\":0",
          "\"ev\":\"mmap\",\"path\":\"/dev/"
          "comram0\",\"offset\":\"0x100000\",\"length\":32768,\"area\":\"comram\"",
          "\"ev\":\"ioperm\",\"from\":\"0x070\",\"count\":2,\"on\":1,\"result\":0",
          "\"ev\":\"mmap\",\"path\":\"/dev/comram0\",\"offset\":\"0x000000\",\"length\":1024,\"area\":\"io\"",
          "\"ev\":\"ioctl\",\"path\":\"/dev/comram0\",\"request\":\"0x40046E10\",\"value\":0,\"result\":0",
          "\"ev\":\"open\",\"path\":\"/dev/timecode0\""})
    {
        at = trace.find(event, at);
        ASSERT_NE(at, std::string::npos) << event << "\n" << trace;
    }
    for (const std::string& line : Words(trace)) // one event a line, without blanks
        EXPECT_EQ(line.rfind("{\"t_us\":", 0), 0u) << line;
}

// sim-probe mmap NODE OPEN PROT FLAGS LENGTH OFFSET [STEP ARG]...: one mmap (and mprotect) as the
// kernel and the communication RAM driver answer it, and what the mapping then lets it reach.
TEST(DriverHooks, MmapIsAnsweredAsTheKernelAndTheDriverDo)
{
    const std::pair<const char*, const char*> cases[] = {
        {"/dev/comram0 rw rw 1 0x8000 0x100000", "mmap=ok\n"},
        {"/dev/comram0 rw rw 1 0x9000 0x100000", "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0 0x100000", "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x100800", "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0x2000 0x107000", "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x2000", "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 0 0x1000 0x100000", "mmap=EINVAL\n"},
        {"/dev/comram0 rw rw 0x80003 0x1000 0x100000", "mmap=EOPNOTSUPP\n"},
        {"/dev/comram0 ro rw 1 0x1000 0x100000", "mmap=EACCES\n"},
        {"/dev/comram0 wo w 1 0x1000 0x100000", "mmap=EACCES\n"},
        {"/dev/timecode0 rw rw 1 0x1000 0", "mmap=ENODEV\n"},
        {"/dev/comram0 ro r 1 0x1000 0x100000 load 0xfff", "mmap=ok\nvalue=0x00\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x100000 load 0x1000", "mmap=ok\nSIGSEGV"},
        {"/dev/comram0 rw rw 1 0x1000 0x101000 store 0x10", "mmap=ok\nown=0x5a board=0x5a\n"},
        {"/dev/comram0 ro rw 2 0x1000 0x101000 store 0x10", "mmap=ok\nown=0x5a board=0x00\n"},
        {"/dev/comram0 rw r 1 0x1000 0x101000 store 0x10", "mmap=ok\nSIGSEGV"},
        {"/dev/comram0 rw - 1 0x1000 0x100000 load 0", "mmap=ok\nSIGSEGV"},
        {"/dev/comram0 rw - 1 0x1000 0x101000 protect rw store 0x10",
         "mmap=ok\nmprotect=ok\nown=0x5a board=0x5a\n"},
        {"/dev/comram0 rw rw 1 0x1000 0x101000 protect r store 0x10", "mmap=ok\nmprotect=ok\nSIGSEGV"},
        {"/dev/comram0 ro r 1 0x1000 0x100000 protect rw", "mmap=ok\nmprotect=EACCES\n"},
        {"/dev/comram0 ro r 2 0x1000 0x101000 protect rw store 0x10",
         "mmap=ok\nmprotect=ok\nown=0x5a board=0x00\n"},
        {"/dev/comram0 rw rw 1 0x1000 0 load 0x3ff", "mmap=ok\nvalue=0xff\n"},
        {"/dev/comram0 rw rw 1 0x1000 0 load 0x400", "mmap=ok\nSIGSEGV"},
    };
    CSimRun h;
    for (const auto& [request, out] : cases)
    {
        Args args = {"--", "PROBE", "mmap"};
        for (const std::string& word : Words(request))
            args.push_back(word);
        const SSimResult r = Sim(h, args);
        EXPECT_EQ(r.Out + (r.Status == 128 + 11 ? "SIGSEGV"
                           : r.Status == 0      ? ""
                                                : "?"),
                  out)
            << request << r.Err;
    }
}

struct UserCase
{
    const char* program;
    bool user;   // run by an ordinary user, not root
    bool setuid; // a set-user-ID copy owned by root
    const char* args;
    int status;
    const char* out;    // how standard output begins
    const char* syslog; // a fragment of the system log
};

// Driver nodes and ports are root's alone, as on a server: an ordinary user's program gets EACCES
// or EPERM and goes on, the tool then fails its defined way; a set-user-ID program runs in the
// loader's secure mode, which preloads only from the system library folders, where the sandbox
// lays the interposer, and the 64-bit programs around it load its twin without a word.
TEST(DriverHooks, NodesAndPortsAreRootsAlone)
{
    const UserCase cases[] = {
        {PROBE_PATH, false, false, "ports", 0, "ioperm=0 iopl=0 empty=EINVAL beyond=EINVAL release=0\n", ""},
        {PROBE_PATH, true, false, "ports", 0,
         "ioperm=EPERM iopl=EPERM empty=EINVAL beyond=EINVAL release=0\n", ""},
        {PROBE_PATH, true, false, "config", 1, "error=Permission denied\n", ""},
        {SARVIK_TOOL_PATH, true, false, "", 0, "", "::ResetQXKBoard: failed, BoardWakeUp() returned 0x1\""},
        {PROBE_PATH, true, true, "config", 0, "word0=0x0\nword1=0x100000\nword2=0x8000\n", ""},
    };
    CSimRun h;
    for (const UserCase& c : cases)
    {
        // A copy in the scratch folder, which an ordinary user can reach and run.
        const std::string copy = h.Path(std::to_string(&c - cases));
        ASSERT_EQ(h.Host({"cp", c.program, copy}).Status, 0);
        ASSERT_EQ(c.setuid ? chmod(copy.c_str(), 04755) : 0, 0);
        Args args = {"--syslog", h.Path("syslog"), "--"};
        if (c.user)
            args.insert(args.end(), {"setpriv", "--reuid=1000", "--regid=1000", "--clear-groups"});
        args.push_back(copy);
        for (const std::string& word : Words(c.args))
            args.push_back(word);
        const SSimResult r = Sim(h, args);
        EXPECT_EQ(r.Status, c.status) << c.args << r.Err;
        EXPECT_EQ(r.Out.rfind(c.out, 0), 0u) << c.args << r.Out;
        EXPECT_EQ(r.Err, "") << c.args;
        EXPECT_NE(CSimRun::ReadText(h.Path("syslog")).find(c.syslog), std::string::npos) << c.args;
    }
}

} // namespace
