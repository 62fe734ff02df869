// The Q7K's byte-wide register file behind the index port 0x351 and the data port 0x350:
// identity registers 0 to 3, the power-supply UART at 32 to 38, plain latches elsewhere.
#pragma once

#include "Q7kUart.h"

#include <cstdint>

namespace sim
{

class Q7kRegisterFile
{
public:
    static constexpr uint16_t kDataPort = 0x350;
    static constexpr uint16_t kIndexPort = 0x351;

    Q7kRegisterFile(const uint8_t identity[4], Q7kUart& uart);

    uint8_t index() const { return index_; }
    void selectIndex(uint8_t index) { index_ = index; }
    uint8_t readData(uint64_t nowNs);
    void writeData(uint8_t value, uint64_t nowNs);

private:
    Q7kUart& uart_;
    uint8_t regs_[256] = {};
    uint8_t index_ = 0;
};

} // namespace sim
