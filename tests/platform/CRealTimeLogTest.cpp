#include "CRealTimeLog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
constexpr off_t LIMIT = 2097152;
const std::string SESSION = "-------------- New Session --------------\r\n";
constexpr off_t SESSION_LINE = 26 + 43; // time prefix and text

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

off_t SizeOf(const std::string& path)
{
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

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
    std::string mDir;
};

TEST_F(CRealTimeLogTest, FileSizeDecidesBetweenAppendingAndMovingAside)
{
    struct
    {
        const char* label;
        off_t existing;  // -1: no file yet
        bool accepted;   // the session line was queued
        off_t afterSize; // -1: no file
        off_t afterBak;  // -1: no ".bak"
    } const rows[] = {
        {"missing", -1, true, SESSION_LINE, -1},
        {"empty", 0, true, SESSION_LINE, -1},
        {"line ends exactly at the limit", LIMIT - SESSION_LINE, true, LIMIT, -1},
        // Kept at Open; the line then takes it over the limit and the writer starts a fresh file.
        {"exactly at the limit", LIMIT, true, 0, LIMIT + SESSION_LINE},
        // Moved aside at Open: that run has no file and writes nothing.
        {"one byte over", LIMIT + 1, false, -1, LIMIT + 1},
    };
    const std::string name = Path("switch.log");
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.label);
        unlink(name.c_str());
        unlink((name + ".bak").c_str());
        if (row.existing >= 0)
        {
            std::ofstream(name).close();
            ASSERT_EQ(truncate(name.c_str(), row.existing), 0);
        }
        {
            CRealTimeLog log;
            EXPECT_EQ(log.Open(name.c_str(), "a+t"), 0);
            EXPECT_EQ(log.Log(1, "%s", SESSION.c_str()), row.accepted ? 1 : 0);
        }
        EXPECT_EQ(SizeOf(name), row.afterSize);
        EXPECT_EQ(SizeOf(name + ".bak"), row.afterBak);
        {
            CRealTimeLog next;
            ASSERT_EQ(next.Open(name.c_str(), "a+t"), 0);
            EXPECT_EQ(next.Log("next run\n"), 1);
        }
        EXPECT_NE((ReadAll(name) + ReadAll(name + ".bak")).find("next run\n"), std::string::npos)
            << "the next run writes on";
    }
}

TEST_F(CRealTimeLogTest, OnlyTheFirstOpenFileIsWritten)
{
    const std::string first = Path("first.log");
    {
        CRealTimeLog log;
        EXPECT_EQ(log.Log(1, "before open\n"), 0);
        EXPECT_EQ(log.Open(Path("no/such/dir/switch.log").c_str(), "a+t"), 1);
        EXPECT_EQ(log.Log("after a failed open\n"), 0);
        ASSERT_EQ(log.Open(first.c_str(), "a+t"), 0);
        log.SetMaxFileSize(4);
        EXPECT_EQ(log.Open(Path("second.log").c_str(), "a+t"), 0);
        log.Log("line\n");
        log.Log("next\n");
    }
    EXPECT_EQ(ReadAll(first), "line\nnext\n") << "over the limit, but without a name to move it to";
    EXPECT_EQ(SizeOf(Path("second.log")), -1);
    EXPECT_FALSE(std::filesystem::exists(Path("no")));
}

TEST_F(CRealTimeLogTest, LinesAreCutTo1023CharactersAndTheLastOneIsNeverLost)
{
    const std::string name = Path("long.log");
    const std::string text(3000, 'a');
    {
        CRealTimeLog log;
        ASSERT_EQ(log.Open(name.c_str(), "a+t"), 0);
        log.Log(0, "%s", text.c_str());
        log.Log("\n");
        log.Log(1, "%s", text.c_str());
    }
    const std::vector<std::string> lines = Lines(ReadAll(name));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string(1023, 'a'));
    EXPECT_EQ(lines[1].size(), 1023u);
    EXPECT_EQ(lines[1][0], '<');

    const std::string runs = Path("runs.log");
    for (int run = 0; run < 20; run++)
    {
        CRealTimeLog log;
        ASSERT_EQ(log.Open(runs.c_str(), "a+t"), 0);
        ASSERT_EQ(log.Log(1, "%s", SESSION.c_str()), 1);
    }
    EXPECT_EQ(Lines(ReadAll(runs)).size(), 20u) << "a line logged just before destruction is written";
}

