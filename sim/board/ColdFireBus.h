// The address space of the board's MCF547x processor as the bootstrap's memory commands reach
// it: a window of on-board RAM and the FEC/I2C general-purpose port that can take over the I2C
// clock pin. Big-endian, like the processor.
#pragma once

#include "I2cBus.h"

#include <cstdint>
#include <vector>

namespace sim
{

class ColdFireBus
{
public:
    static constexpr uint32_t kRamBase = 0x00000000;
    static constexpr uint32_t kRamSize = 0x10000;
    // The internal peripheral block: registers the model does not implement read as zero and
    // ignore writes, as on the processor; anything outside RAM and this block is a bus error.
    static constexpr uint32_t kMbar = 0xF0000000;
    static constexpr uint32_t kMbarSize = 0x40000;
    static constexpr uint32_t kPodr = 0xF0000A08;   // port output data
    static constexpr uint32_t kPddr = 0xF0000A18;   // port data direction
    static constexpr uint32_t kPpdsdr = 0xF0000A28; // port set (write) / pin data (read)
    static constexpr uint32_t kPclrr = 0xF0000A38;  // port clear
    static constexpr uint32_t kPar = 0xF0000A44;    // FEC/I2C/IRQ pin assignment, 16 bit
    static constexpr uint16_t kParI2cScl = 0x0004;
    static constexpr uint8_t kBusError = 0x09;

    explicit ColdFireBus(I2cBus& i2c);

    // `width` is 1, 2 or 4 bytes; returns 0 or kBusError for an address nothing decodes.
    uint8_t read(uint32_t address, int width, uint32_t* value) const;
    uint8_t write(uint32_t address, int width, uint32_t value);
    // A processor reset gives the port's pins back to their controllers (the RAM keeps its data).
    void reset();
    // True when the last write freed a stuck I2C bus.
    bool busFreed() const { return freed_; }

private:
    bool decodes(uint32_t address) const;
    uint8_t readByte(uint32_t address) const;
    void writeByte(uint32_t address, uint8_t value);
    void updatePin();

    I2cBus& i2c_;
    std::vector<uint8_t> ram_;
    uint16_t par_ = 0x03FC; // after boot every pin of the port belongs to its controller
    uint8_t pddr_ = 0;
    uint8_t podr_ = 0x01;
    bool freed_ = false;
};

} // namespace sim
