#include "CSysLogCorvaneSource.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include "SysLogTestFiles.h"
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <tuple>

namespace
{
// Channels above the host range have no file: the server's worker never touches what the tests log.
constexpr unsigned TEST_CHANNEL = 300;
const std::string REPORT_DIR = "/mnt/APPS/data/orx/";

// The source under test, on the test channels' thresholds; reaches the ring's storage the way a
// memory fault would.
class CTestSource : public CSysLogCorvaneSource
{
public:
    CTestSource() : CSysLogCorvaneSource(CSysLogServer::GetInstance(), REPORT_DIR.c_str())
    {
        CSysLogServer::GetInstance().SetThreshold(TEST_CHANNEL, SYSLOG_NORMAL);
        CSysLogServer::GetInstance().SetThreshold(TEST_CHANNEL + 1, SYSLOG_DEBUG);
    }
    void OverwriteOldestLength()
    {
        Bof_EnterCriticalSection(&mCriticalSection_X);
        uint32_t garbage = 0x7FFFFFF0;
        memcpy(mpRingStorage_U8, &garbage, sizeof(garbage));
        Bof_LeaveCriticalSection(&mCriticalSection_X);
    }
    std::vector<std::string> Drain()
    {
        std::vector<std::string> records;
        for (CSysLogMessage message; ReadMessage(&message), !message.IsEmpty();)
            records.push_back(Describe(message));
        return records;
    }
};
} // namespace

// Only criticities up to the channel's threshold are kept. Refused messages and texts with nothing
// to show leave no record and take no sequence number, so a flush does not stop at an empty record
// and the files show no false gap.
TEST(CSysLogCorvaneSource, SequenceNumbersCountPerChannelOverTheKeptMessagesOnly)
{
    auto source = std::make_unique<CTestSource>(); // its ring is too large for the stack
    const std::tuple<unsigned, int, const char*> logged[] = {
        {TEST_CHANNEL, 1, "a0"},     {TEST_CHANNEL, 0, "no log"},     {TEST_CHANNEL, 3, "debug"},
        {TEST_CHANNEL + 1, 3, "b0"}, {TEST_CHANNEL + 1, 0, "no log"}, {TEST_CHANNEL + 2, 1, "threshold 0"},
        {350, 1, "no channel"},      {1000, 1, "no channel"},         {TEST_CHANNEL, 2, ""},
        {TEST_CHANNEL, 2, "\r\n"},   {TEST_CHANNEL, 2, "a1"},         {TEST_CHANNEL + 1, 1, "b1"}};
    for (const auto& entry : logged)
        source->LogMessage(std::get<0>(entry), static_cast<unsigned char>(std::get<1>(entry)), 0, 0, 0, "%s",
                           std::get<2>(entry));
    EXPECT_EQ((std::vector<std::string>{"300 1 0 0 0 0: a0", "301 3 0 0 0 0: b0", "300 2 0 0 0 1: a1",
                                        "301 1 0 0 0 1: b1"}),
              source->Drain());
}

TEST(CSysLogCorvaneSource, RecordCarriesTheCallersFieldsAndItsTextIsExpandedTwice)
{
    auto source = std::make_unique<CTestSource>();
    source->LogMessage(TEST_CHANNEL, 2, 0x12, -3, 0xC4, "value %d of %s, %s", 42, "x", "50%% done");
    source->GetChannel(TEST_CHANNEL + 1)->LogMessage(3, 0, 1, 2, "from %s", "handle");
    EXPECT_EQ(nullptr, source->GetChannel(350));
    EXPECT_EQ((std::vector<std::string>{"300 2 18 -3 196 0: value 42 of x, 50% done",
                                        "301 3 0 1 2 0: from handle"}),
              source->Drain());
}

TEST(CSysLogCorvaneSource, FullRingKeepsTheNewestAndShowsLoadWhileLogsAreEnabled)
{
    auto source = std::make_unique<CTestSource>();
    const std::string text(199, 'z');
    // 224 bytes a record in a 2 MiB ring: 9362 fit.
    unsigned halfLoad = 0;
    for (unsigned i = 0; i < 12000; i++)
    {
        halfLoad = i == 4681 ? source->GiveLoad() : halfLoad;
        source->LogMessage(TEST_CHANNEL, 1, 0, 0, 0, "%s", text.c_str());
    }
    EXPECT_EQ(4681u * 224u * 100u / CSysLogCorvaneSource::RING_SIZE, halfLoad);
    EXPECT_EQ(99u, source->GiveLoad());
    CSysLogServer::GetInstance().DisableLogs();
    source->LogMessage(TEST_CHANNEL, 1, 0, 0, 0, "dropped");
    EXPECT_EQ(0u, source->GiveLoad());
    CSysLogServer::GetInstance().EnableLogs();
    source->ReadMessage(nullptr);
    std::vector<std::string> records = source->Drain();
    ASSERT_EQ(9361u, records.size());
    EXPECT_EQ("300 1 0 0 0 2639: " + text, records.front()) << "12000 - 9361";
    EXPECT_EQ("300 1 0 0 0 11999: " + text, records.back());
    EXPECT_EQ(0u, source->GiveLoad());
}

TEST(CSysLogCorvaneSource, CorruptionIsReportedOnceInTheProcessLife)
{
    auto source = std::make_unique<CTestSource>();
    const std::string report = REPORT_DIR + "ringbuffercorruption.log";
    unlink(report.c_str());
    // Two damaged rings in a row, then a sound one: one report, and the ring works again.
    for (bool damaged : {true, true, false})
    {
        source->LogMessage(TEST_CHANNEL, 1, 0, 0, 0, "sound");
        if (damaged)
            source->OverwriteOldestLength();
        EXPECT_EQ(damaged ? 0u : 1u, source->Drain().size());
    }
    EXPECT_EQ(
        "RingBuffer corrupted: during push: false, mHead_U32: 0, mQueue_U32: 28, mNbMaxData_U32: 2097152\n",
        ReadFile(report));
}
