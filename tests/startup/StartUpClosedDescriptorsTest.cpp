#include "CSarvikSandbox.h"

#include <gtest/gtest.h>

#include <regex>
#include <sys/wait.h>

namespace
{
// Runs the tool the way a shell does for `Sarvik ARGS REDIRECTIONS`.
std::vector<std::string> Shell(const std::string& command)
{
    return {"/bin/sh", "-c", "exec \"$0\" " + command};
}

TEST(StartUpClosedDescriptors, AClosedStandardDescriptorSendsNothingIntoTheSwitchLog)
{
    const std::string report = CSarvikSandbox().Run().out;
    struct SCase
    {
        const char* command;
        std::string out;
    } const cases[] = {
        {">&-", ""},
        {"--bogus-option 2>&-", report},
        {"<&-", report},
        {"--bogus-option <&- >&- 2>&-", ""},
    };
    const std::regex sessionOnly(R"(<[^>]*> -------------- New Session --------------\r\n)");
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.command);
        CSarvikSandbox sandbox;
        const SToolResult result = sandbox.Run(-1, {}, Shell(c.command));
        ASSERT_TRUE(WIFEXITED(result.status) && WEXITSTATUS(result.status) == 0) << result.err;
        EXPECT_EQ(result.out, c.out);
        EXPECT_TRUE(std::regex_match(ReadFile(sandbox.SwitchLog()), sessionOnly))
            << ReadFile(sandbox.SwitchLog());
    }
}
} // namespace
