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
#include <unistd.h>

using OrxHwLGPL::_STRUCT_STAT_INFO;
using OrxHwLGPL::CProcExplorer;

namespace
{
// A child process renamed to `name` that sleeps until the test ends it.
class NamedChild
{
public:
    explicit NamedChild(const std::string& name)
    {
        int fds[2];
        if (pipe(fds) != 0)
        {
            return;
        }
        mPid = fork();
        if (mPid == 0)
        {
            prctl(PR_SET_NAME, name.c_str(), 0, 0, 0);
            if (write(fds[1], "r", 1) != 1)
            {
                _exit(1);
            }
            for (;;)
            {
                pause();
            }
        }
        char ready = 0;
        if (mPid < 0 || read(fds[0], &ready, 1) != 1)
        {
            mPid = -1;
        }
        close(fds[0]);
        close(fds[1]);
    }
    ~NamedChild()
    {
        if (mPid > 0)
        {
            kill(mPid, SIGKILL);
            waitpid(mPid, nullptr, 0);
        }
    }
    pid_t Pid() const { return mPid; }

private:
    pid_t mPid = -1;
};

std::string UniqueName(const char* stem)
{
    return std::string(stem) + std::to_string(getpid() % 100000);
}

std::string SchedulingOf(pid_t pid)
{
    sched_param param{};
    sched_getparam(pid, &param);
    return (sched_getscheduler(pid) == SCHED_FIFO ? "fifo " : "other ") +
           std::to_string(param.sched_priority);
}
} // namespace

TEST(CProcExplorer, ReadsAll42FieldsOfAStatLineAndRefusesWhatIsMissing)
{
    CProcExplorer explorer;
    _STRUCT_STAT_INFO info{};
    ASSERT_EQ(explorer.GetStatInfoFromPid(static_cast<unsigned int>(getpid()), &info), 0);
    std::ifstream comm("/proc/self/comm");
    std::string command;
    std::getline(comm, command);
    EXPECT_EQ(info.Pid_S32, getpid());
    EXPECT_EQ(std::string(info.pCommand_c), "(" + command + ")");
    EXPECT_EQ(info.State_c, 'R');
    EXPECT_EQ(info.ParentPid_S32, getppid());
    EXPECT_EQ(info.ProcessGroup_S32, getpgrp());
    EXPECT_EQ(static_cast<int>(info.SchedulingPolicy_U32), sched_getscheduler(0));
    EXPECT_EQ(info.ExitSignal_S32, SIGCHLD);

    EXPECT_EQ(explorer.GetStatInfoFromPid(0, &info), -1);
    EXPECT_EQ(explorer.GetPidFromName(nullptr), -1);
}

TEST(CProcExplorer, NamesMatchWithTheirParenthesesAndTheLowestPidWins)
{
    const std::string name = UniqueName("svkx");
    NamedChild first(name);
    NamedChild second(name);
    const std::string blank = "svk " + std::to_string(getpid() % 100000);
    NamedChild withBlank(blank);
    ASSERT_TRUE(first.Pid() > 0 && second.Pid() > 0 && withBlank.Pid() > 0);
    const int lowest = std::min(first.Pid(), second.Pid());
    CProcExplorer explorer;
    struct
    {
        const char* how;
        int found;
        int expected;
    } const rows[] = {
        {"exact with parentheses", explorer.GetPidFromName(("(" + name + ")").c_str()), lowest},
        {"exact without parentheses", explorer.GetPidFromName(name.c_str()), -1},
        {"partial", explorer.GetPidFromPartialName(name.substr(1).c_str()), lowest},
        {"partial with the closing parenthesis", explorer.GetPidFromPartialName((name + ")").c_str()),
         lowest},
        {"a blank splits the name: skipped", explorer.GetPidFromName(("(" + blank + ")").c_str()), -1},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(row.found, row.expected) << row.how;
    }
}

