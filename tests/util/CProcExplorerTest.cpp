#include "CProcExplorer.h"
#include "ForkedCheck.h"
#include "Permissions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
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
            close(fds[0]);
            prctl(PR_SET_NAME, name.c_str(), 0, 0, 0);
            char ready = 'r';
            if (write(fds[1], &ready, 1) != 1)
            {
                _exit(1);
            }
            for (;;)
            {
                pause();
            }
        }
        close(fds[1]);
        char ready = 0;
        if (mPid < 0 || read(fds[0], &ready, 1) != 1)
        {
            mPid = -1;
        }
        close(fds[0]);
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

struct Scheduling
{
    int policy;
    int priority;
};

Scheduling SchedulingOf(pid_t pid)
{
    sched_param param{};
    int policy = sched_getscheduler(pid);
    sched_getparam(pid, &param);
    return {policy, param.sched_priority};
}
} // namespace

TEST(CProcExplorer, ReadsAll42FieldsOfItsOwnStatLine)
{
    CProcExplorer explorer;
    EXPECT_GT(explorer.GetPidMax(), 0);
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
    EXPECT_GE(info.ThreadCount_S32, 1);
    EXPECT_EQ(static_cast<int>(info.SchedulingPolicy_U32), sched_getscheduler(0));
    EXPECT_EQ(info.ExitSignal_S32, SIGCHLD);
}

TEST(CProcExplorer, MissingProcessOrRecordGivesMinusOne)
{
    CProcExplorer explorer;
    _STRUCT_STAT_INFO info{};
    EXPECT_EQ(explorer.GetStatInfoFromPid(0, &info), -1);
    EXPECT_EQ(explorer.GetStatInfoFromPid(static_cast<unsigned int>(getpid()), nullptr), -1);
    EXPECT_EQ(explorer.GetPidFromName(nullptr), -1);
    EXPECT_EQ(explorer.GetPidFromPartialName(nullptr), -1);
}

TEST(CProcExplorer, FindsARenamedChildByExactAndPartialName)
{
    std::string name = UniqueName("svkx");
    NamedChild child(name);
    ASSERT_GT(child.Pid(), 0) << "fork of the named child failed";
    CProcExplorer explorer;
    struct
    {
        const char* how;
        int found;
    } cases[] = {
        {"exact with parentheses", explorer.GetPidFromName(("(" + name + ")").c_str())},
        {"exact without parentheses", explorer.GetPidFromName(name.c_str())},
        {"partial", explorer.GetPidFromPartialName(name.substr(1).c_str())},
        {"partial with closing parenthesis", explorer.GetPidFromPartialName((name + ")").c_str())},
    };
    EXPECT_EQ(cases[0].found, child.Pid()) << cases[0].how;
    EXPECT_EQ(cases[1].found, -1) << cases[1].how;
    EXPECT_EQ(cases[2].found, child.Pid()) << cases[2].how;
    EXPECT_EQ(cases[3].found, child.Pid()) << cases[3].how;
}

TEST(CProcExplorer, NameWithABlankIsSkippedByTheScan)
{
    std::string name = "svk " + std::to_string(getpid() % 100000);
    NamedChild child(name);
    ASSERT_GT(child.Pid(), 0);
    CProcExplorer explorer;
    EXPECT_EQ(explorer.GetPidFromName(("(" + name + ")").c_str()), -1);
}

TEST(CProcExplorer, WalkIsBoundedByPidMaxAndFallsBackWhenItIsUnreadable)
{
    std::string name = UniqueName("svkm");
    NamedChild child(name);
    ASSERT_GT(child.Pid(), 1);
    std::string exact = "(" + name + ")";
    struct
    {
        const char* content;
        int expectedPidMax;
        int expectedPid;
    } cases[] = {
        {"not a number\n", 32768, child.Pid() < 32768 ? child.Pid() : -1},
        {"", 32768, child.Pid() < 32768 ? child.Pid() : -1},
        {"0\n", 0, -1},
        // The walk stops below the limit: the child's own number is just out of reach.
        {nullptr, child.Pid(), -1},
    };
    for (const auto& each : cases)
    {
        std::string limit = each.content ? each.content : std::to_string(child.Pid()) + "\n";
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
                bool written = write(fd, limit.data(), limit.size()) == static_cast<ssize_t>(limit.size());
                close(fd);
                std::string result;
                if (!written)
                {
                    result = "write pid_max copy failed";
                }
                else if (unshare(CLONE_NEWNS) != 0)
                {
                    result = std::string("unshare(CLONE_NEWNS): ") + strerror(errno);
                }
                else if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
                {
                    result = std::string("mount --make-rprivate /: ") + strerror(errno);
                }
                else if (mount(path, "/proc/sys/kernel/pid_max", nullptr, MS_BIND, nullptr) != 0)
                {
                    result = std::string("mount --bind over pid_max: ") + strerror(errno);
                }
                else
                {
                    CProcExplorer explorer;
                    if (explorer.GetPidMax() != each.expectedPidMax)
                    {
                        result = "pid max " + std::to_string(explorer.GetPidMax());
                    }
                    else if (explorer.GetPidFromName(exact.c_str()) != each.expectedPid)
                    {
                        result = "found " + std::to_string(explorer.GetPidFromName(exact.c_str()));
                    }
                }
                unlink(path);
                return result;
            });
        EXPECT_EQ(report, "") << "pid_max holding \"" << limit << "\"";
    }
}

