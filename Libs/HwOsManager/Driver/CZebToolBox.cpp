#include "CZebToolBox.h"

#include "BofSystem.h"
#include "CTscTimer.h"
#include "ComramCommandZone.h"
#include "ComramDriverApi.h"
#include "Q7KInfos.h"
#include "Q7KManagement.h"
#include "Q7KRegisters.h"
#include "ReadStable.h"

namespace
{
constexpr uint32_t MEMORY_CHECK_WORD = 0xA5005AFF;
// About 4 ms of bus reads: far longer than the board takes to finish writing a status byte.
constexpr uint32_t UNSETTLED_TRIES_AFTER_DEADLINE = 1000;
constexpr uint32_t COMMAND_CALIBRATION_MS = 200;
constexpr uint32_t WAIT_CALIBRATION_MS = 2000;
} // namespace

using namespace CommandZone;
using ORX::KV::Hardware::Q7KHelpers::Q7KInfos;
using ORX::KV::Hardware::Q7KHelpers::Q7KRegisters;
namespace IOBus = ORX::KV::Hardware::Q7KHelpers::IOBus;

CZebToolBox::CZebToolBox(SYS_CTL_BOARD_TYPE type)
{
    _MMAP_COMRAM volatile* pComram_X = nullptr;
    if (ComramDriverApi::GetComramPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &pComram_X) == 0 &&
        pComram_X != nullptr)
    {
        mpCommandZone_U8 = pComram_X->Byte_U8;
    }
    mUCodeInterface_U32 = 0;
    mSleepWhilePolling_S32 = 0;
    mBoardInfos_X.BoardType = type;
    if (type == SYS_CTL_BOARD_TYPE_UNKNOWN)
    {
        DetectQ7K();
    }
}

CZebToolBox::~CZebToolBox() = default;

void CZebToolBox::DetectQ7K()
{
    const Q7KRegisters<IOBus::Q7KManagement> registers_X;
    const uint8_t id_U8 = registers_X.read(0);
    if ((id_U8 & 0xF0) != 0xD0)
    {
        return;
    }
    // One register at a time, in index order: argument evaluation order is unspecified.
    const uint8_t register0_U8 = registers_X.read(0);
    const uint8_t register1_U8 = registers_X.read(1);
    const uint8_t register2_U8 = registers_X.read(2);
    const uint8_t register3_U8 = registers_X.read(3);
    const Q7KInfos infos_X(register0_U8, register1_U8, register2_U8 >> 4, register2_U8 & 0x0F, register3_U8);
    mBoardInfos_X.BoardType = SYS_CTL_BOARD_TYPE_Q7K;
    mBoardInfos_X.BoardID = infos_X.BoardID();
    mBoardInfos_X.PCBVersion = infos_X.PCBVersion();
    mBoardInfos_X.JumpersState = infos_X.JumpersState();
    mBoardInfos_X.ComponentsVersion = infos_X.ComponentsVersion();
    mBoardInfos_X.RBFVersion = infos_X.RBFVersion();
}

uint32_t CZebToolBox::SetUCodeInterface(uint32_t interface, int32_t sleepWhilePolling)
{
    mUCodeInterface_U32 = interface;
    mSleepWhilePolling_S32 = sleepWhilePolling;
    return 1;
}

uint32_t CZebToolBox::ExecuteUCodeCommand(uint8_t opcode, uint32_t timeoutMs)
{
    return ExecuteUCodeCommand(opcode, timeoutMs, mUCodeInterface_U32);
}

uint32_t CZebToolBox::ExecuteUCodeCommand(uint8_t opcode)
{
    return ExecuteUCodeCommand(opcode, S_COMMAND_TIMEOUT_MS, mUCodeInterface_U32);
}

