// Pages of the identity EEPROM: a page that answers with an error (which errors the record's
// reader retries, how often, the pause before a busy page is asked again) and writes that meet
// the EEPROM still busy.
#include "ToolboxRun.h"

namespace
{
struct SPageCase
{
    const char* Name;
    const char* Fault; // page-status of copy 0's first page: STATUS:COUNT
    const char* BusyRetry;
    size_t Transfers;   // of that page
    const char* Result; // 512: copy 0 failed its checksum, copy 1 was read (no repair asked)
    int64_t GapUs;      // between two transfers of the page: a 20 ms pause before a busy page
};

using PageRetryTest = testing::TestWithParam<SPageCase>;

TEST_P(PageRetryTest, RetriesWhatItsRuleAllows)
{
    const SPageCase& c = GetParam();
    const SSimResult run = ToolboxRun({"--fault", std::string("page-status=256:") + c.Fault},
                                      {"wakeup", "3", "settings", c.BusyRetry});
    const std::string values = "0.result=0 1.result=" + std::string(c.Result) + " 1.serial=KV0012345";
    EXPECT_EQ(Printed(run, values), values);
    std::vector<int64_t> times;
    for (const Json::Value& event : run.Events("i2c"))
    {
        if (event["wr"] == 2 && event["mem"] == "0x0100")
            times.push_back(event["t_us"].asInt64());
    }
    ASSERT_EQ(times.size(), c.Transfers);
    for (size_t i = 1; i < times.size(); ++i)
        EXPECT_EQ(times[i] - times[i - 1], c.GapUs) << "transfer " << i;
}

INSTANTIATE_TEST_SUITE_P(Statuses, PageRetryTest,
                         testing::Values(SPageCase{"BusyAskedAgainAfter20ms", "3:2", "1", 3, "0", 22019},
                                         SPageCase{"GarbledAskedAgainAfter20ms", "4:2", "1", 3, "0", 22019},
                                         SPageCase{"ErrorAskedAgainAtOnce", "1:2", "1", 3, "0", 2019},
                                         SPageCase{"ErrorGivesUpAfterFiveTries", "1:15", "1", 5, "512", 2019},
                                         SPageCase{"BusyTakenAsReadWithoutRetry", "3:1", "0", 1, "512", 0}),
                         ByName);

struct SWriteCase
{
    const char* Name;
    const char* Busy; // transactions the EEPROM leaves unacknowledged
    const char* Result;
    Args Transfers; // to the identity EEPROM: bytes written and status
};

using EepromWriteTest = testing::TestWithParam<SWriteCase>;

// A write that meets the EEPROM busy polls it with empty writes, ten at most, then writes again.
TEST_P(EepromWriteTest, PollsABusyEepromThenWritesAgain)
{
    const SWriteCase& c = GetParam();
    const SSimResult run =
        ToolboxRun({"--fault", std::string("eeprom-busy=") + c.Busy}, {"wakeup", "3", "eewrite", "192"});
    EXPECT_EQ(run.Value("1.result"), c.Result);
    Args transfers;
    for (const Json::Value& event : run.Events("i2c"))
    {
        if (event["dev"] == "0xA4")
            transfers.push_back(event["wr"].asString() + ":" + std::to_string(TraceNumber(event, "status")));
    }
    EXPECT_EQ(transfers, c.Transfers);
}

const Args TEN_POLLS = {"66:2", "0:2", "0:2", "0:2", "0:2", "0:2", "0:2", "0:2", "0:2", "0:2", "0:2"};

INSTANTIATE_TEST_SUITE_P(Busy, EepromWriteTest,
                         testing::Values(SWriteCase{"Idle", "0", "0", {"66:0"}},
                                         SWriteCase{
                                             "BusyThrice", "3", "0", {"66:2", "0:2", "0:2", "0:0", "66:0"}},
                                         SWriteCase{"BusyBeyondTenPolls", "11", "2", TEN_POLLS}),
                         ByName);
} // namespace
