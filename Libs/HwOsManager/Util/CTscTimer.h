#pragma once
// Deadline timer on the processor's time-stamp counter; busy-waits cost no system call.
#include <cstdint>

class CTscTimer
{
public:
    explicit CTscTimer(unsigned int calibrationMs);
    void reset(unsigned int microseconds);
    bool isTimedOut() const;

    // Counter ticks per second, 0 until the first timer of the process calibrated it.
    static uint64_t S_GetFrequency();

private:
    uint64_t mStart_U64;
    uint64_t mDeadline_U64;
    static uint64_t S_mFrequency_U64;
};
