#include "CRealTimeLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
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

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool Exists(const std::string& path)
{
    struct stat info = {};
    return stat(path.c_str(), &info) == 0;
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

// "<dd/mm/yyyy hh:mm:ss.mmm> ..." as "yyyymmddhhmmssmmm", which sorts in time order.
std::string SortableStamp(const std::string& line)
{
    int day = 0, month = 0, year = 0, hours = 0, minutes = 0, seconds = 0, milliseconds = 0;
    if (sscanf(line.c_str(), "<%2d/%2d/%4d %2d:%2d:%2d.%3d> ", &day, &month, &year, &hours, &minutes, &seconds,
               &milliseconds) != 7)
    {
        return std::string();
    }
    char key[32];
    snprintf(key, sizeof(key), "%04d%02d%02d%02d%02d%02d%03d", year, month, day, hours, minutes, seconds,
             milliseconds);
    return key;
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
    void TearDown() override { ASSERT_EQ(std::system(("rm -rf '" + mDir + "'").c_str()), 0); }

    std::string Path(const std::string& name) const { return mDir + "/" + name; }

    static void MakeFile(const std::string& path, off_t size)
    {
        int fd = open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(ftruncate(fd, size), 0);
        close(fd);
    }

    std::string mDir;
};

constexpr off_t SESSION_LINE = 26 + 43;

struct SSizeCase
{
    const char* label;
    off_t existing;  // -1: no file yet
    bool accepted;   // the session line was queued
    off_t afterSize; // -1: no file
    off_t afterBak;  // -1: no ".bak"
};

TEST_F(CRealTimeLogTest, FileSizeDecidesBetweenAppendingAndMovingAside)
{
    const SSizeCase cases[] = {
        {"missing", -1, true, SESSION_LINE, -1},
        {"empty", 0, true, SESSION_LINE, -1},
        {"line ends exactly at the limit", LIMIT - SESSION_LINE, true, LIMIT, -1},
        // Kept at Open; the line then takes it over the limit and the writer starts a fresh file.
        {"exactly at the limit", LIMIT, true, 0, LIMIT + SESSION_LINE},
        // Moved aside at Open: that run has no file and writes nothing.
        {"one byte over", LIMIT + 1, false, -1, LIMIT + 1},
    };
    for (const SSizeCase& c : cases)
    {
        SCOPED_TRACE(c.label);
        const std::string name = Path("switch.log");
        unlink(name.c_str());
        unlink((name + ".bak").c_str());
        if (c.existing >= 0)
        {
            MakeFile(name, c.existing);
        }
        {
            CRealTimeLog log;
            EXPECT_EQ(log.Open(name.c_str(), "a+t"), 0);
            EXPECT_EQ(log.Log(1, "%s", SESSION.c_str()), c.accepted ? 1 : 0);
        }
        EXPECT_EQ(SizeOf(name), c.afterSize);
        EXPECT_EQ(SizeOf(name + ".bak"), c.afterBak);
    }
}

TEST_F(CRealTimeLogTest, RunAfterTheMoveStartsANewFile)
{
    const std::string name = Path("switch.log");
    MakeFile(name, LIMIT + 1);
    {
        CRealTimeLog moving;
        moving.Open(name.c_str(), "a+t");
    }
    {
        CRealTimeLog next;
        ASSERT_EQ(next.Open(name.c_str(), "a+t"), 0);
        EXPECT_EQ(next.Log("first line\n"), 1);
    }
    EXPECT_EQ(ReadAll(name), "first line\n");
    EXPECT_EQ(SizeOf(name + ".bak"), LIMIT + 1);
}

TEST_F(CRealTimeLogTest, NothingIsWrittenWithoutAnOpenFile)
{
    CRealTimeLog log;
    EXPECT_EQ(log.Log(1, "before open\n"), 0);
    EXPECT_EQ(log.Open(Path("no/such/dir/switch.log").c_str(), "a+t"), 1);
    EXPECT_EQ(log.Log("after a failed open\n"), 0);
    EXPECT_FALSE(Exists(Path("no")));
}

TEST_F(CRealTimeLogTest, SecondOpenKeepsTheFirstFile)
{
    const std::string first = Path("first.log");
    const std::string second = Path("second.log");
    {
        CRealTimeLog log;
        ASSERT_EQ(log.Open(first.c_str(), "a+t"), 0);
        log.SetMaxFileSize(4);
        EXPECT_EQ(log.Open(second.c_str(), "a+t"), 0);
        log.Log("line\n");
        log.Log("next\n");
    }
    EXPECT_EQ(ReadAll(first), "line\nnext\n") << "over the limit, but without a name to move it to";
    EXPECT_FALSE(Exists(second));
}

TEST_F(CRealTimeLogTest, LineLoggedJustBeforeDestructionReachesTheFile)
{
    const std::string name = Path("switch.log");
    for (int run = 0; run < 20; run++)
    {
        CRealTimeLog log;
        ASSERT_EQ(log.Open(name.c_str(), "a+t"), 0);
        ASSERT_EQ(log.Log(1, "%s", SESSION.c_str()), 1);
    }
    EXPECT_EQ(Lines(ReadAll(name)).size(), 20u);
}

TEST_F(CRealTimeLogTest, LongLinesAreCutTo1023Characters)
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
}

