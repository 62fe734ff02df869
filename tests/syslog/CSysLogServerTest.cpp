// The server is a process-wide singleton with a worker: ctest runs every case in its own process
// (and its own /mnt sandbox), so a case that writes the configuration files before the first
// GetInstance sees them read at construction.
#include "CSysLogServer.h"
#include "CSysLogDestination.h"
#include "CSysLogMessage.h"
#include "SysLogChannelNames.h"
#include "SysLogTestFiles.h"
#include <atomic>
#include <deque>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

using SysLogTest::ReadFile;
using SysLogTest::WaitFor;

namespace
{
const std::string EEPROM_LOG = "/mnt/APPS/data/log/cvn_eeprom.log";

class CRecordingDestination : public CSysLogDestination
{
public:
    int WriteMessage(CSysLogMessage* message) override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mSequences.push_back(+message->mSequence_U32);
        return message->mTextLength_U8;
    }
    bool IsReadyForReceiving() const override { return mReady.load(); }
    void Flush() override {}
    size_t Count()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mSequences.size();
    }
    std::vector<unsigned> Sequences()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mSequences;
    }
    std::atomic<bool> mReady{true};

private:
    std::mutex mMutex;
    std::vector<unsigned> mSequences;
};

class CLoadSource : public CSysLogSource
{
public:
    explicit CLoadSource(unsigned load) : mLoad(load) {}
    unsigned int GiveLoad() override { return mLoad; }
    unsigned mLoad;
};
// A second source that the worker never serves (no load): only Flush reads it.
class CQueueSource : public CSysLogSource
{
public:
    void Push(unsigned channel, unsigned sequence)
    {
        std::lock_guard<std::mutex> lock(mMutex);
        std::string text = "queued " + std::to_string(sequence);
        CSysLogMessage message;
        message.MakeMessage(channel, 1, 0, 0, 0, 0, sequence, &text[0]);
        mQueue.push_back(message);
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

private:
    std::mutex mMutex;
    std::deque<CSysLogMessage> mQueue;
};
} // namespace

TEST(CSysLogServer, WithoutConfigurationHostChannelsLogCriticalOnlyIntoFiveMebibyteFiles)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    for (unsigned channel : {64u, 65u, 185u, 224u, 277u})
    {
        EXPECT_EQ(SYSLOG_CRITICAL, server.GetThreshold(channel)) << channel;
        EXPECT_EQ(5242880u, server.GetMaxFileSize(channel)) << channel;
    }
    for (unsigned channel : {0u, 5u, 63u, 278u, 349u, 350u, 5000u})
    {
        EXPECT_EQ(0, server.GetThreshold(channel)) << channel;
    }
    EXPECT_TRUE(server.CanIDisplayLogMessage(224, 1));
    EXPECT_FALSE(server.CanIDisplayLogMessage(224, 2));
    EXPECT_FALSE(server.CanIDisplayLogMessage(224, 0));
    EXPECT_FALSE(server.CanIDisplayLogMessage(350, 1));
    server.DisableLogs();
    EXPECT_FALSE(server.CanIDisplayLogMessage(224, 1));
    server.EnableLogs();
    EXPECT_STREQ("  No Log", CSysLogServer::GetCriticityName(0));
    EXPECT_STREQ("   Debug", CSysLogServer::GetCriticityName(3));
    EXPECT_STREQ("", CSysLogServer::GetCriticityName(4));
}

TEST(CSysLogServer, CriticalMessageReachesTheChannelFileAndNormalOneDoesNot)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.GetHostSource().LogMessage(224, 2, 0, 1, 1, "normal, dropped");
    server.GetHostSource().LogMessage(224, 1, 0, 1, 1, "critical, kept");
    server.FlushPendingMessages();
    std::string log = ReadFile(EEPROM_LOG);
    EXPECT_NE(std::string::npos, log.find("|C|     1| 1|critical, kept\r\n"));
    EXPECT_EQ(std::string::npos, log.find("dropped"));
    EXPECT_TRUE(server.IsFileOpened(224));
    EXPECT_FALSE(server.IsFileOpened(225));
    EXPECT_TRUE(SysLogTest::Exists("/mnt/APPS/data/log/cvn_eeprom.err")) << "opened with the log file";
}

TEST(CSysLogServer, WorkerWritesWithoutAnyFlush)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.GetHostSource().LogMessage(224, 1, 0, 1, 1, "by the worker %d", 7);
    EXPECT_TRUE(
        WaitFor([] { return ReadFile(EEPROM_LOG).find("|by the worker 7\r\n") != std::string::npos; }));
}

