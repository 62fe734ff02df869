#include "Eeprom24C256.h"

#include <cstring>

namespace sim
{

Eeprom24C256::Eeprom24C256(uint8_t* memory, uint64_t writeCycleNs)
    : memory_(memory), writeCycleNs_(writeCycleNs)
{
}

void Eeprom24C256::cutPowerAfter(uint32_t pageWrites)
{
    powerCutArmed_ = true;
    powerCutAfter_ = pageWrites;
}

bool Eeprom24C256::select(bool read, uint64_t nowNs)
{
    if (busy(nowNs))
        return false;
    // A (repeated) START abandons a page write that has not seen its STOP.
    dataPending_ = false;
    addressBytes_ = read ? 2 : 0;
    return true;
}

bool Eeprom24C256::writeByte(uint8_t value, uint64_t)
{
    if (addressBytes_ == 0)
    {
        pointer_ = static_cast<uint16_t>((value & 0x7F) << 8);
        ++addressBytes_;
        return true;
    }
    if (addressBytes_ == 1)
    {
        pointer_ = static_cast<uint16_t>(pointer_ | value);
        ++addressBytes_;
        pageBase_ = static_cast<uint16_t>(pointer_ & ~(kPageSize - 1));
        column_ = static_cast<uint8_t>(pointer_ & (kPageSize - 1));
        std::memset(latched_, 0, sizeof latched_);
        return true;
    }
    // Data bytes go to the page latch; the column counter wraps, so a 65th byte overwrites the
    // first one of the same page, as on the real chip.
    latch_[column_] = value;
    latched_[column_] = true;
    column_ = static_cast<uint8_t>((column_ + 1) % kPageSize);
    dataPending_ = true;
    return true;
}

uint8_t Eeprom24C256::readByte(uint64_t)
{
    const uint8_t value = memory_[pointer_];
    pointer_ = static_cast<uint16_t>((pointer_ + 1) % kSize);
    return value;
}

void Eeprom24C256::stop(uint64_t nowNs)
{
    if (!dataPending_)
        return;
    dataPending_ = false;
    ++pageWrites_;
    busyUntilNs_ = nowNs + writeCycleNs_;
    pointer_ = static_cast<uint16_t>(pageBase_ + column_);
    if (powerCutArmed_ && committed_ >= powerCutAfter_)
        return;
    for (uint32_t i = 0; i < kPageSize; ++i)
        if (latched_[i])
            memory_[pageBase_ + i] = latch_[i];
    ++committed_;
}

} // namespace sim
