// Start-up of the driver handles on both host boards: module loading, release, Q7K registers.
#include "ToolboxRun.h"

namespace
{

struct SModuleCase
{
    const char* Name;
    Args Options;
    const char* Comram; // the start-up's ComRAM status
    Args Loads;         // modprobe and init ioctl, in order
    LogLines DriverLog;
};

using ModuleLoadingTest = testing::TestWithParam<SModuleCase>;

TEST_P(ModuleLoadingTest, LoadsWhatIsMissingOnceAndLogsUnderOneIdentity)
{
    const SModuleCase& c = GetParam();
    const SSimResult run = ToolboxRun(c.Options, {});
    const std::string values = "kv=1 interface=0 timecode=1 comramStatus=" + std::string(c.Comram);
    EXPECT_EQ(Printed(run, values), values);
    Args loads;
    for (const Json::Value& event : run.Trace)
    {
        if (event["ev"] == "modprobe")
        {
            loads.push_back("modprobe " + event["module"].asString());
            // The timecode driver is open when the ComRAM module loads: its shell must not inherit it.
            EXPECT_EQ(event["driver_fds"].asInt(), 0);
        }
        else if (event["ev"] == "ioctl" && TraceNumber(event, "request") == 0x40046E10)
            loads.push_back("init " + std::to_string(TraceNumber(event, "value")));
    }
    EXPECT_EQ(loads, c.Loads);
    EXPECT_EQ(run.Log("GenlockDriverApi::GenlockDriverApi"), c.DriverLog);
}

const LogLines LOADED = {{4, "Enter In TimecodeDriverApi()"},
                         {4, "Exit From TimecodeDriverApi()"},
                         {4, "Enter In ComramDriverApi()"},
                         {4, "Exit From ComramDriverApi()"}};

INSTANTIATE_TEST_SUITE_P(
    Hosts, ModuleLoadingTest,
    testing::Values(
        // Only a freshly loaded ComRAM driver gets its init ioctl.
        SModuleCase{"MissingOnHostBoard0",
                    {"--host-board", "0", "--modules-loaded", "no"},
                    "0",
                    {"modprobe drv_timecode", "modprobe drv_comram", "init 0"},
                    {{4, "Enter In TimecodeDriverApi()"},
                     {3, "In TimecodeDriverApi() - modprobe -s drv_timecode"},
                     {4, "Exit From TimecodeDriverApi()"},
                     {4, "Enter In ComramDriverApi()"},
                     {3, "In ComramDriverApi() - modprobe -s drv_comram"},
                     {4, "Exit From ComramDriverApi()"}}},
        SModuleCase{"LoadedOnHostBoard0", {"--host-board", "0", "--modules-loaded", "yes"}, "0", {}, LOADED},
        // Host board 1 loads nothing: a missing ComRAM node leaves its handle not open.
        SModuleCase{"MissingOnHostBoard1", {"--host-board", "1", "--modules-loaded", "no"}, "9", {}, LOADED}),
    ByName);

using ReleaseTest = testing::TestWithParam<bool>;

// Released with its devices shut down, each driver gets its shutdown request and its module is
// unloaded, ComRAM before timecode; released without, the modules stay.
TEST_P(ReleaseTest, ShutsDownAndUnloadsOnlyWhenAsked)
{
    const bool shutdown = GetParam();
    const SSimResult run = ToolboxRun({}, {"release", shutdown ? "1" : "0"});
    EXPECT_EQ(run.Value("0.after"), "0");
    Args steps;
    for (const Json::Value& event : run.Trace)
    {
        if (event["ev"] == "rmmod")
            steps.push_back("rmmod " + event["module"].asString() + " " + event["status"].asString());
        else if (event["ev"] == "ioctl" && (TraceNumber(event, "request") & 0xFF) == 0x12)
            steps.push_back(event["path"].asString() + " " + event["request"].asString());
    }
    const Args unloaded = {"/dev/comram0 0x40046E12", "rmmod drv_comram 0", "/dev/timecode0 0x40046B12",
                           "rmmod drv_timecode 0"};
    EXPECT_EQ(steps, shutdown ? unloaded : Args{});
}

INSTANTIATE_TEST_SUITE_P(Shutdown, ReleaseTest, testing::Bool());

struct SHostCase
{
    const char* Name;
    const char* HostBoard;
    const char* IoArea;
};

using HostBoardTest = testing::TestWithParam<SHostCase>;

// Detection reads register 0, then registers 0 to 3 once each in index order; the register
// helper reads them again, each after writing its index.
TEST_P(HostBoardTest, Q7KRegistersAreReachedThroughTheHostsOwnPath)
{
    const SHostCase& host = GetParam();
    const SSimResult run = ToolboxRun(
        {"--host-board", host.HostBoard, "--board", "Q7K", "--q7k-regs", "0xD7,0x11,0x22,0x33"}, {"q7kregs"});
    const std::string values = "hostBoardType=" + std::string(host.HostBoard) + " isaIo=" + host.IoArea +
                               " comram=1 type=4 0.regs=0xD7,0x11,0x22,0x33";
    EXPECT_EQ(Printed(run, values), values);
    std::vector<uint32_t> dataReads;
    size_t indexWrites = 0;
    for (const Json::Value& event : run.Events("reg"))
    {
        indexWrites += TraceNumber(event, "port") == 0x351 && event["dir"] == "w";
        if (TraceNumber(event, "port") == 0x350 && event["dir"] == "r")
            dataReads.push_back(TraceNumber(event, "index"));
    }
    EXPECT_EQ(dataReads, (std::vector<uint32_t>{0, 0, 1, 2, 3, 0, 1, 2, 3}));
    EXPECT_GE(indexWrites, 4u);
}

INSTANTIATE_TEST_SUITE_P(Hosts, HostBoardTest,
                         testing::Values(SHostCase{"PortsOnHostBoard0", "0", "0"},
                                         SHostCase{"IoAreaOnHostBoard1", "1", "1"}),
                         ByName);

} // namespace
