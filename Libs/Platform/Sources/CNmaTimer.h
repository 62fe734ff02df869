#pragma once
// Process timer on the monotonic clock, counting nanoseconds from its construction.
#include <cstdint>

class CNmaTimer
{
public:
    CNmaTimer();

    uint64_t GetTicksPerSecond() const { return mTicksPerSecond_U64; }
    uint64_t GetStartTick() const { return mStartTick_U64; }
    uint64_t GetTick() const;
    uint64_t GetElapsedTicks() const { return GetTick() - mStartTick_U64; }

private:
    uint64_t mTicksPerSecond_U64;
    uint64_t mStartTick_U64;
};
