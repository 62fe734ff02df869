// SplitMix64: the same sequence on every platform and word size, so a seed names one fault
// pattern everywhere (the standard library's distributions differ between implementations).
#pragma once

#include <cstdint>

namespace sim
{

class Rng
{
public:
    explicit Rng(uint64_t seed) : state_(seed) {}

    uint64_t next()
    {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    // Uniform enough for fault placement: [0, bound).
    uint32_t below(uint32_t bound) { return bound == 0 ? 0 : static_cast<uint32_t>(next() % bound); }

private:
    uint64_t state_;
};

} // namespace sim
