#include "EepromImage.h"
#include "SampleUnit.h"
#include "SimServer.h"

#include <gtest/gtest.h>

using sim::EepromImage;

TEST(EepromImage, SampleUnitHasThreeGoodCopiesAndAValidOldRecord)
{
    const EepromImage image(sim::sampleEepromImage());
    ASSERT_EQ(32768u, image.bytes().size());
    for (uint32_t c = 0; c < 3; ++c)
    {
        EXPECT_EQ(EepromImage::State::Good, image.copyState(c)) << c;
        EXPECT_EQ("KV0012345", image.copy(c).serial);
        EXPECT_EQ(7, image.copy(c).caseType);
    }
    EXPECT_EQ(EepromImage::State::Good, image.oldState());
    EXPECT_EQ("KV001234", image.old().serial) << "the older layout holds 8 characters";
    EXPECT_EQ(7, image.old().caseType) << "shared with copy 0 at address 264";
}

TEST(EepromImage, CopiesSitAtTheirPageAddresses)
{
    EXPECT_EQ(256u, sim::IdentityRecord::copyAddress(0));
    EXPECT_EQ(11072u, sim::IdentityRecord::copyAddress(1));
    EXPECT_EQ(21888u, sim::IdentityRecord::copyAddress(2));
}

TEST(EepromImage, StatesReadBackAsWritten)
{
    sim::IdentityRecord record;
    record.serial = "AB1234567";
    record.caseType = 12;
    EepromImage image;
    image.writeCopy(0, record, EepromImage::State::Bad);
    image.writeCopy(1, record, EepromImage::State::Good);
    image.writeOld(record, EepromImage::State::Bad);
    EXPECT_EQ(EepromImage::State::Bad, image.copyState(0));
    EXPECT_EQ(EepromImage::State::Good, image.copyState(1));
    EXPECT_EQ(EepromImage::State::Erased, image.copyState(2));
    EXPECT_EQ(EepromImage::State::Bad, image.oldState());
    EXPECT_EQ(EepromImage::State::Bad, image.copyState(0)) << "the old record leaves copy 0 alone";
}

TEST(EepromImage, ChecksumIsOnePlusTheByteSum)
{
    uint8_t record[sim::IdentityRecord::kSize] = {};
    EXPECT_EQ(1u, sim::IdentityRecord::checksum(record));
    record[0] = 0xFF;
    record[1215] = 0x02;
    record[1216] = 0x55; // the checksum itself is not summed
    EXPECT_EQ(0x102u, sim::IdentityRecord::checksum(record));
}

TEST(EepromImage, FieldsRoundTripThroughBothLayouts)
{
    sim::IdentityRecord r;
    r.hardwareId = 0xA1B2C3D4;
    r.psuType = 3;
    r.caseType = 18;
    r.userName = "Studio B";
    r.serial = "ZZ9876543";
    r.lastSave = 77;
    r.signature = 0x1234;
    uint8_t bytes[sim::IdentityRecord::kSize];
    r.encode(bytes);
    const sim::IdentityRecord back = sim::IdentityRecord::decode(bytes);
    EXPECT_EQ(r.hardwareId, back.hardwareId);
    EXPECT_EQ(r.userName, back.userName);
    EXPECT_EQ(r.serial, back.serial);
    EXPECT_EQ(r.signature, back.signature);
    EXPECT_EQ(r.lastSave, back.lastSave);
    r.encodeOld(bytes);
    const sim::IdentityRecord old = sim::IdentityRecord::decodeOld(bytes);
    EXPECT_EQ("ZZ987654", old.serial);
    EXPECT_EQ(r.caseType, old.caseType);
    EXPECT_EQ(r.hardwareId, old.hardwareId);
    EXPECT_TRUE(sim::IdentityRecord::oldIntegrityHolds(bytes));
}
