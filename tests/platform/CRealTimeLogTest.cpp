#include "CRealTimeLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace
{
class CRealTimeLogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/rtlog-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        mDir = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(mDir); }
    std::string Path(const std::string& name) const { return mDir + "/" + name; }
    std::string Read(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(Path(name), std::ios::binary).rdbuf();
        return text.str();
    }
    std::string mDir;
};

// A second Open clears the name the writer would move an oversize file to: nothing moves.
TEST_F(CRealTimeLogTest, OnlyTheFirstOpenFileIsWrittenWithoutANameToMoveToAndLinesAreCut)
{
    const std::string text(3000, 'a');
    {
        CRealTimeLog log;
        EXPECT_EQ(log.Log(1, "before open\n"), 0);
        EXPECT_EQ(log.Open(Path("no/such/dir/switch.log").c_str(), "a+t"), 1);
        EXPECT_EQ(log.Log("after a failed open\n"), 0);
        ASSERT_EQ(log.Open(Path("first.log").c_str(), "a+t"), 0);
        log.SetMaxFileSize(4);
        EXPECT_EQ(log.Open(Path("second.log").c_str(), "a+t"), 0);
        log.Log("line\n");
        log.Log(0, "%s", text.c_str());
        log.Log("\n");
        log.Log(1, "%s", text.c_str());
    }
    const std::string log = Read("first.log");
    EXPECT_EQ(log.substr(0, 1029), "line\n" + std::string(1023, 'a') + "\n")
        << "lines cut to 1023 characters";
    EXPECT_EQ(log.substr(1029, 1) + std::to_string(log.size()), "<2052") << "the stamped line, cut too";
    EXPECT_FALSE(std::filesystem::exists(Path("second.log")) || std::filesystem::exists(Path("no")));
}

TEST_F(CRealTimeLogTest, WithEverySlotPendingFurtherLinesAreDroppedWithoutBlocking)
{
    // The writer's "file" is a full FIFO: it blocks on its first line, as on a stalled disk.
    const std::string fifo = Path("stalled.fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = open(fifo.c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    const std::string filler(static_cast<size_t>(fcntl(reader, F_GETPIPE_SZ)), 'f');
    ASSERT_EQ(write(reader, filler.data(), filler.size()), static_cast<ssize_t>(filler.size()));
    CRealTimeLog log;
    ASSERT_EQ(log.Open(fifo.c_str(), "a+t"), 0);
    std::string expected;
    for (int i = 0; i < 1000; i++)
    {
        ASSERT_EQ(log.Log("line %04d\n", i), 1);
        expected += "line " + std::to_string(10000 + i).substr(1) + "\n";
    }
    EXPECT_EQ(log.Log("line 1000\n"), 0);
    EXPECT_EQ(log.Log(1, "dropped too\n"), 0);
    // Drained, the FIFO gets the 1000 accepted lines in order.
    std::string received;
    char buffer[65536];
    struct pollfd ready = {reader, POLLIN, 0};
    while (received.size() < filler.size() + expected.size() && poll(&ready, 1, 10000) > 0)
        received.append(buffer,
                        static_cast<size_t>(std::max<ssize_t>(read(reader, buffer, sizeof buffer), 0)));
    EXPECT_EQ(received.substr(filler.size()), expected);
    // Slots come back once the writer has finished its burst (a hang guard, not a timing rule).
    int room = 0;
    for (int wait = 0; wait < 10000 && room == 0; wait++, usleep(room == 0 ? 1000 : 0))
        room = log.Log("room again\n");
    EXPECT_EQ(room, 1);
    log.Close();
    close(reader);
}

TEST_F(CRealTimeLogTest, WriterMovesAnOversizeFileAsideAndGoesOnInAFreshOne)
{
    {
        CRealTimeLog log;
        EXPECT_EQ(log.SetMaxFileSize(100), 2097152u);
        ASSERT_EQ(log.Open(Path("rotating.log").c_str(), "a+t"), 0);
        for (int i = 0; i < 12; i++)
            ASSERT_EQ(log.Log("line %02d of 25 bytes each\n", i), 1);
    }
    // 25-byte lines: four fill a file to the limit and it is kept; the fifth takes it past, so it
    // is moved aside twice; the ".bak" keeps the latest full file.
    EXPECT_EQ(Read("rotating.log.bak"),
              "line 05 of 25 bytes each\nline 06 of 25 bytes each\nline 07 of 25 bytes each\n"
              "line 08 of 25 bytes each\nline 09 of 25 bytes each\n");
    EXPECT_EQ(Read("rotating.log"), "line 10 of 25 bytes each\nline 11 of 25 bytes each\n");
}

TEST(CRealTimeLogPrefix, FormatsLocalDayMonthYearTimeAndMilliseconds)
{
    setenv("TZ", "UTC", 1);
    tzset();
    const std::tuple<timespec, unsigned, int, const char*> rows[] = {
        {{0, 0}, 64, 26, "<01/01/1970 00:00:00.000> "},
        {{1709550896, 999999999}, 64, 26, "<04/03/2024 11:14:56.999> "},
        {{2147483648, 1000000}, 64, 26, "<19/01/2038 03:14:08.001> "},
        {{0, 0}, 10, 9, "<01/01/19"}};
    for (const auto& [when, size, result, expected] : rows)
    {
        char buffer[64];
        EXPECT_EQ(CRealTimeLog::FormatDateAndTime(when, buffer, size), result);
        EXPECT_STREQ(buffer, expected);
    }
}
} // namespace
