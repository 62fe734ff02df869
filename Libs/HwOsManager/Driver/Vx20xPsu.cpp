#include "Vx20xPsu.h"

namespace ORX::KV::Hardware::Q7KHelpers
{
Vx20xPsu::Vx20xPsu() : mRegisters_X(), mUart_X(mRegisters_X)
{
    mRegisters_X.write(32, 0xDC);
    mRegisters_X.write(33, 0x32);
    mRegisters_X.write(35, 0x01);
    mRegisters_X.write(38, 0x40);
    mRegisters_X.write(38, 0x81);
    const uint8_t escapeG_U8[2] = {0x1B, 0x47};
    mUart_X.Write(escapeG_U8, sizeof(escapeG_U8));
}

bool Vx20xPsu::ComponentsActivate(uint8_t mask)
{
    // Bit 0x20 marks the byte as a switch command for the controller.
    const uint8_t command_U8 = static_cast<uint8_t>(mask | 0x20);
    const uint8_t bytes_U8[3] = {command_U8, command_U8, command_U8};
    return mUart_X.Write(bytes_U8, sizeof(bytes_U8)) == sizeof(bytes_U8);
}
} // namespace ORX::KV::Hardware::Q7KHelpers
