#include "CSysLogFile.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include "SysLogChannelNames.h"
#include "SysLogTestFiles.h"
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <tuple>

namespace
{
char S_pHeader_c[] = "---- TEST HEADER ----";
constexpr unsigned HEADER_LINES = 5;
const std::string DASHES(40, '-');

int Write(CSysLogFile& file, unsigned channel, unsigned sequence, const char* text, int errorCode = 0,
          int criticity = 1, unsigned timeStamp = 0, int subId = 1, int context = 1)
{
    CSysLogMessage message;
    std::string copy = text;
    message.MakeMessage(channel, static_cast<unsigned char>(criticity), timeStamp,
                        static_cast<short>(errorCode), static_cast<short>(subId),
                        static_cast<unsigned char>(context), sequence, &copy[0]);
    return file.WriteMessage(&message);
}

// The general channel's log once the server wrote what the files reported.
std::string GeneralLog(const char* extension = ".log")
{
    CSysLogServer::GetInstance().FlushPendingMessages();
    return ReadFile(LOG_DIR + "cvn_general" + extension);
}

// A fresh file object for `channel` with nothing of a previous test left on disk.
std::unique_ptr<CSysLogFile> Make(unsigned channel, unsigned maxSize = SYSLOG_DEFAULT_FILE_SIZE)
{
    auto file = std::make_unique<CSysLogFile>(channel, SYSLOG_CRITICAL, S_pHeader_c, true, maxSize);
    file->DeleteFiles();
    return file;
}
} // namespace

TEST(CSysLogFile, FilesAreNamedAfterTheChannelAndGetTheHeaderWithTheFirstMessageAndAfterAChange)
{
    auto file = Make(224);
    const std::pair<const char*, const char*> names[] = {
        {file->GetLogPath(), "cvn_eeprom.log"},          {file->GetLogBackupPath(), "cvn_eeprom.bak"},
        {file->GetErrorPath(), "cvn_eeprom.err"},        {file->GetErrorBackupPath(), "cvn_eeprom.err.bak"},
        {file->GetRawPath(), "cvn_eepromraw.log"},       {file->GetExtractLogPath(), "_cvn_eeprom.log"},
        {file->GetExtractErrorPath(), "_cvn_eeprom.err"}};
    for (const auto& name : names)
        EXPECT_EQ(LOG_DIR + name.second, name.first);
    char sameText[] = "---- TEST HEADER ----", other[] = "---- OTHER HEADER ----";
    file->SetLogFileHeader(sameText);
    EXPECT_FALSE(Exists(file->GetLogPath())) << "nothing on disk before the first message";
    const mode_t mask = umask(0);
    Write(*file, 224, 0, "hello");
    umask(mask);
    struct stat log = {};
    stat(file->GetLogPath(), &log);
    EXPECT_EQ(log.st_mode & 0777, 0666u) << "readable and writable by all users";
    std::vector<std::string> lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(HEADER_LINES + 1, lines.size());
    const std::regex header[] = {
        std::regex("-{239}"),
        std::regex("---- TEST HEADER ---- --- \\d\\d/\\d\\d/\\d\\d - \\d\\d:\\d\\d:\\d\\d ---+"),
        std::regex(DASHES + " Log file \\(\\.log\\) -+"),
        std::regex(DASHES + " Source: Corvane - Channel: cvn_eeprom - Criticity threshold: Critical -+"),
        std::regex("-{239}"),
        std::regex("\\d\\d/\\d\\d/\\d\\d\\|\\d\\d:\\d\\d:\\d\\d\\|00000000\\|C\\|     1\\| 1\\|hello")};
    for (unsigned i = 0; i <= HEADER_LINES; i++)
        EXPECT_TRUE(std::regex_match(lines[i], header[i])) << lines[i];
    std::vector<std::string> errors = ReadLines(file->GetErrorPath());
    ASSERT_EQ(HEADER_LINES, errors.size()) << "error code 0 touches only the log file";
    EXPECT_EQ(244u, errors[0].size());
    EXPECT_EQ(0u, errors[2].rfind(DASHES + " Error log file (.err) ---", 0));

    file->SetLogFileHeader(other);
    lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(2 * HEADER_LINES + 1, lines.size());
    EXPECT_EQ(0u, lines[7].rfind("---- OTHER HEADER ---- --- ", 0));
    EXPECT_EQ(2 * HEADER_LINES, ReadLines(file->GetErrorPath()).size());
    file->ExtractFiles();
    EXPECT_EQ(ReadFile(file->GetLogPath()), ReadFile(file->GetExtractLogPath()));
    file->DeleteFiles();
    for (const char* path : {file->GetLogPath(), file->GetErrorPath(), file->GetExtractLogPath()})
        EXPECT_FALSE(Exists(path)) << path;
    Write(*file, 224, 1, "second");
    lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(HEADER_LINES + 1, lines.size()) << "a fresh file";
    EXPECT_TRUE(Contains(lines.back(), "|second"));
}