uint32_t CZebToolBox::ExecuteUCodeCommand(uint8_t opcode, uint32_t timeoutMs, uint32_t interface)
{
    if (mpCommandZone_U8 == nullptr)
    {
        return S_COMMAND_TIMED_OUT;
    }
    CTscTimer timer_O(COMMAND_CALIBRATION_MS);
    uint32_t mailbox_U32 = OFFSET_OPCODE;
    if (interface == 1)
    {
        mailbox_U32 = MAILBOX_INTERFACE1;
    }
    else if (interface == 2)
    {
        mailbox_U32 = MAILBOX_INTERFACE2;
    }
    volatile uint8_t* pMailbox_U8 = mpCommandZone_U8 + mailbox_U32;
    // Microseconds in 32 bits: longer timeouts are held at the largest that fits, not wrapped.
    const uint32_t maxMs_U32 = 0xFFFFFFFFu / 1000u;
    timer_O.reset((timeoutMs < maxMs_U32 ? timeoutMs : maxMs_U32) * 1000u);
    pMailbox_U8[OFFSET_OPCODE] = opcode;
    pMailbox_U8[OFFSET_STATUS] = STATUS_PENDING;
    if (interface == 0)
    {
        mpCommandZone_U8[OFFSET_INTERFACE0_FLAG] = 1;
        mpCommandZone_U8[OFFSET_DOORBELL] = 1;
    }
    for (;;)
    {
        // Sampled before the read, so a status landing in the last pass is still taken.
        const bool timedOut_B = timer_O.isTimedOut();
        unsigned char stable_U8 = 0;
        uint32_t lateTries_U32 = 0;
        while (!ORX::Ucode::Api::ReadStable_8(pMailbox_U8 + OFFSET_STATUS, stable_U8))
        {
            // Past the deadline a status the board is still writing gets a bounded number of
            // tries to settle; a byte that never settles must not keep us here for ever.
            if (timer_O.isTimedOut() && ++lateTries_U32 > UNSETTLED_TRIES_AFTER_DEADLINE)
            {
                return S_COMMAND_TIMED_OUT;
            }
        }
        const uint8_t confirm_U8 = pMailbox_U8[OFFSET_STATUS];
        if (confirm_U8 == stable_U8 && stable_U8 != STATUS_PENDING && stable_U8 != STATUS_FLOATING)
        {
            return stable_U8;
        }
        if (mSleepWhilePolling_S32 != 0)
        {
            Bof_Sleep(1);
        }
        if (timedOut_B)
        {
            return S_COMMAND_TIMED_OUT;
        }
    }
}

void CZebToolBox::BusyWait(CTscTimer& timer, uint32_t milliseconds)
{
    timer.reset(milliseconds * 1000u);
    while (!timer.isTimedOut())
    {
    }
}

void CZebToolBox::ResetPulse()
{
    if (mpCommandZone_U8 == nullptr)
    {
        return;
    }
    // Created (and, first in the process, calibrated) before the line moves, so that the
    // pulse widths are not stretched by the calibration.
    CTscTimer timer_O(WAIT_CALIBRATION_MS);
    mpCommandZone_U8[OFFSET_RESET] = 1;
    BusyWait(timer_O, 10);
    mpCommandZone_U8[OFFSET_RESET] = 0;
    BusyWait(timer_O, 10);
    mpCommandZone_U8[OFFSET_RESET] = 1;
    BusyWait(timer_O, 10);
    mpCommandZone_U8[OFFSET_RESET] = 0;
    BusyWait(timer_O, 100);
}

uint32_t CZebToolBox::WaitDPRAMAvailable(uint32_t seconds)
{
    if (mpCommandZone_U8 == nullptr)
    {
        return 0;
    }
    CTscTimer timer_O(WAIT_CALIBRATION_MS);
    volatile uint32_t* pCheck_U32 =
        reinterpret_cast<volatile uint32_t*>(mpCommandZone_U8 + OFFSET_MEMORY_CHECK);
    uint32_t tries_U32 = 0;
    for (;;)
    {
        *pCheck_U32 = MEMORY_CHECK_WORD;
        if (*pCheck_U32 == MEMORY_CHECK_WORD)
        {
            return 1;
        }
        BusyWait(timer_O, 100);
        ++tries_U32;
        if (static_cast<uint64_t>(tries_U32) * 100u > static_cast<uint64_t>(seconds) * 1000u)
        {
            return 0;
        }
    }
}

uint32_t CZebToolBox::WaitBootstrapAvailable(uint32_t seconds)
{
    if (mpCommandZone_U8 == nullptr)
    {
        return 0;
    }
    CTscTimer timer_O(WAIT_CALIBRATION_MS);
    uint64_t elapsed_U64 = 100;
    const uint64_t limit_U64 = static_cast<uint64_t>(seconds) * 1000u;
    for (;;)
    {
        if (ExecuteUCodeCommand(OPCODE_PRESENCE, S_COMMAND_TIMEOUT_MS) == 0)
        {
            return 1;
        }
        BusyWait(timer_O, 100);
        const bool expired_B = elapsed_U64 > limit_U64;
        elapsed_U64 += 100;
        if (expired_B)
        {
            return 0;
        }
    }
}

uint32_t CZebToolBox::GetBoardInfos(SZebBoardInfos* out)
{
    if (out != nullptr)
    {
        *out = mBoardInfos_X;
    }
    return 0;
}
