#include "CTscTimer.h"

#include "BofSystem.h"

uint64_t CTscTimer::S_mFrequency_U64 = 0;

CTscTimer::CTscTimer(unsigned int calibrationMs) : mStart_U64(0), mDeadline_U64(0)
{
    if (S_mFrequency_U64 != 0)
    {
        return;
    }
    // A zero period would divide by zero; one millisecond is the shortest meaningful one.
    const uint64_t periodMs_U64 = calibrationMs != 0 ? calibrationMs : 1;
    const uint64_t before_U64 = Bof_RdTsc();
    Bof_Sleep(static_cast<uint32_t>(periodMs_U64));
    const uint64_t after_U64 = Bof_RdTsc();
    S_mFrequency_U64 = (after_U64 - before_U64) * 1000u / periodMs_U64;
}

void CTscTimer::reset(unsigned int microseconds)
{
    mStart_U64 = Bof_RdTsc();
    mDeadline_U64 = mStart_U64 + static_cast<uint64_t>(microseconds) * S_mFrequency_U64 / 1000000u;
}

bool CTscTimer::isTimedOut() const
{
    return Bof_RdTsc() >= mDeadline_U64;
}

uint64_t CTscTimer::S_GetFrequency()
{
    return S_mFrequency_U64;
}
