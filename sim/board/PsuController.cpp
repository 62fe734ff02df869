#include "PsuController.h"

#include <utility>

namespace sim
{

PsuController::PsuController(uint8_t initialMask, SwitchHandler onSwitch, RejectHandler onReject)
    : mask_(initialMask), onSwitch_(std::move(onSwitch)), onReject_(std::move(onReject))
{
}

void PsuController::receive(uint8_t byte, uint64_t nowNs)
{
    if (byte == 0x1B)
    {
        state_ = State::Escape;
        received_ = 0;
        return;
    }
    if (state_ == State::Escape)
    {
        if (byte == 'G')
            state_ = State::Command;
        else
        {
            state_ = State::Idle;
            onReject_(byte, nowNs);
        }
        return;
    }
    if (state_ != State::Command || (byte & 0xE0) != 0x20)
    {
        received_ = 0;
        onReject_(byte, nowNs);
        return;
    }
    command_[received_++] = byte;
    if (received_ < 3)
        return;
    received_ = 0;
    // The mask is repeated three times so that a single corrupted byte cannot switch the
    // supplies; a command whose copies disagree is dropped.
    if (command_[0] != command_[1] || command_[1] != command_[2])
    {
        onReject_(command_[2], nowNs);
        return;
    }
    mask_ = static_cast<uint8_t>(command_[0] & kAllComponents);
    onSwitch_(mask_, nowNs);
}

} // namespace sim
