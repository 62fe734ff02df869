#include "CNmaTimer.h"

#include <ctime>

namespace
{
constexpr uint64_t NANOSECONDS_PER_SECOND = 1000000000ULL;
}

CNmaTimer::CNmaTimer() : mTicksPerSecond_U64(NANOSECONDS_PER_SECOND), mStartTick_U64(GetTick()) {}

uint64_t CNmaTimer::GetTick() const
{
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * NANOSECONDS_PER_SECOND + static_cast<uint64_t>(now.tv_nsec);
}
