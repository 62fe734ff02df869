// Wraps the identity EEPROM so that it does not acknowledge its address for a number of
// transactions, as an EEPROM whose write cycle lasts longer than its data sheet says: a count
// from the start, and a count after every page write.
#pragma once

#include "Eeprom24C256.h"

namespace sim
{

class BusyFaultDevice : public I2cDevice
{
public:
    BusyFaultDevice(Eeprom24C256& inner, uint32_t nacks, uint32_t nacksAfterWrite)
        : inner_(inner), remaining_(nacks), afterWrite_(nacksAfterWrite)
    {
    }

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
        const uint32_t before = inner_.pageWrites();
        inner_.stop(nowNs);
        if (inner_.pageWrites() != before)
            remaining_ += afterWrite_;
    }

private:
    Eeprom24C256& inner_;
    uint32_t remaining_;
    uint32_t afterWrite_;
    bool inTransaction_ = false;
};

} // namespace sim
