// A set-user-ID Sarvik started by an ordinary user with a hostile environment: on a host that
// loads the missing communication RAM driver itself, the module loader that runs is the system's
// own, never the one the user put first in PATH, and the tool still prints the unit's identity.
#include "ReleaseRun.h"

#include <gtest/gtest.h>
#include <ostream>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
const char* const kOrdinaryUser = "1000";

struct HostileCase
{
    const char* name;
    bool startsSarvik;  // the set-user-ID copy of the tool, or a shell as the user would run it
    bool fakeRuns;      // the fake modprobe first in PATH is what loads the module
    bool identityShown; // the sample unit's two lines on standard output
};

void PrintTo(const HostileCase& c, std::ostream* out)
{
    *out << c.name;
}

class HostileEnvironment : public testing::TestWithParam<HostileCase>
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(mScratch.Folder().empty());
        mHostile = mScratch.Path("hostile");
        ASSERT_EQ(mkdir(mHostile.c_str(), 0777), 0);
        ASSERT_EQ(chmod(mHostile.c_str(), 0777), 0);
        // What an attacker would put there: a modprobe that leaves a mark with its user, and a
        // shell start-up file for ENV and BASH_ENV that does the same.
        ASSERT_TRUE(CScratch::WriteText(mHostile + "/modprobe",
                                        "#!/bin/sh\nid -u > '" + FakeMark() + "'\nexit 0\n", 0755));
        ASSERT_TRUE(CScratch::WriteText(mHostile + "/rc.sh", "id -u > '" + RcMark() + "'\n", 0644));
        // The tool as an administrator makes it set-user-ID: root's, mode 4755.
        mTool = mScratch.Path("Sarvik");
        const ProgramResult copy = mScratch.Run({"cp", SARVIK_TOOL_PATH, mTool});
        ASSERT_EQ(copy.status, 0) << copy.err;
        ASSERT_EQ(chown(mTool.c_str(), 0, 0), 0);
        ASSERT_EQ(chmod(mTool.c_str(), 04755), 0);
    }

    std::string FakeMark() const { return mHostile + "/fake-modprobe-ran"; }
    std::string RcMark() const { return mHostile + "/rc-file-read"; }

    // Inside the simulated server: the user's own identity, then the hostile variables, then
    // the command. The simulator's interposer stays preloaded (its bare name in LD_PRELOAD).
    ProgramResult RunAsUser(const std::vector<std::string>& command)
    {
        std::vector<std::string> argv = {SARVIK_SIM_PATH,
                                         "--host-board",
                                         "0",
                                         "--modules-loaded",
                                         "no",
                                         "--speed",
                                         "20",
                                         "--trace",
                                         mScratch.Path("trace"),
                                         "--syslog",
                                         mScratch.Path("syslog"),
                                         "--",
                                         "setpriv",
                                         std::string("--reuid=") + kOrdinaryUser,
                                         std::string("--regid=") + kOrdinaryUser,
                                         "--clear-groups",
                                         "env",
                                         "PATH=" + mHostile + ":/usr/sbin:/usr/bin:/sbin:/bin",
                                         "IFS=/",
                                         "ENV=" + mHostile + "/rc.sh",
                                         "BASH_ENV=" + mHostile + "/rc.sh",
                                         "LD_LIBRARY_PATH=" + mHostile,
                                         "LANG=xx_XX.UTF-8",
                                         "LC_ALL=xx_XX.UTF-8"};
        argv.insert(argv.end(), command.begin(), command.end());
        return mScratch.Run(argv);
    }

    CScratch mScratch;
    std::string mHostile;
    std::string mTool;
};

TEST_P(HostileEnvironment, ChoosesNothingThatRunsAsRoot)
{
    const HostileCase& c = GetParam();
    const std::vector<std::string> command =
        c.startsSarvik ? std::vector<std::string>{mTool}
                       : std::vector<std::string>{"sh", "-c", "modprobe -s drv_comram"};
    const ProgramResult r = RunAsUser(command);
    ASSERT_EQ(r.status, 0) << r.err;

    EXPECT_EQ(CScratch::Exists(FakeMark()), c.fakeRuns);
    if (c.fakeRuns)
    {
        // The fake ran as the user who chose it: the case shows that the hostile PATH works.
        EXPECT_EQ(CScratch::ReadText(FakeMark()), std::string(kOrdinaryUser) + "\n");
    }
    EXPECT_FALSE(CScratch::Exists(RcMark()));

    const std::string trace = CScratch::ReadText(mScratch.Path("trace"));
    const bool systemLoaderRan =
        trace.find("\"ev\":\"modprobe\",\"module\":\"drv_comram\",\"status\":0") != std::string::npos;
    EXPECT_EQ(systemLoaderRan, !c.fakeRuns) << trace.substr(0, 2000);

    const std::string identity = "Serial number : KV0012345\nChassis : KV5-4U\n";
    EXPECT_EQ(r.out, c.identityShown ? identity : "");
    if (c.startsSarvik)
    {
        // The real user is root only around the module command, and the user's own again by the
        // driver's first call after it.
        const auto lineWith = [&trace](const std::string& text)
        {
            const size_t at = trace.find(text);
            return at == std::string::npos ? std::string() : trace.substr(at, trace.find('\n', at) - at);
        };
        EXPECT_NE(lineWith("\"module\":\"drv_comram\"").find("\"uid\":0,\"euid\":0"), std::string::npos)
            << trace.substr(0, 2000);
        EXPECT_NE(lineWith("\"request\":\"0x40046E10\"").find("\"uid\":" + std::string(kOrdinaryUser) +
                                                                ",\"euid\":0"),
                  std::string::npos)
            << trace.substr(0, 2000);
        const std::string syslog = CScratch::ReadText(mScratch.Path("syslog"));
        EXPECT_NE(syslog.find("In ComramDriverApi() - modprobe -s drv_comram"), std::string::npos) << syslog;
    }
}

INSTANTIATE_TEST_SUITE_P(Release, HostileEnvironment,
                         testing::Values(HostileCase{"UsersOwnShellRunsTheFake", false, true, false},
                                         HostileCase{"SetUidSarvikRunsTheSystemsModprobe", true, false,
                                                     true}),
                         [](const testing::TestParamInfo<HostileCase>& info)
                         { return std::string(info.param.name); });

} // namespace