TEST(CProcExplorer, WalkIsBoundedByPidMaxAndFallsBackWhenItIsUnreadable)
{
    const std::string name = UniqueName("svkm");
    NamedChild child(name);
    ASSERT_GT(child.Pid(), 1);
    const std::string exact = "(" + name + ")";
    const int reachable = child.Pid() < 32768 ? child.Pid() : -1;
    struct
    {
        std::string content;
        int pidMax;
        int found;
    } const rows[] = {
        {"not a number\n", 32768, reachable},
        {"", 32768, reachable},
        {"0\n", 0, -1},
        {std::to_string(child.Pid()) + "\n", child.Pid(), -1}, // the walk stops just below the child
    };
    for (const auto& row : rows)
    {
        // pid_max is replaced in a private mount namespace only, so the machine never sees it.
        std::string report = RunInForkedChild(
            [&]
            {
                char path[] = "/tmp/SarvikPidMaxXXXXXX";
                int fd = mkstemp(path);
                if (fd < 0)
                {
                    return std::string("mkstemp: ") + strerror(errno);
                }
                bool ready = write(fd, row.content.data(), row.content.size()) ==
                                 static_cast<ssize_t>(row.content.size()) &&
                             unshare(CLONE_NEWNS) == 0 &&
                             mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                             mount(path, "/proc/sys/kernel/pid_max", nullptr, MS_BIND, nullptr) == 0;
                std::string result = ready ? "" : std::string("set-up: ") + strerror(errno);
                close(fd);
                CProcExplorer explorer;
                if (ready)
                {
                    result = std::to_string(explorer.GetPidMax()) + " " +
                             std::to_string(explorer.GetPidFromName(exact.c_str()));
                }
                unlink(path);
                return result;
            });
        EXPECT_EQ(report, std::to_string(row.pidMax) + " " + std::to_string(row.found))
            << "pid_max holding \"" << row.content << "\"";
    }
}

TEST(CProcExplorer, PriorityCallsCheckTheirArgumentsAndSetFifo)
{
    enum Call
    {
        BY_PID,
        BY_NAME,
        BY_PARTIAL_NAME
    };
    const int ANY_ERRNO = -1;
    // "child" stands for the child's name, or its pid by pid; errno 0: refused before any scan.
    struct
    {
        Call call;
        const char* target;
        unsigned priority;
        int result;
        int error;
        const char* scheduling;
    } const rows[] = {
        {BY_PID, "child", 99, 0, ANY_ERRNO, "fifo 99"},
        {BY_PID, "child", 100, -1, 0, "other 0"},
        {BY_PID, "-1", 10, -1, 0, "other 0"},
        {BY_NAME, "(child)", 97, 0, ANY_ERRNO, "fifo 97"},
        {BY_NAME, "(child)", 100, -1, 0, "other 0"},
        {BY_NAME, "child", 10, -1, ANY_ERRNO, "other 0"},
        {BY_NAME, nullptr, 10, -1, 0, "other 0"},
        {BY_PARTIAL_NAME, "child", 95, 0, ANY_ERRNO, "fifo 95"},
        {BY_PARTIAL_NAME, "child", 100, -1, EINVAL, "other 0"}, // no range check: the system refuses
        {BY_PARTIAL_NAME, "svk-no-such-process", 10, -1, ANY_ERRNO, "other 0"},
    };
    for (const auto& row : rows)
    {
        const std::string name = UniqueName("svkr");
        NamedChild child(name);
        ASSERT_GT(child.Pid(), 0);
        std::string target = row.target != nullptr ? row.target : "";
        const size_t at = target.find("child");
        if (at != std::string::npos)
        {
            target.replace(at, 5, row.call == BY_PID ? std::to_string(child.Pid()) : name);
        }
        const char* text = row.target != nullptr ? target.c_str() : nullptr;
        errno = 0;
        const int result =
            row.call == BY_PID    ? CProcExplorer::SetPriorityFromPid(std::stoi(target), row.priority)
            : row.call == BY_NAME ? CProcExplorer::SetPriorityFromName(text, row.priority)
                                  : CProcExplorer::SetPriorityFromPartialName(text, row.priority);
        const std::string how = std::to_string(row.call) + " " + target + " " + std::to_string(row.priority);
        EXPECT_EQ(result, row.result) << how;
        if (row.error != ANY_ERRNO)
        {
            EXPECT_EQ(errno, row.error) << how;
        }
        EXPECT_EQ(SchedulingOf(child.Pid()), row.scheduling) << how;
    }
}

TEST(CProcExplorer, UnprivilegedCallerIsRaisedForTheCallAndDroppedAfter)
{
    NamedChild target(UniqueName("svku"));
    ASSERT_GT(target.Pid(), 0);
    std::string report = RunInForkedChild(
        [&]
        {
            // Set-user-ID root started by user 1000, rights dropped while not needed.
            Orx::KrpcLinuxTools::Permissions* permissions = nullptr;
            if (setresuid(1000, 0, 0) != 0 ||
                !(permissions = Orx::KrpcLinuxTools::Permissions::GetInstance())->DropPriveleges())
            {
                return std::string("identity set-up failed");
            }
            int result = CProcExplorer::SetPriorityFromPid(target.Pid(), 40);
            return "result " + std::to_string(result) + ", effective user " + std::to_string(geteuid());
        });
    EXPECT_EQ(report, "result 0, effective user 1000");
    EXPECT_EQ(SchedulingOf(target.Pid()), "fifo 40");
}
