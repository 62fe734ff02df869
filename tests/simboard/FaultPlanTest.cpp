#include "IdentityRecord.h"
#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

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
