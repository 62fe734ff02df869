#include "CSarvikSandbox.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <regex>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr off_t LIMIT = 2097152;
constexpr off_t SESSION_LINE = 26 + 43;
const std::string SESSION = "-------------- New Session --------------\r\n";
const char* const PREFIX = R"(<\d{2}/\d{2}/\d{4} \d{2}:\d{2}:\d{2}\.\d{3}> )";

void ExpectQuietSuccess(const SToolResult& result)
{
    ASSERT_TRUE(WIFEXITED(result.status)) << "status " << result.status;
    EXPECT_EQ(WEXITSTATUS(result.status), 0);
    EXPECT_EQ(result.err, "");
}

void MakeFile(const std::string& path, off_t size)
{
    int fd = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0664);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, size), 0);
    close(fd);
}

TEST(StartUpSwitchLog, EveryRunAppendsOneTimeStampedSessionLine)
{
    CSarvikSandbox sandbox;
    ExpectQuietSuccess(sandbox.Run());
    ExpectQuietSuccess(sandbox.Run());
    const std::regex twoSessions(std::string("(") + PREFIX +
                                 "-------------- New Session --------------\r\n){2}");
    EXPECT_TRUE(std::regex_match(ReadFile(sandbox.SwitchLog()), twoSessions))
        << ReadFile(sandbox.SwitchLog());
}

TEST(StartUpSwitchLog, NewLogIsNotWritableByOthersBecauseTheMaskIsSetFirst)
{
    // The tool starts with mask 022; only the privileges set-up (mask 003) running before the
    // switch log is created gives the group write permission.
    CSarvikSandbox sandbox;
    ExpectQuietSuccess(sandbox.Run());
    struct stat info = {};
    ASSERT_EQ(stat(sandbox.SwitchLog().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0664u);
}

struct SSizeCase
{
    const char* label;
    off_t existing;
    off_t afterLog;
    off_t afterBak; // -1: none
};

TEST(StartUpSwitchLog, SizeLimitKeepsAFullLogAndMovesALargerOneAsideForOneSilentRun)
{
    const SSizeCase cases[] = {
        // Kept and written to; that line takes it over the limit, so it is then moved aside whole.
        {"exactly 2097152 bytes", LIMIT, 0, LIMIT + SESSION_LINE},
        // Moved aside at start; that run writes no line at all.
        {"one byte more", LIMIT + 1, -1, LIMIT + 1},
    };
    for (const SSizeCase& c : cases)
    {
        SCOPED_TRACE(c.label);
        CSarvikSandbox sandbox;
        MakeFile(sandbox.SwitchLog(), c.existing);
        ExpectQuietSuccess(sandbox.Run());
        EXPECT_EQ(FileSize(sandbox.SwitchLog()), c.afterLog);
        EXPECT_EQ(FileSize(sandbox.SwitchLog() + ".bak"), c.afterBak);

        ExpectQuietSuccess(sandbox.Run());
        EXPECT_TRUE(std::regex_match(ReadFile(sandbox.SwitchLog()), std::regex(PREFIX + SESSION)))
            << "the next run starts a new file";
    }
}

TEST(StartUpSwitchLog, WithoutTheLogDirectoryNothingIsWrittenOrPrinted)
{
    CSarvikSandbox sandbox;
    ASSERT_EQ(rmdir(sandbox.LogDir().c_str()), 0);
    const SToolResult result = sandbox.Run();
    ExpectQuietSuccess(result);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(FileSize(sandbox.LogDir()), -1);
}

TEST(StartUpSwitchLog, DatesAfter2038AreStampedRight)
{
    if (!CSarvikSandbox::S_HasSimulator())
    {
        GTEST_SKIP() << "needs the simulated server's clock (sarvik-sim --date)";
    }
    CSarvikSandbox sandbox;
    ExpectQuietSuccess(sandbox.Run(-1, {"--date", "2041-07-15 13:45:30"}));
    const std::string log = ReadFile(sandbox.SwitchLog());
    EXPECT_TRUE(std::regex_match(log, std::regex(R"(<15/07/2041 13:45:3\d\.\d{3}> )" + SESSION))) << log;
}
} // namespace
