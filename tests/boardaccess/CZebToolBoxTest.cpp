// Wake-up, identification, bus recovery and reset pulse of the toolbox against the simulated board.
#include "ToolboxRun.h"

#include <numeric>

namespace
{
struct SModelCase
{
    const char* Name;
    const char* Board;
    const char* Ident;
    const char* Version; // the two board-version bytes
    const char* Infos;   // the board infos as sim-probe prints them
    std::vector<uint32_t> LastCommands;
};

using WakeUpModelTest = testing::TestWithParam<SModelCase>;

TEST_P(WakeUpModelTest, IdentifiesTheModelAndFillsTheBoardInfos)
{
    const SModelCase& model = GetParam();
    const SSimResult run = ToolboxRun(
        {"--board", model.Board, "--ident", model.Ident, "--board-version", model.Version}, {"wakeup", "3"});
    const std::string infos = "0.result=0 " + std::string(model.Infos) + " 0.rbf=0 0.reserved=000000";
    EXPECT_EQ(Printed(run, infos), infos);
    ASSERT_EQ(run.Commands(0x05).size(), 1u);
    EXPECT_EQ(run.Value("0.id"), std::to_string(TraceNumber(run.Commands(0x05)[0], "ident")));
    const std::vector<uint32_t> opcodes = TraceNumbers(run.Events("cmd"), "op");
    ASSERT_GT(opcodes.size(), model.LastCommands.size());
    EXPECT_EQ(opcodes.front(), 0x01u);
    EXPECT_EQ(std::vector<uint32_t>(opcodes.end() - model.LastCommands.size(), opcodes.end()),
              model.LastCommands);
    // One reset pulse (the line asserted twice); models that take the I2C probe send one empty transfer.
    const std::string counts =
        model.LastCommands.size() == 4 ? "reset:line=1*2 i2c*1 i2c:wr=0,rd=0*1" : "reset:line=1*2 i2c*0";
    EXPECT_EQ(Counted(run, counts), counts);
}

const std::vector<uint32_t> WITH_I2C = {0x05, 0x92, 0x90, 0x03};
const std::vector<uint32_t> WITHOUT_I2C = {0x05, 0x03};

const SModelCase MODELS[] = {
    // ZEBX keeps the version bytes whole and has no jumpers.
    {"ZEBX", "ZEBX", "0x12", "0x37,0x45", "0.type=0 0.pcb=55 0.jumpers=0 0.components=69", WITH_I2C},
    {"Q5K", "Q5K", "0xB2", "0x53,0x24", "0.type=1 0.pcb=3 0.jumpers=5 0.components=4", WITH_I2C},
    // A zero low nibble means the jumpers are not readable: reported as 0.
    {"Q5K_no_jumpers", "Q5K", "0xB2", "0x50,0x2F", "0.type=1 0.pcb=0 0.jumpers=0 0.components=15", WITH_I2C},
    {"Q5KP", "Q5KP", "0xC5", "0x23,0x41", "0.type=2 0.pcb=3 0.jumpers=2 0.components=1", WITHOUT_I2C},
    {"Q5KP_variant", "Q5KP-V", "0xC5", "0x2A,0x41", "0.type=3 0.pcb=10 0.jumpers=2 0.components=1",
     WITHOUT_I2C},
};
INSTANTIATE_TEST_SUITE_P(Models, WakeUpModelTest, testing::ValuesIn(MODELS), ByName);

struct SRecoveryCase
{
    const char* Name;
    const char* Interface;
    uint32_t SecondAddressByte; // what the board sees in bits 8-15 of each address
};

using BusRecoveryTest = testing::TestWithParam<SRecoveryCase>;

TEST_P(BusRecoveryTest, IssuesThreeReadsAndTwentyThreeWritesInOrder)
{
    const SRecoveryCase& recovery = GetParam();
    const SSimResult run =
        ToolboxRun({"--board", "Q5K"}, {"wakeup", "1", "iface", recovery.Interface, "0", "i2creset"});
    ASSERT_EQ(run.Value("0.result"), "0");
    std::vector<Json::Value> steps;
    for (const Json::Value& event : run.Events("cmd"))
        if (TraceNumber(event, "op") >= 0x80 && TraceNumber(event, "op") <= 0x88)
            steps.push_back(event);
    ASSERT_EQ(steps.size(), 26u);
    // opcode and address (low byte) of each step; ten clock pulses, each a data and a clock write
    std::vector<std::pair<uint32_t, uint32_t>> expected = {
        {0x87, 0x44}, {0x81, 0x44}, {0x86, 0x18}, {0x80, 0x18}};
    for (int pulse = 0; pulse < 10; ++pulse)
        expected.insert(expected.end(), {{0x80, 0x38}, {0x80, 0x28}});
    expected.insert(expected.end(), {{0x87, 0x44}, {0x81, 0x44}});
    for (size_t i = 0; i < steps.size(); ++i)
    {
        EXPECT_EQ(TraceNumber(steps[i], "op"), expected[i].first) << "step " << i;
        EXPECT_EQ(TraceNumber(steps[i], "addr"),
                  0xF0000000u | recovery.SecondAddressByte << 8 | expected[i].second)
            << "step " << i;
        if (i >= 4 && i < 24)
        {
            EXPECT_EQ(TraceNumber(steps[i], "data"), i % 2 == 0 ? 0xFEu : 0x01u) << "step " << i;
        }
    }
    // Read-modify-write: clear bit 2 of 0xA44, set bit 0 of 0xA18, set bit 2 of 0xA44 again.
    EXPECT_EQ(TraceNumber(steps[1], "data"), TraceNumber(steps[0], "data") & ~0x0004u);
    EXPECT_EQ(TraceNumber(steps[3], "data"), TraceNumber(steps[2], "data") | 0x01u);
    EXPECT_EQ(TraceNumber(steps[25], "data"), TraceNumber(steps[24], "data") | 0x0004u);
    EXPECT_EQ(run.Value("2.result"), std::to_string(TraceNumber(steps[25], "status")));
}

INSTANTIATE_TEST_SUITE_P(Interfaces, BusRecoveryTest,
                         testing::Values(SRecoveryCase{"interface_0_flag_overlays_address", "0", 0x01},
                                         SRecoveryCase{"interface_1_exact_address", "1", 0x0A}),
                         ByName);

// Virtual time is exact: each wait is the counter's busy-wait of its span, the last read landing
// past it by at most a sixteenth, so each width is a fixed figure.
TEST(ResetPulseTest, EachEdgeIsHeld10msThenTheBoardGets100ms)
{
    const SSimResult run = ToolboxRun({"--board", "Q5K"}, {"reset", "exec", "0x01", "10", "0", "0"});
    std::vector<int64_t> times;
    for (const Json::Value& event : run.Trace)
        if (event["ev"] == "reset" || event["ev"] == "doorbell")
            times.push_back(event["t_us"].asInt64());
    std::adjacent_difference(times.begin(), times.end(), times.begin());
    EXPECT_EQ(std::vector<int64_t>(times.begin() + 1, times.end()),
              (std::vector<int64_t>{10499, 10500, 10500, 101052}));
    EXPECT_EQ(run.Events("reset")[3]["line"], 0);
}

} // namespace
