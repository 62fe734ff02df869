// The server is a process-wide singleton: ctest runs each case in its own process and /mnt sandbox,
// so configuration files written before the first GetInstance are read at construction.
#include "CSysLogServer.h"
#include "CSysLogDestination.h"
#include "CSysLogMessage.h"
#include "SysLogTestFiles.h"
#include <atomic>
#include <cstdlib>
#include <deque>
#include <gtest/gtest.h>
#include <mutex>
#include <tuple>

namespace
{
const std::string EEPROM_LOG = "/mnt/APPS/data/log/cvn_eeprom.log";

// A source the test fills and a destination that records what it is given, described. As a
// source it has a fixed load, or is served only while loaded and not empty.
class CQueue : public CSysLogSource, public CSysLogDestination
{
public:
    void Push(unsigned channel, unsigned sequence, std::string text = "queued")
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mQueue.emplace_back();
        mQueue.back().MakeMessage(channel, 1, 0, 0, 0, 0, sequence, &text[0]);
    }
    void ReadMessage(CSysLogMessage* message) override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        message->Init();
        if (!mQueue.empty())
        {
            *message = mQueue.front();
            mQueue.pop_front();
        }
    }
    unsigned int GiveLoad() override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mFixedLoad != 0 ? mFixedLoad : mLoaded && !mQueue.empty() ? 50 : 0;
    }
    int WriteMessage(CSysLogMessage* m) override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mLines.push_back(Describe(*m));
        return m->mTextLength_U8;
    }
    bool IsReadyForReceiving() const override { return mReady.load(); }
    void Flush() override {}
    std::vector<std::string> Lines()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mLines;
    }
    unsigned mFixedLoad = 0;
    std::atomic<bool> mReady{true}, mLoaded{false};

private:
    std::mutex mMutex;
    std::deque<CSysLogMessage> mQueue;
    std::vector<std::string> mLines;
};

// A destination linked to `channel` of `source` (every channel for 350); lives as long as the process.
CQueue& Linked(int source, unsigned channel)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    CQueue& destination = *new CQueue;
    EXPECT_TRUE(server.AddDestination(&destination) &&
                (channel < SYSLOG_NB_CHANNEL ? server.Link(source, channel, &destination)
                                             : server.Link(source, &destination)));
    return destination;
}
} // namespace

TEST(CSysLogServer, WithoutConfigurationHostChannelsLogCriticalOnlyIntoFiveMebibyteFilesWithTheHeader)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    for (unsigned channel : {0u, 5u, 63u, 64u, 65u, 185u, 224u, 277u, 278u, 349u, 350u, 5000u})
    {
        bool host = channel >= 64 && channel <= 277;
        EXPECT_EQ(host ? SYSLOG_CRITICAL : 0, server.GetThreshold(channel)) << channel;
        EXPECT_EQ(host ? 5242880u : 0u, server.GetMaxFileSize(channel)) << channel;
    }
    std::string shown;
    for (std::pair<unsigned, int> asked : {std::make_pair(224u, 1), {224u, 2}, {224u, 0}, {350u, 1}})
        shown +=
            server.CanIDisplayLogMessage(asked.first, static_cast<unsigned char>(asked.second)) ? "y" : "n";
    server.DisableLogs();
    shown += server.CanIDisplayLogMessage(224, 1) ? "y" : "n";
    server.EnableLogs();
    for (unsigned char criticity = 0; criticity < 5; criticity++)
        shown += std::string("|") + CSysLogServer::GetCriticityName(criticity);
    EXPECT_EQ("ynnnn|  No Log|Critical|  Normal|   Debug|", shown);

    // The worker writes without any flush; the files of other channels stay closed.
    server.GetHostSource().LogMessage(224, 2, 0, 1, 1, "normal, dropped");
    server.GetHostSource().LogMessage(224, 1, 0, 1, 1, "critical, kept");
    EXPECT_TRUE(WaitFor([] { return Contains(ReadFile(EEPROM_LOG), "|C|     1| 1|critical, kept\r\n"); }));
    EXPECT_FALSE(Contains(ReadFile(EEPROM_LOG), "dropped"));
    EXPECT_TRUE(server.IsFileOpened(224) && !server.IsFileOpened(225));
    EXPECT_EQ(1u, server.OpenLogFile()) << "the log menu's count of open files";
    EXPECT_TRUE(Exists(LOG_DIR + "cvn_eeprom.err")) << "opened with the log file";

    // A new header reaches open files at once; at shutdown every open file gets a last line,
    // written by the worker's next pass.
    server.SetLogFileHeader(42, "01.02.03.00004", "1.10");
    std::string expected =
        "------------------------------------- ORX QUINTARVE --- Machine 42     --- Corvane version "
        "01.02.03.00004 --- HW Edition 1.10";
    EXPECT_STREQ(expected.c_str(), server.GetLogFileHeader());
    EXPECT_TRUE(Contains(ReadFile(EEPROM_LOG), expected + " --- "));
    server.SetLogFileHeader(42, "01.02.03.00004", "1.10");
    EXPECT_EQ(1, CountOf(ReadFile(EEPROM_LOG), expected)) << "an unchanged header is not rewritten";
    server.Shutdown();
    EXPECT_TRUE(
        WaitFor([] { return Contains(ReadFile(EEPROM_LOG), "|C|     0| 0|Exiting System Logging\r\n"); }));
    EXPECT_EQ(1u, server.OpenLogFile()) << "files that never logged stay closed";
}

