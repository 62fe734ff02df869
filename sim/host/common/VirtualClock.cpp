#include "VirtualClock.h"

#include "RunConfig.h"

#include <fcntl.h>
#include <sys/mman.h>
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
constexpr long kPageBytes = 4096;
} // namespace

VirtualClock::VirtualClock(int64_t monoStartNs, int64_t wallStartNs, double speed, int64_t realMonoStartNs,
                           ClockPage* page)
    : monoStart_(monoStartNs), wallStart_(wallStartNs), speed_(speed > 0 ? speed : 0),
      realStart_(realMonoStartNs), page_(page)
{
    if (speed_ == 0 && page_ == nullptr)
        speed_ = 1.0; // no shared time to own: follow the host's
}

VirtualClock VirtualClock::forRun(const RunConfig& config)
{
    const double speed = config.getDouble("speed", 0);
    return VirtualClock(config.getInt("mono_start_ns", kReproducibleStartNs),
                        config.getInt("wall_start_ns", 0), speed, config.getInt("real_mono_start_ns", 0),
                        speed > 0 ? nullptr : mapPage(config.runDir(), false));
}

bool VirtualClock::setUpRun(RunConfig* config, const std::string& runDir, double speed, int64_t wallStartNs)
{
    const int64_t realStart = realNs(kMonotonic);
    config->set("speed", std::to_string(speed));
    config->set("real_mono_start_ns", std::to_string(realStart));
    config->set("mono_start_ns", std::to_string(speed > 0 ? realStart : kReproducibleStartNs));
    config->set("wall_start_ns", std::to_string(wallStartNs));
    return speed > 0 || mapPage(runDir, true) != nullptr;
}

ClockPage* VirtualClock::mapPage(const std::string& runDir, bool create)
{
    const std::string path = runDir + "/" + kPageFile;
    const long fd =
        syscall(__NR_openat, AT_FDCWD, path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0644);
    if (fd < 0)
        return nullptr;
    // Every process of the run moves the clock, also one that runs as an ordinary user.
    if (create && (syscall(__NR_ftruncate, fd, kPageBytes) != 0 || syscall(__NR_fchmod, fd, 0666) != 0))
    {
        syscall(__NR_close, fd);
        return nullptr;
    }
#ifdef __NR_mmap2
    const long address = syscall(__NR_mmap2, 0, kPageBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
#else
    const long address = syscall(__NR_mmap, 0, kPageBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
#endif
    syscall(__NR_close, fd);
    if (address < 0 && address > -4096)
        return nullptr;
    return reinterpret_cast<ClockPage*>(address);
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

int64_t VirtualClock::elapsedNs() const
{
    if (reproducible())
        return page_->elapsedNs.load(std::memory_order_acquire);
    return static_cast<int64_t>(static_cast<long double>(realNs(kMonotonic) - realStart_) * speed_);
}

void VirtualClock::advance(int64_t ns) const
{
    if (reproducible() && ns > 0)
        page_->elapsedNs.fetch_add(ns, std::memory_order_acq_rel);
}

int64_t VirtualClock::toReal(int64_t virtualNs) const
{
    if (reproducible())
        return virtualNs;
    return static_cast<int64_t>(static_cast<long double>(virtualNs) / speed_);
}

int64_t VirtualClock::toVirtual(int64_t realNs) const
{
    if (reproducible())
        return realNs;
    return static_cast<int64_t>(static_cast<long double>(realNs) * speed_);
}

} // namespace simhost
