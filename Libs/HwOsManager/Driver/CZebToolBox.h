#pragma once
// Host-side handle on one codec board: wake-up, identification and the command protocol.
#include "CTscTimer.h"
#include "DriverApiTypes.h"
#include "ZebBoardTypes.h"
#include <cstdint>

class CZebToolBox
{
public:
    // Result of a command that the board never answered.
    static constexpr uint32_t S_COMMAND_TIMED_OUT = 0xFFFFFFFF;
    // Timeout of the commands that take none from the caller.
    static constexpr uint32_t S_COMMAND_TIMEOUT_MS = 1000;

    explicit CZebToolBox(SYS_CTL_BOARD_TYPE type);
    ~CZebToolBox();
    CZebToolBox(const CZebToolBox&) = delete;
    CZebToolBox& operator=(const CZebToolBox&) = delete;

    uint32_t SetUCodeInterface(uint32_t interface, int32_t sleepWhilePolling);
    uint32_t ExecuteUCodeCommand(uint8_t opcode, uint32_t timeoutMs, uint32_t interface);
    uint32_t ExecuteUCodeCommand(uint8_t opcode, uint32_t timeoutMs);
    uint32_t ExecuteUCodeCommand(uint8_t opcode);

    void ResetPulse();
    uint32_t WaitDPRAMAvailable(uint32_t seconds);
    uint32_t WaitBootstrapAvailable(uint32_t seconds);
    uint32_t BoardWakeUp(uint32_t attempts);
    uint32_t GetBoardInfos(SZebBoardInfos* out);

    uint32_t BS_ReadByte(uint32_t address, uint8_t* out);
    uint32_t BS_ReadShort(uint32_t address, uint16_t* out);
    uint32_t BS_ReadLong(uint32_t address, uint32_t* out);
    uint32_t BS_WriteByte(uint32_t address, uint8_t value);
    uint32_t BS_WriteShort(uint32_t address, uint16_t value);
    uint32_t BS_WriteLong(uint32_t address, uint32_t value);

    uint32_t I2CService(uint8_t address, uint32_t writeCount, uint8_t* writeData, uint32_t readCount,
                        uint8_t* readData);
    uint32_t MCF547xI2CReset();

private:
    uint32_t WakeUpQ7K();
    // One attempt of the bootstrap wake-up; *retry tells whether a new attempt may follow.
    uint32_t WakeUpAttempt(bool* retry);
    uint32_t ReadVersion(bool nibbleSplit);
    void DetectQ7K();
    void BusyWait(CTscTimer& timer, uint32_t milliseconds);
    uint32_t BootstrapWrite(uint8_t opcode, uint32_t address, uint32_t value, uint32_t width);
    // Reads a field of sizeof(T) bytes into *out (when given).
    template <class T> uint32_t BootstrapRead(uint8_t opcode, uint32_t address, T* out);

    volatile uint8_t* mpCommandZone_U8 = nullptr;
    SZebBoardInfos mBoardInfos_X = {};
    uint32_t mUCodeInterface_U32 = 0;
    int32_t mSleepWhilePolling_S32 = 0;
};
