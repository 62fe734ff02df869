// The built-in sample unit: the identity a simulated server has when no image is given.
#pragma once

#include "IdentityRecord.h"

#include <cstdint>
#include <vector>

namespace sim
{

class SampleUnit
{
public:
    static IdentityRecord record();
    // Three good copies and a valid older record.
    static std::vector<uint8_t> image();
};

} // namespace sim
