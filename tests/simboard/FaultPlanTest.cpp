#include "IdentityRecord.h"
#include "MailboxDriver.h"

#include <gtest/gtest.h>

using namespace simtest;

TEST(FaultPlan, BitFlipsDamageOnlyTheNamedRecordWhereTheSeedSays)
{
    // The fault; which of copies 0, 1, 2 and the older record stay intact.
    const std::pair<const char*, const char*> rows[] = {
        {"bitflip=0", "0111"}, {"bitflip=2:5", "1101"}, {"bitflip=old", "1110"}};
    for (const auto& [fault, intact] : rows)
    {
        MailboxDriver host(std::string("fault=") + fault);
        const uint8_t* image = host.eeprom.data();
        for (uint32_t copy = 0; copy < 3; ++copy)
            EXPECT_EQ(intact[copy] == '1',
                      sim::IdentityRecord::checksumHolds(image + sim::IdentityRecord::copyAddress(copy)))
                << fault << " copy " << copy;
        EXPECT_EQ(intact[3] == '1', sim::IdentityRecord::oldIntegrityHolds(image)) << fault;
    }
    auto damage = [](const char* seed, Bytes image)
    { return MailboxDriver(std::string("fault=bitflip=1:3 seed=") + seed, std::move(image)).eeprom; };
    const Bytes damaged = damage("7", sim::sampleEepromImage());
    EXPECT_EQ(damaged, damage("7", sim::sampleEepromImage()));
    EXPECT_NE(damaged, damage("8", sim::sampleEepromImage()));
    EXPECT_EQ(damaged, damage("7", damaged)) << "flips again on a damaged copy could repair it";
}
