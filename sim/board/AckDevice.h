// A bus device that acknowledges every byte and reads as 0xFF (the board's device at 0xA2, which
// the wake-up probe addresses).
#pragma once

#include "I2cDevice.h"

namespace sim
{

class AckDevice : public I2cDevice
{
public:
    bool select(bool, uint64_t) override { return true; }
    bool writeByte(uint8_t, uint64_t) override { return true; }
    uint8_t readByte(uint64_t) override { return 0xFF; }
    void stop(uint64_t) override {}
};

} // namespace sim
