// What the firmware does with one command: the status it answers, when, and the answer bytes.
#pragma once

#include "CommandZone.h"

#include <cstdint>

namespace sim
{

struct CommandResult
{
    uint8_t status = 0;
    uint64_t latencyNs = 0;
    ZoneWrites answer;
};

} // namespace sim