// Threshold records apply only to host channels and known levels; file sizes only within limits.
TEST(CSysLogServer, ConfigurationFilesAreReadAtConstructionAndThresholdsSavedBack)
{
    WriteFile(CSysLogServer::THRESHOLD_FILE,
              "224-3\r\n101*0\r\n063-3\r\n278-3\r\n102-9\r\nabc-3\r\n277-2\r\n064-");
    // Channel, the size as written in the file, the size the server takes.
    const std::tuple<int, const char*, unsigned> sizes[] = {
        {100, "1048576", 5242880},       {224, "10485760", 10485760}, {102, "1073741824", 5242880},
        {103, "1073741823", 1073741823}, {60, "10485760", 0},         {10, "6000000", 6000000},
        {104, "\"big\"", 5242880}};
    std::string json = "not json at all\n[1, 2]\n";
    for (const auto& size : sizes)
        json += "{\"Channel\": " + std::to_string(std::get<0>(size)) +
                ", \"FileSize\": " + std::get<1>(size) + "}\n";
    WriteFile(CSysLogServer::FILE_SIZE_FILE, json);
    CSysLogServer& server = CSysLogServer::GetInstance();
    const std::pair<unsigned, int> thresholds[] = {{224, 3}, {101, 0}, {63, 0}, {278, 0},
                                                   {102, 1}, {277, 2}, {64, 1}};
    for (const auto& e : thresholds)
        EXPECT_EQ(e.second, server.GetThreshold(e.first)) << e.first;
    EXPECT_EQ(101u, server.GetSelectedChannel());
    for (const auto& size : sizes)
        EXPECT_EQ(std::get<2>(size), server.GetMaxFileSize(std::get<0>(size))) << std::get<0>(size);
    server.GetHostSource().LogMessage(224, 3, 0, 1, 1, "debug is on");
    server.FlushPendingMessages();
    EXPECT_TRUE(Contains(ReadFile(EEPROM_LOG), "|D|     1| 1|debug is on"));

    // Saved: micro-code channels, then host channels, the selected one marked.
    server.SetThreshold(3, 2);
    server.SaveThresholdConfig();
    std::string saved = ReadFile(CSysLogServer::THRESHOLD_FILE);
    ASSERT_EQ(270u * 7u, saved.size());
    for (std::pair<unsigned, const char*> record :
         {std::make_pair(3u, "003-2\r\n"), {56u, "064-1\r\n"}, {56u + 37u, "101*0\r\n"}, {269u, "277-2\r\n"}})
        EXPECT_EQ(record.second, saved.substr(record.first * 7, 7));
    server.SetThreshold(277, 1);
    server.SetThresholdFrom("/mnt/APPS/data/orx/missing.cfg");
    EXPECT_EQ(1, server.GetThreshold(277));
    server.SetThresholdFrom(CSysLogServer::THRESHOLD_FILE);
    EXPECT_EQ(2, server.GetThreshold(277));
}

TEST(CSysLogServer, PassWritesAtMostTwentyMessagesAndABusyDestinationLosesNothing)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    CQueue& destination = Linked(0, 300);
    destination.mReady = false;
    server.SetThreshold(300, SYSLOG_DEBUG);
    for (int i = 0; i < 50; i++)
        server.GetHostSource().LogMessage(300, 3, 0, 0, 0, "burst %d", i);
    // While the destination is busy its message waits in the slot and the rest stay in the ring.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(0u, destination.Lines().size());
    destination.mReady = true;
    ASSERT_TRUE(WaitFor([&] { return destination.Lines().size() == 50; }));
    std::vector<std::string> expected;
    for (int i = 0; i < 50; i++)
        expected.push_back("300 3 0 0 0 " + std::to_string(i) + ": burst " + std::to_string(i));
    EXPECT_EQ(expected, destination.Lines());
    SSysLogStatistics statistics = server.GetMaxStatisticArray();
    EXPECT_EQ(20u, statistics.mMaxWrittenInPass_U32);
    EXPECT_GE(statistics.mMaxFullPasses_U32, 1u);
}

