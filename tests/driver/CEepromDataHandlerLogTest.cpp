// The identity-record handler given a log server writes its lines to the "cvn_eeprom" channel's
// file. Runs inside the simulated server, whose /mnt/APPS is the run's own.
#include "CEepromDataHandler.h"
#include "CSysLogServer.h"
#include "keyDriver.h"

#include "BoardUp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace
{
const char* const kEepromLog = "/mnt/APPS/data/log/cvn_eeprom.log";

std::string ReadFile(const char* path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// The worker writes on its own schedule: wait (bounded) until the file holds `needle`.
std::string WaitForLine(const char* path, const std::string& needle)
{
    std::string text;
    for (int pass = 0; pass < 250; ++pass)
    {
        text = ReadFile(path);
        if (text.find(needle) != std::string::npos)
        {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return text;
}

class CEepromDataHandlerLogging : public testing::Test
{
protected:
    void SetUp() override
    {
        mkdir("/mnt/APPS/data", 0777);
        mkdir("/mnt/APPS/data/log", 0777);
    }
};

TEST_F(CEepromDataHandlerLogging, ReadingTheSampleUnitWritesItsFieldsToTheEepromLog)
{
    ASSERT_TRUE(BringBoardUp());

    CSysLogServer& server = CSysLogServer::GetInstance();
    CEepromDataHandler handler(&server);
    ASSERT_EQ(handler.Read(true), 0);
    server.FlushPendingMessages();

    const std::string text = WaitForLine(kEepromLog, "PSU type");
    // Channel 224's own header, then the three copies read and the interpreted fields in order.
    EXPECT_NE(text.find("Channel: cvn_eeprom - Criticity threshold: Critical"), std::string::npos) << text;
    for (const char* line :
         {"|C|     1| 1|Reading copy 0 success\r\n", "|C|     1| 1|Reading copy 1 success\r\n",
          "|C|     1| 1|Reading copy 2 success\r\n"})
    {
        EXPECT_NE(text.find(line), std::string::npos) << line << " missing from\n" << text;
    }
    size_t at = 0;
    for (const char* field : {"|Signature     ", "|Last save     ", "|Hardware ID   ",
                              "|Serial number KV0012345 4B 56 30 30 31 32 33 34 35\r\n", "|User name     ",
                              "|Chassis type  7\r\n", "|PSU type      "})
    {
        const size_t found = text.find(field, at);
        ASSERT_NE(found, std::string::npos) << "'" << field << "' missing or out of order in\n" << text;
        at = found;
    }
}

TEST_F(CEepromDataHandlerLogging, RefusedCopiesAndFailedChecksumsAreExplained)
{
    ASSERT_TRUE(BringBoardUp());
    CSysLogServer& server = CSysLogServer::GetInstance();
    CEepromDataHandler handler(&server);
    handler.SetBusyRetry(false);
    handler.GetKeyDriver()->EnableCheckSum(0);
    SETTINGSFILE record = {};
    OLDSETTINGS old = {};

    // Each step, in order, and the line it leaves. The sample unit's record sums to 1241 and its
    // older record to 196.
    struct
    {
        const char* step;
        std::function<short()> run;
        short result;
        std::vector<const char*> lines;
    } const steps[] = {
        {"copy 3 read",
         [&] { return handler.ReadCopy(3, &record); },
         5,
         {"|C|     1| 1|Reading copy 3 ucode is not running (0000)\r\n"}},
        {"copy 3 written",
         [&] { return handler.WriteCopy(3, &record); },
         5,
         {"|C|     1| 1|Data not valid or ucode not running or incorrect copy number or null pointer\r\n"}},
        {"copy 0 read",
         [&] { return handler.ReadCopy(0, &record); },
         0,
         {"|C|     1| 1|Reading copy 0 success\r\n"}},
        {"copy 0 written without checksum",
         [&]
         {
             record.CheckSum_U32 = 0;
             return handler.WriteCopy(0, &record);
         },
         0,
         {"|C|     1| 1|Writing copy 0 success\r\n"}},
        {"copy 0 read again",
         [&] { return handler.ReadCopy(0, &record); },
         6,
         {"|C|     1| 1|Invalid checksum: read 0 vs computed 1241\r\n"}},
        {"older record with its checksum byte raised",
         [&]
         {
             unsigned char page[64] = {};
             handler.GetKeyDriver()->EEPROMRead(64, 64, page);
             page[101 - 64]++;
             handler.GetKeyDriver()->EEPROMWrite(64, 64, page);
             return handler.ReadOldCopy(&old);
         },
         6,
         {"|C|     1| 1|Invalid checksum: read 197 (at offset 1) vs computed 196\r\n",
          "|C|     1| 1|Invalid checksum: read 197 (at offset 2) vs computed "}},
    };
    for (const auto& s : steps)
    {
        SCOPED_TRACE(s.step);
        EXPECT_EQ(s.run(), s.result);
        server.FlushPendingMessages();
        for (const char* line : s.lines)
        {
            const std::string text = WaitForLine(kEepromLog, line);
            EXPECT_NE(text.find(line), std::string::npos) << line << " missing from\n" << text;
        }
    }
}

TEST_F(CEepromDataHandlerLogging, FinishedTextIsExpandedAgainOnItsWayToTheFile)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    CEepromDataHandler handler(&server);
    // Handed through "%s", each "%%" pair in a text is halved by the source, then again by the record.
    struct
    {
        const char* text;
        const char* line;
    } const cases[] = {
        {"plain text", "|C|     1| 1|plain text\r\n"},
        {"a%%%%b", "|C|     1| 1|a%b\r\n"},
        {"x%%%%%%%%y", "|C|     1| 1|x%%y\r\n"},
    };
    for (const auto& c : cases)
    {
        handler.Log("%s", c.text);
    }
    server.FlushPendingMessages();
    for (const auto& c : cases)
    {
        const std::string text = WaitForLine(kEepromLog, c.line);
        EXPECT_NE(text.find(c.line), std::string::npos) << c.text << " gave\n" << text;
    }
}

TEST_F(CEepromDataHandlerLogging, WithoutAServerNothingReachesTheFiles)
{
    ASSERT_TRUE(BringBoardUp());
    CEepromDataHandler handler(nullptr);
    ASSERT_EQ(handler.Read(true), 0);
    struct stat info;
    EXPECT_NE(stat(kEepromLog, &info), 0) << "the tool's own handler has no server and must not log";
}
} // namespace
