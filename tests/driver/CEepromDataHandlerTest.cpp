// The identity-record handler on the simulated server's sample unit (three good copies of
// "KV0012345", an older record of "KV001234") and the lines it writes to the "cvn_eeprom" log.
#include "CEepromDataHandler.h"
#include "CSysLogServer.h"
#include "keyDriver.h"

#include "BoardUp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace
{
const char* const kEepromLog = "/mnt/APPS/data/log/cvn_eeprom.log";

// The worker writes on its own schedule: wait (bounded) until the file holds `needle`.
std::string WaitForLine(const std::string& needle)
{
    std::string text;
    for (int pass = 0; pass < 250 && text.find(needle) == std::string::npos; ++pass)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(pass ? 20 : 0));
        std::ifstream in(kEepromLog);
        text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return text;
}

class CEepromDataHandlerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        mkdir("/mnt/APPS/data", 0777);
        mkdir("/mnt/APPS/data/log", 0777);
        ASSERT_TRUE(BringBoardUp());
    }
    CSysLogServer& mServer = CSysLogServer::GetInstance();
};

TEST_F(CEepromDataHandlerTest, ReadingTheSampleUnitLogsItsFieldsOnlyWithAServer)
{
    CEepromDataHandler silent(nullptr);
    ASSERT_EQ(silent.Read(true), 0);
    struct stat info;
    EXPECT_NE(stat(kEepromLog, &info), 0) << "the tool's own handler has no server and must not log";

    CEepromDataHandler handler(&mServer);
    ASSERT_EQ(handler.Read(true), 0);
    mServer.FlushPendingMessages();
    const std::string text = WaitForLine("PSU type");
    // Channel 224's own header, the three copies read, then the interpreted fields in order.
    size_t at = 0;
    for (const char* field :
         {"Channel: cvn_eeprom - Criticity threshold: Critical", "|C|     1| 1|Reading copy 0 success\r\n",
          "|C|     1| 1|Reading copy 1 success\r\n", "|C|     1| 1|Reading copy 2 success\r\n",
          "|Signature     ", "|Last save     ", "|Hardware ID   ",
          "|Serial number KV0012345 4B 56 30 30 31 32 33 34 35\r\n", "|User name     ",
          "|Chassis type  7\r\n", "|PSU type      "})
    {
        const size_t found = text.find(field, at);
        ASSERT_NE(found, std::string::npos) << "'" << field << "' missing or out of order in\n" << text;
        at = found;
    }
}

enum Op
{
    READ_COPY, // into the record
    WRITE,     // the record with a zero checksum
    BREAK_OLD, // raise the older record's checksum byte, then read it
    READ,      // the whole record; `text` is the serial number it ends with
    LOG        // `text` handed through "%s"
};

struct Step
{
    Op op;
    int copy;
    short result;
    const char* text;
    std::vector<const char*> lines;
};

const std::vector<const char*> OLD_BROKEN = {"Invalid checksum: read 29 (at offset 1) vs computed 28",
                                             "Invalid checksum: read 29 (at offset 2) vs computed "};

// Run in order on one unit. Its record sums to 1241 and its older record to 28. A line ending in a
// blank leaves the rest of the line open.
const Step STEPS[] = {
    {READ_COPY, 3, 5, "", {"Reading copy 3 ucode is not running (0000)"}},
    {WRITE, 3, 5, "", {"Data not valid or ucode not running or incorrect copy number or null pointer"}},
    {READ_COPY, 0, 0, "", {"Reading copy 0 success"}},
    {WRITE, 0, 0, "", {"Writing copy 0 success"}},
    {READ_COPY, 0, 6, "", {"Invalid checksum: read 0 vs computed 1241"}},
    {WRITE, 1, 0, "", {"Writing copy 1 success"}},
    {WRITE, 2, 0, "", {"Writing copy 2 success"}},
    {READ, 0, 0x200, "KV001234", {}},
    {BREAK_OLD, 0, 6, "", OLD_BROKEN},
    {READ, 0, 11, "100000", {}},
    // Each "%%" pair is halved by the source, then again by the record.
    {LOG, 0, 0, "plain text", {"plain text"}},
    {LOG, 0, 0, "a%%%%b", {"a%b"}},
    {LOG, 0, 0, "x%%%%%%%%y", {"x%%y"}},
};

TEST_F(CEepromDataHandlerTest, CopiesFallBackToTheOlderRecordThenDefaultsAndExplainWhy)
{
    CEepromDataHandler handler(&mServer);
    handler.SetBusyRetry(false);
    keyDriver* pDriver = handler.GetKeyDriver();
    pDriver->EnableCheckSum(0);
    SETTINGSFILE record = {};
    OLDSETTINGS old = {};
    unsigned char page[64] = {};
    for (const Step& s : STEPS)
    {
        SCOPED_TRACE(std::to_string(&s - STEPS));
        record.CheckSum_U32 = 0; // what a write sends
        short result = 0;
        if (s.op == READ_COPY)
            result = handler.ReadCopy(s.copy, &record);
        else if (s.op == WRITE)
            result = handler.WriteCopy(s.copy, &record);
        else if (s.op == READ)
            result = handler.Read(true);
        else if (s.op == LOG)
            handler.Log("%s", s.text);
        else
        {
            // The older record's 8-bit checksum is byte 101, in EEPROM page 1.
            ASSERT_EQ(pDriver->EEPROMRead(64, 64, page), 0);
            page[101 - 64]++;
            ASSERT_EQ(pDriver->EEPROMWrite(64, 64, page), 0);
            result = handler.ReadOldCopy(&old);
        }
        EXPECT_EQ(result, s.result);
        if (s.op == READ)
        {
            EXPECT_STREQ(handler.GetSerialNumber(), s.text);
        }
        mServer.FlushPendingMessages();
        for (const char* line : s.lines)
        {
            const std::string expected =
                std::string("|C|     1| 1|") + line + (line[strlen(line) - 1] == ' ' ? "" : "\r\n");
            const std::string text = WaitForLine(expected);
            EXPECT_NE(text.find(expected), std::string::npos) << expected << " missing from\n" << text;
        }
    }
}
} // namespace