TEST_F(CRealTimeLogTest, WithEverySlotPendingFurtherLinesAreDroppedWithoutBlocking)
{
    // The writer's "file" is a FIFO that is already full: it blocks on its first line, as on a
    // stalled disk, and keeps every slot it has not written.
    const std::string fifo = Path("stalled.fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    int reader = open(fifo.c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    size_t filler = 0;
    const char chunk[256] = {};
    for (size_t step = sizeof(chunk); step > 0; step /= 2)
    {
        ssize_t written;
        while ((written = write(reader, chunk, step)) > 0)
        {
            filler += static_cast<size_t>(written);
        }
    }
    {
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
        const size_t expected = filler + 1000 * 10;
        std::string received;
        char buffer[65536];
        while (received.size() < expected)
        {
            struct pollfd ready = {reader, POLLIN, 0};
            if (poll(&ready, 1, 5000) <= 0)
            {
                break;
            }
            ssize_t n = read(reader, buffer, sizeof(buffer));
            if (n > 0)
            {
                received.append(buffer, static_cast<size_t>(n));
            }
        }
        ASSERT_EQ(received.size(), expected);
        const std::vector<std::string> lines = Lines(received.substr(filler));
        ASSERT_EQ(lines.size(), 1000u);
        for (int i = 0; i < 1000; i++)
        {
            char want[16];
            snprintf(want, sizeof(want), "line %04d", i);
            ASSERT_EQ(lines[i], want);
        }
        // Slots come back once the writer has finished its burst.
        int room = 0;
        for (int wait = 0; wait < 5000 && room == 0; wait++)
        {
            room = log.Log("room again\n");
            usleep(room == 0 ? 1000 : 0);
        }
        EXPECT_EQ(room, 1);
        log.Close();
    }
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
    const std::vector<std::string> current = Lines(ReadAll(name));
    ASSERT_EQ(saved.size(), 5u);
    EXPECT_EQ(saved.front(), "line 05 of twenty chars");
    EXPECT_EQ(saved.back(), "line 09 of twenty chars");
    ASSERT_EQ(current.size(), 2u);
    EXPECT_EQ(current[0], "line 10 of twenty chars");
    EXPECT_EQ(current[1], "line 11 of twenty chars");
}

TEST_F(CRealTimeLogTest, LinesFromManyThreadsArriveWholeAndNoneIsLostOnceAccepted)
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
    std::string lastStamp;
    for (const std::string& line : lines)
    {
        // Read as a history: the time prefixes never go back, whichever caller wrote the line.
        const std::string stamp = SortableStamp(line);
        ASSERT_GE(stamp, lastStamp) << line;
        lastStamp = stamp;
        int t = -1;
        int i = -1;
        char end[4] = {};
        ASSERT_EQ(sscanf(line.c_str() + 26, "thread %d line %d %3s", &t, &i, end), 3) << line;
        ASSERT_STREQ(end, "end");
        ASSERT_TRUE(t >= 0 && t < 4);
        EXPECT_GT(i, lastSeen[t]) << "one caller's lines keep their order";
        lastSeen[t] = i;
    }
}

struct SPrefixCase
{
    time_t seconds;
    long nanoseconds;
    const char* expected;
};

TEST(CRealTimeLogPrefix, FormatsLocalDayMonthYearTimeAndMilliseconds)
{
    setenv("TZ", "UTC", 1);
    tzset();
    const SPrefixCase cases[] = {
        {0, 0, "<01/01/1970 00:00:00.000> "},
        {1709550896, 999999999, "<04/03/2024 11:14:56.999> "},
        {2147483647, 0, "<19/01/2038 03:14:07.000> "},
        {2147483648, 1000000, "<19/01/2038 03:14:08.001> "},
        {2240697599, 500000000, "<01/01/2041 23:59:59.500> "},
        {4102444800, 0, "<01/01/2100 00:00:00.000> "},
    };
    for (const SPrefixCase& c : cases)
    {
        char buffer[64];
        struct timespec when = {c.seconds, c.nanoseconds};
        int length = CRealTimeLog::FormatDateAndTime(when, buffer, sizeof(buffer));
        EXPECT_STREQ(buffer, c.expected);
        EXPECT_EQ(length, static_cast<int>(strlen(c.expected)));
    }
    char small[10];
    struct timespec when = {0, 0};
    EXPECT_EQ(CRealTimeLog::FormatDateAndTime(when, small, sizeof(small)), 9);
    EXPECT_STREQ(small, "<01/01/19");
}

TEST(CRealTimeLogPrefix, CurrentTimeHasTheSameShape)
{
    char buffer[64];
    int length = CRealTimeLog::MakeDateAndTimeStr(buffer, sizeof(buffer));
    ASSERT_EQ(length, 26);
    int fields[7] = {};
    EXPECT_EQ(sscanf(buffer, "<%2d/%2d/%4d %2d:%2d:%2d.%3d> ", &fields[0], &fields[1], &fields[2], &fields[3],
                     &fields[4], &fields[5], &fields[6]),
              7);
    EXPECT_GE(fields[2], 2024);
}
} // namespace
