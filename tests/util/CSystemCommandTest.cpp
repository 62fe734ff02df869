#include "CSystemCommand.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

TEST(CSystemCommand, ShellGetsACleanEnvironmentAndNoneOfTheToolsStreams)
{
    char pattern[] = "/tmp/sarvik-syscmd-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::string dir = pattern;
    auto read = [&](const char* name)
    {
        std::stringstream s;
        s << std::ifstream(dir + "/" + name).rdbuf();
        return s.str();
    };
    const std::string hostilePath = dir + ":/usr/bin:/bin";
    const char* const hostile[][2] = {{"PATH", hostilePath.c_str()}, {"IFS", "/"},
                                      {"ENV", "/tmp/evil-env"},      {"BASH_ENV", "/tmp/evil-env"},
                                      {"LD_LIBRARY_PATH", "/tmp"},   {"LC_MESSAGES", "de_DE.UTF-8"}};
    for (const auto& var : hostile)
        ASSERT_EQ(setenv(var[0], var[1], 1), 0);
    // The shell sees the system's PATH and the C locale only. Our stdout and stderr are files we
    // can read back afterwards.
    const int savedOut = dup(1), savedErr = dup(2);
    ASSERT_TRUE(freopen((dir + "/out.txt").c_str(), "w", stdout) &&
                freopen((dir + "/err.txt").c_str(), "w", stderr));
    std::string statuses;
    for (const std::string& command : {"env > " + dir + "/env.txt; echo out; echo err >&2; exit 3",
                                       std::string("no-such-command -s drv_comram")})
    {
        const int result = CSystemCommand::Run(command.c_str());
        statuses += std::to_string(WIFEXITED(result) ? WEXITSTATUS(result) : -1) + " ";
    }
    printf("after\n");
    fflush(stdout);
    dup2(savedOut, 1);
    dup2(savedErr, 2);
    EXPECT_EQ(statuses, "3 127 ");
    EXPECT_EQ(read("out.txt") + read("err.txt"), "after\n")
        << "our own stdout must work again after the call";
    const std::string seen = "\n" + read("env.txt");
    for (const auto& var : hostile)
        EXPECT_EQ(seen.find("\n" + std::string(var[0]) + "=" + var[1] + "\n"), std::string::npos) << var[0];
    for (const char* clean : {"\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n", "\nLC_ALL=C\n"})
        EXPECT_NE(seen.find(clean), std::string::npos) << clean;
    // The process's own environment is untouched afterwards.
    EXPECT_EQ(std::string(getenv("BASH_ENV")) + " " + getenv("PATH"), "/tmp/evil-env " + hostilePath);
    EXPECT_EQ(CSystemCommand::Run(nullptr), -1);
    std::filesystem::remove_all(dir);
}
