// The unit's identity record as the EEPROM stores it: the current 1280-byte layout (three
// checksummed copies) and the older single record at address 0.
#pragma once

#include <cstdint>
#include <string>

namespace sim
{

class IdentityRecord
{
public:
    static constexpr uint32_t kSize = 1280;
    static constexpr uint32_t kPages = 20;
    static constexpr uint32_t kChecksumOffset = 1216;
    static constexpr uint32_t kOldIntegrityOffset = 101;

    static uint32_t copyAddress(uint32_t copy) { return (169 * copy + 4) * 64; }
    // 1 plus the byte sum of the checksummed part.
    static uint32_t checksum(const uint8_t* record);
    static uint32_t storedChecksum(const uint8_t* record);
    static bool checksumHolds(const uint8_t* record) { return checksum(record) == storedChecksum(record); }
    static uint8_t oldIntegrity(const uint8_t* oldRecord);
    static bool oldIntegrityHolds(const uint8_t* oldRecord)
    {
        return oldRecord[kOldIntegrityOffset] == oldIntegrity(oldRecord);
    }

    uint32_t hardwareId = 0;
    uint8_t psuType = 0;
    uint8_t caseType = 0;
    std::string userName;
    std::string serial;
    uint32_t lastSave = 0;
    uint16_t signature = 0;

    // Writes the fields into a zeroed 1280-byte record and seals it with its checksum.
    void encode(uint8_t* record) const;
    static IdentityRecord decode(const uint8_t* record);
    // The older layout: fields at their old offsets, integrity byte sealed.
    void encodeOld(uint8_t* oldRecord) const;
    static IdentityRecord decodeOld(const uint8_t* oldRecord);
};

} // namespace sim
