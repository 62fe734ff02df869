#include "CSysLogFile.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include "SysLogTestFiles.h"
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

// Where nothing can be written, messages are lost without a report: the sizes stay 0, nothing is
// rotated and the general channel gets no backup notices to fail on in turn.
TEST(FailedWrite, LostMessagesNeverCountTowardTheSizeNorRotate)
{
    char header[] = "---- FAILED WRITE ----";
    CSysLogFile file(80, SYSLOG_CRITICAL, header, true);
    file.DeleteFiles();
    // A folder where each file should be: every open and write fails.
    ASSERT_EQ(0, mkdir(file.GetLogPath(), 0777));
    ASSERT_EQ(0, mkdir(file.GetErrorPath(), 0777));
    for (unsigned sequence = 0; sequence < 3; sequence++)
    {
        char text[] = "nowhere";
        CSysLogMessage message;
        message.MakeMessage(80, SYSLOG_CRITICAL, 0, 0x12, 1, 1, sequence, text);
        file.WriteMessage(&message);
    }
    CSysLogServer::GetInstance().FlushPendingMessages();
    EXPECT_EQ(0u, file.GetLogSize());
    EXPECT_EQ(0u, file.GetErrorSize());
    EXPECT_EQ(0u, file.GetNbBackups());
    EXPECT_EQ(std::string::npos,
              SysLogTest::ReadFile(SysLogTest::LogDir() + "cvn_general.log").find(file.GetLogPath()));
    rmdir(file.GetLogPath());
    rmdir(file.GetErrorPath());
}
