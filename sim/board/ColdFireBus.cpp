#include "ColdFireBus.h"

namespace sim
{

ColdFireBus::ColdFireBus(I2cBus& i2c) : i2c_(i2c), ram_(kRamSize, 0) {}

void ColdFireBus::reset()
{
    par_ = 0x03FC;
    pddr_ = 0;
    podr_ = 0x01;
    updatePin();
}

bool ColdFireBus::decodes(uint32_t address) const
{
    if (address - kRamBase < kRamSize)
        return true;
    return address - kMbar < kMbarSize;
}

uint8_t ColdFireBus::readByte(uint32_t address) const
{
    if (address - kRamBase < kRamSize)
        return ram_[address - kRamBase];
    switch (address)
    {
    case kPodr:
        return podr_;
    case kPddr:
        return pddr_;
    case kPpdsdr:
        return podr_; // pin levels follow the output latch in this model
    case kPar:
        return static_cast<uint8_t>(par_ >> 8);
    case kPar + 1:
        return static_cast<uint8_t>(par_);
    default:
        return 0; // the clear register reads as zero
    }
}

void ColdFireBus::writeByte(uint32_t address, uint8_t value)
{
    if (address - kRamBase < kRamSize)
    {
        ram_[address - kRamBase] = value;
        return;
    }
    switch (address)
    {
    case kPodr:
        podr_ = value;
        break;
    case kPddr:
        pddr_ = value;
        break;
    case kPpdsdr:
        podr_ = static_cast<uint8_t>(podr_ | value);
        break;
    case kPclrr:
        podr_ = static_cast<uint8_t>(podr_ & value);
        break;
    case kPar:
        par_ = static_cast<uint16_t>((par_ & 0x00FF) | (value << 8));
        break;
    case kPar + 1:
        par_ = static_cast<uint16_t>((par_ & 0xFF00) | value);
        break;
    default:
        break;
    }
    updatePin();
}

void ColdFireBus::updatePin()
{
    // Only with the pin handed to the port and configured as output does the latch drive SCL;
    // otherwise the I2C controller keeps the idle clock high.
    const bool gpioOutput = (par_ & kParI2cScl) == 0 && (pddr_ & 0x01) != 0;
    const bool high = gpioOutput ? (podr_ & 0x01) != 0 : true;
    if (i2c_.driveScl(high))
        freed_ = true;
}

uint8_t ColdFireBus::read(uint32_t address, int width, uint32_t* value) const
{
    uint32_t result = 0;
    for (int i = 0; i < width; ++i)
    {
        if (!decodes(address + i))
            return kBusError;
        result = (result << 8) | readByte(address + i);
    }
    *value = result;
    return 0;
}

uint8_t ColdFireBus::write(uint32_t address, int width, uint32_t value)
{
    freed_ = false;
    for (int i = 0; i < width; ++i)
        if (!decodes(address + i))
            return kBusError;
    for (int i = 0; i < width; ++i)
        writeByte(address + i, static_cast<uint8_t>(value >> (8 * (width - 1 - i))));
    return 0;
}

} // namespace sim
