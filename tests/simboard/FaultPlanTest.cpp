#include "FaultPlan.h"
#include "IdentityRecord.h"
#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

namespace
{

constexpr int kNotRead = -2;

struct FaultCase
{
    const char* fault;
    const char* board;
    int wakeCode;
    int firstPageRead; // status of the EEPROM driver's first page read after the wake-up
};

class FaultEffects : public ::testing::TestWithParam<FaultCase>
{
};

std::string caseName(const ::testing::TestParamInfo<FaultCase>& info)
{
    std::string name = std::string(info.param.fault) + "_" + info.param.board;
    for (char& c : name)
        if (!isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return name;
}

} // namespace

TEST_P(FaultEffects, ShowInTheWakeupAndTheFirstRead)
{
    const FaultCase& c = GetParam();
    sim::BoardConfig config = MailboxDriver::config({{"board", c.board}});
    if (*c.fault)
        ASSERT_TRUE(config.apply("fault", c.fault, nullptr));
    MailboxDriver host(config);
    EXPECT_EQ(c.wakeCode, host.boardWakeUp(3));
    if (c.firstPageRead == kNotRead)
        return;
    std::vector<uint8_t> page;
    EXPECT_EQ(c.firstPageRead, host.eepromRead(256, 64, &page));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultEffects,
    ::testing::Values(
        FaultCase{"", "Q5K", 0, 0}, FaultCase{"", "ZEBX", 0, 0}, FaultCase{"", "Q5KP", 0, 0},
        FaultCase{"reset-stuck", "Q5K", 1, kNotRead}, FaultCase{"ram-check-fail", "Q5K", 1, kNotRead},
        FaultCase{"bootstrap-silent", "Q5K", 2, kNotRead}, FaultCase{"ident-fail=0x21", "Q5K", 3, kNotRead},
        FaultCase{"version-fail=0x22", "Q5KP", 4, kNotRead},
        FaultCase{"version-fail=0x22", "ZEBX", 4, kNotRead},
        FaultCase{"wakeup-step-fail=0x23", "Q5K", 5, kNotRead},
        FaultCase{"wakeup-step-fail=0x23", "Q5KP", 0, 0}, FaultCase{"i2c-stuck", "Q5K", 6, kNotRead},
        FaultCase{"i2c-stuck-hard", "ZEBX", 6, kNotRead}, FaultCase{"ucode-absent", "Q5K", 0, kTimedOut},
        FaultCase{"ucode-refuse", "Q5KP", 0, 0x7F}, FaultCase{"ucode-timeout", "Q5K", 0, kTimedOut},
        FaultCase{"status-stuck=0x80", "Q5K", 2, kNotRead},
        FaultCase{"status-stuck=0xFF", "Q5KP", 2, kNotRead}, FaultCase{"eeprom-busy=1", "Q5K", 0, 2},
        FaultCase{"page-status=0x0120:0x05", "Q5K", 0, 5}, FaultCase{"page-status=0x0180:0x05", "Q5K", 0, 0},
        FaultCase{"ram-late=2", "Q5K", 0, 0}, FaultCase{"ram-late=100000", "Q5K", 1, kNotRead},
        FaultCase{"bootstrap-late=2", "ZEBX", 0, 0}, FaultCase{"bootstrap-late=100000", "Q5K", 2, kNotRead},
        FaultCase{"status-unsettled=3", "Q5KP", 0, 0}),
    caseName);

TEST(FaultPlan, StuckBusIsFreedByTheRetryWhenTheResetReachesThePin)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "i2c-stuck"}}));
    host.bsMailbox = 0x2F24;
    EXPECT_EQ(0, host.boardWakeUp(3));
    EXPECT_EQ(2u, host.trace.matching({"\"ev\":\"i2c\"", "\"dev\":\"0xA2\""}).size());
    EXPECT_EQ(1u, host.trace.matching({"\"bus\":\"freed\""}).size());
}