TEST(CSysLogServer, ConfigurationFilesAreReadAtConstruction)
{
    SysLogTest::WriteFile(CSysLogServer::THRESHOLD_FILE, "224-3\r\n225*2\r\n030-3\r\n226-7\r\n");
    SysLogTest::WriteFile(CSysLogServer::FILE_SIZE_FILE, "{\"Channel\": 224, \"FileSize\": 10485760}\n"
                                                         "{\"Channel\": 225, \"FileSize\": 1048576}\n");
    CSysLogServer& server = CSysLogServer::GetInstance();
    EXPECT_EQ(SYSLOG_DEBUG, server.GetThreshold(224));
    EXPECT_EQ(SYSLOG_NORMAL, server.GetThreshold(225));
    EXPECT_EQ(225u, server.GetSelectedChannel());
    EXPECT_EQ(SYSLOG_CRITICAL, server.GetThreshold(226)) << "digit 7 changes nothing";
    EXPECT_EQ(0, server.GetThreshold(30)) << "micro-code records are not read back";
    EXPECT_EQ(10485760u, server.GetMaxFileSize(224));
    EXPECT_EQ(5242880u, server.GetMaxFileSize(225));
    server.GetHostSource().LogMessage(224, 3, 0, 1, 1, "debug is on");
    server.FlushPendingMessages();
    EXPECT_NE(std::string::npos, ReadFile(EEPROM_LOG).find("|D|     1| 1|debug is on"));
}

TEST(CSysLogServer, ThresholdRecordsApplyOnlyToHostChannelsAndKnownLevels)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    std::string path = "/mnt/APPS/data/orx/thresholds.test";
    SysLogTest::WriteFile(path, "100-3\r\n101*0\r\n063-3\r\n278-3\r\n102-9\r\nabc-3\r\n277-2\r\n064-");
    server.SetThresholdFrom(path.c_str());
    struct
    {
        unsigned channel;
        unsigned char threshold;
    } const expected[] = {{100, 3}, {101, 0}, {63, 0}, {278, 0}, {102, 1}, {277, 2}, {64, 1}};
    for (const auto& e : expected)
    {
        EXPECT_EQ(e.threshold, server.GetThreshold(e.channel)) << e.channel;
    }
    EXPECT_EQ(101u, server.GetSelectedChannel());
    server.SetThresholdFrom("/mnt/APPS/data/orx/missing.cfg");
    EXPECT_EQ(3, server.GetThreshold(100));
}

TEST(CSysLogServer, SavedThresholdsListMicroCodeThenHostChannelsAndReadBack)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.SetThreshold(3, 2);
    server.SetThreshold(224, 3);
    server.SetThreshold(277, 1);
    server.SaveThresholdConfig();
    std::string saved = ReadFile(CSysLogServer::THRESHOLD_FILE);
    ASSERT_EQ(270u * 7u, saved.size());
    EXPECT_EQ("003-2\r\n", saved.substr(3 * 7, 7));
    EXPECT_EQ("064-1\r\n", saved.substr(56 * 7, 7));
    EXPECT_EQ("224-3\r\n", saved.substr((56 + 160) * 7, 7));
    EXPECT_EQ("277-1\r\n", saved.substr(269 * 7, 7));
    server.SetThreshold(224, 1);
    server.SetThresholdFrom(CSysLogServer::THRESHOLD_FILE);
    EXPECT_EQ(3, server.GetThreshold(224));
}

TEST(CSysLogServer, FileSizeLinesOutsideTheLimitsAreIgnored)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    std::string path = "/mnt/APPS/data/orx/sizes.test";
    SysLogTest::WriteFile(path, "{\"Channel\": 100, \"FileSize\": 1048576}\n"
                                "{\"Channel\": 101, \"FileSize\": 10485760}\n"
                                "not json at all\n"
                                "{\"Channel\": 102, \"FileSize\": 1073741824}\n"
                                "{\"Channel\": 103, \"FileSize\": 1073741823}\n"
                                "{\"Channel\": 60, \"FileSize\": 10485760}\n"
                                "{\"Channel\": 10, \"FileSize\": 6000000}\n"
                                "[1, 2]\n"
                                "{\"Channel\": 104, \"FileSize\": \"big\"}\n"
                                "{\"Channel\": 105, \"FileSize\": 5242880}\n");
    server.SetLogFilesSizeFrom(path.c_str());
    struct
    {
        unsigned channel;
        unsigned size;
    } const expected[] = {{100, 5242880}, {101, 10485760}, {102, 5242880}, {103, 1073741823},
                          {60, 0},        {10, 6000000},   {104, 5242880}, {105, 5242880}};
    for (const auto& e : expected)
    {
        EXPECT_EQ(e.size, server.GetMaxFileSize(e.channel)) << e.channel;
    }
}

