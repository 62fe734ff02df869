// Start-up of the driver handles on both host boards, module loading, and machines without
// the board's drivers or without any simulated server.
#include "SimRun.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{
const char* const DRIVER_IDENT = "GenlockDriverApi::GenlockDriverApi";

// "PRIORITY:message" of each syslog line sent under the driver family's identity, in order.
std::vector<std::string> DriverLines(const std::string& syslog)
{
    std::vector<std::string> lines;
    std::istringstream in(syslog);
    Json::CharReaderBuilder builder;
    for (std::string line; std::getline(in, line);)
    {
        Json::Value message;
        std::istringstream one(line);
        std::string errors;
        if (Json::parseFromStream(builder, one, &message, &errors) && message["ident"].asString() == DRIVER_IDENT)
        {
            EXPECT_EQ(message["facility"].asInt(), 1) << line; // LOG_USER
            lines.push_back(std::to_string(message["priority"].asInt()) + ":" + message["message"].asString());
        }
    }
    return lines;
}

TEST(ModuleLoadingTest, MissingNodesOnHostBoardZeroLoadTheModulesAndLogUnderOneIdentity)
{
    const SSimRun run = RunProbe({"--host-board", "0", "--modules-loaded", "no"}, {});
    const Json::Value& startup = run.Output_X["startup"];
    EXPECT_TRUE(startup["kv"].asBool());
    EXPECT_EQ(startup["interfaceStatus"].asInt(), 0);
    EXPECT_TRUE(startup["comram"].asBool());
    EXPECT_TRUE(startup["timecode"].asBool());

    // Each module is loaded once, and only a freshly loaded ComRAM driver gets its init ioctl.
    std::vector<std::string> sequence;
    for (const Json::Value& event : run.Trace_X)
    {
        const std::string kind = event["ev"].asString();
        if (kind == "modprobe")
        {
            sequence.push_back("modprobe " + event["module"].asString());
            // The timecode driver is already open when the ComRAM module is loaded: the
            // module command's shell must not inherit it.
            EXPECT_EQ(event["driver_fds"].asInt(), 0) << "modprobe inherited a driver descriptor";
        }
        else if (kind == "ioctl" && TraceNumber(event, "request") == 0x40046E10)
        {
            sequence.push_back("ioctl 0x40046E10 value " + std::to_string(TraceNumber(event, "value")));
        }
    }
    EXPECT_EQ(sequence, (std::vector<std::string>{"modprobe drv_timecode", "modprobe drv_comram",
                                                  "ioctl 0x40046E10 value 0"}));

    EXPECT_EQ(DriverLines(run.Syslog_S),
              (std::vector<std::string>{"4:Enter In TimecodeDriverApi()",
                                        "3:In TimecodeDriverApi() - modprobe -s drv_timecode",
                                        "4:Exit From TimecodeDriverApi()", "4:Enter In ComramDriverApi()",
                                        "3:In ComramDriverApi() - modprobe -s drv_comram",
                                        "4:Exit From ComramDriverApi()"}))
        << run.Syslog_S;
}

TEST(ModuleLoadingTest, LoadedModulesAreNotLoadedAgain)
{
    const SSimRun run = RunProbe({"--host-board", "0", "--modules-loaded", "yes"}, {});
    EXPECT_TRUE(run.Output_X["startup"]["comram"].asBool());
    EXPECT_EQ(run.Syslog_S.find("modprobe"), std::string::npos) << run.Syslog_S;
    EXPECT_NE(run.Syslog_S.find("Exit From ComramDriverApi()"), std::string::npos);
    EXPECT_TRUE(run.Events("modprobe").empty());
    for (const Json::Value& event : run.Events("ioctl"))
    {
        EXPECT_NE(TraceNumber(event, "request"), 0x40046E10u) << "init ioctl without a fresh load";
    }
}

TEST(ModuleLoadingTest, HostBoardOneLoadsNoModuleAndItsHandleReportsNotOpen)
{
    const SSimRun run = RunProbe({"--host-board", "1", "--modules-loaded", "no"}, {"wakeup", "3"});
    const Json::Value& startup = run.Output_X["startup"];
    EXPECT_TRUE(startup["kv"].asBool());
    EXPECT_EQ(startup["comramStatus"].asInt(), 9);
    EXPECT_FALSE(startup["comram"].asBool());
    EXPECT_EQ(run.Syslog_S.find("modprobe"), std::string::npos);
    EXPECT_EQ(run.Op(0)["result"].asUInt(), 1u);
    EXPECT_LT(run.Op(0)["elapsedMs"].asInt64(), 1000);
}

struct SHostCase
{
    const char* pName_c;
    const char* pHostBoard_c;
    bool IoArea_B;
};

class HostBoardTest : public ::testing::TestWithParam<SHostCase>
{
};

