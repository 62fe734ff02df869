// The time-stamp counter in virtual time. With the reproducible clock the process's threads run
// with the counter disabled (prctl PR_SET_TSC): `rdtsc` and `rdtscp` then fault and the handler
// answers them from the virtual monotonic clock at kHz ticks a second, so calibrations against a
// sleep and busy-waits see exactly the run's time. Programs started from here get a real counter
// back (their loader reads it before any library runs): every way to start one enables it for
// the calling thread while it does.
#pragma once

#include <cstdint>
#include <ucontext.h>

namespace simhost
{

class Interposer;

class TscTrap
{
public:
    static constexpr uint64_t kHz = 1'000'000'000;

    static void enable();
    // Answers the counter instruction at the faulting address; false when it is not one.
    static bool answer(Interposer& ip, ucontext_t* uc);

    // The calling thread reads the real counter while one lives (around starting a program).
    class Released
    {
    public:
        Released();
        ~Released();
        Released(const Released&) = delete;
        Released& operator=(const Released&) = delete;

    private:
        bool trapped_;
    };

    static bool enabled();
};

} // namespace simhost
