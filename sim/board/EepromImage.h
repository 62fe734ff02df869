// A 32 KiB identity EEPROM image: the three current record copies and the older record, each
// with a state a test or an engineer can ask for and read back.
#pragma once

#include "IdentityRecord.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sim
{

class EepromImage
{
public:
    enum class State
    {
        Good,
        Bad,   // fields present, checksum (or integrity byte) wrong
        Erased // all 0xFF
    };

    static constexpr uint32_t kSize = 0x8000;
    // The older record's bytes that do not belong to copy 0: up to and with the case type.
    static constexpr uint32_t kOldSpan = 265;

    EepromImage() : bytes_(kSize, 0xFF) {}
    explicit EepromImage(std::vector<uint8_t> bytes);

    static bool parseState(const std::string& text, State* out);
    static const char* stateName(State state);

    void writeCopy(uint32_t copy, const IdentityRecord& record, State state);
    // The older record shares its bytes 256 onwards with copy 0: the hardware ID, PSU type and
    // case type sit at the same addresses in both layouts.
    void writeOld(const IdentityRecord& record, State state);

    State copyState(uint32_t copy) const;
    State oldState() const;
    IdentityRecord copy(uint32_t copy) const
    {
        return IdentityRecord::decode(at(IdentityRecord::copyAddress(copy)));
    }
    IdentityRecord old() const { return IdentityRecord::decodeOld(at(0)); }

    // Human-readable fields and checksum state of every copy and of the older record.
    std::string describe() const;

    const std::vector<uint8_t>& bytes() const { return bytes_; }

private:
    const uint8_t* at(uint32_t address) const { return bytes_.data() + address; }
    bool erased(uint32_t address, uint32_t size) const;

    std::vector<uint8_t> bytes_;
};

} // namespace sim