TEST_P(HostBoardTest, Q7KRegistersAreReachedThroughTheHostsOwnPath)
{
    const SHostCase& host = GetParam();
    const SSimRun run = RunProbe({"--host-board", host.pHostBoard_c, "--board", "Q7K", "--q7k-regs",
                               "0xD7,0x11,0x22,0x33"},
                              {"q7kregs", "getters"});
    const Json::Value& startup = run.Output_X["startup"];
    EXPECT_EQ(startup["hostBoardType"].asInt(), host.pHostBoard_c[0] - '0');
    EXPECT_EQ(startup["isaIo"].asBool(), host.IoArea_B);
    EXPECT_TRUE(startup["comram"].asBool());
    const Json::Value& regs = run.Op(0)["regs"];
    ASSERT_EQ(regs.size(), 4u);
    EXPECT_EQ(regs[0].asInt(), 0xD7);
    EXPECT_EQ(regs[1].asInt(), 0x11);
    EXPECT_EQ(regs[2].asInt(), 0x22);
    EXPECT_EQ(regs[3].asInt(), 0x33);
    EXPECT_EQ(run.Output_X["detected"]["type"].asInt(), 4);

    size_t indexWrites = 0;
    size_t dataReads = 0;
    for (const Json::Value& event : run.Events("reg"))
    {
        indexWrites += TraceNumber(event, "port") == 0x351 && event["dir"].asString() == "w" ? 1 : 0;
        dataReads += TraceNumber(event, "port") == 0x350 ? 1 : 0;
    }
    EXPECT_GE(indexWrites, 4u);
    EXPECT_GE(dataReads, 4u);

    const Json::Value& getters = run.Op(1);
    EXPECT_EQ(getters["nullHandle"].asInt(), 9);
    EXPECT_EQ(getters["badIndex"].asInt(), 22);
    EXPECT_EQ(getters["nullOut"].asInt(), 22);
    EXPECT_EQ(getters["reopen"].asInt(), 24);
    EXPECT_EQ(getters["close"].asInt(), 0);
    EXPECT_EQ(getters["afterClose"].asInt(), 9);
    EXPECT_EQ(getters["closeAgain"].asInt(), 24);
}

INSTANTIATE_TEST_SUITE_P(Hosts, HostBoardTest,
                         ::testing::Values(SHostCase{"ports_on_board_type_0", "0", false},
                                           SHostCase{"io_area_on_board_type_1", "1", true}),
                         [](const ::testing::TestParamInfo<SHostCase>& info) { return std::string(info.param.pName_c); });

void ExpectNothingReachable(const SSimRun& run)
{
    ASSERT_EQ(run.Exit_S32, 0) << run.Stdout_S;
    const Json::Value& startup = run.Output_X["startup"];
    EXPECT_FALSE(startup["kv"].asBool());
    EXPECT_EQ(startup["interfaceStatus"].asInt(), 9);
    EXPECT_EQ(startup["comramStatus"].asInt(), 9);
    EXPECT_EQ(startup["isaStatus"].asInt(), 9);
    EXPECT_FALSE(startup["comram"].asBool());
    EXPECT_FALSE(startup["isaIo"].asBool());
    // Type stays "not identified": register 0 reads as a floating bus.
    EXPECT_EQ(run.Output_X["detected"]["type"].asInt(), 5);
    EXPECT_EQ(run.Op(0)["result"].asUInt(), 1u);
    EXPECT_LT(run.Op(0)["elapsedMs"].asInt64(), 1000);
    for (const Json::Value& reg : run.Op(1)["regs"])
    {
        EXPECT_EQ(reg.asInt(), 0xFF);
    }
    EXPECT_EQ(run.Op(2)["result"].asUInt(), 0xFFFFFFFFu);
    EXPECT_EQ(run.Op(2)["elapsedMs"].asInt64() < 100, true) << "a command on no RAM must not wait";
    EXPECT_EQ(run.Op(3)["result"].asUInt(), 0xFFFFFFFFu);
    EXPECT_EQ(run.Op(3)["value"].asUInt(), 0xA5A5A5A5u) << "nothing to copy from";
}

const std::vector<std::string> NO_BOARD_OPS = {"wakeup", "3", "q7kregs", "exec", "0x01", "1000", "0", "0",
                                               "bsread", "4", "0xF0000A44", "q7kcomram", "1"};

TEST(NoDriversTest, EveryCallReportsAStatusAndNothingIsTouched)
{
    ExpectNothingReachable(RunProbe({"--fault", "no-drivers"}, NO_BOARD_OPS));
}

TEST(NoDriversTest, ReleaseBinaryPrintsNothingAndExitsZero)
{
    const SSimRun run = RunInSim({"--fault", "no-drivers", "--speed", "20"}, {SARVIK_PATH});
    EXPECT_EQ(run.Exit_S32, 0);
    EXPECT_EQ(run.Stdout_S, "");
}

TEST(NoSimulatedServerTest, ProbeOnTheBareMachineReportsStatusesAndDoesNotCrash)
{
    std::vector<std::string> command = {PROBE_PATH};
    command.insert(command.end(), NO_BOARD_OPS.begin(), NO_BOARD_OPS.end());
    ExpectNothingReachable(RunBare(command));
}

TEST(NoSimulatedServerTest, ReleaseBinaryOnTheBareMachineExitsZero)
{
    const SSimRun run = RunBare({SARVIK_PATH});
    EXPECT_EQ(run.Exit_S32, 0);
    EXPECT_EQ(run.Stdout_S, "");
}
} // namespace
