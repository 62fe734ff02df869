// The release binary against the board's timing and its transient faults, in reproducible
// virtual time: runs repeat byte for byte, every command is polled while pending, page writes
// meet the EEPROM's write cycle, and each retry path of the wake-up and the EEPROM driver runs.
#include "SimHarness.h"

#include <gtest/gtest.h>

namespace
{

using Args = std::vector<std::string>;

struct ToolRun
{
    SimRunResult result;
    std::string trace;
    std::string syslog;
    std::vector<std::string> traceLines;

    size_t count(std::initializer_list<const char*> fragments) const
    {
        size_t n = 0;
        for (const std::string& line : traceLines)
        {
            bool all = true;
            for (const char* f : fragments)
                all = all && line.find(f) != std::string::npos;
            n += all ? 1 : 0;
        }
        return n;
    }
};

ToolRun runTool(const Args& simArgs, const char* program = SARVIK_TOOL_PATH, const Args& programArgs = {})
{
    SimHarness h;
    Args args = {"--date", "2030-01-01T00:00:00", "--trace", h.path("trace"), "--syslog", h.path("syslog")};
    args.insert(args.end(), simArgs.begin(), simArgs.end());
    args.push_back("--");
    args.push_back(program);
    args.insert(args.end(), programArgs.begin(), programArgs.end());
    ToolRun run;
    run.result = h.sim(args);
    run.trace = SimHarness::readFile(h.path("trace"));
    run.syslog = SimHarness::readFile(h.path("syslog"));
    run.traceLines = SimHarness::lines(run.trace);
    return run;
}

struct Scenario
{
    const char* name;
    Args simArgs;
};

class ReproducibleRunTest : public testing::TestWithParam<Scenario>
{
};

TEST_P(ReproducibleRunTest, TwoRunsGiveTheSameTraceAndSyslog)
{
    const ToolRun first = runTool(GetParam().simArgs);
    const ToolRun second = runTool(GetParam().simArgs);
    ASSERT_EQ(first.result.status, 0) << first.result.err;
    ASSERT_NE(first.count({"\"ev\":\"cmd\""}), 0u);
    ASSERT_FALSE(first.syslog.empty());
    EXPECT_EQ(first.trace, second.trace);
    EXPECT_EQ(first.syslog, second.syslog);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ReproducibleRunTest,
                         testing::Values(Scenario{"healthy", {}},
                                         Scenario{"repair", {"--fault", "bitflip=0"}},
                                         Scenario{"late_ram", {"--fault", "ram-late=150"}},
                                         Scenario{"q7k", {"--board", "Q7K"}}),
                         [](const testing::TestParamInfo<Scenario>& info) { return info.param.name; });

class HealthyPollTest : public testing::TestWithParam<Scenario>
{
};

TEST_P(HealthyPollTest, EveryAnsweredCommandWasPolledWhilePending)
{
    const ToolRun run = runTool(GetParam().simArgs);
    ASSERT_EQ(run.result.status, 0) << run.result.err;
    const size_t answered = run.count({"\"ev\":\"cmd\"", "\"status\":\"0x"});
    ASSERT_GT(answered, 0u);
    EXPECT_EQ(run.count({"\"ev\":\"polled\""}), answered);
    EXPECT_EQ(run.count({"\"ev\":\"polled\"", "\"pending\":0,"}), 0u);
}

INSTANTIATE_TEST_SUITE_P(Models, HealthyPollTest,
                         testing::Values(Scenario{"Q5K", {}}, Scenario{"ZEBX", {"--board", "ZEBX"}},
                                         Scenario{"Q5KP", {"--board", "Q5KP"}},
                                         Scenario{"Q7K", {"--board", "Q7K"}}),
                         [](const testing::TestParamInfo<Scenario>& info) { return info.param.name; });

struct BusyCase
{
    const char* name;
    Args simArgs;
    size_t busyAnswersPerWrite; // at least, after every page write but the last
};

class RepairBusyTest : public testing::TestWithParam<BusyCase>
{
};

TEST_P(RepairBusyTest, EveryPageWriteIsFollowedByBusyAnswers)
{
    const ToolRun run = runTool(GetParam().simArgs);
    ASSERT_EQ(run.result.status, 0) << run.result.err;
    std::vector<size_t> busyAfter;
    for (const std::string& line : run.traceLines)
    {
        if (line.find("\"ev\":\"i2c\"") == std::string::npos)
            continue;
        const bool busy = line.find("\"status\":\"0x02\"") != std::string::npos;
        if (line.find("\"wr\":66") != std::string::npos && !busy)
            busyAfter.push_back(0);
        else if (!busyAfter.empty() && busy)
            ++busyAfter.back();
    }
    ASSERT_GE(busyAfter.size(), 2u) << "a repair writes several pages";
    busyAfter.pop_back(); // nothing follows the last one
    for (size_t i = 0; i < busyAfter.size(); ++i)
        EXPECT_GE(busyAfter[i], GetParam().busyAnswersPerWrite) << "page write " << i;
}

INSTANTIATE_TEST_SUITE_P(
    Eeproms, RepairBusyTest,
    testing::Values(BusyCase{"write_cycle", {"--fault", "bitflip=0"}, 1},
                    BusyCase{"longer_write_cycle", {"--fault", "bitflip=0", "--fault", "write-busy=4"}, 4}),
    [](const testing::TestParamInfo<BusyCase>& info) { return info.param.name; });

struct WakeCase
{
    const char* name;
    Args simArgs;
    size_t resetPulses;  // each wake-up attempt starts with one
    const char* failure; // the wake-up code logged, or nullptr when the unit is read
};

class WakeUpRetryTest : public testing::TestWithParam<WakeCase>
{
};

TEST_P(WakeUpRetryTest, LateBoardIsWokenOnALaterAttempt)
{
    const ToolRun run = runTool(GetParam().simArgs);
    ASSERT_EQ(run.result.status, 0) << run.result.err;
    const char* failure = GetParam().failure;
    EXPECT_EQ(run.result.out.find("Serial number") != std::string::npos, failure == nullptr)
        << run.result.out;
    if (failure != nullptr)
        EXPECT_NE(run.syslog.find(std::string("BoardWakeUp() returned ") + failure), std::string::npos);
    EXPECT_EQ(run.count({"\"ev\":\"reset\"", "\"line\":1"}), 2 * GetParam().resetPulses);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, WakeUpRetryTest,
    testing::Values(WakeCase{"on_time", {}, 1, nullptr},
                    WakeCase{"ram_within_one_attempt", {"--fault", "ram-late=100"}, 1, nullptr},
                    WakeCase{"ram_after_one_attempt", {"--fault", "ram-late=150"}, 2, nullptr},
                    WakeCase{"ram_never_in_three", {"--fault", "ram-late=400"}, 3, "0x1"},
                    WakeCase{"bootstrap_after_one_attempt", {"--fault", "bootstrap-late=205"}, 2, nullptr}),
    [](const testing::TestParamInfo<WakeCase>& info) { return info.param.name; });

struct ChecksumCase
{
    const char* name;
    Args simArgs;
    const char* mode;
    const char* status;
};

class ChecksumModeTest : public testing::TestWithParam<ChecksumCase>
{
};

TEST_P(ChecksumModeTest, CorruptedReplyIsCaughtOnlyWithTheChecksumOn)
{
    const ToolRun run =
        runTool(GetParam().simArgs, PROBE_PATH, {"toolbox", "wakeup", "3", "eeread", GetParam().mode});
    ASSERT_EQ(run.result.status, 0) << run.result.err;
    EXPECT_EQ(SimHarness::value(run.result.out, "1.result"), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, ChecksumModeTest,
    testing::Values(ChecksumCase{"intact", {}, "on", "0"},
                    ChecksumCase{"data", {"--fault", "reply-corrupt=1"}, "on", "4"},
                    ChecksumCase{"checksum", {"--fault", "checksum-corrupt=1"}, "on", "4"},
                    ChecksumCase{"data_unchecked", {"--fault", "reply-corrupt=1"}, "off", "0"}),
    [](const testing::TestParamInfo<ChecksumCase>& info) { return info.param.name; });

} // namespace
