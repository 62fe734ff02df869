// A 24C256-like serial EEPROM over a caller-owned 32 KiB image: two-byte addresses (high byte
// first), sequential reads that roll over at the end of memory, page writes that wrap inside
// their 64-byte page, and an internal write cycle during which the chip ignores its address.
#pragma once

#include "I2cDevice.h"

#include <cstdint>

namespace sim
{

class Eeprom24C256 : public I2cDevice
{
public:
    static constexpr uint32_t kSize = 0x8000;
    static constexpr uint32_t kPageSize = 64;

    Eeprom24C256(uint8_t* memory, uint64_t writeCycleNs);

    // After `pageWrites` more committed page writes, the supply is gone: later writes are
    // acknowledged and lost.
    void cutPowerAfter(uint32_t pageWrites);

    bool select(bool read, uint64_t nowNs) override;
    bool writeByte(uint8_t value, uint64_t nowNs) override;
    uint8_t readByte(uint64_t nowNs) override;
    void stop(uint64_t nowNs) override;

    bool busy(uint64_t nowNs) const { return nowNs < busyUntilNs_; }
    uint32_t pageWritesCommitted() const { return committed_; }
    // Page writes the chip took (committed or lost to a power cut).
    uint32_t pageWrites() const { return pageWrites_; }

private:
    uint8_t* memory_;
    uint64_t writeCycleNs_;
    uint64_t busyUntilNs_ = 0;
    uint16_t pointer_ = 0;
    int addressBytes_ = 0; // address bytes received in the current write
    uint16_t pageBase_ = 0;
    uint8_t column_ = 0;
    uint8_t latch_[kPageSize] = {};
    bool latched_[kPageSize] = {};
    bool dataPending_ = false;
    bool powerCutArmed_ = false;
    uint32_t powerCutAfter_ = 0;
    uint32_t committed_ = 0;
    uint32_t pageWrites_ = 0;
};

} // namespace sim
