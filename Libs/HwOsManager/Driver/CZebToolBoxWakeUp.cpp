// Board wake-up: reset, memory and bootstrap checks, identification; the Q7K power cycles.
#include "BofSystem.h"
#include "CZebToolBox.h"
#include "ComramCommandZone.h"
#include "Q7KComRAM.h"
#include "Vx20xPsu.h"

#include <time.h>

using namespace CommandZone;

namespace
{
constexpr uint32_t WAKEUP_OK = 0;
constexpr uint32_t WAKEUP_NO_DPRAM = 1;
constexpr uint32_t WAKEUP_NO_BOOTSTRAP = 2;
constexpr uint32_t WAKEUP_NO_IDENTIFICATION = 3;
constexpr uint32_t WAKEUP_NO_VERSION = 4;
constexpr uint32_t WAKEUP_NO_STEP_92 = 5;
constexpr uint32_t WAKEUP_NO_I2C = 6;

// Passed for form: the toolbox's I2C request leaves the device byte as it stands.
constexpr uint8_t PROBE_I2C_DEVICE = 0xA2;

constexpr uint32_t Q7K_POWER_CYCLES = 5;
constexpr uint32_t Q7K_HANDSHAKES = 30;
constexpr int64_t Q7K_HANDSHAKE_NS = 1001000000;

int64_t MonotonicNs()
{
    timespec now_X;
    clock_gettime(CLOCK_MONOTONIC, &now_X);
    return static_cast<int64_t>(now_X.tv_sec) * 1000000000 + now_X.tv_nsec;
}
} // namespace

uint32_t CZebToolBox::BoardWakeUp(uint32_t attempts)
{
    if (mBoardInfos_X.BoardType == SYS_CTL_BOARD_TYPE_Q7K)
    {
        return WakeUpQ7K();
    }
    // Deliberate: no attempt asked, nothing done, reported as success.
    uint32_t result_U32 = WAKEUP_OK;
    for (uint32_t attempt_U32 = 1; attempt_U32 <= attempts; ++attempt_U32)
    {
        bool retry_B = false;
        result_U32 = WakeUpAttempt(&retry_B);
        if (!retry_B)
        {
            return result_U32;
        }
    }
    return result_U32;
}

uint32_t CZebToolBox::WakeUpAttempt(bool* retry)
{
    *retry = true;
    if (mpCommandZone_U8 == nullptr)
    {
        // Nothing mapped: no pulse, no waits, the memory check fails at once.
        return WAKEUP_NO_DPRAM;
    }
    ResetPulse();
    if (WaitDPRAMAvailable(10) == 0)
    {
        return WAKEUP_NO_DPRAM;
    }
    if (WaitBootstrapAvailable(20) == 0)
    {
        return WAKEUP_NO_BOOTSTRAP;
    }
    *retry = false;
    mBoardInfos_X = SZebBoardInfos{};
    mBoardInfos_X.BoardType = SYS_CTL_BOARD_TYPE_UNKNOWN;
    if (ExecuteUCodeCommand(OPCODE_IDENTIFICATION, S_COMMAND_TIMEOUT_MS) != 0)
    {
        return WAKEUP_NO_IDENTIFICATION;
    }
    mBoardInfos_X.BoardID = mpCommandZone_U8[OFFSET_MEMORY_CHECK];
    const uint8_t family_U8 = mBoardInfos_X.BoardID & 0xF0;
    if (family_U8 == 0xC0)
    {
        // Q5KP boards have no I2C probe step.
        mBoardInfos_X.BoardType = SYS_CTL_BOARD_TYPE_Q5KP;
        return ReadVersion(true);
    }
    mBoardInfos_X.BoardType = family_U8 == 0xB0 ? SYS_CTL_BOARD_TYPE_Q5K : SYS_CTL_BOARD_TYPE_ZEBX;
    if (ExecuteUCodeCommand(OPCODE_WAKEUP_STEP, S_COMMAND_TIMEOUT_MS) != 0)
    {
        return WAKEUP_NO_STEP_92;
    }
    if (I2CService(PROBE_I2C_DEVICE, 0, nullptr, 0, nullptr) != 0)
    {
        MCF547xI2CReset();
        *retry = true;
        return WAKEUP_NO_I2C;
    }
    return ReadVersion(mBoardInfos_X.BoardType != SYS_CTL_BOARD_TYPE_ZEBX);
}

uint32_t CZebToolBox::ReadVersion(bool nibbleSplit)
{
    if (ExecuteUCodeCommand(OPCODE_VERSION, S_COMMAND_TIMEOUT_MS) != 0)
    {
        return WAKEUP_NO_VERSION;
    }
    const uint8_t version_U8 = mpCommandZone_U8[OFFSET_ADDRESS];
    const uint8_t second_U8 = mpCommandZone_U8[OFFSET_INTERFACE0_FLAG];
    if (!nibbleSplit)
    {
        mBoardInfos_X.PCBVersion = version_U8;
        mBoardInfos_X.JumpersState = 0;
        mBoardInfos_X.ComponentsVersion = second_U8;
        return WAKEUP_OK;
    }
    mBoardInfos_X.PCBVersion = version_U8 & 0x0F;
    mBoardInfos_X.JumpersState = (version_U8 & 0x0F) != 0 ? version_U8 >> 4 : 0;
    mBoardInfos_X.ComponentsVersion = second_U8 & 0x0F;
    if (mBoardInfos_X.BoardType == SYS_CTL_BOARD_TYPE_Q5KP && (version_U8 & 0x08) != 0)
    {
        mBoardInfos_X.BoardType = SYS_CTL_BOARD_TYPE_Q5KP_V;
    }
    return WAKEUP_OK;
}

uint32_t CZebToolBox::WakeUpQ7K()
{
    using namespace ORX::KV::Hardware::Q7KHelpers;
    Vx20xPsu psu_O;
    const Q7KComRAM comram_O;
    for (uint32_t cycle_U32 = 0; cycle_U32 < Q7K_POWER_CYCLES; ++cycle_U32)
    {
        psu_O.ComponentsActivate(0);
        Bof_Sleep(500);
        psu_O.ComponentsActivate(0x1F);
        Bof_Sleep(10000);
        for (uint32_t handshake_U32 = 0; handshake_U32 < Q7K_HANDSHAKES; ++handshake_U32)
        {
            // The Q7K's micro-code looks at the mailbox on any doorbell write, whatever the value.
            comram_O.write(OFFSET_OPCODE, OPCODE_PRESENCE);
            comram_O.write(OFFSET_STATUS, STATUS_PENDING);
            comram_O.write(OFFSET_DOORBELL, 0);
            const int64_t start_S64 = MonotonicNs();
            for (;;)
            {
                if (comram_O.read(OFFSET_STATUS) != STATUS_PENDING)
                {
                    Bof_Sleep(1000);
                    return WAKEUP_OK;
                }
                // A clock seen going backwards keeps polling rather than giving up early.
                if (MonotonicNs() - start_S64 >= Q7K_HANDSHAKE_NS)
                {
                    break;
                }
            }
        }
    }
    return WAKEUP_NO_DPRAM;
}