// The flush's last sweep reads one more message per open file and one for the entry at counter
// 228 whatever its state; what a destination is not ready for is dropped; the worker reports a
// message on a channel of 350 or more on channel 5 instead, and serves the fuller source first.
TEST(CSysLogServer, SourceSlotsLinksFlushesAndTheChoiceOfTheSourceToServe)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    EXPECT_EQ(0, server.GetSourceId(&server.GetHostSource()));
    CQueue source, second;
    ASSERT_TRUE(server.AddSource(&source));
    EXPECT_FALSE(server.AddSource(&second)) << "two slots only";
    EXPECT_EQ(1, server.GetSourceId(&source));
    EXPECT_EQ(-1, server.GetSourceId(&second));
    CQueue& destination = Linked(1, SYSLOG_NB_CHANNEL);
    CQueue& general = Linked(0, 5);
    EXPECT_EQ(214, server.GetDestId(&destination)) << "after the 214 host channel files";
    EXPECT_FALSE(server.Link(0, 300, &second) || server.Link(2, 300, &destination) ||
                 server.Link(0, 350, &destination) || server.Link(-1, &destination));
    for (unsigned sequence = 0; sequence < 10; sequence++)
        source.Push(300, sequence);
    // Each row: host channels whose files are open before the flush, then the messages written.
    const std::pair<std::vector<unsigned>, size_t> steps[] = {
        {{}, 1},              // no file open: the entry at counter 228 (channel 227) alone reads one
        {{224}, 3},           // one open file, plus the entry at counter 228
        {{224, 225}, 6},      // two open files, plus the entry at counter 228
        {{224, 225, 227}, 9}, // channel 227 open as well: its entry still reads only once
    };
    for (const auto& step : steps)
    {
        for (unsigned channel : step.first)
        {
            server.GetHostSource().LogMessage(channel, 1, 0, 0, 0, "opens the file");
            ASSERT_TRUE(WaitFor([&] { return server.IsFileOpened(channel); })) << channel;
        }
        server.Flush(1, 0);
        EXPECT_EQ(step.second, destination.Lines().size()) << step.first.size() << " open";
    }
    server.SetThreshold(5, SYSLOG_CRITICAL);
    for (unsigned sequence = 10; sequence < 13; sequence++)
        source.Push(300, sequence);
    destination.mReady = false;
    server.Flush(1, 10);
    // Ready again, the worker serves the slot: only the new message arrives, nothing was held back.
    destination.mReady = true;
    source.Push(300, 13);
    source.Push(350, 14);
    source.Push(4000, 15, "");
    source.mLoaded = true;
    ASSERT_TRUE(WaitFor([&] { return general.Lines().size() == 2; }));
    server.FlushPendingMessages();
    EXPECT_EQ(10u, destination.Lines().size());
    EXPECT_EQ("300 1 0 0 0 13: queued", destination.Lines().back());
    EXPECT_EQ((std::vector<std::string>{"5 1 0 0 0 0: SYSLOG DEBUG - Channel == 350",
                                        "5 1 0 0 0 1: SYSLOG DEBUG - Channel == 4000"}),
              general.Lines());
    server.RemoveSource(&source);
    EXPECT_EQ(-1, server.GetSourceId(&source));

    // The fuller source is served first, the other after its wait count.
    source.mFixedLoad = 30;
    second.mFixedLoad = 60;
    SSysLogSourceSlot slots[2] = {};
    slots[0].mpSource = &source;
    slots[1].mpSource = &second;
    uint32_t loads[2] = {};
    std::string order;
    for (int i = 0; i < 20; i++)
        order += std::to_string(CSysLogServer::SelectSourceToProcess(slots, loads));
    // Slot 0 waits until its count passes (100 - 30) / 10 + 1 = 8; slot 1 passes 5 only when it loses.
    EXPECT_EQ("11111111101111111110", order);
    EXPECT_EQ(30u, loads[0]);
    EXPECT_EQ(60u, loads[1]);
}

// A fresh process: the server is built, fed faster than its worker writes, then left by exit.
TEST(CSysLogServer, MessagesStillInTheRingAreWrittenAtProcessExit)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            // Registered before the server exists, so it runs after the server's destructor.
            std::atexit([] { _exit(CountOf(ReadFile(EEPROM_LOG), "|message ") == 1000 ? 0 : 3); });
            for (int i = 0; i < 1000; i++)
                CSysLogServer::GetInstance().GetHostSource().LogMessage(224, 1, 0, 1, 1, "message %d", i);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(CSysLogServer, LogMenuKeyHelpHasBuiltInLinesThenReplacedAndAddedKeys)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    // Key, text set (none: only looked up), text found, number of lines after it.
    const std::tuple<const char*, const char*, const char*, unsigned> steps[] = {
        {"A/a", nullptr, "Enable/disable logs", 10},      {"F6", nullptr, nullptr, 10},
        {"F4", "Keep thresholds", "Keep thresholds", 10}, {"F6", "Extract files", "Extract files", 11},
        {"Ctrl-Alt-Shift-Del", "Restart", "Restart", 12}, // longer than its field: kept shortened
        {"Ctrl-Alt-Shift-Del", "Reboot", "Reboot", 12}};
    for (const auto& step : steps)
    {
        if (std::get<1>(step) != nullptr)
            server.SetInfoKeys(std::get<0>(step), std::get<1>(step));
        EXPECT_STREQ(std::get<2>(step), server.GetInfoKeyText(std::get<0>(step))) << std::get<0>(step);
        EXPECT_EQ(std::get<3>(step), server.GetNbInfoKeys()) << std::get<0>(step);
    }
    server.InitInfoKeys();
    EXPECT_EQ(10u, server.GetNbInfoKeys());
    EXPECT_STREQ("Save threshold configuration", server.GetInfoKeyText("F4"));
}
