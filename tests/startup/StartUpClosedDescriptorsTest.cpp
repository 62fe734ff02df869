#include "SimRun.h"

#include <gtest/gtest.h>

#include <regex>

namespace
{
TEST(StartUpClosedDescriptors, AClosedOrPlainStandardDescriptorSendsNothingIntoTheSwitchLog)
{
    const std::string report = CSimRun().Tool({}).Out;
    struct SCase
    {
        const char* Redirections;
        std::string Out;
    } const cases[] = {
        {">&-", ""},
        {"--bogus-option 2>&-", report},
        {"<&-", report},
        {"</dev/null", report}, // not a terminal: the console is left alone
        {"--bogus-option <&- >&- 2>&-", ""},
    };
    const std::regex sessionOnly(R"(<[^>]*> -------------- New Session --------------\r\n)");
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.Redirections);
        CSimRun sim;
        // The tool run the way a shell does for `Sarvik ARGS REDIRECTIONS`.
        const SSimResult result =
            sim.Run({}, {"/bin/sh", "-c", std::string("exec \"$0\" ") + c.Redirections, CSimRun::S_Tool});
        ASSERT_EQ(result.Status, 0) << result.Err;
        EXPECT_EQ(result.Out, c.Out);
        const std::string log = CSimRun::ReadText(sim.Root() + "/data/log/QXK_Switch.log");
        EXPECT_TRUE(std::regex_match(log, sessionOnly)) << log;
    }
}
} // namespace
