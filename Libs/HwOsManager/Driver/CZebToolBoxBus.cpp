// Bootstrap memory access and the board's I2C bus through the command zone.
#include "CZebToolBox.h"

namespace
{
constexpr uint32_t COMMAND_TIMEOUT = 0xFFFFFFFF;
constexpr uint32_t OFFSET_ADDRESS = 0x0002;
constexpr uint32_t OFFSET_DATA = 0x0006;
constexpr uint32_t OFFSET_I2C_WRITE_COUNT = 0x0004;
constexpr uint32_t OFFSET_I2C_READ_COUNT = 0x0006;
constexpr uint32_t OFFSET_I2C_DATA = 0x0010;
// The data area ends where the interface-1 mailbox begins.
constexpr uint32_t I2C_DATA_LIMIT = 0x2F24 - OFFSET_I2C_DATA;

// MCF547x general-purpose I/O registers holding the I2C pins.
constexpr uint32_t MCF_PAR_FECI2CIRQ = 0xF0000A44;
constexpr uint32_t MCF_PDDR_FECI2C = 0xF0000A18;
constexpr uint32_t MCF_PCLRR_FECI2C = 0xF0000A38;
constexpr uint32_t MCF_PPDSDR_FECI2C = 0xF0000A28;
constexpr uint16_t PAR_I2C_PIN = 0x0004;
constexpr uint32_t NB_RECOVERY_PULSES = 10;
} // namespace

void CZebToolBox::WriteLittleEndian(uint32_t offset, uint32_t value, uint32_t width)
{
    for (uint32_t i_U32 = 0; i_U32 < width; ++i_U32)
    {
        mpCommandZone_U8[offset + i_U32] = static_cast<uint8_t>(value >> (8 * i_U32));
    }
}

uint32_t CZebToolBox::ReadLittleEndian(uint32_t offset, uint32_t width) const
{
    uint32_t value_U32 = 0;
    for (uint32_t i_U32 = 0; i_U32 < width; ++i_U32)
    {
        value_U32 |= static_cast<uint32_t>(mpCommandZone_U8[offset + i_U32]) << (8 * i_U32);
    }
    return value_U32;
}

uint32_t CZebToolBox::BootstrapWrite(uint8_t opcode, uint32_t address, uint32_t value, uint32_t width)
{
    if (mpCommandZone_U8 == nullptr)
    {
        return COMMAND_TIMEOUT;
    }
    WriteLittleEndian(OFFSET_ADDRESS, address, 4);
    WriteLittleEndian(OFFSET_DATA, value, width);
    return ExecuteUCodeCommand(opcode, 1000);
}

uint32_t CZebToolBox::BootstrapRead(uint8_t opcode, uint32_t address, uint32_t* value, uint32_t width)
{
    if (mpCommandZone_U8 == nullptr)
    {
        return COMMAND_TIMEOUT;
    }
    WriteLittleEndian(OFFSET_ADDRESS, address, 4);
    const uint32_t result_U32 = ExecuteUCodeCommand(opcode, 1000);
    // Copied whatever the result: the caller decides by it.
    *value = ReadLittleEndian(OFFSET_DATA, width);
    return result_U32;
}

uint32_t CZebToolBox::BS_ReadByte(uint32_t address, uint8_t* out)
{
    uint32_t value_U32 = 0;
    const uint32_t result_U32 = BootstrapRead(0x86, address, &value_U32, 1);
    if (out != nullptr && mpCommandZone_U8 != nullptr)
    {
        *out = static_cast<uint8_t>(value_U32);
    }
    return result_U32;
}

uint32_t CZebToolBox::BS_ReadShort(uint32_t address, uint16_t* out)
{
    uint32_t value_U32 = 0;
    const uint32_t result_U32 = BootstrapRead(0x87, address, &value_U32, 2);
    if (out != nullptr && mpCommandZone_U8 != nullptr)
    {
        *out = static_cast<uint16_t>(value_U32);
    }
    return result_U32;
}

