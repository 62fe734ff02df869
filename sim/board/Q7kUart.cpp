#include "Q7kUart.h"

#include <utility>

namespace sim
{

Q7kUart::Q7kUart(uint64_t byteNs, Receiver deliver) : byteNs_(byteNs), deliver_(std::move(deliver)) {}

void Q7kUart::advance(uint64_t nowNs)
{
    if (!transmitting() || jammed_)
        return;
    while (!fifo_.empty() && shiftStartNs_ + byteNs_ <= nowNs)
    {
        shiftStartNs_ += byteNs_;
        const uint8_t byte = fifo_.front();
        fifo_.pop_front();
        deliver_(byte, !rateMatches(), shiftStartNs_);
    }
}

uint8_t Q7kUart::read(uint8_t reg, uint64_t nowNs)
{
    advance(nowNs);
    if (reg == kData)
        return fifo_.empty() ? kFifoEmpty : 0x00;
    return regs_[reg - kBase];
}

void Q7kUart::write(uint8_t reg, uint8_t value, uint64_t nowNs)
{
    advance(nowNs);
    if (reg != kData)
    {
        const bool wasTransmitting = transmitting();
        regs_[reg - kBase] = value;
        if (!wasTransmitting && transmitting())
            shiftStartNs_ = nowNs;
        return;
    }
    if (fifo_.size() >= kFifoDepth)
    {
        ++dropped_; // an overrun loses the byte, as on the real FIFO
        return;
    }
    if (fifo_.empty())
        shiftStartNs_ = nowNs;
    fifo_.push_back(value);
}

} // namespace sim
