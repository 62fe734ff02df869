#include "CSystemCommand.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
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
    std::string Read(const std::string& name)
    {
        std::stringstream s;
        s << std::ifstream(mDir + "/" + name).rdbuf();
        return s.str();
    }
    std::string mDir;
};

TEST_F(CSystemCommandTest, HostileCallerEnvironmentDoesNotReachTheShell)
{
    // A fake "env" first in the caller's PATH must not be the one that runs.
    std::ofstream(mDir + "/env") << "#!/bin/sh\ntouch '" << mDir << "/hijacked'\n";
    ASSERT_EQ(chmod((mDir + "/env").c_str(), 0755), 0);
    const std::string hostilePath = mDir + ":/usr/bin:/bin";
    const char* const hostile[][2] = {{"PATH", hostilePath.c_str()}, {"IFS", "/"},
                                      {"ENV", "/tmp/evil-env"},      {"BASH_ENV", "/tmp/evil-env"},
                                      {"LD_LIBRARY_PATH", "/tmp"},   {"LANG", "de_DE.UTF-8"},
                                      {"LC_MESSAGES", "de_DE.UTF-8"}};
    for (const auto& var : hostile)
        ASSERT_EQ(setenv(var[0], var[1], 1), 0);
    const int result = CSystemCommand::Run(("env > " + mDir + "/env.txt").c_str());
    EXPECT_TRUE(WIFEXITED(result) && WEXITSTATUS(result) == 0);
    EXPECT_NE(access((mDir + "/hijacked").c_str(), F_OK), 0) << "the caller's PATH chose the program";
    const std::string seen = "\n" + Read("env.txt");
    for (const auto& var : hostile)
        EXPECT_EQ(seen.find("\n" + std::string(var[0]) + "=" + var[1] + "\n"), std::string::npos) << var[0];
    EXPECT_NE(seen.find("\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n"), std::string::npos);
    EXPECT_NE(seen.find("\nLC_ALL=C\n"), std::string::npos);
    // The process's own environment is untouched afterwards.
    EXPECT_STREQ(getenv("BASH_ENV"), "/tmp/evil-env");
    EXPECT_EQ(std::string(getenv("PATH")), hostilePath);
}

TEST_F(CSystemCommandTest, ExitStatusComesBackAndOutputNeverReachesTheToolsStreams)
{
    // Our stdout and stderr are files we can read back afterwards.
    const int savedOut = dup(1);
    const int savedErr = dup(2);
    ASSERT_TRUE(freopen((mDir + "/out.txt").c_str(), "w", stdout) &&
                freopen((mDir + "/err.txt").c_str(), "w", stderr));
    const std::pair<const char*, int> rows[] = {{"echo to-stdout; echo to-stderr >&2; exit 0", 0},
                                                {"exit 3", 3},
                                                {"no-such-command -s drv_comram", 127}};
    std::string statuses, expected;
    for (const auto& [command, code] : rows)
    {
        const int result = CSystemCommand::Run(command);
        statuses += std::to_string(WIFEXITED(result) ? WEXITSTATUS(result) : -1) + " ";
        expected += std::to_string(code) + " ";
    }
    printf("after\n");
    fflush(stdout);
    dup2(savedOut, 1);
    dup2(savedErr, 2);
    close(savedOut);
    close(savedErr);
    EXPECT_EQ(statuses, expected);
    EXPECT_EQ(Read("out.txt"), "after\n") << "our own stdout must work again after the call";
    EXPECT_EQ(Read("err.txt"), "");
    EXPECT_EQ(CSystemCommand::Run(nullptr), -1);
}
} // namespace
