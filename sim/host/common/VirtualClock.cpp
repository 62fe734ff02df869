#include "VirtualClock.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace simhost
{

namespace
{
// The kernel's 64-bit timespec, whatever the library's time_t is.
struct KernelTimespec
{
    int64_t sec;
    long long nsec;
};
} // namespace

VirtualClock::VirtualClock(int64_t realMonoStartNs, int64_t wallStartNs, double speed)
    : monoStart_(realMonoStartNs), wallStart_(wallStartNs), speed_(speed > 0 ? speed : 1.0)
{
}

int64_t VirtualClock::realNs(int clockId)
{
    KernelTimespec ts{0, 0};
#ifdef __NR_clock_gettime64
    syscall(__NR_clock_gettime64, clockId, &ts);
#else
    syscall(__NR_clock_gettime, clockId, &ts);
#endif
    return ts.sec * 1000000000LL + ts.nsec;
}

int64_t VirtualClock::toVirtual(int64_t realNs) const
{
    return static_cast<int64_t>(static_cast<long double>(realNs) * speed_);
}

int64_t VirtualClock::toReal(int64_t virtualNs) const
{
    return static_cast<int64_t>(static_cast<long double>(virtualNs) / speed_);
}

int64_t VirtualClock::monotonicAt(int64_t realMonoNs) const
{
    return monoStart_ + toVirtual(realMonoNs - monoStart_);
}

int64_t VirtualClock::wallAt(int64_t realMonoNs) const
{
    return wallStart_ + toVirtual(realMonoNs - monoStart_);
}

int64_t VirtualClock::realMonoForMonotonic(int64_t virtualNs) const
{
    return monoStart_ + toReal(virtualNs - monoStart_);
}

int64_t VirtualClock::realMonoForWall(int64_t virtualNs) const
{
    return monoStart_ + toReal(virtualNs - wallStart_);
}

} // namespace simhost
