// A target on the board's I2C bus, seen one bus condition at a time.
#pragma once

#include <cstdint>

namespace sim
{

class I2cDevice
{
public:
    virtual ~I2cDevice() = default;
    // A START (or repeated START) followed by this device's address byte; true = acknowledged.
    virtual bool select(bool read, uint64_t nowNs) = 0;
    // One byte from the controller; true = acknowledged.
    virtual bool writeByte(uint8_t value, uint64_t nowNs) = 0;
    virtual uint8_t readByte(uint64_t nowNs) = 0;
    virtual void stop(uint64_t nowNs) = 0;
};

} // namespace sim