// Sequence gaps write one lost line; an empty message writes nothing.
TEST(CSysLogFile, LineFieldsErrorLinesAndLostLines)
{
    // Criticity, error code, time stamp, sub-id, context, sequence, then the lines' tails after date and
    // time.
    const std::tuple<int, int, unsigned, int, int, unsigned, const char*, const char*> rows[] = {
        {1, 0, 0, 1, 1, 4, "|00000000|C|     1| 1|text", nullptr},
        {2, 0, 0xDEADBEEF, -32768, 0xAB, 6, "|DEADBEEF|N|-32768|AB|text", nullptr}, // 5 is lost
        {3, 0x12, 0x1F, -5, 7, 7, "|0000001F|D|    -5| 7|text", "|0000001F|D|    -5| 7|0012|text"},
        {7, 0xBEEF, 0, 0, 0x10, 8, "|00000000||     0|10|text", "|00000000||     0|10|BEEF|text"}};
    auto file = Make(70);
    unsigned errorLines = HEADER_LINES;
    for (const auto& [criticity, errorCode, timeStamp, subId, context, sequence, logTail, errorTail] : rows)
    {
        Write(*file, 70, sequence, "text", errorCode, criticity, timeStamp, subId, context);
        EXPECT_EQ(logTail, ReadLines(file->GetLogPath()).back().substr(17));
        std::vector<std::string> errors = ReadLines(file->GetErrorPath());
        ASSERT_EQ(errorLines += errorTail != nullptr, errors.size());
        if (errorTail != nullptr)
        {
            EXPECT_EQ(errorTail, errors.back().substr(17));
        }
    }
    CSysLogMessage empty;
    EXPECT_EQ(0, file->WriteMessage(&empty));
    std::vector<std::string> lines = ReadLines(file->GetLogPath());
    ASSERT_EQ(HEADER_LINES + 5, lines.size()) << "four lines and one lost line";
    EXPECT_EQ("---------- Log message lost ----------", lines[HEADER_LINES + 1]);
    EXPECT_STREQ("text", file->GetLastText());
}

// One message with error code 1: a 45-byte log line and a 50-byte error line after headers of
// 1205 and 1230 bytes. Rows: the maximal size, whether the log and the error file rotate.
TEST(CSysLogFile, FilesRotateOnlyPastTheirMaximalSizeAndReportItOnTheGeneralChannel)
{
    const std::tuple<unsigned, bool, bool> rows[] = {
        {1280, false, false}, {1279, false, true}, {1250, false, true}, {1249, true, true}};
    for (const auto& [maxSize, logRotates, errorRotates] : rows)
    {
        auto file = Make(73, maxSize);
        Write(*file, 73, 0, "text", 0x1);
        const std::vector<std::string> log = ReadLines(file->GetLogPath()),
                                       errors = ReadLines(file->GetErrorPath());
        EXPECT_EQ(logRotates, Exists(file->GetLogBackupPath())) << maxSize;
        EXPECT_EQ(errorRotates, Exists(file->GetErrorBackupPath())) << maxSize;
        EXPECT_EQ(logRotates,
                  log[2].rfind(DASHES + " Log file sequel - see backup file for more information -", 0) == 0);
        EXPECT_EQ(errorRotates, errors[2].rfind(DASHES + " Error log file sequel - see backup file", 0) == 0);
        EXPECT_EQ(HEADER_LINES + !logRotates, log.size()) << maxSize;
    }
    const std::string general = GeneralLog(), path = LOG_DIR + SysLog_GetChannelName(73);
    EXPECT_TRUE(Contains(general, "|C|     0| 0|--- Backuping log file " + path + ".log ---\r\n"));
    EXPECT_TRUE(Contains(general, "|C|     0| 0|--- Backuping error file " + path + ".err ---\r\n"));
    EXPECT_TRUE(Contains(general, "|C|     0| 0|--- Backup " + path + ".err.bak done    ---\r\n"));
    EXPECT_EQ(8, CountOf(GeneralLog(".err"), "|0001|--- Backup"))
        << "four rotations, each notice with error code 1";
}

