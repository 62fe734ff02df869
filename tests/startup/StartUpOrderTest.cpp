#include "SimRun.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
// The lines of the trace: strace without -f follows the tool's own first thread only.
std::vector<std::string> Lines(const std::string& trace)
{
    std::vector<std::string> calls;
    std::istringstream in(trace);
    for (std::string line; std::getline(in, line);)
    {
        calls.push_back(line);
    }
    return calls;
}

// Index of the first call from a place on starting with the text and holding another, -1 when absent.
int Find(const std::vector<std::string>& calls, const std::string& start, const std::string& holding = "",
         size_t from = 0)
{
    for (size_t i = from; i < calls.size(); i++)
    {
        if (calls[i].rfind(start, 0) == 0 && calls[i].find(holding) != std::string::npos)
        {
            return static_cast<int>(i);
        }
    }
    return -1;
}

TEST(StartUpOrder, EffectsHappenInTheirGroupsOrderAndAreUndoneInReverse)
{
    CSimRun sim;
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(slave, 0);
    const std::string trace = sim.Path("strace.txt");
    const pid_t pid =
        sim.Start({},
                  {"strace", "-o", trace, "-e", "trace=ioctl,rt_sigaction,umask,open,openat,close,exit_group",
                   CSimRun::S_Tool},
                  slave, ETerminal::CONTROLLING);
    const SSimResult result = sim.Wait(pid);
    close(slave);
    close(master);
    ASSERT_EQ(result.Status, 0) << result.Err;

    const std::vector<std::string> calls = Lines(CSimRun::ReadText(trace));
    // strace on i386 names the set call "SNDCTL_TMR_START or TCSETS".
    const int saveConsole = Find(calls, "ioctl(0, TCGETS");
    const int rawConsole = Find(calls, "ioctl(0, ", "TCSETS");
    const int ignorePipe = Find(calls, "rt_sigaction(SIGPIPE, {sa_handler=SIG_IGN");
    const int mask = Find(calls, "umask(003)");
    const int openLog = Find(calls, "open", "QXK_Switch.log");
    ASSERT_GE(openLog, 0) << "switch log never opened";
    const std::string fd = calls[openLog].substr(calls[openLog].rfind("= ") + 2);
    const int closeLog = Find(calls, "close(" + fd + ")", "", openLog + 1);
    const int restoreConsole = Find(calls, "ioctl(0, ", "TCSETS", closeLog + 1);
    const int end = Find(calls, "exit_group");

    EXPECT_GE(saveConsole, 0);
    EXPECT_LT(saveConsole, rawConsole);
    EXPECT_LT(rawConsole, ignorePipe);
    EXPECT_LT(ignorePipe, mask);
    EXPECT_LT(mask, openLog) << "privileges (mask 003) come before the switch log";
    EXPECT_LT(openLog, closeLog);
    EXPECT_LT(closeLog, restoreConsole) << "the console is restored after the switch log is closed";
    EXPECT_LT(restoreConsole, end);
}

TEST(StartUpOrder, FlushThreadRunsWhenMainIsEntered)
{
    CSimRun sim;
    const SSimResult result =
        sim.Run({}, {"gdb", "-nx", "-batch", "-ex", "set startup-with-shell off", "-ex", "break main", "-ex",
                     "run", "-ex", "info threads", "-ex", "kill", "--args", CSimRun::S_Tool});
    ASSERT_NE(result.Out.find("Breakpoint 1, main"), std::string::npos) << result.Out << result.Err;
    EXPECT_NE(result.Out.find("\"CRtLog\""), std::string::npos) << result.Out;
}
} // namespace
