#pragma once
// The command zone at the start of the communication RAM, as the host sees it: the mailbox where
// the host posts commands for the board's bootstrap and micro-code (the EEPROM request mailbox is
// the same interface-0 mailbox with the micro-code's fuller I2C request), the other interfaces'
// mailboxes, the reset line and the doorbell. Offsets are from the first byte of the mapped
// communication RAM; multi-byte fields are little-endian. These numbers are the board's, not ours.
#include <cstdint>

namespace CommandZone
{
// Every mailbox starts with the opcode/status pair.
constexpr uint32_t OFFSET_OPCODE = 0x0000;
constexpr uint32_t OFFSET_STATUS = 0x0001;
// Bootstrap commands: target address (u32). Opcode 0x03: version byte. I2C request: device.
constexpr uint32_t OFFSET_ADDRESS = 0x0002;
// Host writes 1 when it posts an interface-0 command (the EEPROM request reads it as "checksum
// present"). Opcode 0x03: second version byte.
constexpr uint32_t OFFSET_INTERFACE0_FLAG = 0x0003;
// Memory check word; opcode 0x05 answers the identification byte here.
constexpr uint32_t OFFSET_MEMORY_CHECK = 0x0004;
constexpr uint32_t OFFSET_I2C_WRITE_COUNT = 0x0004; // u16
// Bootstrap commands: data written or read (u8, u16 or u32).
constexpr uint32_t OFFSET_DATA = 0x0006;
constexpr uint32_t OFFSET_I2C_READ_COUNT = 0x0006; // u16
constexpr uint32_t OFFSET_I2C_CHECKSUM = 0x0008;   // u32, EEPROM request only
constexpr uint32_t OFFSET_I2C_DATA = 0x0010;
constexpr uint32_t MAILBOX_INTERFACE1 = 0x2F24;
constexpr uint32_t MAILBOX_INTERFACE2 = 0x3024;
// Reset line of the board: 1 asserts, 0 releases.
constexpr uint32_t OFFSET_RESET = 0x7FFD;
// Host writes 1 after posting an interface-0 command.
constexpr uint32_t OFFSET_DOORBELL = 0x7FFF;

constexpr uint8_t OPCODE_PRESENCE = 0x01;
constexpr uint8_t OPCODE_SWITCH_UCODE_TO_ENHANCED_MODE = 0x02;
constexpr uint8_t OPCODE_VERSION = 0x03;
constexpr uint8_t OPCODE_IDENTIFICATION = 0x05;
constexpr uint8_t OPCODE_BS_WRITE_BYTE = 0x80;
constexpr uint8_t OPCODE_BS_WRITE_SHORT = 0x81;
constexpr uint8_t OPCODE_BS_WRITE_LONG = 0x82;
constexpr uint8_t OPCODE_BS_READ_BYTE = 0x86;
constexpr uint8_t OPCODE_BS_READ_SHORT = 0x87;
constexpr uint8_t OPCODE_BS_READ_LONG = 0x88;
constexpr uint8_t OPCODE_I2C_SERVICE = 0x90;
// Boards of types 0 and 1 take it before their first I2C transfer.
constexpr uint8_t OPCODE_WAKEUP_STEP = 0x92;

constexpr uint8_t STATUS_OK = 0x00;
constexpr uint8_t STATUS_PENDING = 0x80;
// A byte read from a board that is not driving the bus.
constexpr uint8_t STATUS_FLOATING = 0xFF;
// The micro-code refused an EEPROM request.
constexpr uint8_t STATUS_REFUSED = 0x7F;

// Multi-byte fields are written and read byte by byte: the board side sees every access, and
// the fields need not be aligned.
inline void WriteLittleEndian(volatile uint8_t* pZone_U8, uint32_t offset_U32, uint32_t value_U32,
                              uint32_t width_U32)
{
    for (uint32_t i_U32 = 0; i_U32 < width_U32; ++i_U32)
    {
        pZone_U8[offset_U32 + i_U32] = static_cast<uint8_t>(value_U32 >> (8 * i_U32));
    }
}

inline uint32_t ReadLittleEndian(const volatile uint8_t* pZone_U8, uint32_t offset_U32, uint32_t width_U32)
{
    uint32_t value_U32 = 0;
    for (uint32_t i_U32 = 0; i_U32 < width_U32; ++i_U32)
    {
        value_U32 |= static_cast<uint32_t>(pZone_U8[offset_U32 + i_U32]) << (8 * i_U32);
    }
    return value_U32;
}
} // namespace CommandZone
