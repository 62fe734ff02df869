// The run's virtual time, shared by every process of a run.
//
// Reproducible (the default): the simulator owns the time. It starts at kReproducibleStartNs on
// the monotonic clock (the wall clock at the run's date) and moves only when something in the run
// moves it (advance()): a sleep, a timed wait that runs out, a board access, a time-stamp counter
// read. The elapsed time lives in a page that every process of the run maps, so the tool, its
// helpers and the launcher's system logger read one clock.
//
// Speed N: the clocks run N times faster than the host's monotonic clock from the start of the
// run; advance() does nothing.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace simhost
{

class RunConfig;

// The state of a run's time that every process shares (a file of the run directory mapped shared).
struct ClockPage
{
    std::atomic<int64_t> elapsedNs;
    // System log datagrams the launcher has stamped: a sender waits for its own to be stamped
    // before the clock can move on, so that the stamp is the time it was sent.
    std::atomic<uint64_t> syslogStamped;
};

class VirtualClock
{
public:
    static constexpr int64_t kReproducibleStartNs = 100'000'000'000LL; // as if booted 100 s ago
    static constexpr const char* kPageFile = "clock";

    VirtualClock() = default;
    // `speed` 0 asks for the reproducible clock, which needs `page`.
    VirtualClock(int64_t monoStartNs, int64_t wallStartNs, double speed, int64_t realMonoStartNs,
                 ClockPage* page);

    // The clock of a run as its run.conf describes it (the shared page mapped when needed).
    static VirtualClock forRun(const RunConfig& config);
    // Writes the clock settings into a new run's config and makes its shared page; false when the
    // page cannot be made. `speed` 0 is the reproducible clock.
    static bool setUpRun(RunConfig* config, const std::string& runDir, double speed, int64_t wallStartNs);

    // Maps (and with `create`, first makes) the shared page of a run directory; null on failure.
    // Raw system calls only: it runs inside the interposer before anything is set up.
    static ClockPage* mapPage(const std::string& runDir, bool create);

    // The host's own clocks, read with the system call (no library clock that may be
    // interposed, safe in signal handlers).
    static int64_t realNs(int clockId);

    bool reproducible() const { return speed_ == 0; }
    double speed() const { return speed_; }
    ClockPage* page() const { return page_; }

    int64_t elapsedNs() const;
    int64_t monotonicNow() const { return monoStart_ + elapsedNs(); }
    int64_t wallNow() const { return wallStart_ + elapsedNs(); }
    // Moves the reproducible clock forward by `ns` (nothing for a negative span or with a speed).
    void advance(int64_t ns) const;

    // The real time a virtual span takes: span / speed, or the span itself when reproducible.
    int64_t toReal(int64_t virtualNs) const;
    int64_t toVirtual(int64_t realNs) const;

    static constexpr int kMonotonic = 1; // CLOCK_MONOTONIC
    static constexpr int kRealtime = 0;  // CLOCK_REALTIME

private:
    int64_t monoStart_ = 0;
    int64_t wallStart_ = 0;
    double speed_ = 1.0;
    int64_t realStart_ = 0;
    ClockPage* page_ = nullptr;
};

} // namespace simhost
