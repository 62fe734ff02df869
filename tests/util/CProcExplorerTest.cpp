#include "CProcExplorer.h"
#include "ForkedCheck.h"
#include "Permissions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>
#include <vector>

using OrxHwLGPL::_STRUCT_STAT_INFO;
using OrxHwLGPL::CProcExplorer;

namespace
{
// A child process renamed to `name` that sleeps until the test ends it.
struct NamedChild
{
    explicit NamedChild(const std::string& name)
    {
        int fds[2];
        char ready = 0;
        if (pipe(fds) == 0 && (pid = fork()) == 0)
        {
            prctl(PR_SET_NAME, name.c_str(), 0, 0, 0);
            _exit(write(fds[1], "r", 1) == 1 ? pause() : 1);
        }
        if (pid > 0 && read(fds[0], &ready, 1) != 1)
            pid = -1;
        close(fds[0]);
        close(fds[1]);
    }
    ~NamedChild()
    {
        if (pid > 0 && kill(pid, SIGKILL) == 0)
            waitpid(pid, nullptr, 0);
    }
    pid_t pid = -1;
};

std::string Unique(const char* stem)
{
    return stem + std::to_string(getpid() % 100000);
}

std::string SchedulingOf(pid_t pid)
{
    sched_param param{};
    sched_getparam(pid, &param);
    return (sched_getscheduler(pid) == SCHED_FIFO ? "fifo " : "other ") +
           std::to_string(param.sched_priority);
}
} // namespace

TEST(CProcExplorer, ReadsStatLinesAndFindsProcessesByName)
{
    CProcExplorer explorer;
    _STRUCT_STAT_INFO info{};
    ASSERT_EQ(explorer.GetStatInfoFromPid(static_cast<unsigned int>(getpid()), &info), 0);
    std::string command;
    std::getline(std::ifstream("/proc/self/comm"), command);
    EXPECT_EQ(std::string(info.pCommand_c) + info.State_c, "(" + command + ")R");
    EXPECT_EQ((std::vector<long long>{info.Pid_S32, info.ParentPid_S32, info.ProcessGroup_S32,
                                      info.SchedulingPolicy_U32, info.ExitSignal_S32}),
              (std::vector<long long>{getpid(), getppid(), getpgrp(), sched_getscheduler(0), SIGCHLD}));
    EXPECT_EQ(explorer.GetStatInfoFromPid(0, &info), -1);
    EXPECT_EQ(explorer.GetPidFromName(nullptr), -1);
    // Names match with their parentheses and the lowest pid wins.
    const std::string name = Unique("svkx");
    const std::string blank = "svk " + std::to_string(getpid() % 100000);
    NamedChild first(name), second(name), withBlank(blank);
    ASSERT_TRUE(first.pid > 0 && second.pid > 0 && withBlank.pid > 0);
    const int lowest = std::min(first.pid, second.pid);
    EXPECT_EQ(explorer.GetPidFromName(("(" + name + ")").c_str()), lowest);
    EXPECT_EQ(explorer.GetPidFromName(name.c_str()), -1) << "without parentheses";
    EXPECT_EQ(explorer.GetPidFromName(("(" + name).c_str()), -1) << "a beginning is not the name";
    EXPECT_EQ(explorer.GetPidFromPartialName(name.substr(1).c_str()), lowest);
    EXPECT_EQ(explorer.GetPidFromPartialName((name + ")").c_str()), lowest);
    EXPECT_EQ(explorer.GetPidFromName(("(" + blank + ")").c_str()), -1) << "a blank splits the name";
    // The walk is bounded by pid_max and falls back to 32768 when it is unreadable.
    const std::string reachable = std::to_string(lowest < 32768 ? lowest : -1);
    const std::pair<std::string, std::string> rows[] = {
        {"not a number\n", "32768 " + reachable},
        {"0\n", "0 -1"},
        {std::to_string(lowest) + "\n", std::to_string(lowest) + " -1"}};
    for (const auto& [content, expected] : rows)
    {
        // pid_max is replaced in a private mount namespace only, so the machine never sees it.
        EXPECT_EQ(RunInForkedChild(
                      [&]
                      {
                          char path[] = "/tmp/SarvikPidMaxXXXXXX";
                          const int fd = mkstemp(path);
                          const bool ready =
                              fd >= 0 && write(fd, content.data(), content.size()) >= 0 &&
                              unshare(CLONE_NEWNS) == 0 &&
                              mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                              mount(path, "/proc/sys/kernel/pid_max", nullptr, MS_BIND, nullptr) == 0;
                          const std::string found = "(" + name + ")";
                          CProcExplorer bounded;
                          close(fd);
                          unlink(path);
                          return ready ? std::to_string(bounded.GetPidMax()) + " " +
                                             std::to_string(bounded.GetPidFromName(found.c_str()))
                                       : "set-up failed";
                      }),
                  expected)
            << "pid_max holding \"" << content << "\"";
    }
}

// The caller is set-user-ID root, started by user 1000 and with its rights dropped while not
// needed: each call raises them for itself and drops them again.
TEST(CProcExplorer, PriorityCallsCheckTheirArgumentsAndSetFifoWithRightsRaisedForTheCall)
{
    // By pid ('p'), by name ('n') or by part of the name ('s'); "child" stands for the child's name,
    // or its pid by pid; an errno of -1: any.
    const std::tuple<char, const char*, unsigned, int, int, const char*> rows[] = {
        {'p', "child", 99, 0, -1, "fifo 99"},
        {'p', "child", 100, -1, 0, "other 0"},
        {'p', "-1", 10, -1, 0, "other 0"},
        {'n', "(child)", 97, 0, -1, "fifo 97"},
        {'n', "(child)", 100, -1, 0, "other 0"},
        {'n', "child", 10, -1, -1, "other 0"},
        {'n', nullptr, 10, -1, 0, "other 0"},
        {'s', "child", 95, 0, -1, "fifo 95"},
        {'s', "child", 100, -1, EINVAL, "other 0"}, // no range check: the system refuses
        {'s', "svk-no-such-process", 10, -1, -1, "other 0"}};
    for (const auto& [call, wanted, priority, result, error, scheduling] : rows)
    {
        const std::string name = Unique("svkr");
        NamedChild child(name);
        ASSERT_GT(child.pid, 0);
        std::string target = wanted != nullptr ? wanted : "";
        if (target.find("child") != std::string::npos)
            target.replace(target.find("child"), 5, call == 'p' ? std::to_string(child.pid) : name);
        const char* text = wanted != nullptr ? target.c_str() : nullptr;
        const std::string report = RunInForkedChild(
            [&, call = call, priority = priority, error = error]
            {
                if (setresuid(1000, 0, 0) != 0 ||
                    !Orx::KrpcLinuxTools::Permissions::GetInstance()->DropPriveleges())
                    return std::string("identity set-up failed");
                errno = 0;
                const int got = call == 'p'   ? CProcExplorer::SetPriorityFromPid(std::stoi(target), priority)
                                : call == 'n' ? CProcExplorer::SetPriorityFromName(text, priority)
                                              : CProcExplorer::SetPriorityFromPartialName(text, priority);
                return std::to_string(got) + " errno " + std::to_string(error == -1 ? -1 : errno) + " as " +
                       std::to_string(geteuid());
            });
        SCOPED_TRACE(std::string(1, call) + " " + target + " " + std::to_string(priority));
        EXPECT_EQ(report + " " + SchedulingOf(child.pid),
                  std::to_string(result) + " errno " + std::to_string(error) + " as 1000 " + scheduling);
    }
}