TEST_F(CRealTimeLogTest, WithEverySlotPendingFurtherLinesAreDroppedWithoutBlocking)
{
    // The writer's "file" is a FIFO that is already full: it blocks on its first line, as on a
    // stalled disk, and keeps every slot it has not written.
    const std::string fifo = Path("stalled.fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    int reader = open(fifo.c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    const int capacity = fcntl(reader, F_GETPIPE_SZ);
    const std::string filler(static_cast<size_t>(capacity), 'f');
    ASSERT_EQ(write(reader, filler.data(), filler.size()), capacity);
    CRealTimeLog log;
    ASSERT_EQ(log.Open(fifo.c_str(), "a+t"), 0);
    int accepted = 0;
    for (int i = 0; i < 1000; i++)
    {
        accepted += log.Log("line %04d\n", i);
    }
    EXPECT_EQ(accepted, 1000);
    EXPECT_EQ(log.Log("line 1000\n"), 0);
    EXPECT_EQ(log.Log(1, "dropped too\n"), 0);

    // Drain the FIFO: the writer gets going and writes the 1000 accepted lines in order.
    std::string received;
    char buffer[65536];
    struct pollfd ready = {reader, POLLIN, 0};
    while (received.size() < filler.size() + 10000 && poll(&ready, 1, 10000) > 0)
    {
        ssize_t n = read(reader, buffer, sizeof(buffer));
        received.append(buffer, n > 0 ? static_cast<size_t>(n) : 0);
    }
    const std::vector<std::string> lines = Lines(received.substr(filler.size()));
    ASSERT_EQ(lines.size(), 1000u);
    for (int i = 0; i < 1000; i++)
    {
        char want[16];
        snprintf(want, sizeof(want), "line %04d", i);
        ASSERT_EQ(lines[i], want);
    }
    // Slots come back once the writer has finished its burst (a hang guard, not a timing rule).
    int room = 0;
    for (int wait = 0; wait < 10000 && room == 0; wait++)
    {
        room = log.Log("room again\n");
        usleep(room == 0 ? 1000 : 0);
    }
    EXPECT_EQ(room, 1);
    log.Close();
    close(reader);
}

TEST_F(CRealTimeLogTest, WriterMovesAnOversizeFileAsideAndGoesOnInAFreshOne)
{
    const std::string name = Path("rotating.log");
    {
        CRealTimeLog log;
        EXPECT_EQ(log.SetMaxFileSize(100), static_cast<uint32_t>(LIMIT));
        ASSERT_EQ(log.Open(name.c_str(), "a+t"), 0);
        for (int i = 0; i < 12; i++)
        {
            ASSERT_EQ(log.Log("line %02d of twenty chars\n", i), 1);
        }
    }
    // 24-byte lines: the fifth line takes a file past 100 bytes, so the writer moves it aside
    // twice; the ".bak" keeps the latest full file.
    const std::vector<std::string> saved = Lines(ReadAll(name + ".bak"));
    ASSERT_EQ(saved.size(), 5u);
    EXPECT_EQ(saved.front(), "line 05 of twenty chars");
    EXPECT_EQ(saved.back(), "line 09 of twenty chars");
    EXPECT_EQ(Lines(ReadAll(name)),
              (std::vector<std::string>{"line 10 of twenty chars", "line 11 of twenty chars"}));
}

TEST_F(CRealTimeLogTest, LinesFromManyThreadsArriveWholeInTheirCallersOrder)
{
    const std::string name = Path("threads.log");
    std::atomic<int> accepted{0};
    {
        CRealTimeLog log;
        ASSERT_EQ(log.Open(name.c_str(), "a+t"), 0);
        std::vector<std::thread> callers;
        for (int t = 0; t < 4; t++)
        {
            callers.emplace_back(
                [&log, &accepted, t]
                {
                    for (int i = 0; i < 2000; i++)
                    {
                        accepted += log.Log(1, "thread %d line %05d end\n", t, i);
                    }
                });
        }
        for (std::thread& caller : callers)
        {
            caller.join();
        }
    }
    const std::vector<std::string> lines = Lines(ReadAll(name));
    EXPECT_EQ(static_cast<int>(lines.size()), accepted.load());
    EXPECT_GE(accepted.load(), 1000);
    int lastSeen[4] = {-1, -1, -1, -1};
    for (const std::string& line : lines)
    {
        int t = -1;
        int i = -1;
        char end[4] = {};
        ASSERT_EQ(sscanf(line.c_str() + 26, "thread %d line %d %3s", &t, &i, end), 3) << line;
        ASSERT_TRUE(t >= 0 && t < 4 && std::string(end) == "end") << line;
        EXPECT_GT(i, lastSeen[t]) << "one caller's lines keep their order";
        lastSeen[t] = i;
    }
}

TEST(CRealTimeLogPrefix, FormatsLocalDayMonthYearTimeAndMilliseconds)
{
    setenv("TZ", "UTC", 1);
    tzset();
    struct
    {
        time_t seconds;
        long nanoseconds;
        const char* expected;
    } const rows[] = {
        {0, 0, "<01/01/1970 00:00:00.000> "},
        {1709550896, 999999999, "<04/03/2024 11:14:56.999> "},
        {2147483648, 1000000, "<19/01/2038 03:14:08.001> "},
        {4102444800, 0, "<01/01/2100 00:00:00.000> "},
    };
    for (const auto& row : rows)
    {
        char buffer[64];
        struct timespec when = {row.seconds, row.nanoseconds};
        EXPECT_EQ(CRealTimeLog::FormatDateAndTime(when, buffer, sizeof(buffer)), 26);
        EXPECT_STREQ(buffer, row.expected);
    }
    char small[10];
    struct timespec when = {0, 0};
    EXPECT_EQ(CRealTimeLog::FormatDateAndTime(when, small, sizeof(small)), 9);
    EXPECT_STREQ(small, "<01/01/19");
}
} // namespace
