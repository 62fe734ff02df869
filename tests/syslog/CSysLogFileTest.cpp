#include "CSysLogFile.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include "SysLogChannelNames.h"
#include "SysLogTestFiles.h"
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>
#include <sys/stat.h>

const auto ReadFile = SysLogTest::ReadFile;
const auto ReadLines = SysLogTest::ReadLines;

namespace
{
char S_pHeader_c[] = "---- TEST HEADER ----";
constexpr unsigned HEADER_LINES = 5;
constexpr unsigned LOG_HEADER_BYTES = HEADER_LINES * 241;
constexpr unsigned ERR_HEADER_BYTES = HEADER_LINES * 246;

CSysLogMessage Message(unsigned channel, unsigned sequence, const char* text, unsigned short errorCode = 0,
                       unsigned char criticity = 1, unsigned timeStamp = 0, short subId = 1,
                       unsigned char context = 1)
{
    CSysLogMessage message;
    std::string copy = text;
    message.MakeMessage(channel, criticity, timeStamp, static_cast<short>(errorCode), subId, context,
                        sequence, &copy[0]);
    return message;
}

// A fresh file object for `channel` with nothing of a previous test left on disk.
class CSysLogFileTest : public testing::Test
{
protected:
    std::unique_ptr<CSysLogFile> Make(unsigned channel, unsigned maxSize = SYSLOG_DEFAULT_FILE_SIZE)
    {
        auto file = std::make_unique<CSysLogFile>(channel, SYSLOG_CRITICAL, S_pHeader_c, true, maxSize);
        file->DeleteFiles();
        return file;
    }
    void Write(CSysLogFile& file, CSysLogMessage message) { file.WriteMessage(&message); }
};
} // namespace

TEST_F(CSysLogFileTest, FileNamesFollowTheChannelName)
{
    auto file = Make(224);
    const std::pair<const char*, const char*> names[] = {
        {file->GetLogPath(), "/mnt/APPS/data/log/cvn_eeprom.log"},
        {file->GetLogBackupPath(), "/mnt/APPS/data/log/cvn_eeprom.bak"},
        {file->GetErrorPath(), "/mnt/APPS/data/log/cvn_eeprom.err"},
        {file->GetErrorBackupPath(), "/mnt/APPS/data/log/cvn_eeprom.err.bak"},
        {file->GetRawPath(), "/mnt/APPS/data/log/cvn_eepromraw.log"},
        {file->GetExtractLogPath(), "/mnt/APPS/data/log/_cvn_eeprom.log"},
        {file->GetExtractErrorPath(), "/mnt/APPS/data/log/_cvn_eeprom.err"},
    };
    for (const auto& name : names)
    {
        EXPECT_STREQ(name.second, name.first);
    }
}

TEST(SysLogChannelNames, RowsAreDistinctShortAndPrefixedBySource)
{
    EXPECT_STREQ("cv_general", SysLog_GetChannelName(5));
    EXPECT_STREQ("cvn_general", SysLog_GetChannelName(65));
    EXPECT_STREQ("cvn_assert_viewer", SysLog_GetChannelName(185));
    EXPECT_STREQ("cvn_eeprom", SysLog_GetChannelName(224));
    std::set<std::string> names;
    for (unsigned channel = 0; channel < 400; channel++)
    {
        std::string name = SysLog_GetChannelName(channel);
        bool ucode = channel < 56;
        bool host = channel >= 64 && channel <= 277;
        if (!ucode && !host)
        {
            EXPECT_EQ("", name) << channel;
            continue;
        }
        EXPECT_LE(name.size(), 22u) << channel;
        EXPECT_EQ(0u, name.rfind(ucode ? "cv_" : "cvn_", 0)) << channel;
        EXPECT_TRUE(names.insert(name).second) << "duplicate " << name;
    }
    EXPECT_EQ(270u, names.size());
}

