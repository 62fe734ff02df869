#pragma once
// The Q7K board's byte-wide register file behind an index/data port pair.
#include <cstdint>

namespace ORX::KV::Hardware::Q7KHelpers
{
template <class BUS> class Q7KRegisters
{
public:
    static constexpr uint32_t DATA_PORT = 0x350;
    static constexpr uint32_t INDEX_PORT = 0x351;

    uint8_t read(uint32_t index) const
    {
        BUS::write(INDEX_PORT, static_cast<uint8_t>(index));
        return BUS::read(DATA_PORT);
    }
    void write(uint32_t index, uint8_t value) const
    {
        BUS::write(INDEX_PORT, static_cast<uint8_t>(index));
        BUS::write(DATA_PORT, value);
    }
};
} // namespace ORX::KV::Hardware::Q7KHelpers
