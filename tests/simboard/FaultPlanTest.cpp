#include "IdentityRecord.h"
#include "MailboxDriver.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace simtest;

namespace
{

constexpr int kNotRead = -2;

} // namespace

TEST(FaultPlan, FaultsShowInTheWakeupAndTheFirstPageRead)
{
    // Options; BoardWakeUp's code; the status of the EEPROM driver's first page read after it,
    // kNotRead without one; the interface of the retry's bus recovery.
    const std::tuple<const char*, int, int, uint32_t> rows[] = {
        {"board=Q5K", 0, 0, 0},
        {"board=ZEBX", 0, 0, 0},
        {"board=Q5KP", 0, 0, 0},
        {"board=Q5K fault=reset-stuck", 1, kNotRead, 0},
        {"board=Q5K fault=ram-check-fail", 1, kNotRead, 0},
        {"board=Q5K fault=bootstrap-silent", 2, kNotRead, 0},
        {"board=Q5K fault=ident-fail=0x21", 3, kNotRead, 0},
        {"board=Q5KP fault=version-fail=0x22", 4, kNotRead, 0},
        {"board=ZEBX fault=version-fail=0x22", 4, kNotRead, 0},
        {"board=Q5K fault=wakeup-step-fail=0x23", 5, kNotRead, 0},
        {"board=Q5KP fault=wakeup-step-fail=0x23", 0, 0, 0},
        {"board=Q5K fault=i2c-stuck", 6, kNotRead, 0},
        {"board=Q5K fault=i2c-stuck", 0, 0, 0x2F24}, // the retry's bus reset reaches the pin
        {"board=ZEBX fault=i2c-stuck-hard", 6, kNotRead, 0},
        {"board=Q5K fault=ucode-absent", 0, kTimedOut, 0},
        {"board=Q5KP fault=ucode-refuse", 0, 0x7F, 0},
        {"board=Q5K fault=ucode-timeout", 0, kTimedOut, 0},
        {"board=Q5K fault=status-stuck=0x80", 2, kNotRead, 0},
        {"board=Q5KP fault=status-stuck=0xFF", 2, kNotRead, 0},
        {"board=Q5K fault=eeprom-busy=1", 0, 2, 0},
        {"board=Q5K fault=page-status=0x0180:0x05", 0, 0, 0},
        {"board=Q5K fault=ram-late=2", 0, 0, 0},
        {"board=Q5K fault=ram-late=100000", 1, kNotRead, 0},
        {"board=ZEBX fault=bootstrap-late=2", 0, 0, 0},
        {"board=Q5K fault=bootstrap-late=100000", 2, kNotRead, 0},
        {"board=Q5KP fault=status-unsettled=3", 0, 0, 0}};
    for (const auto& [options, wakeCode, firstPageRead, busResetMailbox] : rows)
    {
        SCOPED_TRACE(options);
        MailboxDriver host(options);
        host.bsMailbox = busResetMailbox;
        EXPECT_EQ(wakeCode, host.boardWakeUp(3));
        Bytes page;
        if (firstPageRead != kNotRead)
        {
            EXPECT_EQ(firstPageRead, host.eepromRead(256, 64, &page));
        }
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
