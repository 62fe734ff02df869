// Wake-up, identification, command protocol and I2C of the toolbox against the simulated board.
#include "SimRun.h"

#include <gtest/gtest.h>

namespace
{
constexpr uint32_t TIMEOUT = 0xFFFFFFFF;

// Number of reset pulses: each pulse asserts the reset line twice.
size_t Attempts(const SSimRun& run)
{
    size_t asserts = 0;
    for (const Json::Value& event : run.Events("reset"))
    {
        asserts += TraceNumber(event, "line") == 1 ? 1 : 0;
    }
    return asserts / 2;
}

std::vector<uint32_t> Opcodes(const SSimRun& run)
{
    std::vector<uint32_t> opcodes;
    for (const Json::Value& event : run.Events("cmd"))
    {
        opcodes.push_back(TraceNumber(event, "op"));
    }
    return opcodes;
}

struct SModelCase
{
    const char* pName_c;
    std::vector<std::string> Options_X;
    int Type_S32;
    int Pcb_S32;
    int Jumpers_S32;
    int Components_S32;
    bool TakesI2CProbe_B;
};

class WakeUpModelTest : public ::testing::TestWithParam<SModelCase>
{
};

TEST_P(WakeUpModelTest, IdentifiesTheModelAndFillsTheBoardInfos)
{
    const SModelCase& model = GetParam();
    const SSimRun run = RunProbe(model.Options_X, {"wakeup", "3"});
    const Json::Value& wakeUp = run.Op(0);
    ASSERT_EQ(wakeUp["result"].asUInt(), 0u) << run.Stdout_S;
    const Json::Value& infos = wakeUp["infos"];
    EXPECT_EQ(infos["type"].asInt(), model.Type_S32);
    EXPECT_EQ(infos["pcb"].asInt(), model.Pcb_S32);
    EXPECT_EQ(infos["jumpers"].asInt(), model.Jumpers_S32);
    EXPECT_EQ(infos["components"].asInt(), model.Components_S32);
    EXPECT_EQ(infos["rbf"].asInt(), 0);
    EXPECT_EQ(infos["reserved"].asString(), "000000");
    ASSERT_EQ(run.Commands(0x05).size(), 1u);
    EXPECT_EQ(static_cast<uint32_t>(infos["id"].asInt()), TraceNumber(run.Commands(0x05)[0], "ident"));
    EXPECT_EQ(Attempts(run), 1u);

    const std::vector<uint32_t> opcodes = Opcodes(run);
    ASSERT_FALSE(opcodes.empty());
    EXPECT_EQ(opcodes.front(), 0x01u);
    const std::vector<uint32_t> tail(opcodes.end() - (model.TakesI2CProbe_B ? 4 : 2), opcodes.end());
    const std::vector<uint32_t> expected =
        model.TakesI2CProbe_B ? std::vector<uint32_t>{0x05, 0x92, 0x90, 0x03} : std::vector<uint32_t>{0x05, 0x03};
    EXPECT_EQ(tail, expected);
    EXPECT_EQ(run.Events("i2c").size(), model.TakesI2CProbe_B ? 1u : 0u);
    if (model.TakesI2CProbe_B)
    {
        EXPECT_EQ(TraceNumber(run.Events("i2c")[0], "wr"), 0u);
        EXPECT_EQ(TraceNumber(run.Events("i2c")[0], "rd"), 0u);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Models, WakeUpModelTest,
    ::testing::Values(
        // ZEBX keeps the version bytes whole and has no jumpers.
        SModelCase{"ZEBX", {"--board", "ZEBX", "--ident", "0x12", "--board-version", "0x37,0x45"}, 0, 0x37, 0, 0x45, true},
        SModelCase{"Q5K", {"--board", "Q5K", "--ident", "0xB2", "--board-version", "0x53,0x24"}, 1, 3, 5, 4, true},
        // A zero low nibble means the jumpers are not readable: reported as 0.
        SModelCase{"Q5K_no_jumpers", {"--board", "Q5K", "--ident", "0xB2", "--board-version", "0x50,0x2F"}, 1, 0, 0, 0xF, true},
        SModelCase{"Q5KP", {"--board", "Q5KP", "--ident", "0xC5", "--board-version", "0x23,0x41"}, 2, 3, 2, 1, false},
        SModelCase{"Q5KP_variant", {"--board", "Q5KP-V", "--ident", "0xC5", "--board-version", "0x2A,0x41"}, 3, 0xA, 2, 1, false}),
    [](const ::testing::TestParamInfo<SModelCase>& info) { return std::string(info.param.pName_c); });

TEST(WakeUpQ7KTest, DetectsFromRegisterZeroAndWakesAfterOnePowerCycle)
{
    const SSimRun run = RunProbe({"--board", "Q7K", "--q7k-regs", "0xD1,0x02,0x34,0x05"}, {"wakeup", "3"});
    const Json::Value& detected = run.Output_X["detected"];
    EXPECT_EQ(detected["type"].asInt(), 4);
    EXPECT_EQ(detected["id"].asInt(), 0xD1);
    EXPECT_EQ(detected["pcb"].asInt(), 0x02);
    EXPECT_EQ(detected["jumpers"].asInt(), 0x3);
    EXPECT_EQ(detected["components"].asInt(), 0x4);
    EXPECT_EQ(detected["rbf"].asInt(), 0x05);
    // The helper got the communication RAM from outside: its accessor has length 0, the status
    // reads 0 at the first poll and the wake-up ends after the first power cycle.
    EXPECT_EQ(run.Op(0)["result"].asUInt(), 0u);
    std::vector<std::string> states;
    for (const Json::Value& event : run.Events("psu"))
    {
        states.push_back(event["state"].asString());
    }
    EXPECT_EQ(states, (std::vector<std::string>{"off", "on"}));
    EXPECT_TRUE(run.Events("reset").empty());
    EXPECT_GE(run.Op(0)["elapsedMs"].asInt64(), 11500);
}

class Q7KDetectionTest : public ::testing::TestWithParam<const char*>
{
};

// Register 0 decides; then registers 0 to 3 are read once each, in index order.
TEST_P(Q7KDetectionTest, ReadsRegisterZeroThenRegistersZeroToThreeInOrder)
{
    const SSimRun run = RunProbe({"--host-board", GetParam(), "--board", "Q7K", "--q7k-regs", "0xD1,0x02,0x34,0x05"}, {});
    ASSERT_EQ(run.Output_X["detected"]["type"].asInt(), 4);
    std::vector<uint32_t> dataReads;
    for (const Json::Value& event : run.Events("reg"))
    {
        if (TraceNumber(event, "port") == 0x350 && event["dir"].asString() == "r")
        {
            dataReads.push_back(TraceNumber(event, "index"));
        }
    }
    EXPECT_EQ(dataReads, (std::vector<uint32_t>{0, 0, 1, 2, 3}));
}

INSTANTIATE_TEST_SUITE_P(Hosts, Q7KDetectionTest, ::testing::Values("0", "1"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             return std::string("host_board_") + info.param;
                         });

TEST(WakeUpQ7KTest, ZeroAttemptsOnAQ7KStillRunThePowerCycle)
{
    const SSimRun run = RunProbe({"--board", "Q7K"}, {"--type", "4", "wakeup", "0"});
    EXPECT_EQ(run.Op(0)["result"].asUInt(), 0u);
    EXPECT_EQ(run.Events("psu").size(), 2u);
}

struct SFailureCase
{
    const char* pName_c;
    std::string Fault_S;
    uint32_t Code_U32;
    size_t Attempts_U32; // with an attempt count of 2
};

class WakeUpFailureTest : public ::testing::TestWithParam<SFailureCase>
{
};

TEST_P(WakeUpFailureTest, ReturnsItsCodeAfterTheAttemptsItsRuleAllows)
{
    const SFailureCase& failure = GetParam();
    const SSimRun run = RunProbe({"--board", "Q5K", "--fault", failure.Fault_S, "--speed", "400"}, {"wakeup", "2"});
    EXPECT_EQ(run.Op(0)["result"].asUInt(), failure.Code_U32);
    EXPECT_EQ(Attempts(run), failure.Attempts_U32);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, WakeUpFailureTest,
    ::testing::Values(SFailureCase{"reset_stuck", "reset-stuck", 1, 2},
                      SFailureCase{"ram_check", "ram-check-fail", 1, 2},
                      SFailureCase{"bootstrap_silent", "bootstrap-silent", 2, 2},
                      SFailureCase{"ident", "ident-fail=0x21", 3, 1},
                      SFailureCase{"version", "version-fail=0x22", 4, 1},
                      SFailureCase{"wakeup_step", "wakeup-step-fail=0x23", 5, 1},
                      SFailureCase{"i2c_stuck_hard", "i2c-stuck-hard", 6, 2}),
    [](const ::testing::TestParamInfo<SFailureCase>& info) { return std::string(info.param.pName_c); });

// Through interface 0 the flag at 0x0003 lands on the address's second byte, so the recovery
// misses the GPIO pins; through interface 1 it reaches them and the next attempt succeeds.
// A bootstrap that never answers is asked 201 times per attempt (about 20 s of 1 s queries with
// 100 ms pauses) before the attempt fails, and each of the two attempts does the same.
TEST(WakeUpRetryTest, SilentBootstrapIsAskedTwoHundredAndOneTimesPerAttempt)
{
    const SSimRun run = RunProbe({"--board", "Q5K", "--fault", "bootstrap-silent", "--speed", "400"}, {"wakeup", "2"});
    EXPECT_EQ(run.Op(0)["result"].asUInt(), 2u);
    std::vector<size_t> perAttempt;
    for (const Json::Value& event : run.Trace_X)
    {
        const std::string kind = event["ev"].asString();
        if (kind == "reset" && event["line"].asUInt() == 1 && (perAttempt.empty() || perAttempt.back() != 0))
            perAttempt.push_back(0); // the first edge of a reset pulse starts an attempt
        else if (kind == "doorbell" && event["op"].asString() == "0x01" && !perAttempt.empty())
            ++perAttempt.back();
    }
    EXPECT_EQ(perAttempt, (std::vector<size_t>{201, 201}));
    EXPECT_TRUE(run.Events("cmd").empty()) << "the silent bootstrap took a command";
}

TEST(WakeUpRetryTest, StuckBusStaysStuckThroughInterfaceZeroForEveryAttempt)
{
    const SSimRun run = RunProbe({"--board", "ZEBX", "--ident", "0x12", "--fault", "i2c-stuck"}, {"wakeup", "3"});
    EXPECT_EQ(run.Op(0)["result"].asUInt(), 6u);
    EXPECT_EQ(Attempts(run), 3u);
    EXPECT_EQ(run.Commands(0x90).size(), 3u);
    EXPECT_EQ(run.Commands(0x81).size(), 6u) << "one bus reset per failed attempt";
}

TEST(WakeUpRetryTest, BusResetThroughInterfaceOneFreesTheBusForTheNextAttempt)
{
    const SSimRun run =
        RunProbe({"--board", "ZEBX", "--ident", "0x12", "--fault", "i2c-stuck"}, {"iface", "1", "0", "wakeup", "3"});
    EXPECT_EQ(run.Op(1)["result"].asUInt(), 0u);
    EXPECT_EQ(Attempts(run), 2u);
    EXPECT_EQ(run.Commands(0x90).size(), 2u);
}

TEST(WakeUpRetryTest, ZeroAttemptsDoNothingAndSucceed)
{
    const SSimRun run = RunProbe({"--board", "Q5K"}, {"wakeup", "0"});
    EXPECT_EQ(run.Op(0)["result"].asUInt(), 0u);
    EXPECT_TRUE(run.Events("reset").empty());
    EXPECT_TRUE(run.Events("cmd").empty());
}

struct SRecoveryCase
{
    const char* pName_c;
    const char* pInterface_c;
    uint32_t SecondAddressByte_U32; // what the board sees in bits 8-15 of each address
};

class BusRecoveryTest : public ::testing::TestWithParam<SRecoveryCase>
{
};

TEST_P(BusRecoveryTest, IssuesThreeReadsAndTwentyThreeWritesInOrder)
{
    const SRecoveryCase& recovery = GetParam();
    const SSimRun run = RunProbe({"--board", "Q5K"}, {"wakeup", "1", "iface", recovery.pInterface_c, "0", "i2creset"});
    ASSERT_EQ(run.Op(0)["result"].asUInt(), 0u);
    std::vector<Json::Value> sequence;
    for (const Json::Value& event : run.Events("cmd"))
    {
        const uint32_t op = TraceNumber(event, "op");
        if (op >= 0x80 && op <= 0x88)
        {
            sequence.push_back(event);
        }
    }
    ASSERT_EQ(sequence.size(), 26u);
    const auto expect = [&](size_t index, uint32_t op, uint32_t address) {
        const uint32_t onTheWire = (address & ~0xFF00u) | (recovery.SecondAddressByte_U32 << 8);
        EXPECT_EQ(TraceNumber(sequence[index], "op"), op) << "step " << index;
        EXPECT_EQ(TraceNumber(sequence[index], "addr"), onTheWire) << "step " << index;
    };
    expect(0, 0x87, 0xF0000A44);
    expect(1, 0x81, 0xF0000A44);
    EXPECT_EQ(TraceNumber(sequence[1], "data"), TraceNumber(sequence[0], "data") & ~0x0004u);
    expect(2, 0x86, 0xF0000A18);
    expect(3, 0x80, 0xF0000A18);
    EXPECT_EQ(TraceNumber(sequence[3], "data"), TraceNumber(sequence[2], "data") | 0x01u);
    for (size_t pulse = 0; pulse < 10; ++pulse)
    {
        expect(4 + 2 * pulse, 0x80, 0xF0000A38);
        EXPECT_EQ(TraceNumber(sequence[4 + 2 * pulse], "data"), 0xFEu);
        expect(5 + 2 * pulse, 0x80, 0xF0000A28);
        EXPECT_EQ(TraceNumber(sequence[5 + 2 * pulse], "data"), 0x01u);
    }
    expect(24, 0x87, 0xF0000A44);
    expect(25, 0x81, 0xF0000A44);
    EXPECT_EQ(TraceNumber(sequence[25], "data"), TraceNumber(sequence[24], "data") | 0x0004u);
    EXPECT_EQ(run.Op(2)["result"].asUInt(), TraceNumber(sequence[25], "status"));
}

INSTANTIATE_TEST_SUITE_P(Interfaces, BusRecoveryTest,
                         ::testing::Values(SRecoveryCase{"interface_0_flag_overlays_address", "0", 0x01},
                                           SRecoveryCase{"interface_1_exact_address", "1", 0x0A}),
                         [](const ::testing::TestParamInfo<SRecoveryCase>& info) {
                             return std::string(info.param.pName_c);
                         });

class StuckStatusTest : public ::testing::TestWithParam<const char*>
{
};

TEST_P(StuckStatusTest, IsNeverTakenAndTheCommandTimesOut)
{
    const SSimRun run =
        RunProbe({"--board", "Q5K", "--fault", std::string("status-stuck=") + GetParam()},
              {"reset", "dpram", "10", "exec", "0x01", "300", "0", "0"});
    ASSERT_EQ(run.Op(1)["result"].asUInt(), 1u);
    EXPECT_EQ(run.Op(2)["result"].asUInt(), TIMEOUT);
    EXPECT_GE(run.Op(2)["elapsedMs"].asInt64(), 300);
    const std::vector<Json::Value> queries = run.Commands(0x01);
    ASSERT_EQ(queries.size(), 1u);
    EXPECT_EQ(TraceNumber(queries[0], "real_status"), 0u) << "the board did answer";
}

INSTANTIATE_TEST_SUITE_P(Statuses, StuckStatusTest, ::testing::Values("0x80", "0xFF"));

TEST(CommandProtocolTest, EachInterfaceUsesItsOwnMailbox)
{
    const SSimRun run = RunProbe({"--board", "Q5K"}, {"wakeup", "1", "exec", "0x01", "1000", "1", "1", "exec", "0x01",
                                                  "1000", "2", "0", "exec", "0x01", "1000", "0", "0"});
    const std::vector<Json::Value> queries = run.Commands(0x01);
    ASSERT_GE(queries.size(), 3u);
    const std::vector<uint32_t> mailboxes = {TraceNumber(queries[queries.size() - 3], "mbx"),
                                             TraceNumber(queries[queries.size() - 2], "mbx"),
                                             TraceNumber(queries.back(), "mbx")};
    EXPECT_EQ(mailboxes, (std::vector<uint32_t>{0x2F24, 0x3024, 0x0000}));
    for (unsigned op = 1; op <= 3; ++op)
    {
        EXPECT_EQ(run.Op(op)["result"].asUInt(), 0u) << "operation " << op;
    }
}

TEST(I2CServiceTest, EmptyAndOversizedCountsArePostedAsTheirLow16Bits)
{
    const SSimRun run = RunProbe({"--board", "Q5K"}, {"wakeup", "1", "i2c", "0", "0", "i2c-nobuf", "0x10002", "0x10003"});
    const std::vector<Json::Value> transfers = run.Events("i2c");
    ASSERT_EQ(transfers.size(), 3u); // the wake-up's probe, then ours
    EXPECT_EQ(TraceNumber(transfers[1], "wr"), 0u);
    EXPECT_EQ(TraceNumber(transfers[1], "rd"), 0u);
    EXPECT_EQ(TraceNumber(transfers[2], "wr"), 2u);
    EXPECT_EQ(TraceNumber(transfers[2], "rd"), 3u);
    EXPECT_EQ(run.Op(1)["result"].asUInt(), TraceNumber(transfers[1], "status"));
}

TEST(I2CServiceTest, FailedTransferLeavesTheReadBufferAsItWas)
{
    const SSimRun run = RunProbe({"--board", "Q5K", "--fault", "i2c-stuck-hard"}, {"i2c", "2", "4"});
    EXPECT_NE(run.Op(0)["result"].asUInt(), 0u);
    EXPECT_EQ(run.Op(0)["read"].asString(), "EEEEEEEE");
}
} // namespace
