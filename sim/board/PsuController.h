// The Q7K's power-supply controller at the far end of the board UART: after the escape
// sequence ESC 'G' it takes three-byte component switch commands, each byte 0x20 | mask.
#pragma once

#include <cstdint>
#include <functional>

namespace sim
{

class PsuController
{
public:
    static constexpr uint8_t kAllComponents = 0x1F;
    // Called with the new component mask and the virtual time it takes effect.
    using SwitchHandler = std::function<void(uint8_t mask, uint64_t nowNs)>;
    // Called for a byte the controller rejected (before the escape, or a malformed command).
    using RejectHandler = std::function<void(uint8_t byte, uint64_t nowNs)>;

    PsuController(uint8_t initialMask, SwitchHandler onSwitch, RejectHandler onReject);

    void receive(uint8_t byte, uint64_t nowNs);
    uint8_t mask() const { return mask_; }
    bool commandMode() const { return state_ != State::Idle && state_ != State::Escape; }

private:
    enum class State
    {
        Idle,
        Escape,
        Command
    };

    uint8_t mask_;
    SwitchHandler onSwitch_;
    RejectHandler onReject_;
    State state_ = State::Idle;
    uint8_t command_[3] = {};
    int received_ = 0;
};

} // namespace sim