TEST(CProcExplorer, PriorityCallsRefuseBadArguments)
{
    std::string name = UniqueName("svkr");
    NamedChild child(name);
    ASSERT_GT(child.Pid(), 0);
    Scheduling before = SchedulingOf(child.Pid());
    std::string exact = "(" + name + ")";
    EXPECT_EQ(CProcExplorer::SetPriorityFromPid(-1, 10), -1);
    EXPECT_EQ(CProcExplorer::SetPriorityFromPid(child.Pid(), 100), -1);
    EXPECT_EQ(CProcExplorer::SetPriorityFromName(exact.c_str(), 100), -1);
    EXPECT_EQ(CProcExplorer::SetPriorityFromName(nullptr, 10), -1);
    EXPECT_EQ(CProcExplorer::SetPriorityFromName(name.c_str(), 10), -1); // without parentheses
    EXPECT_EQ(CProcExplorer::SetPriorityFromPartialName(nullptr, 10), -1);
    EXPECT_EQ(CProcExplorer::SetPriorityFromPartialName("svk-no-such-process", 10), -1);
    Scheduling after = SchedulingOf(child.Pid());
    EXPECT_EQ(after.policy, before.policy);
    EXPECT_EQ(after.priority, before.priority);
}

TEST(CProcExplorer, PartialNameHandsAnOutOfRangePriorityToTheSystem)
{
    std::string name = UniqueName("svkp");
    NamedChild child(name);
    ASSERT_GT(child.Pid(), 0);
    ASSERT_TRUE(Orx::KrpcLinuxTools::Permissions::GetInstance()->HasPrivileges());
    errno = 0;
    EXPECT_EQ(CProcExplorer::SetPriorityFromPartialName(name.c_str(), 100), -1);
    EXPECT_EQ(errno, EINVAL) << "the refusal must come from sched_setscheduler";
    EXPECT_EQ(SchedulingOf(child.Pid()).policy, SCHED_OTHER);
}

TEST(CProcExplorer, SetPriorityFromNameAgreesWithTheChildsScheduling)
{
    std::string name = UniqueName("svkf");
    NamedChild child(name);
    ASSERT_GT(child.Pid(), 0);
    // A container may refuse SCHED_FIFO: the result must then be the system call's own.
    int result = CProcExplorer::SetPriorityFromName(("(" + name + ")").c_str(), 50);
    Scheduling after = SchedulingOf(child.Pid());
    EXPECT_TRUE(result == 0 || result == -1) << result;
    EXPECT_EQ(result == 0, after.policy == SCHED_FIFO && after.priority == 50);
}

TEST(CProcExplorer, UnprivilegedCallerIsRaisedForTheCallAndDroppedAfter)
{
    std::string name = UniqueName("svku");
    NamedChild target(name);
    ASSERT_GT(target.Pid(), 0);
    pid_t caller = fork();
    ASSERT_GE(caller, 0);
    if (caller == 0)
    {
        // Set-user-ID root started by user 1000, rights dropped while not needed.
        if (setresuid(1000, 0, 0) != 0)
        {
            _exit(10);
        }
        Orx::KrpcLinuxTools::Permissions* permissions = Orx::KrpcLinuxTools::Permissions::GetInstance();
        if (!permissions->DropPriveleges() || permissions->HasPrivileges())
        {
            _exit(11);
        }
        int result = CProcExplorer::SetPriorityFromPid(target.Pid(), 40);
        if (geteuid() != 1000)
        {
            _exit(12);
        }
        _exit(result == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(caller, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    int code = WEXITSTATUS(status);
    ASSERT_LT(code, 10) << "identity set-up or restore failed in the caller (code " << code << ")";
    Scheduling after = SchedulingOf(target.Pid());
    EXPECT_EQ(code == 0, after.policy == SCHED_FIFO && after.priority == 40);
}