TEST(CSysLogFile, OversizedExistingFileIsBackedUpWhenOpened)
{
    const std::string over(1001, 'o'), kept(1000, 'k');
    for (int errorFileOver : {0, 1})
    {
        auto file = Make(75, 1000);
        const std::string paths[] = {file->GetLogPath(), file->GetErrorPath()};
        const std::string backups[] = {file->GetLogBackupPath(), file->GetErrorBackupPath()};
        WriteFile(paths[errorFileOver], over);
        WriteFile(paths[1 - errorFileOver], kept);
        EXPECT_TRUE(file->Open(true));
        EXPECT_EQ(over, ReadFile(backups[errorFileOver]));
        EXPECT_FALSE(Exists(backups[1 - errorFileOver]));
        EXPECT_EQ(HEADER_LINES, ReadLines(paths[errorFileOver]).size())
            << "moved before the header is written";
        EXPECT_EQ(0u, ReadFile(paths[1 - errorFileOver]).rfind(kept + "-----", 0))
            << "exactly the maximal size";
        EXPECT_TRUE(Contains(GeneralLog(), errorFileOver
                                               ? "|--- Backuping error file " + paths[1] + " (Open)---\r\n"
                                               : "|--- Backuping log file " + paths[0] + " (Open) ---\r\n"));
        EXPECT_TRUE(Contains(GeneralLog(), "|--- Backup " + backups[errorFileOver] + " done    ---\r\n"));
        file->DeleteFiles();
    }
}

TEST(CSysLogFile, ChannelTwentyEightAlwaysGetsFiftyMebibytes)
{
    const std::pair<unsigned, unsigned> asked[] = {{28, 5242880}, {28, 10485760}, {28, 1000}, {29, 10485760}};
    for (const auto& size : asked)
    {
        CSysLogFile file(size.first, 1, S_pHeader_c, true, size.second);
        EXPECT_EQ(size.first == 28 ? 52428800u : size.second, file.GetMaxSize());
    }
    CSysLogFile ucode(28, 3, S_pHeader_c, true);
    ucode.DeleteFiles();
    Write(ucode, 28, 0, "from the board");
    EXPECT_TRUE(Contains(ReadLines(ucode.GetLogPath())[3],
                         "Source: uCode - Channel: " + std::string(ucode.GetChannelName()) +
                             " - Criticity threshold: Debug ---"));
}

// Where nothing can be written, messages are lost without a trace: they never count toward the
// sizes, so nothing is rotated and the general channel gets no backup notices to fail on in turn.
TEST(CSysLogFile, UnopenableFilesCountAsOpenAndTheirLostWritesNeverRotate)
{
    auto file = Make(76, 100);
    // A directory where each file should be makes every open fail with -1, which is not 0.
    ASSERT_EQ(0, mkdir(file->GetLogPath(), 0777));
    ASSERT_EQ(0, mkdir(file->GetErrorPath(), 0777));
    for (unsigned sequence = 0; sequence < 3; sequence++)
        Write(*file, 76, sequence, "lost", 0x1);
    EXPECT_TRUE(file->IsOpened());
    EXPECT_FALSE(Exists(file->GetLogBackupPath()) || Exists(file->GetErrorBackupPath())) << "no folder moved";
    EXPECT_FALSE(Contains(GeneralLog(), file->GetLogPath()) || Contains(GeneralLog(), file->GetErrorPath()));
    file->DeleteFiles();
    for (const char* path :
         {file->GetLogPath(), file->GetErrorPath(), file->GetLogBackupPath(), file->GetErrorBackupPath()})
        rmdir(path); // only the folders this test made, wherever they ended
}