TEST_F(CSysLogFileTest, FirstMessageWritesTheHeaderThenTheLine)
{
    auto file = Make(224);
    EXPECT_FALSE(SysLogTest::Exists(file->GetLogPath())) << "nothing on disk before the first message";
    Write(*file, Message(224, 0, "hello"));
    std::vector<std::string> lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(HEADER_LINES + 1, lines.size());
    for (unsigned i = 0; i < HEADER_LINES; i++)
    {
        EXPECT_EQ(239u, lines[i].size()) << i;
    }
    EXPECT_EQ(std::string(239, '-'), lines[0]);
    EXPECT_TRUE(std::regex_match(lines[1], std::regex("---- TEST HEADER ---- --- \\d\\d/\\d\\d/\\d\\d - "
                                                      "\\d\\d:\\d\\d:\\d\\d ---+")))
        << lines[1];
    EXPECT_EQ(0u, lines[2].rfind("---------------------------------------- Log file (.log) ---", 0));
    EXPECT_EQ(
        0u, lines[3].rfind("---------------------------------------- Source: Corvane - Channel: cvn_eeprom - "
                           "Criticity threshold: Critical ------",
                           0))
        << lines[3];
    EXPECT_EQ(std::string(239, '-'), lines[4]);
    EXPECT_TRUE(
        std::regex_match(lines[5], std::regex("\\d\\d/\\d\\d/\\d\\d\\|\\d\\d:\\d\\d:\\d\\d\\|00000000\\|C\\|"
                                              "     1\\| 1\\|hello")))
        << lines[5];

    std::vector<std::string> errors = ReadLines(file->GetErrorPath());
    ASSERT_EQ(HEADER_LINES, errors.size()) << "error code 0 touches only the log file";
    EXPECT_EQ(244u, errors[0].size());
    EXPECT_EQ(0u, errors[2].rfind("---------------------------------------- Error log file (.err) ---", 0));
}

TEST_F(CSysLogFileTest, LineFieldsAndErrorLines)
{
    struct
    {
        unsigned char criticity;
        unsigned short errorCode;
        unsigned timeStamp;
        short subId;
        unsigned char context;
        const char* logTail; // after the date and time
        const char* errorTail;
    } const rows[] = {
        {1, 0, 0, 1, 1, "|00000000|C|     1| 1|text", nullptr},
        {2, 0, 0xDEADBEEF, -32768, 0xAB, "|DEADBEEF|N|-32768|AB|text", nullptr},
        {3, 0x12, 0x1F, -5, 7, "|0000001F|D|    -5| 7|text", "|0000001F|D|    -5| 7|0012|text"},
        {7, 0xBEEF, 0, 0, 0x10, "|00000000||     0|10|text", "|00000000||     0|10|BEEF|text"},
    };
    unsigned sequence = 0;
    for (const auto& row : rows)
    {
        auto file = Make(70);
        Write(*file, Message(70, sequence++, "text", row.errorCode, row.criticity, row.timeStamp, row.subId,
                             row.context));
        std::string last = ReadLines(file->GetLogPath()).back();
        EXPECT_EQ(row.logTail, last.substr(17)) << last;
        std::vector<std::string> errors = ReadLines(file->GetErrorPath());
        ASSERT_EQ(HEADER_LINES + (row.errorTail != nullptr ? 1 : 0), errors.size());
        if (row.errorTail != nullptr)
        {
            EXPECT_EQ(row.errorTail, errors.back().substr(17));
        }
        file->DeleteFiles();
    }
}

TEST_F(CSysLogFileTest, SequenceGapWritesOneLostLine)
{
    auto file = Make(71);
    Write(*file, Message(71, 4, "four"));
    Write(*file, Message(71, 6, "six"));
    Write(*file, Message(71, 7, "seven"));
    std::vector<std::string> lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(HEADER_LINES + 4, lines.size());
    EXPECT_NE(std::string::npos, lines[5].find("|four"));
    EXPECT_EQ("---------- Log message lost ----------", lines[6]);
    EXPECT_NE(std::string::npos, lines[7].find("|six"));
    EXPECT_NE(std::string::npos, lines[8].find("|seven"));
    EXPECT_STREQ("seven", file->GetLastText());
}

TEST_F(CSysLogFileTest, EmptyMessageOpensButWritesNoLine)
{
    auto file = Make(72);
    CSysLogMessage empty;
    EXPECT_EQ(0, file->WriteMessage(&empty));
    EXPECT_TRUE(file->IsOpened());
    EXPECT_EQ(HEADER_LINES, ReadLines(file->GetLogPath()).size());
}

