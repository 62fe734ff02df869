// Bootstrap memory access and the board's I2C bus through the command zone.
#include "CZebToolBox.h"

#include "ComramCommandZone.h"

using namespace CommandZone;

namespace
{
// The data area ends where the interface-1 mailbox begins.
constexpr uint32_t I2C_DATA_LIMIT = MAILBOX_INTERFACE1 - OFFSET_I2C_DATA;

// MCF547x general-purpose I/O registers holding the I2C pins.
constexpr uint32_t MCF_PAR_FECI2CIRQ = 0xF0000A44;
constexpr uint32_t MCF_PDDR_FECI2C = 0xF0000A18;
constexpr uint32_t MCF_PCLRR_FECI2C = 0xF0000A38;
constexpr uint32_t MCF_PPDSDR_FECI2C = 0xF0000A28;
constexpr uint16_t PAR_I2C_PIN = 0x0004;
constexpr uint32_t NB_RECOVERY_PULSES = 10;
} // namespace

uint32_t CZebToolBox::BootstrapWrite(uint8_t opcode, uint32_t address, uint32_t value, uint32_t width)
{
    if (mpCommandZone_U8 == nullptr)
    {
        return S_COMMAND_TIMED_OUT;
    }
    WriteLittleEndian(mpCommandZone_U8, OFFSET_ADDRESS, address, 4);
    WriteLittleEndian(mpCommandZone_U8, OFFSET_DATA, value, width);
    return ExecuteUCodeCommand(opcode, S_COMMAND_TIMEOUT_MS);
}

template <class T> uint32_t CZebToolBox::BootstrapRead(uint8_t opcode, uint32_t address, T* out)
{
    if (mpCommandZone_U8 == nullptr)
    {
        return S_COMMAND_TIMED_OUT;
    }
    WriteLittleEndian(mpCommandZone_U8, OFFSET_ADDRESS, address, 4);
    const uint32_t result_U32 = ExecuteUCodeCommand(opcode, S_COMMAND_TIMEOUT_MS);
    // Copied whatever the result: the caller decides by it.
    if (out != nullptr)
    {
        *out = static_cast<T>(ReadLittleEndian(mpCommandZone_U8, OFFSET_DATA, sizeof(T)));
    }
    return result_U32;
}

uint32_t CZebToolBox::BS_ReadByte(uint32_t address, uint8_t* out)
{
    return BootstrapRead(OPCODE_BS_READ_BYTE, address, out);
}

uint32_t CZebToolBox::BS_ReadShort(uint32_t address, uint16_t* out)
{
    return BootstrapRead(OPCODE_BS_READ_SHORT, address, out);
}

uint32_t CZebToolBox::BS_ReadLong(uint32_t address, uint32_t* out)
{
    return BootstrapRead(OPCODE_BS_READ_LONG, address, out);
}

uint32_t CZebToolBox::BS_WriteByte(uint32_t address, uint8_t value)
{
    return BootstrapWrite(OPCODE_BS_WRITE_BYTE, address, value, 1);
}

uint32_t CZebToolBox::BS_WriteShort(uint32_t address, uint16_t value)
{
    return BootstrapWrite(OPCODE_BS_WRITE_SHORT, address, value, 2);
}

uint32_t CZebToolBox::BS_WriteLong(uint32_t address, uint32_t value)
{
    return BootstrapWrite(OPCODE_BS_WRITE_LONG, address, value, 4);
}

uint32_t CZebToolBox::I2CService(uint8_t address, uint32_t writeCount, uint8_t* writeData, uint32_t readCount,
                                 uint8_t* readData)
{
    // The address byte of the request is deliberately left as it stands: the wake-up's empty
    // transfer only asks whether the I2C path answers at all.
    if (mpCommandZone_U8 == nullptr)
    {
        return S_COMMAND_TIMED_OUT;
    }
    const uint32_t writeBytes_U32 = writeData != nullptr ? (writeCount & 0xFFFF) : 0;
    const uint32_t readBytes_U32 = readData != nullptr ? (readCount & 0xFFFF) : 0;
    if (writeBytes_U32 > I2C_DATA_LIMIT || readBytes_U32 > I2C_DATA_LIMIT)
    {
        // Larger than the data area: posting it would overrun the other mailboxes.
        return S_COMMAND_TIMED_OUT;
    }
    WriteLittleEndian(mpCommandZone_U8, OFFSET_I2C_WRITE_COUNT, writeCount & 0xFFFF, 2);
    WriteLittleEndian(mpCommandZone_U8, OFFSET_I2C_READ_COUNT, readCount & 0xFFFF, 2);
    for (uint32_t i_U32 = 0; i_U32 < writeBytes_U32; ++i_U32)
    {
        mpCommandZone_U8[OFFSET_I2C_DATA + i_U32] = writeData[i_U32];
    }
    const uint32_t result_U32 = ExecuteUCodeCommand(OPCODE_I2C_SERVICE, S_COMMAND_TIMEOUT_MS);
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
