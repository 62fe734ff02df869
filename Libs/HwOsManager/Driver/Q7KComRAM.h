#pragma once
// Bounded byte access to the communication RAM as the Q7K helper holds it.
#include <cstdint>

namespace ORX::KV::Hardware::Q7KHelpers
{
class Q7KComRAM
{
public:
    // Base and length are those of the helper's module state at construction.
    Q7KComRAM();
    // 0 without a base or past the length.
    uint8_t read(uint32_t offset) const;
    // Dropped without a base or past the length.
    void write(uint32_t offset, uint8_t value) const;

private:
    volatile uint8_t* mpBase_U8;
    uint32_t mLength_U32;
};
} // namespace ORX::KV::Hardware::Q7KHelpers
