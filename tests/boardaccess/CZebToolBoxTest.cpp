// Wake-up, identification, command protocol and I2C of the toolbox against the simulated board.
#include "ToolboxRun.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace
{
// Times the reset line was asserted: each attempt's reset pulse asserts it twice.
size_t ResetAsserts(const SSimResult& run)
{
    const std::vector<uint32_t> lines = TraceNumbers(run.Events("reset"), "line");
    return std::count(lines.begin(), lines.end(), 1u);
}

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
    EXPECT_EQ(ResetAsserts(run), 2u);
    const std::vector<uint32_t> opcodes = TraceNumbers(run.Events("cmd"), "op");
    ASSERT_GT(opcodes.size(), model.LastCommands.size());
    EXPECT_EQ(opcodes.front(), 0x01u);
    EXPECT_EQ(std::vector<uint32_t>(opcodes.end() - model.LastCommands.size(), opcodes.end()),
              model.LastCommands);
    // Models that take the I2C probe send one empty transfer.
    const std::vector<uint32_t> probes(model.LastCommands.size() == 4 ? 1 : 0, 0);
    EXPECT_EQ(TraceNumbers(run.Events("i2c"), "wr"), probes);
    EXPECT_EQ(TraceNumbers(run.Events("i2c"), "rd"), probes);
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

struct SAttemptCase
{
    const char* Name;
    Args Options;
    Args Ops;
    const char* Result; // of the wake-up, the last operation
    size_t Attempts;
    size_t PowerCycles;
    std::vector<std::pair<uint32_t, size_t>> Commands; // opcode, how many times
};

using WakeUpAttemptTest = testing::TestWithParam<SAttemptCase>;

TEST_P(WakeUpAttemptTest, ReturnsItsCodeAfterTheAttemptsItsRuleAllows)
{
    const SAttemptCase& c = GetParam();
    const SSimResult run = ToolboxRun(c.Options, c.Ops);
    // The wake-up is the last operation: the first, or the second after an interface change.
    EXPECT_EQ(run.Value(std::to_string(c.Ops[0] == "iface") + ".result"), c.Result);
    EXPECT_EQ(ResetAsserts(run), 2 * c.Attempts);
    EXPECT_EQ(run.Events("psu").size(), 2 * c.PowerCycles);
    for (const auto& [opcode, count] : c.Commands)
        EXPECT_EQ(run.Commands(opcode).size(), count) << "opcode " << opcode;
}

Args Q5KFault(const char* fault)
{
    return {"--board", "Q5K", "--fault", fault};
}
const Args STUCK_ZEBX = {"--board", "ZEBX", "--ident", "0x12", "--fault", "i2c-stuck"};

INSTANTIATE_TEST_SUITE_P(
    Codes, WakeUpAttemptTest,
    testing::Values(
        SAttemptCase{"reset_stuck", Q5KFault("reset-stuck"), {"wakeup", "2"}, "1", 2, 0, {}},
        SAttemptCase{"ram_check", Q5KFault("ram-check-fail"), {"wakeup", "2"}, "1", 2, 0, {}},
        SAttemptCase{"ident", Q5KFault("ident-fail=0x21"), {"wakeup", "2"}, "3", 1, 0, {}},
        SAttemptCase{"version", Q5KFault("version-fail=0x22"), {"wakeup", "2"}, "4", 1, 0, {}},
        SAttemptCase{"wakeup_step", Q5KFault("wakeup-step-fail=0x23"), {"wakeup", "2"}, "5", 1, 0, {}},
        SAttemptCase{"i2c_stuck_hard", Q5KFault("i2c-stuck-hard"), {"wakeup", "2"}, "6", 2, 0, {}},
        // Through interface 0 the flag at 0x0003 lands on the address's second byte, so the bus
        // reset misses the GPIO pins; through interface 1 it reaches them and the next attempt
        // succeeds. One bus reset (two writes to its register) per failed attempt.
        SAttemptCase{"i2c_stuck_interface_0", STUCK_ZEBX, {"wakeup", "3"}, "6", 3, 0, {{0x90, 3}, {0x81, 6}}},
        SAttemptCase{
            "i2c_stuck_interface_1", STUCK_ZEBX, {"iface", "1", "0", "wakeup", "3"}, "0", 2, 0, {{0x90, 2}}},
        SAttemptCase{"zero_attempts", {"--board", "Q5K"}, {"wakeup", "0"}, "0", 0, 0, {{0x01, 0}}},
        // A Q7K runs its power cycle even for zero attempts.
        SAttemptCase{"zero_attempts_q7k", {"--board", "Q7K"}, {"--type", "4", "wakeup", "0"}, "0", 0, 1, {}}),
    ByName);

// A bootstrap that never answers is asked 201 times per attempt (about 20 s of 1 s queries with
// 100 ms pauses) before the attempt fails with 2; it never takes a command.
TEST(WakeUpRetryTest, SilentBootstrapIsAskedTwoHundredAndOneTimesPerAttempt)
{
    const SSimResult run = ToolboxRun(Q5KFault("bootstrap-silent"), {"wakeup", "2"});
    EXPECT_EQ(run.Value("0.result"), "2");
    EXPECT_TRUE(run.Commands(0x01).empty());
    std::vector<size_t> perAttempt;
    for (const Json::Value& event : run.Trace)
    {
        if (event["ev"] == "reset" && event["line"].asUInt() == 1 &&
            (perAttempt.empty() || perAttempt.back() != 0))
            perAttempt.push_back(0); // the first edge of a reset pulse starts an attempt
        else if (event["ev"] == "doorbell" && event["op"] == "0x01" && !perAttempt.empty())
            ++perAttempt.back();
    }
    EXPECT_EQ(perAttempt, (std::vector<size_t>{201, 201}));
}

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

TEST(CommandProtocolTest, EachInterfaceUsesItsOwnMailbox)
{
    const SSimResult run =
        ToolboxRun({"--board", "Q5K"}, {"wakeup", "1", "exec", "0x01", "1000", "1", "1", "exec", "0x01",
                                        "1000", "2", "0", "exec", "0x01", "1000", "0", "0"});
    const std::vector<uint32_t> mailboxes = TraceNumbers(run.Commands(0x01), "mbx");
    ASSERT_GE(mailboxes.size(), 3u);
    EXPECT_EQ(std::vector<uint32_t>(mailboxes.end() - 3, mailboxes.end()),
              (std::vector<uint32_t>{0x2F24, 0x3024, 0x0000}));
    for (const char* key : {"1.result", "2.result", "3.result"})
        EXPECT_EQ(run.Value(key), "0") << key;
}

TEST(I2CServiceTest, EmptyAndOversizedCountsArePostedAsTheirLow16Bits)
{
    const SSimResult run =
        ToolboxRun({"--board", "Q5K"}, {"wakeup", "1", "i2c", "0", "0", "i2c-nobuf", "0x10002", "0x10003"});
    // The wake-up's probe, then ours.
    ASSERT_EQ(TraceNumbers(run.Events("i2c"), "wr"), (std::vector<uint32_t>{0, 0, 2}));
    EXPECT_EQ(TraceNumbers(run.Events("i2c"), "rd"), (std::vector<uint32_t>{0, 0, 3}));
    EXPECT_EQ(run.Value("1.result"), std::to_string(TraceNumbers(run.Events("i2c"), "status")[1]));
}

// Virtual time is exact: each wait is the counter's busy-wait of its span, the last read landing
// past it by at most a sixteenth, so each width is a fixed figure.
TEST(ResetPulseTest, EachEdgeIsHeld10msThenTheBoardGets100ms)
{
    const SSimResult run = ToolboxRun({"--board", "Q5K"}, {"reset", "exec", "0x01", "10", "0", "0"});
    std::vector<int64_t> times;
    for (const Json::Value& event : run.Trace)
    {
        if (event["ev"] == "reset" || event["ev"] == "doorbell")
            times.push_back(event["t_us"].asInt64());
    }
    std::vector<int64_t> widths;
    for (size_t i = 1; i < times.size(); ++i)
        widths.push_back(times[i] - times[i - 1]);
    EXPECT_EQ(widths, (std::vector<int64_t>{10499, 10500, 10500, 111680}));
    EXPECT_EQ(run.Events("reset")[3]["line"], 0);
}

} // namespace
