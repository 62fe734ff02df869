// The run's virtual time. Both clocks of the simulated server advance `speed` times faster
// than the host's monotonic clock from the moment the run started; the wall clock can start at
// any date. Every process of a run derives its time from the same start values, so the tool,
// its helpers and the board model agree.
#pragma once

#include <cstdint>

namespace simhost
{

class VirtualClock
{
public:
    VirtualClock() = default;
    VirtualClock(int64_t realMonoStartNs, int64_t wallStartNs, double speed);

    // The host's own clocks, read with the system call (no library clock that may be
    // interposed, safe in signal handlers).
    static int64_t realNs(int clockId);

    int64_t monotonicAt(int64_t realMonoNs) const;
    int64_t wallAt(int64_t realMonoNs) const;
    int64_t monotonicNow() const { return monotonicAt(realNs(kMonotonic)); }
    int64_t wallNow() const { return wallAt(realNs(kMonotonic)); }

    int64_t toReal(int64_t virtualNs) const;
    int64_t toVirtual(int64_t realNs) const;
    // The host monotonic instant at which the virtual monotonic (or wall) clock shows `virtualNs`.
    int64_t realMonoForMonotonic(int64_t virtualNs) const;
    int64_t realMonoForWall(int64_t virtualNs) const;

    double speed() const { return speed_; }
    int64_t realMonoStart() const { return monoStart_; }
    int64_t wallStart() const { return wallStart_; }

    static constexpr int kMonotonic = 1; // CLOCK_MONOTONIC
    static constexpr int kRealtime = 0;  // CLOCK_REALTIME

private:
    int64_t monoStart_ = 0;
    int64_t wallStart_ = 0;
    double speed_ = 1.0;
};

} // namespace simhost
