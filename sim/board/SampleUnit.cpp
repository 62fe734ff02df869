#include "SampleUnit.h"

#include "EepromImage.h"
#include "SimServer.h"

namespace sim
{

IdentityRecord SampleUnit::record()
{
    IdentityRecord r;
    r.hardwareId = 0x00012345;
    r.psuType = 1;
    r.caseType = 7;
    r.userName = "ORX";
    r.serial = "KV0012345";
    r.lastSave = 0x5F5E1000;
    r.signature = 0x4B56;
    return r;
}

std::vector<uint8_t> SampleUnit::image()
{
    EepromImage image;
    image.writeOld(record(), EepromImage::State::Good);
    for (uint32_t c = 0; c < 3; ++c)
        image.writeCopy(c, record(), EepromImage::State::Good);
    // The older record's spare byte after its 8-byte serial number holds other data (integrity kept).
    std::vector<uint8_t> bytes = image.bytes();
    bytes[100] = 'X';
    bytes[IdentityRecord::kOldIntegrityOffset] += 'X';
    return bytes;
}

std::vector<uint8_t> sampleEepromImage()
{
    return SampleUnit::image();
}

} // namespace sim