TEST_F(CSysLogFileTest, LogFileRotatesOnlyPastItsMaximalSize)
{
    const std::string text = "rotation";
    const unsigned line = 41 + static_cast<unsigned>(text.size());
    for (unsigned extra : {0u, 1u})
    {
        auto file = Make(73, LOG_HEADER_BYTES + line - extra);
        Write(*file, Message(73, 0, text.c_str()));
        if (extra == 0)
        {
            EXPECT_FALSE(SysLogTest::Exists(file->GetLogBackupPath())) << "exactly the maximal size stays";
            EXPECT_EQ(LOG_HEADER_BYTES + line, SysLogTest::FileSize(file->GetLogPath()));
            EXPECT_EQ(0u, file->GetNbBackups());
        }
        else
        {
            EXPECT_EQ(LOG_HEADER_BYTES + line, SysLogTest::FileSize(file->GetLogBackupPath()));
            std::vector<std::string> lines = ReadLines(file->GetLogPath());
            ASSERT_EQ(HEADER_LINES, lines.size());
            EXPECT_EQ(0u, lines[2].rfind(
                              "---------------------------------------- Log file sequel - see backup file "
                              "for more information -----",
                              0));
            EXPECT_EQ(LOG_HEADER_BYTES, file->GetLogSize());
            EXPECT_EQ(1u, file->GetNbBackups());
        }
    }
}

TEST_F(CSysLogFileTest, ErrorFileRotatesOnItsOwnAndNoticesReachTheGeneralChannel)
{
    auto file = Make(74, ERR_HEADER_BYTES + 46 + 4 - 1);
    Write(*file, Message(74, 0, "oops", 0x1));
    EXPECT_TRUE(SysLogTest::Exists(file->GetErrorBackupPath()));
    EXPECT_FALSE(SysLogTest::Exists(file->GetLogBackupPath()));
    EXPECT_EQ(0u, ReadLines(file->GetErrorPath())[2].rfind(
                      "---------------------------------------- Error log file sequel - see backup file", 0));

    CSysLogServer::GetInstance().FlushPendingMessages();
    std::string general = ReadFile(SysLogTest::LogDir() + "cvn_general.log");
    EXPECT_NE(std::string::npos, general.find("|C|     0| 0|--- Backuping error file " +
                                              std::string(file->GetErrorPath()) + " ---\r\n"));
    EXPECT_NE(std::string::npos, general.find("|C|     0| 0|--- Backup " +
                                              std::string(file->GetErrorBackupPath()) + " done    ---\r\n"));
    EXPECT_EQ(2,
              SysLogTest::CountOf(ReadFile(SysLogTest::LogDir() + "cvn_general.err"), file->GetErrorPath()));
    EXPECT_NE(std::string::npos,
              ReadFile(SysLogTest::LogDir() + "cvn_general.err")
                  .find("|0001|--- Backuping error file " + std::string(file->GetErrorPath())));
}

TEST_F(CSysLogFileTest, OversizedExistingFileIsBackedUpWhenOpened)
{
    for (bool errorFileOver : {false, true})
    {
        auto file = Make(75, 1000);
        const std::string over(1001, 'o'), kept(1000, 'k');
        SysLogTest::WriteFile(file->GetLogPath(), errorFileOver ? kept : over);
        SysLogTest::WriteFile(file->GetErrorPath(), errorFileOver ? over : kept);
        const std::string moved = errorFileOver ? file->GetErrorPath() : file->GetLogPath();
        const std::string backup = errorFileOver ? file->GetErrorBackupPath() : file->GetLogBackupPath();
        const std::string stays = errorFileOver ? file->GetLogPath() : file->GetErrorPath();
        EXPECT_TRUE(file->Open(true));
        EXPECT_EQ(over, ReadFile(backup));
        std::vector<std::string> lines = ReadLines(moved);
        ASSERT_EQ(HEADER_LINES, lines.size()) << "moved before the header is written";
        EXPECT_EQ(0u, lines[2].rfind(errorFileOver
                                         ? "---------------------------------------- Error log file (.err)"
                                         : "---------------------------------------- Log file (.log)",
                                     0));
        EXPECT_EQ(0u, ReadFile(stays).rfind(kept + "-----", 0))
            << "exactly the maximal size: header appended";
        EXPECT_FALSE(
            SysLogTest::Exists(errorFileOver ? file->GetLogBackupPath() : file->GetErrorBackupPath()));

        CSysLogServer::GetInstance().FlushPendingMessages();
        const std::string general = ReadFile(SysLogTest::LogDir() + "cvn_general.log");
        EXPECT_NE(std::string::npos,
                  general.find(errorFileOver ? "|--- Backuping error file " + moved + " (Open)---\r\n"
                                             : "|--- Backuping log file " + moved + " (Open) ---\r\n"));
        EXPECT_NE(std::string::npos, general.find("|--- Backup " + backup + " done    ---\r\n"));
        file->DeleteFiles();
    }
}

