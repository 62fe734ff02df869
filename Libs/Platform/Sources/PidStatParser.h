#pragma once
// Reading of /proc/<pid>/stat times, which are counted in clock ticks.
#include <cstdint>

namespace ORX::Generic
{
class PidStatParser
{
public:
    // sysconf(_SC_CLK_TCK), read once before main.
    static uint64_t TicksPerSeconds_U64;
};
} // namespace ORX::Generic
