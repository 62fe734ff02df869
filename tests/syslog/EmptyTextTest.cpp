#include "CSysLogCorvaneSource.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include "SysLogTestFiles.h"
#include <gtest/gtest.h>
#include <string>

// A text with nothing to show leaves no record and takes no sequence number, so a flush does
// not stop before the messages behind it and the files show no false gap.
TEST(EmptyText, IsDroppedAtLoggingWithoutUsingASequenceNumber)
{
    constexpr unsigned CHANNEL = 310;
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.SetThreshold(CHANNEL, SYSLOG_DEBUG);
    CSysLogCorvaneSource source(server, SysLogTest::LogDir().c_str());
    const char* const texts[] = {"first", "", "\r\n", "second"};
    for (const char* text : texts)
    {
        source.LogMessage(CHANNEL, SYSLOG_CRITICAL, 0, 0, 0, text);
    }
    for (unsigned sequence = 0; sequence < 2; sequence++)
    {
        CSysLogMessage message;
        source.ReadMessage(&message);
        EXPECT_EQ(sequence == 0 ? "first" : "second", std::string(message.GetText()));
        EXPECT_EQ(sequence, +message.mSequence_U32);
    }
    CSysLogMessage none;
    source.ReadMessage(&none);
    EXPECT_TRUE(none.IsEmpty());
}