TEST_F(CSysLogFileTest, ChannelTwentyEightAlwaysGetsFiftyMebibytes)
{
    for (unsigned asked : {5242880u, 10485760u, 1000u})
    {
        CSysLogFile file(28, 1, S_pHeader_c, true, asked);
        EXPECT_EQ(52428800u, file.GetMaxSize());
    }
    CSysLogFile ucode(28, 3, S_pHeader_c, true);
    ucode.DeleteFiles();
    CSysLogMessage message = Message(28, 0, "from the board");
    ucode.WriteMessage(&message);
    EXPECT_NE(std::string::npos, ReadLines(ucode.GetLogPath())[3].find(
                                     "Source: uCode - Channel: " + std::string(ucode.GetChannelName()) +
                                     " - Criticity threshold: Debug ---"));
    CSysLogFile other(29, 1, S_pHeader_c, true, 10485760u);
    EXPECT_EQ(10485760u, other.GetMaxSize());
    CSysLogFile byDefault(29, 1, S_pHeader_c, true);
    EXPECT_EQ(5242880u, byDefault.GetMaxSize());
}

// Writes on a descriptor that failed to open are lost without a trace: they never count toward
// the file's size, so they never rotate anything.
TEST_F(CSysLogFileTest, UnopenableFilesCountAsOpenAndTheirLostWritesNeverRotate)
{
    auto file = Make(76, 100);
    // A directory where each file should be makes every open fail with -1, which is not 0.
    ASSERT_EQ(0, mkdir(file->GetLogPath(), 0777));
    ASSERT_EQ(0, mkdir(file->GetErrorPath(), 0777));
    Write(*file, Message(76, 0, "lost", 0x1));
    Write(*file, Message(76, 1, "lost too", 0x1));
    EXPECT_TRUE(file->IsOpened());
    EXPECT_TRUE(file->IsReadyForReceiving());
    for (const char* path : {file->GetLogBackupPath(), file->GetErrorBackupPath()})
    {
        EXPECT_FALSE(SysLogTest::Exists(path)) << path;
    }
    struct stat info = {};
    EXPECT_TRUE(stat(file->GetLogPath(), &info) == 0 && S_ISDIR(info.st_mode)) << "the folder was moved away";
    EXPECT_TRUE(stat(file->GetErrorPath(), &info) == 0 && S_ISDIR(info.st_mode))
        << "the folder was moved away";
    file->DeleteFiles();
    for (const char* path :
         {file->GetLogPath(), file->GetErrorPath(), file->GetLogBackupPath(), file->GetErrorBackupPath()})
    {
        rmdir(path); // only the folders this test made, wherever they ended
    }
}

TEST_F(CSysLogFileTest, DeleteFilesStartsAFreshFileOnTheNextMessage)
{
    auto file = Make(77);
    Write(*file, Message(77, 0, "first"));
    file->ExtractFiles();
    EXPECT_EQ(ReadFile(file->GetLogPath()), ReadFile(file->GetExtractLogPath()));
    file->DeleteFiles();
    for (const char* path : {file->GetLogPath(), file->GetErrorPath(), file->GetExtractLogPath()})
    {
        EXPECT_FALSE(SysLogTest::Exists(path)) << path;
    }
    EXPECT_FALSE(file->IsOpened());
    Write(*file, Message(77, 1, "second"));
    std::vector<std::string> lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(HEADER_LINES + 1, lines.size());
    EXPECT_NE(std::string::npos, lines.back().find("|second"));
}

TEST_F(CSysLogFileTest, NewHeaderIsWrittenAtOnceToOpenFiles)
{
    auto file = Make(78);
    char sameText[] = "---- TEST HEADER ----";
    file->SetLogFileHeader(sameText);
    EXPECT_FALSE(SysLogTest::Exists(file->GetLogPath())) << "closed files wait for their first message";
    Write(*file, Message(78, 0, "one"));
    char other[] = "---- OTHER HEADER ----";
    file->SetLogFileHeader(other);
    std::vector<std::string> lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(2 * HEADER_LINES + 1, lines.size());
    EXPECT_EQ(0u, lines[7].rfind("---- OTHER HEADER ---- --- ", 0));
    EXPECT_EQ(2 * HEADER_LINES, ReadLines(file->GetErrorPath()).size());
}
