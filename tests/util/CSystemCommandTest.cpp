#include "CSystemCommand.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
class CSystemCommandTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/sarvik-syscmd-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        mDir = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(mDir); }
    std::string Read(const std::string& path)
    {
        std::ifstream in(path);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }
    std::string mDir;
};

TEST_F(CSystemCommandTest, HostileCallerEnvironmentDoesNotReachTheShell)
{
    // A fake "env" first in the caller's PATH must not be the one that runs.
    const std::string fakeDir = mDir + "/evil";
    ASSERT_EQ(mkdir(fakeDir.c_str(), 0755), 0);
    {
        std::ofstream fake(fakeDir + "/env");
        fake << "#!/bin/sh\ntouch '" << mDir << "/hijacked'\n";
    }
    ASSERT_EQ(chmod((fakeDir + "/env").c_str(), 0755), 0);

    const char* const hostile[][2] = {
        {"PATH", nullptr},
        {"IFS", "/"},
        {"ENV", "/tmp/evil-env"},
        {"BASH_ENV", "/tmp/evil-env"},
        {"LD_LIBRARY_PATH", "/tmp"},
        {"LANG", "de_DE.UTF-8"},
        {"LC_MESSAGES", "de_DE.UTF-8"},
    };
    const std::string hostilePath = fakeDir + ":/usr/bin:/bin";
    for (const auto& var : hostile)
    {
        ASSERT_EQ(setenv(var[0], var[1] != nullptr ? var[1] : hostilePath.c_str(), 1), 0);
    }

    const std::string out = mDir + "/env.txt";
    const std::string command = "env > " + out;
    const int result = CSystemCommand::Run(command.c_str());
    ASSERT_TRUE(WIFEXITED(result));
    EXPECT_EQ(WEXITSTATUS(result), 0);
    EXPECT_NE(access((mDir + "/hijacked").c_str(), F_OK), 0) << "the caller's PATH chose the program";

    std::set<std::string> seen;
    std::istringstream lines(Read(out));
    for (std::string line; std::getline(lines, line);)
    {
        seen.insert(line.substr(0, line.find('=')));
    }
    for (const char* name : {"IFS", "ENV", "BASH_ENV", "LD_LIBRARY_PATH", "LANG", "LC_MESSAGES"})
    {
        EXPECT_EQ(seen.count(name), 0u) << name << " reached the shell";
    }
    EXPECT_NE(Read(out).find("PATH=/usr/sbin:/usr/bin:/sbin:/bin\n"), std::string::npos);

    // The process's own environment is untouched afterwards.
    ASSERT_NE(getenv("BASH_ENV"), nullptr);
    EXPECT_STREQ(getenv("BASH_ENV"), "/tmp/evil-env");
    EXPECT_EQ(std::string(getenv("PATH")), hostilePath);
}

TEST_F(CSystemCommandTest, CommandOutputNeverReachesTheToolsStreams)
{
    // Our stdout and stderr are files we can read back afterwards.
    const std::string outPath = mDir + "/out.txt";
    const std::string errPath = mDir + "/err.txt";
    const int savedOut = dup(1);
    const int savedErr = dup(2);
    ASSERT_TRUE(freopen(outPath.c_str(), "w", stdout) != nullptr);
    ASSERT_TRUE(freopen(errPath.c_str(), "w", stderr) != nullptr);
    const int found = CSystemCommand::Run("echo to-stdout; echo to-stderr >&2; exit 0");
    const int missing = CSystemCommand::Run("no-such-command-anywhere -s drv_comram");
    printf("after\n");
    fflush(stdout);
    dup2(savedOut, 1);
    dup2(savedErr, 2);
    close(savedOut);
    close(savedErr);

    ASSERT_TRUE(WIFEXITED(found));
    EXPECT_EQ(WEXITSTATUS(found), 0);
    ASSERT_TRUE(WIFEXITED(missing));
    EXPECT_EQ(WEXITSTATUS(missing), 127);
    EXPECT_EQ(Read(outPath), "after\n") << "our own stdout must work again after the call";
    EXPECT_EQ(Read(errPath), "");
}

TEST_F(CSystemCommandTest, PassesTheCommandsExitStatusBack)
{
    for (int code : {0, 1, 3})
    {
        const std::string command = "exit " + std::to_string(code);
        const int result = CSystemCommand::Run(command.c_str());
        ASSERT_TRUE(WIFEXITED(result));
        EXPECT_EQ(WEXITSTATUS(result), code);
    }
    EXPECT_EQ(CSystemCommand::Run(nullptr), -1);
}
} // namespace