uint32_t CZebToolBox::BS_ReadLong(uint32_t address, uint32_t* out)
{
    uint32_t value_U32 = 0;
    const uint32_t result_U32 = BootstrapRead(0x88, address, &value_U32, 4);
    if (out != nullptr && mpCommandZone_U8 != nullptr)
    {
        *out = value_U32;
    }
    return result_U32;
}

uint32_t CZebToolBox::BS_WriteByte(uint32_t address, uint8_t value)
{
    return BootstrapWrite(0x80, address, value, 1);
}

uint32_t CZebToolBox::BS_WriteShort(uint32_t address, uint16_t value)
{
    return BootstrapWrite(0x81, address, value, 2);
}

uint32_t CZebToolBox::BS_WriteLong(uint32_t address, uint32_t value)
{
    return BootstrapWrite(0x82, address, value, 4);
}

uint32_t CZebToolBox::I2CService(uint8_t address, uint32_t writeCount, uint8_t* writeData, uint32_t readCount,
                                 uint8_t* readData)
{
    // The address byte of the request is deliberately left as it stands: the wake-up's empty
    // transfer only asks whether the I2C path answers at all.
    if (mpCommandZone_U8 == nullptr)
    {
        return COMMAND_TIMEOUT;
    }
    const uint32_t writeBytes_U32 = writeData != nullptr ? (writeCount & 0xFFFF) : 0;
    const uint32_t readBytes_U32 = readData != nullptr ? (readCount & 0xFFFF) : 0;
    if (writeBytes_U32 > I2C_DATA_LIMIT || readBytes_U32 > I2C_DATA_LIMIT)
    {
        // Larger than the data area: posting it would overrun the other mailboxes.
        return COMMAND_TIMEOUT;
    }
    WriteLittleEndian(OFFSET_I2C_WRITE_COUNT, writeCount & 0xFFFF, 2);
    WriteLittleEndian(OFFSET_I2C_READ_COUNT, readCount & 0xFFFF, 2);
    for (uint32_t i_U32 = 0; i_U32 < writeBytes_U32; ++i_U32)
    {
        mpCommandZone_U8[OFFSET_I2C_DATA + i_U32] = writeData[i_U32];
    }
    const uint32_t result_U32 = ExecuteUCodeCommand(0x90, 1000);
    if (result_U32 == 0)
    {
        for (uint32_t i_U32 = 0; i_U32 < readBytes_U32; ++i_U32)
        {
            readData[i_U32] = mpCommandZone_U8[OFFSET_I2C_DATA + i_U32];
        }
    }
    return result_U32;
}

uint32_t CZebToolBox::MCF547xI2CReset()
{
    // Individual failures are ignored: the sequence always runs to its end.
    uint16_t pinAssignment_U16 = 0;
    BS_ReadShort(MCF_PAR_FECI2CIRQ, &pinAssignment_U16);
    BS_WriteShort(MCF_PAR_FECI2CIRQ, static_cast<uint16_t>(pinAssignment_U16 & ~PAR_I2C_PIN));
    uint8_t direction_U8 = 0;
    BS_ReadByte(MCF_PDDR_FECI2C, &direction_U8);
    BS_WriteByte(MCF_PDDR_FECI2C, static_cast<uint8_t>(direction_U8 | 0x01));
    // Clock the pin so that a device stopped in the middle of a byte can finish and let go.
    for (uint32_t pulse_U32 = 0; pulse_U32 < NB_RECOVERY_PULSES; ++pulse_U32)
    {
        BS_WriteByte(MCF_PCLRR_FECI2C, 0xFE);
        BS_WriteByte(MCF_PPDSDR_FECI2C, 0x01);
    }
    BS_ReadShort(MCF_PAR_FECI2CIRQ, &pinAssignment_U16);
    return BS_WriteShort(MCF_PAR_FECI2CIRQ, static_cast<uint16_t>(pinAssignment_U16 | PAR_I2C_PIN));
}