TEST(CSysLogServer, SourceAndDestinationSlotsAndLinks)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    EXPECT_EQ(0, server.GetSourceId(&server.GetHostSource()));
    CLoadSource first(0), second(0);
    EXPECT_TRUE(server.AddSource(&first));
    EXPECT_FALSE(server.AddSource(&second)) << "two slots only";
    EXPECT_EQ(1, server.GetSourceId(&first));
    EXPECT_EQ(-1, server.GetSourceId(&second));

    static CRecordingDestination* const S_pDestination = new CRecordingDestination;
    CRecordingDestination& destination = *S_pDestination;
    CRecordingDestination unknown;
    EXPECT_TRUE(server.AddDestination(&destination));
    EXPECT_EQ(214, server.GetDestId(&destination)) << "after the 214 host channel files";
    EXPECT_FALSE(server.Link(0, 300, &unknown));
    EXPECT_FALSE(server.Link(2, 300, &destination));
    EXPECT_FALSE(server.Link(0, 350, &destination));
    EXPECT_FALSE(server.Link(-1, &destination));
    EXPECT_TRUE(server.Link(1, &destination));
    server.RemoveSource(&first);
    EXPECT_EQ(-1, server.GetSourceId(&first));
    server.Flush(2, 10);
}

TEST(CSysLogServer, FullerSourceIsServedFirstAndTheOtherAfterItsWaitCount)
{
    CLoadSource low(30), high(60);
    SSysLogSourceSlot slots[2] = {};
    slots[0].mpSource = &low;
    slots[1].mpSource = &high;
    uint32_t loads[2] = {};
    std::string order;
    for (int i = 0; i < 20; i++)
    {
        order += std::to_string(CSysLogServer::SelectSourceToProcess(slots, loads));
    }
    // Slot 0 waits until its count passes (100 - 30) / 10 + 1 = 8; slot 1 passes 5 only when it loses.
    EXPECT_EQ("11111111101111111110", order);
    EXPECT_EQ(30u, loads[0]);
    EXPECT_EQ(60u, loads[1]);

    struct Case
    {
        unsigned load0;
        unsigned load1;
        bool slot0;
        unsigned chosen;
    } const cases[] = {
        {0, 0, true, 0}, {50, 50, true, 0}, {0, 10, true, 1}, {10, 0, true, 0}, {0, 40, false, 1}};
    for (const Case& c : cases)
    {
        CLoadSource a(c.load0), b(c.load1);
        SSysLogSourceSlot fresh[2] = {};
        fresh[0].mpSource = c.slot0 ? &a : nullptr;
        fresh[1].mpSource = &b;
        EXPECT_EQ(c.chosen, CSysLogServer::SelectSourceToProcess(fresh, nullptr))
            << c.load0 << "/" << c.load1;
    }
}

TEST(CSysLogServer, PassWritesAtMostTwentyMessagesAndABusyDestinationLosesNothing)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    // Linked for the rest of the process: it must outlive the server's last pass.
    static CRecordingDestination* const S_pDestination = new CRecordingDestination;
    CRecordingDestination& destination = *S_pDestination;
    destination.mReady = false;
    ASSERT_TRUE(server.AddDestination(&destination));
    ASSERT_TRUE(server.Link(0, 300, &destination));
    server.SetThreshold(300, SYSLOG_DEBUG);
    for (int i = 0; i < 50; i++)
    {
        server.GetHostSource().LogMessage(300, 3, 0, 0, 0, "burst %d", i);
    }
    // While the destination is busy its message waits in the slot and the rest stay in the ring.
    EXPECT_FALSE(WaitFor([&] { return destination.Count() > 0; }, 200));
    destination.mReady = true;
    ASSERT_TRUE(WaitFor([&] { return destination.Count() == 50; }));
    std::vector<unsigned> sequences = destination.Sequences();
    for (unsigned i = 0; i < 50; i++)
    {
        EXPECT_EQ(i, sequences[i]);
    }
    SSysLogStatistics statistics = server.GetMaxStatisticArray();
    EXPECT_EQ(20u, statistics.mMaxWrittenInPass_U32);
    EXPECT_GE(statistics.mMaxFullPasses_U32, 1u);
}

