#pragma once
// The Q7K board's power-supply controller, driven over the register file's UART.
#include "Q7KManagement.h"
#include "Q7KRegisters.h"
#include "Q7KUart.h"

#include <cstdint>

namespace ORX::KV::Hardware::Q7KHelpers
{
class Vx20xPsu
{
public:
    // Configures the link and sends the controller's initial escape sequence.
    Vx20xPsu();
    // Switches the board's components on (bits set) or off; true when the bytes were sent.
    bool ComponentsActivate(uint8_t mask);

private:
    typedef Q7KRegisters<IOBus::Q7KManagement> Registers;
    Registers mRegisters_X;
    Q7KUart<Registers, 32> mUart_X;
};
} // namespace ORX::KV::Hardware::Q7KHelpers
