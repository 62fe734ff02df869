// The dual-port communication RAM as the board's firmware sees it: bytes, and the
// little-endian fields of the command zone.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace sim
{

// Bytes the firmware writes into the command zone once a command completes: the answer fields
// first, then the status byte that tells the host to look.
using ZoneWrites = std::vector<std::pair<uint32_t, uint8_t>>;

class CommandZone
{
public:
    static constexpr uint32_t kSize = 0x8000;
    static constexpr uint32_t kOpcode = 0x0000;
    static constexpr uint32_t kStatus = 0x0001;
    static constexpr uint32_t kAddress = 0x0002;
    static constexpr uint32_t kFlag = 0x0003;
    static constexpr uint32_t kWord4 = 0x0004;
    static constexpr uint32_t kWord6 = 0x0006;
    static constexpr uint32_t kChecksum = 0x0008;
    static constexpr uint32_t kData = 0x0010;
    static constexpr uint32_t kMailbox1 = 0x2F24;
    static constexpr uint32_t kMailbox2 = 0x3024;
    static constexpr uint32_t kResetLine = 0x7FFD;
    static constexpr uint32_t kDoorbell = 0x7FFF;

    CommandZone() : bytes_(kSize, 0) {}

    uint8_t get(uint32_t offset) const { return bytes_[offset % kSize]; }
    void set(uint32_t offset, uint8_t value) { bytes_[offset % kSize] = value; }
    uint32_t le(uint32_t offset, int width) const
    {
        uint32_t value = 0;
        for (int i = width - 1; i >= 0; --i)
            value = (value << 8) | get(offset + i);
        return value;
    }
    static void putLe(ZoneWrites* writes, uint32_t offset, uint32_t value, int width)
    {
        for (int i = 0; i < width; ++i)
            writes->emplace_back(offset + i, static_cast<uint8_t>(value >> (8 * i)));
    }

private:
    std::vector<uint8_t> bytes_;
};

} // namespace sim