TEST(FaultPlan, EepromBusyCountsTransactionsDown)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "eeprom-busy=3"}}));
    std::vector<uint8_t> page;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(2, host.eepromRead(256, 64, &page)) << i;
    EXPECT_EQ(0, host.eepromRead(256, 64, &page));
}

// Each row: a transient fault and what the host sees from one command once it is answered.
struct TransientCase
{
    const char* fault;
    std::vector<uint8_t> statusReads; // successive reads of the status byte
    uint32_t pendingTraced;
};

class TransientStatus : public ::testing::TestWithParam<TransientCase>
{
};

TEST_P(TransientStatus, ReadsOfTheAnsweredStatus)
{
    sim::BoardConfig config;
    if (*GetParam().fault)
        ASSERT_TRUE(config.apply("fault", GetParam().fault, nullptr));
    MailboxDriver host(config);
    host.write(0x0000, 0x01);
    host.write(0x0001, 0x80);
    host.write(0x7FFF, 1);
    EXPECT_EQ(0x80u, host.read(0x0001)) << "still executing";
    host.wait(kMs);
    for (uint8_t expected : GetParam().statusReads)
        EXPECT_EQ(expected, host.read(0x0001));
    const std::string pending = "\"pending\":" + std::to_string(GetParam().pendingTraced) + ",";
    EXPECT_EQ(1u, host.trace.matching({"\"ev\":\"polled\"", pending.c_str(), "\"status\":\"0x00\""}).size());
}

INSTANTIATE_TEST_SUITE_P(Faults, TransientStatus,
                         ::testing::Values(TransientCase{"", {0x00, 0x00}, 1},
                                           TransientCase{"status-unsettled=1", {0x80, 0x80, 0x00, 0x00}, 3}));

TEST(FaultPlan, WriteBusyRefusesTheEepromAfterEveryPageWrite)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "write-busy=2"}}));
    std::vector<uint8_t> page;
    for (int round = 0; round < 2; ++round)
    {
        ASSERT_EQ(0, host.eepromWrite(0x4000, {1})) << round;
        host.wait(10 * kMs); // the write cycle is over, the fault's refusals are not
        EXPECT_EQ(2, host.eepromRead(0x4000, 1, &page)) << round;
        EXPECT_EQ(2, host.eepromRead(0x4000, 1, &page)) << round;
        EXPECT_EQ(0, host.eepromRead(0x4000, 1, &page)) << round;
    }
}

TEST(FaultPlan, CorruptedRepliesFlipOneBitOfDataOrChecksum)
{
    for (const char* fault : {"reply-corrupt=1", "checksum-corrupt=1"})
    {
        MailboxDriver host(MailboxDriver::config({{"fault", fault}}));
        std::vector<uint8_t> first;
        std::vector<uint8_t> second;
        ASSERT_EQ(0, host.transfer(0xA4, {0x01, 0x00}, 64, &first, true));
        const uint32_t firstSum = host.readLe(0x0008, 4);
        ASSERT_EQ(0, host.transfer(0xA4, {0x01, 0x00}, 64, &second, true));
        const uint32_t secondSum = host.readLe(0x0008, 4);
        int flipped = 0;
        for (size_t i = 0; i < first.size(); ++i)
            flipped += __builtin_popcount(first[i] ^ second[i]);
        flipped += __builtin_popcount(firstSum ^ secondSum);
        EXPECT_EQ(1, flipped) << fault;
        EXPECT_EQ(std::string(fault) == "reply-corrupt=1", first != second) << fault;
    }
}

TEST(FaultPlan, CountedPageStatusWearsOff)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "page-status=11072:0x05:2"}}));
    std::vector<uint8_t> page;
    EXPECT_EQ(5, host.eepromRead(11072, 64, &page));
    EXPECT_EQ(5, host.eepromRead(11072 + 10, 4, &page));
    EXPECT_EQ(0, host.eepromRead(11072, 64, &page));
}

