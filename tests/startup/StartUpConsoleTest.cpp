#include "SimRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <poll.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace
{
using namespace std::chrono_literals;

struct SPty
{
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    int slave = grantpt(master) == 0 && unlockpt(master) == 0 ? open(ptsname(master), O_RDWR | O_NOCTTY) : -1;
    ~SPty()
    {
        close(slave);
        close(master);
    }
    struct termios Settings() const
    {
        struct termios settings = {};
        tcgetattr(slave, &settings);
        return settings;
    }
};

bool IsRaw(const struct termios& t)
{
    return (t.c_lflag & (ECHO | ICANON | ISIG)) == 0 && t.c_cc[VMIN] == 1 && t.c_cc[VTIME] == 0;
}

// What the tool changes in the terminal's settings, and must give back.
auto Changed(const struct termios& t)
{
    return std::tuple(t.c_lflag, t.c_iflag, t.c_cc[VMIN], t.c_cc[VTIME]);
}

template <typename Predicate> bool WaitFor(Predicate ready, std::chrono::milliseconds limit = 10s)
{
    for (auto end = std::chrono::steady_clock::now() + limit;
         !ready() && std::chrono::steady_clock::now() < end;)
        std::this_thread::sleep_for(5ms);
    return ready();
}

// Makes the switch log a full FIFO: the tool's "CRtLog" writer then blocks on its session line and
// the tool stays alive in its exit path (the switch log is closed before the console is restored)
// until the test reads the FIFO.
int StallSwitchLog(const std::string& path)
{
    const int fifo = mkfifo(path.c_str(), 0666) == 0 ? open(path.c_str(), O_RDWR | O_NONBLOCK) : -1;
    const char chunk[256] = {};
    for (size_t step = sizeof(chunk); step > 0 && fifo >= 0; step /= 2)
        while (write(fifo, chunk, step) > 0)
        {
        }
    return fifo;
}

std::string DrainUntilLine(int fifo)
{
    std::string received;
    char buffer[65536];
    struct pollfd ready = {fifo, POLLIN, 0};
    while (received.find('\n') == std::string::npos && poll(&ready, 1, 10000) > 0)
    {
        const ssize_t n = read(fifo, buffer, sizeof(buffer));
        received.append(buffer, n > 0 ? static_cast<size_t>(n) : 0);
        received.erase(0, received.find_first_not_of('\0'));
    }
    return received;
}

// Run in front, and moved to the background (Ctrl-Z, `bg`) just before its end: the terminal
// comes back either way, and the moved job is not stopped for touching it.
TEST(StartUpConsole, TerminalIsRawWhileTheToolRunsAndComesBackAfterIt)
{
    for (const ETerminal terminal : {ETerminal::CONTROLLING, ETerminal::MOVED_TO_BACKGROUND})
    {
        SCOPED_TRACE(terminal == ETerminal::CONTROLLING ? "in front" : "moved to the background");
        CSimRun sim;
        SPty pty;
        ASSERT_GE(pty.slave, 0);
        const struct termios before = pty.Settings();
        ASSERT_FALSE(IsRaw(before));
        const int fifo = StallSwitchLog(sim.Root() + "/data/log/QXK_Switch.log");
        ASSERT_GE(fifo, 0);
        const pid_t started = sim.Start({}, {CSimRun::S_Tool}, pty.slave, terminal);
        // A failed check must not leave the stalled tool behind (it holds the FIFO open too).
        const std::shared_ptr<void> reaper(nullptr,
                                           [started, fifo](void*)
                                           {
                                               if (waitpid(started, nullptr, WNOHANG) == 0 &&
                                                   kill(started, SIGTERM) == 0)
                                                   waitpid(started, nullptr, 0);
                                               close(fifo);
                                           });
        ASSERT_TRUE(WaitFor([&] { return IsRaw(pty.Settings()); })) << "no echo, keys one by one, no SIGINT";
        // A key is readable at once, without a newline, and is not echoed back.
        ASSERT_EQ(write(pty.master, "k", 1), 1);
        int pending = 0;
        EXPECT_TRUE(WaitFor([&] { return ioctl(pty.slave, FIONREAD, &pending) == 0 && pending == 1; }, 2s));
        struct pollfd echo = {pty.master, POLLIN, 0};
        EXPECT_EQ(poll(&echo, 1, 200), 0) << "the key was echoed";
        // Ctrl-C is a key like another: the tool's session is not interrupted.
        ASSERT_EQ(write(pty.master, "\x03", 1), 1);
        std::this_thread::sleep_for(300ms);
        EXPECT_EQ(waitpid(started, nullptr, WNOHANG), 0) << "the tool ended on Ctrl-C";
        EXPECT_TRUE(IsRaw(pty.Settings())) << "console restored before the switch log was closed";
        if (terminal == ETerminal::MOVED_TO_BACKGROUND)
        {
            kill(started, SIGUSR1);
            ASSERT_TRUE(WaitFor([&] { return tcgetpgrp(pty.master) == started; }));
        }
        EXPECT_NE(DrainUntilLine(fifo).find("-------------- New Session --------------\r\n"),
                  std::string::npos);
        const SSimResult result = sim.Wait(started);
        EXPECT_EQ(result.Status, 0) << "above " << CSimRun::STOPPED_BY_SIGNAL << ": stopped by that signal";
        EXPECT_EQ(Changed(pty.Settings()), Changed(before));
    }
}

TEST(StartUpConsole, ABackgroundJobLeavesTheTerminalAloneAndRunsToItsEnd)
{
    SPty pty;
    ASSERT_GE(pty.slave, 0);
    const struct termios before = pty.Settings();
    CSimRun sim;
    const SSimResult result = sim.Wait(sim.Start({}, {CSimRun::S_Tool}, pty.slave, ETerminal::BACKGROUND));
    EXPECT_EQ(result.Status, 0) << "above " << CSimRun::STOPPED_BY_SIGNAL << ": stopped by that signal";
    EXPECT_EQ(result.Out, "Serial number : KV0012345\nChassis : KV5-4U\n");
    EXPECT_EQ(Changed(pty.Settings()), Changed(before));
}

// strace without -f follows the tool's own first thread. Each call of the table is looked for
// after the one before; "close(FD)" closes what the switch log's open returned.
TEST(StartUpOrder, EffectsHappenInTheirGroupsOrderAndAreUndoneInReverse)
{
    CSimRun sim;
    SPty pty;
    ASSERT_GE(pty.slave, 0);
    const std::string trace = sim.Path("strace.txt");
    const Args command = {
        "strace",       "-o", trace, "-e", "trace=ioctl,rt_sigaction,umask,open,openat,close,exit_group",
        CSimRun::S_Tool};
    const SSimResult result = sim.Wait(sim.Start({}, command, pty.slave, ETerminal::CONTROLLING));
    ASSERT_EQ(result.Status, 0) << result.Err;
    // strace on i386 names the set call "SNDCTL_TMR_START or TCSETS".
    const std::pair<std::string, const char*> order[] = {
        {"ioctl(0, TCGETS", ""},
        {"ioctl(0, ", "TCSETS"},
        {"rt_sigaction(SIGPIPE, {sa_handler=SIG_IGN", ""},
        {"umask(003)", ""}, // privileges come before the switch log
        {"open", "QXK_Switch.log"},
        {"close(FD)", ""},
        {"ioctl(0, ", "TCSETS"}, // the console is restored after the switch log is closed
        {"exit_group", ""},
    };
    std::istringstream calls(CSimRun::ReadText(trace));
    std::string fd;
    size_t step = 0;
    for (std::string line; step < std::size(order) && std::getline(calls, line);)
    {
        const auto& [start, holding] = order[step];
        if (line.rfind(start == "close(FD)" ? "close(" + fd + ")" : start, 0) == 0 &&
            line.find(holding) != std::string::npos)
        {
            fd = line.substr(line.rfind("= ") + 2);
            ++step;
        }
    }
    EXPECT_EQ(step, std::size(order)) << "missing or out of order: step " << step;
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
