#include "IdentityRecord.h"
#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

namespace
{

constexpr int kNotRead = -2;

} // namespace

TEST(FaultPlan, FaultsShowInTheWakeupAndTheFirstPageRead)
{
    const struct
    {
        const char* fault;
        const char* board;
        int wakeCode;
        int firstPageRead; // status of the EEPROM driver's first page read after the wake-up
        uint32_t busResetMailbox = 0;
    } rows[] = {{"", "Q5K", 0, 0},
                {"", "ZEBX", 0, 0},
                {"", "Q5KP", 0, 0},
                {"reset-stuck", "Q5K", 1, kNotRead},
                {"ram-check-fail", "Q5K", 1, kNotRead},
                {"bootstrap-silent", "Q5K", 2, kNotRead},
                {"ident-fail=0x21", "Q5K", 3, kNotRead},
                {"version-fail=0x22", "Q5KP", 4, kNotRead},
                {"version-fail=0x22", "ZEBX", 4, kNotRead},
                {"wakeup-step-fail=0x23", "Q5K", 5, kNotRead},
                {"wakeup-step-fail=0x23", "Q5KP", 0, 0},
                {"i2c-stuck", "Q5K", 6, kNotRead},
                {"i2c-stuck", "Q5K", 0, 0, 0x2F24}, // the retry's bus reset reaches the pin
                {"i2c-stuck-hard", "ZEBX", 6, kNotRead},
                {"ucode-absent", "Q5K", 0, kTimedOut},
                {"ucode-refuse", "Q5KP", 0, 0x7F},
                {"ucode-timeout", "Q5K", 0, kTimedOut},
                {"status-stuck=0x80", "Q5K", 2, kNotRead},
                {"status-stuck=0xFF", "Q5KP", 2, kNotRead},
                {"eeprom-busy=1", "Q5K", 0, 2},
                {"page-status=0x0180:0x05", "Q5K", 0, 0},
                {"ram-late=2", "Q5K", 0, 0},
                {"ram-late=100000", "Q5K", 1, kNotRead},
                {"bootstrap-late=2", "ZEBX", 0, 0},
                {"bootstrap-late=100000", "Q5K", 2, kNotRead},
                {"status-unsettled=3", "Q5KP", 0, 0}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.fault) + " on " + row.board);
        MailboxDriver host(std::string("board=") + row.board + (*row.fault ? " fault=" : "") + row.fault);
        host.bsMailbox = row.busResetMailbox;
        EXPECT_EQ(row.wakeCode, host.boardWakeUp(3));
        Bytes page;
        if (row.firstPageRead != kNotRead)
            EXPECT_EQ(row.firstPageRead, host.eepromRead(256, 64, &page));
    }
}

TEST(FaultPlan, BitFlipsDamageOnlyTheNamedRecordWhereTheSeedSays)
{
    const struct
    {
        const char* fault;
        bool copyGood[3];
        bool oldGood;
    } rows[] = {{"bitflip=0", {false, true, true}, true},
                {"bitflip=2:5", {true, true, false}, true},
                {"bitflip=old", {true, true, true}, false}};
    for (const auto& row : rows)
    {
        MailboxDriver host(std::string("fault=") + row.fault);
        for (uint32_t copy = 0; copy < 3; ++copy)
            EXPECT_EQ(row.copyGood[copy], sim::IdentityRecord::checksumHolds(
                                              host.eeprom.data() + sim::IdentityRecord::copyAddress(copy)))
                << row.fault << " copy " << copy;
        EXPECT_EQ(row.oldGood, sim::IdentityRecord::oldIntegrityHolds(host.eeprom.data())) << row.fault;
    }
    auto damage = [](const char* seed, Bytes image)
    { return MailboxDriver(std::string("fault=bitflip=1:3 seed=") + seed, std::move(image)).eeprom; };
    const Bytes damaged = damage("7", sim::sampleEepromImage());
    EXPECT_EQ(damaged, damage("7", sim::sampleEepromImage()));
    EXPECT_NE(damaged, damage("8", sim::sampleEepromImage()));
    EXPECT_EQ(damaged, damage("7", damaged)) << "flips again on a damaged copy could repair it";
}
