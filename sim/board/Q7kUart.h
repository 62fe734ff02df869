// The UART of the Q7K register file (registers 32 to 38) that carries bytes to the
// power-supply controller. Its transmit FIFO drains one byte per character time in virtual
// time; bit 0x01 of register 34 tells the host the FIFO is empty.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>

namespace sim
{

class Q7kUart
{
public:
    static constexpr uint8_t kBase = 32;
    static constexpr uint8_t kLast = 38;
    static constexpr size_t kFifoDepth = 128;
    static constexpr uint8_t kData = 34;
    static constexpr uint8_t kTxEnable = 35;
    static constexpr uint8_t kFifoEmpty = 0x01;

    // `deliver` receives each byte with the time its stop bit left the wire; `garbled` is true
    // when the divisor registers do not hold the controller's rate.
    using Receiver = std::function<void(uint8_t byte, bool garbled, uint64_t nowNs)>;

    Q7kUart(uint64_t byteNs, Receiver deliver);

    void advance(uint64_t nowNs);
    uint8_t read(uint8_t reg, uint64_t nowNs);
    void write(uint8_t reg, uint8_t value, uint64_t nowNs);
    // A transmitter that never sends: the FIFO fills and never drains.
    void jam() { jammed_ = true; }
    size_t queued() const { return fifo_.size(); }
    uint64_t dropped() const { return dropped_; }

private:
    bool transmitting() const { return (regs_[kTxEnable - kBase] & 0x01) != 0; }
    bool rateMatches() const { return regs_[0] == 0xDC && regs_[1] == 0x32; }

    uint64_t byteNs_;
    Receiver deliver_;
    uint8_t regs_[kLast - kBase + 1] = {};
    std::deque<uint8_t> fifo_;
    uint64_t shiftStartNs_ = 0;
    uint64_t dropped_ = 0;
    bool jammed_ = false;
};

} // namespace sim
