#include "CSysLogServer.h"
#include "SysLogTestFiles.h"
#include <gtest/gtest.h>
#include <string>

TEST(LogMenuKeyHelp, BuiltInLinesThenReplacedAndAddedKeys)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    const std::pair<const char*, const char*> builtIn[] = {
        {"A/a", "Enable/disable logs"},
        {"Shift-F3", "Reset to default threshold configuration"},
        {"Ctrl-Alt-Q", "Delete all log files"},
    };
    ASSERT_EQ(10u, server.GetNbInfoKeys());
    for (const auto& line : builtIn)
    {
        ASSERT_NE(nullptr, server.GetInfoKeyText(line.first)) << line.first;
        EXPECT_STREQ(line.second, server.GetInfoKeyText(line.first));
    }
    EXPECT_EQ(nullptr, server.GetInfoKeyText("F6"));

    server.SetInfoKeys("F4", "Keep thresholds");
    server.SetInfoKeys("F6", "Extract files");
    EXPECT_EQ(11u, server.GetNbInfoKeys());
    EXPECT_STREQ("Keep thresholds", server.GetInfoKeyText("F4"));
    EXPECT_STREQ("Extract files", server.GetInfoKeyText("F6"));
    // A key longer than its field is kept shortened, and found again under its full name.
    server.SetInfoKeys("Ctrl-Alt-Shift-Del", "Restart");
    server.SetInfoKeys("Ctrl-Alt-Shift-Del", "Reboot");
    EXPECT_EQ(12u, server.GetNbInfoKeys());
    EXPECT_STREQ("Reboot", server.GetInfoKeyText("Ctrl-Alt-Shift-Del"));
    server.InitInfoKeys();
    EXPECT_EQ(10u, server.GetNbInfoKeys());
    EXPECT_STREQ("Save threshold configuration", server.GetInfoKeyText("F4"));
}

TEST(LogMenuOpenFiles, CountsTheChannelsWhoseFilesAreOpen)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.FlushPendingMessages();
    const unsigned before = server.OpenLogFile();
    ASSERT_FALSE(server.IsFileOpened(90));
    server.GetHostSource().LogMessage(90, SYSLOG_CRITICAL, 0, 0, 0, "opens channel 90");
    server.FlushPendingMessages();
    EXPECT_TRUE(server.IsFileOpened(90));
    EXPECT_EQ(before + 1, server.OpenLogFile());
}