TEST(FaultPlan, PowerCutFreezesTheEepromAfterNPageWrites)
{
    MailboxDriver host(MailboxDriver::config({{"fault", "power-cut=1"}}));
    ASSERT_EQ(0, host.eepromWrite(0x4000, {1}));
    host.wait(10 * kMs);
    ASSERT_EQ(0, host.eepromWrite(0x4040, {2})) << "the lost write is still acknowledged";
    EXPECT_EQ(1u, host.eeprom[0x4000]);
    EXPECT_EQ(0xFFu, host.eeprom[0x4040]);
}

TEST(FaultPlan, BitFlipsDamageOnlyTheNamedRecord)
{
    struct
    {
        const char* fault;
        bool copyGood[3];
        bool oldGood;
    } cases[] = {{"bitflip=0", {false, true, true}, true},
                 {"bitflip=2:5", {true, true, false}, true},
                 {"bitflip=old", {true, true, true}, false}};
    for (const auto& c : cases)
    {
        MailboxDriver host(MailboxDriver::config({{"fault", c.fault}}));
        for (uint32_t copy = 0; copy < 3; ++copy)
            EXPECT_EQ(c.copyGood[copy], sim::IdentityRecord::checksumHolds(
                                            host.eeprom.data() + sim::IdentityRecord::copyAddress(copy)))
                << c.fault << " copy " << copy;
        EXPECT_EQ(c.oldGood, sim::IdentityRecord::oldIntegrityHolds(host.eeprom.data())) << c.fault;
    }
}

TEST(FaultPlan, SameSeedOnADamagedImageDoesNotRepairIt)
{
    std::vector<uint8_t> image = sim::sampleEepromImage();
    const sim::BoardConfig config = MailboxDriver::config({{"fault", "bitflip=1:3"}, {"seed", "42"}});
    {
        sim::SimServer first(config, image.data(), nullptr);
    }
    const std::vector<uint8_t> damaged = image;
    sim::SimServer second(config, image.data(), nullptr);
    EXPECT_EQ(damaged, image);
    EXPECT_FALSE(sim::IdentityRecord::checksumHolds(image.data() + 11072));
}

TEST(FaultPlan, SeedDecidesWhereBitsFlip)
{
    auto damage = [](const char* seed)
    {
        std::vector<uint8_t> image = sim::sampleEepromImage();
        sim::SimServer server(MailboxDriver::config({{"fault", "bitflip=0:4"}, {"seed", seed}}), image.data(),
                              nullptr);
        return image;
    };
    EXPECT_EQ(damage("7"), damage("7"));
    EXPECT_NE(damage("7"), damage("8"));
}

TEST(FaultPlan, ParseRejectsUnknownNamesAndBadArguments)
{
    const char* bad[] = {"no-such-fault",     "ident-fail",        "ident-fail=0x80",     "ident-fail=0",
                         "eeprom-busy=x",     "page-status=0x100", "bitflip=4",           "bitflip=old:0",
                         "status-stuck=0x7F", "reset-stuck=1",     "page-status=0x8000:5"};
    for (const char* text : bad)
    {
        sim::FaultRequest request;
        std::string error;
        EXPECT_FALSE(sim::FaultPlan::parse(text, &request, &error)) << text;
        EXPECT_FALSE(error.empty()) << text;
    }
}

TEST(FaultPlan, EveryFaultIsListedForHelp)
{
    const std::vector<std::string> names = sim::faultNames();
    for (const char* name :
         {"reset-stuck",       "ram-check-fail",    "bootstrap-silent", "ident-fail=",     "version-fail=",
          "wakeup-step-fail=", "i2c-stuck ",        "i2c-stuck-hard",   "ucode-absent",    "ucode-refuse",
          "ucode-timeout",     "eeprom-busy=",      "page-status=",     "bitflip=",        "power-cut=",
          "status-stuck=",     "uart-stuck",        "ram-late=",        "bootstrap-late=", "write-busy=",
          "reply-corrupt=",    "checksum-corrupt=", "status-unsettled="})
    {
        bool found = false;
        for (const std::string& line : names)
            found = found || line.compare(0, std::string(name).size(), name) == 0;
        EXPECT_TRUE(found) << name;
    }
}