TEST(CSysLogServer, OverflowShowsAsALostLineInTheFile)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    const std::string text(190, 'v');
    server.GetHostSource().LogMessage(224, 1, 0, 1, 1, "%s", "written before the burst");
    server.FlushPendingMessages();
    for (int i = 0; i < 12000; i++)
    {
        server.GetHostSource().LogMessage(224, 1, 0, 1, 1, "%05d %s", i, text.c_str());
    }
    server.FlushPendingMessages();
    std::string log = ReadFile(EEPROM_LOG);
    EXPECT_GE(SysLogTest::CountOf(log, "---------- Log message lost ----------\r\n"), 1);
    EXPECT_NE(std::string::npos, log.find("|11999 " + text + "\r\n")) << "the newest message is never lost";
}

TEST(CSysLogServer, NewHeaderReachesOpenFilesAtOnce)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.GetHostSource().LogMessage(224, 1, 0, 1, 1, "before");
    server.FlushPendingMessages();
    server.SetLogFileHeader(42, "01.02.03.00004", "1.10");
    std::string expected =
        "------------------------------------- ORX QUINTARVE --- Machine 42     --- Corvane version "
        "01.02.03.00004 --- HW Edition 1.10";
    EXPECT_STREQ(expected.c_str(), server.GetLogFileHeader());
    EXPECT_NE(std::string::npos, ReadFile(EEPROM_LOG).find(expected + " --- "));
    EXPECT_EQ(1, SysLogTest::CountOf(ReadFile(EEPROM_LOG), expected));
    server.SetLogFileHeader(42, "01.02.03.00004", "1.10");
    EXPECT_EQ(1, SysLogTest::CountOf(ReadFile(EEPROM_LOG), expected))
        << "an unchanged header is not rewritten";
}

TEST(CSysLogServer, ShutdownLeavesAFinalLineForTheWorkerInEveryOpenFile)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.GetHostSource().LogMessage(224, 1, 0, 1, 1, "working");
    server.FlushPendingMessages();
    server.Shutdown();
    EXPECT_TRUE(WaitFor(
        [] {
            return ReadFile(EEPROM_LOG).find("|C|     0| 0|Exiting System Logging\r\n") != std::string::npos;
        }));
    EXPECT_FALSE(SysLogTest::Exists(SysLogTest::LogDir() + SysLog_GetChannelName(64) + ".log"))
        << "files that never logged stay closed";
}

TEST(CSysLogServer, FlushSweepReadsOneMessagePerOpenFileAndOneForTheEntryAtCounter228)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    // Both live as long as the process: the server still flushes the slot at exit.
    static CQueueSource* const S_pSource = new CQueueSource;
    static CRecordingDestination* const S_pDestination = new CRecordingDestination;
    ASSERT_TRUE(server.AddSource(S_pSource));
    ASSERT_TRUE(server.AddDestination(S_pDestination));
    ASSERT_TRUE(server.Link(1, S_pDestination));
    for (unsigned sequence = 0; sequence < 10; sequence++)
    {
        S_pSource->Push(300, sequence);
    }
    ASSERT_FALSE(server.IsFileOpened(227));

    // Each row: host channels whose files are open before the flush, then the messages written.
    struct Step
    {
        std::vector<unsigned> openChannels;
        size_t writtenSoFar;
    } const steps[] = {
        {{}, 1},              // no file open: the entry at counter 228 (channel 227) alone reads one
        {{224}, 3},           // one open file, plus the entry at counter 228
        {{224, 225}, 6},      // two open files, plus the entry at counter 228
        {{224, 225, 227}, 9}, // channel 227 open as well: its entry still reads only once
    };
    for (const Step& step : steps)
    {
        for (unsigned channel : step.openChannels)
        {
            server.GetHostSource().LogMessage(channel, 1, 0, 0, 0, "opens the file");
            ASSERT_TRUE(WaitFor([&] { return server.IsFileOpened(channel); })) << channel;
        }
        server.Flush(1, 0);
        EXPECT_EQ(step.writtenSoFar, S_pDestination->Count()) << step.openChannels.size() << " open";
    }
}
