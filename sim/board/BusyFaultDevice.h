// Wraps a bus device so that it does not acknowledge its address for a number of transactions,
// as an EEPROM that stays busy longer than its data sheet says.
#pragma once

#include "I2cDevice.h"

namespace sim
{

class BusyFaultDevice : public I2cDevice
{
public:
    BusyFaultDevice(I2cDevice& inner, uint32_t nacks) : inner_(inner), remaining_(nacks) {}

    bool select(bool read, uint64_t nowNs) override
    {
        if (remaining_ > 0)
        {
            if (!inTransaction_)
                --remaining_;
            inTransaction_ = true;
            return false;
        }
        inTransaction_ = true;
        return inner_.select(read, nowNs);
    }
    bool writeByte(uint8_t value, uint64_t nowNs) override { return inner_.writeByte(value, nowNs); }
    uint8_t readByte(uint64_t nowNs) override { return inner_.readByte(nowNs); }
    void stop(uint64_t nowNs) override
    {
        inTransaction_ = false;
        inner_.stop(nowNs);
    }

private:
    I2cDevice& inner_;
    uint32_t remaining_;
    bool inTransaction_ = false;
};

} // namespace sim
