// A set-user-ID Sarvik started by an ordinary user with a hostile environment: on a host that
// loads the missing communication RAM driver itself, the module loader that runs is the system's
// own, never the one the user put first in PATH, and the tool still prints the unit's identity.
#include "SimRun.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
const std::string ORDINARY_USER = "1000"; // the uid and gid setpriv takes below

// The first trace event of a kind with a field of a value.
Json::Value Event(const SSimResult& run, const std::string& ev, const char* key, const std::string& value)
{
    for (const Json::Value& event : run.Events(ev))
        if (event[key] == value)
            return event;
    return Json::Value();
}

// The set-user-ID copy of the tool must run the system's modprobe and print the unit's identity; a
// shell as the user would run it runs the fake modprobe first in PATH, which shows that the hostile
// PATH works.
TEST(HostileEnvironment, ChoosesNothingThatRunsAsRoot)
{
    CSimRun sim;
    const std::string hostile = sim.Path("hostile");
    ASSERT_EQ(mkdir(hostile.c_str(), 0777), 0);
    ASSERT_EQ(chmod(hostile.c_str(), 0777), 0);
    // What an attacker would put there: a modprobe that leaves a mark with its user, and a shell
    // start-up file for ENV and BASH_ENV that does the same.
    const std::string fakeMark = hostile + "/fake-modprobe-ran";
    const std::string rcMark = hostile + "/rc-file-read";
    std::ofstream(hostile + "/modprobe") << "#!/bin/sh\nid -u > '" << fakeMark << "'\nexit 0\n";
    ASSERT_EQ(chmod((hostile + "/modprobe").c_str(), 0755), 0);
    const std::string rcFile = hostile + "/rc.sh";
    std::ofstream(rcFile) << "id -u > '" << rcMark << "'\n";
    // The tool as an administrator makes it set-user-ID: root's, mode 4755.
    const std::string tool = sim.Path("Sarvik");
    ASSERT_EQ(sim.Host({"cp", CSimRun::S_Tool, tool}).Status, 0);
    ASSERT_EQ(chown(tool.c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(tool.c_str(), 04755), 0);

    // The user's own identity, then the hostile variables, then the command. The simulator's
    // interposer stays preloaded (its bare name in LD_PRELOAD).
    Args command = {"setpriv", "--reuid=1000",     "--regid=1000",       "--clear-groups",
                    "env",     "LANG=xx_XX.UTF-8", "LC_ALL=xx_XX.UTF-8", "IFS=/"};
    for (const std::string& variable : {"PATH=" + hostile + ":/usr/sbin:/usr/bin:/sbin:/bin", "ENV=" + rcFile,
                                        "BASH_ENV=" + rcFile, "LD_LIBRARY_PATH=" + hostile})
        command.push_back(variable);
    for (const bool startsSarvik : {true, false})
    {
        SCOPED_TRACE(startsSarvik ? "set-user-ID Sarvik" : "the user's own shell");
        Args run = command;
        if (startsSarvik)
            run.push_back(tool);
        else
            run.insert(run.end(), {"sh", "-c", "modprobe -s drv_comram"});
        const SSimResult r = sim.Run({"--host-board", "0", "--modules-loaded", "no"}, run);
        ASSERT_EQ(r.Status, 0) << r.Err;
        EXPECT_EQ(CSimRun::ReadText(fakeMark), !startsSarvik ? ORDINARY_USER + "\n" : "");
        EXPECT_NE(access(rcMark.c_str(), F_OK), 0) << "a shell read the start-up file";
        const Json::Value load = Event(r, "modprobe", "module", "drv_comram");
        EXPECT_EQ(load["status"] == 0, startsSarvik) << "the system's loader ran";
        EXPECT_EQ(r.Out, startsSarvik ? "Serial number : KV0012345\nChassis : KV5-4U\n" : "");
        if (startsSarvik)
        {
            // The real user is root only around the module command, and the user's own again by the
            // driver's first call after it.
            EXPECT_EQ(load["uid"], 0);
            EXPECT_EQ(load["euid"], 0);
            const Json::Value init = Event(r, "ioctl", "request", "0x40046E10");
            EXPECT_EQ(init["uid"].asString(), ORDINARY_USER);
            EXPECT_EQ(init["euid"], 0);
            const LogLines log = r.Log("GenlockDriverApi::GenlockDriverApi");
            EXPECT_NE(
                std::find(log.begin(), log.end(),
                          std::make_pair(3, std::string("In ComramDriverApi() - modprobe -s drv_comram"))),
                log.end());
        }
    }
}
} // namespace
