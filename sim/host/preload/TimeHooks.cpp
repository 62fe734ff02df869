// The process's clocks, sleeps and timed waits in the run's virtual time (VirtualClock), and its
// system log messages stamped at the time they were sent. Both the classic entry points and the
// 64-bit time ones that time64 builds call are covered.
#include "Interposer.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

using simhost::Interposer;
using simhost::VirtualClock;

namespace
{

constexpr int64_t kNs = 1000000000LL;

// The C library's 64-bit time structures as they are laid out on i386.
struct Timespec64
{
    int64_t sec;
    int32_t nsec;
    int32_t padding;
};
struct Timeval64
{
    int64_t sec;
    int64_t usec;
};

const VirtualClock* virtualClock()
{
    Interposer* ip = Interposer::get();
    return ip != nullptr && ip->inRun() ? &ip->clock() : nullptr;
}

bool isWallClock(clockid_t id)
{
    return id == CLOCK_REALTIME || id == CLOCK_REALTIME_COARSE || id == CLOCK_TAI;
}
bool isMonotonicClock(clockid_t id)
{
    return id == CLOCK_MONOTONIC || id == CLOCK_MONOTONIC_RAW || id == CLOCK_MONOTONIC_COARSE ||
           id == CLOCK_BOOTTIME;
}

// The virtual reading of a clock in ns; false for clocks that are not virtualised.
bool virtualNow(clockid_t id, int64_t* ns)
{
    const VirtualClock* clock = virtualClock();
    if (clock == nullptr || !(isWallClock(id) || isMonotonicClock(id)))
        return false;
    *ns = isWallClock(id) ? clock->wallNow() : clock->monotonicNow();
    return true;
}

int realClockGettime(clockid_t id, Timespec64* ts)
{
    struct
    {
        int64_t sec;
        int64_t nsec;
    } k{};
    const long result = syscall(__NR_clock_gettime64, id, &k);
    ts->sec = k.sec;
    ts->nsec = static_cast<int32_t>(k.nsec);
    ts->padding = 0;
    return static_cast<int>(result);
}

int gettime64(clockid_t id, Timespec64* ts)
{
    int64_t ns = 0;
    if (!virtualNow(id, &ns))
        return realClockGettime(id, ts);
    ts->sec = ns / kNs;
    ts->nsec = static_cast<int32_t>(ns % kNs);
    ts->padding = 0;
    return 0;
}

// Sleeps until the host monotonic clock shows `realDeadline`; on a signal, the virtual time
// still to sleep is stored in *remainingVirtual.
int sleepUntilReal(int64_t realDeadline, int64_t* remainingVirtual, const VirtualClock& clock)
{
    struct
    {
        int64_t sec;
        int64_t nsec;
    } k{realDeadline / kNs, realDeadline % kNs};
    const long result = syscall(__NR_clock_nanosleep_time64, CLOCK_MONOTONIC, TIMER_ABSTIME, &k, nullptr);
    if (result == 0)
        return 0;
    const int error = errno;
    if (remainingVirtual != nullptr)
    {
        const int64_t left = realDeadline - VirtualClock::realNs(CLOCK_MONOTONIC);
        *remainingVirtual = left > 0 ? clock.toVirtual(left) : 0;
    }
    return error;
}

// clock_nanosleep's contract: returns 0 or the error number. With the reproducible clock the
// main thread's sleep moves the clock by its span and returns at once; other threads sleep the
// span in real time and leave the clock alone.
int nanosleep64(clockid_t id, int flags, const Timespec64* request, Timespec64* remaining)
{
    if (request->nsec < 0 || request->nsec >= kNs)
        return EINVAL;
    const VirtualClock* clock = virtualClock();
    const int64_t requested = request->sec * kNs + request->nsec;
    int64_t now = 0;
    if (clock == nullptr || !virtualNow(id, &now))
    {
        struct
        {
            int64_t sec;
            int64_t nsec;
        } k{request->sec, request->nsec}, r{};
        if (syscall(__NR_clock_nanosleep_time64, id, flags, &k, &r) == 0)
            return 0;
        if (remaining != nullptr)
            *remaining = Timespec64{r.sec, static_cast<int32_t>(r.nsec), 0};
        return errno;
    }
    const int64_t span = (flags & TIMER_ABSTIME) != 0 ? requested - now : requested;
    if (clock->reproducible() && Interposer::mainThread())
    {
        Interposer::get()->waited();
        clock->advance(span);
        return 0;
    }
    const int64_t deadline = VirtualClock::realNs(CLOCK_MONOTONIC) + (span > 0 ? clock->toReal(span) : 0);
    int64_t left = 0;
    const int error = sleepUntilReal(deadline, &left, *clock);
    if (error == EINTR && remaining != nullptr && (flags & TIMER_ABSTIME) == 0)
        *remaining = Timespec64{left / kNs, static_cast<int32_t>(left % kNs), 0};
    return error;
}

int sleepVirtualNs(int64_t ns, int64_t* left)
{
    Timespec64 request{ns / kNs, static_cast<int32_t>(ns % kNs), 0};
    Timespec64 remaining{};
    const int error = nanosleep64(CLOCK_MONOTONIC, 0, &request, &remaining);
    if (left != nullptr)
        *left = error == EINTR ? remaining.sec * kNs + remaining.nsec : 0;
    return error;
}

// A deadline on `id` in virtual time, moved to the host's reading of the same clock.
Timespec64 realDeadline(clockid_t id, const Timespec64& virtualDeadline)
{
    const VirtualClock* clock = virtualClock();
    int64_t vNow = 0;
    if (clock == nullptr || !virtualNow(id, &vNow))
        return virtualDeadline;
    const int64_t left = virtualDeadline.sec * kNs + virtualDeadline.nsec - vNow;
    Timespec64 realNow{};
    realClockGettime(id, &realNow);
    const int64_t at = realNow.sec * kNs + realNow.nsec + (left > 0 ? clock->toReal(left) : 0);
    return Timespec64{at / kNs, static_cast<int32_t>(at % kNs), 0};
}

// After a timed wait: the main thread's wait that ran out brings the reproducible clock to its
// deadline (a wait that was woken took no virtual time).
int waitEnded(clockid_t id, const Timespec64& virtualDeadline, int result)
{
    const VirtualClock* clock = virtualClock();
    int64_t vNow = 0;
    if (clock == nullptr || !clock->reproducible() || !Interposer::mainThread() || !virtualNow(id, &vNow))
        return result;
    Interposer::get()->waited();
    if (result == ETIMEDOUT)
        clock->advance(virtualDeadline.sec * kNs + virtualDeadline.nsec - vNow);
    return result;
}

// Condition variables do not tell their clock: a deadline near the virtual wall clock is taken
// as a wall clock one, anything else as monotonic.
clockid_t guessClock(const Timespec64& deadline)
{
    int64_t wall = 0;
    int64_t mono = 0;
    if (!virtualNow(CLOCK_REALTIME, &wall) || !virtualNow(CLOCK_MONOTONIC, &mono))
        return CLOCK_REALTIME;
    const int64_t at = deadline.sec * kNs + deadline.nsec;
    const int64_t toWall = at > wall ? at - wall : wall - at;
    const int64_t toMono = at > mono ? at - mono : mono - at;
    return toWall < toMono ? CLOCK_REALTIME : CLOCK_MONOTONIC;
}

Timespec64 widen(const struct timespec* ts)
{
    return Timespec64{ts->tv_sec, static_cast<int32_t>(ts->tv_nsec), 0};
}

int narrow(const Timespec64& wide, struct timespec* ts)
{
    if (wide.sec > INT32_MAX || wide.sec < INT32_MIN)
    {
        errno = EOVERFLOW;
        return -1;
    }
    ts->tv_sec = static_cast<time_t>(wide.sec);
    ts->tv_nsec = wide.nsec;
    return 0;
}

template <typename F> F next(const char* name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

// A system log message is stamped by the launcher when it arrives; the sender waits for that
// (a few milliseconds at most, 2 s if the launcher is gone) so that the clock shows the time it
// was sent.
class SyslogStamp
{
public:
    explicit SyslogStamp(int priority)
    {
        const VirtualClock* clock = virtualClock();
        if (clock != nullptr && clock->page() != nullptr &&
            (setlogmask(0) & LOG_MASK(LOG_PRI(priority))) != 0)
        {
            page_ = clock->page();
            before_ = page_->syslogStamped.load();
        }
    }
    ~SyslogStamp()
    {
        if (page_ == nullptr)
            return;
        const int64_t giveUp = VirtualClock::realNs(CLOCK_MONOTONIC) + 2 * kNs;
        const struct
        {
            int64_t sec;
            int64_t nsec;
        } pause{0, 50'000};
        while (page_->syslogStamped.load() == before_ && VirtualClock::realNs(CLOCK_MONOTONIC) < giveUp)
            syscall(__NR_clock_nanosleep_time64, CLOCK_MONOTONIC, 0, &pause, nullptr);
    }
    SyslogStamp(const SyslogStamp&) = delete;
    SyslogStamp& operator=(const SyslogStamp&) = delete;

private:
    simhost::ClockPage* page_ = nullptr;
    uint64_t before_ = 0;
};

} // namespace

extern "C"
{

    int __clock_gettime64(clockid_t id, Timespec64* ts)
    {
        return gettime64(id, ts) == 0 ? 0 : -1;
    }

    int clock_gettime(clockid_t id, struct timespec* ts) noexcept
    {
        Timespec64 wide{};
        if (gettime64(id, &wide) != 0)
            return -1;
        return narrow(wide, ts);
    }

    int __gettimeofday64(Timeval64* tv, void*)
    {
        Timespec64 wide{};
        gettime64(CLOCK_REALTIME, &wide);
        if (tv != nullptr)
            *tv = Timeval64{wide.sec, wide.nsec / 1000};
        return 0;
    }

    int gettimeofday(struct timeval* tv, void*) noexcept
    {
        Timespec64 wide{};
        gettime64(CLOCK_REALTIME, &wide);
        if (wide.sec > INT32_MAX)
        {
            errno = EOVERFLOW;
            return -1;
        }
        tv->tv_sec = static_cast<time_t>(wide.sec);
        tv->tv_usec = wide.nsec / 1000;
        return 0;
    }

    int64_t __time64(int64_t* out)
    {
        Timespec64 wide{};
        gettime64(CLOCK_REALTIME, &wide);
        if (out != nullptr)
            *out = wide.sec;
        return wide.sec;
    }

    time_t time(time_t* out) noexcept
    {
        Timespec64 wide{};
        gettime64(CLOCK_REALTIME, &wide);
        if (wide.sec > INT32_MAX)
        {
            errno = EOVERFLOW;
            return static_cast<time_t>(-1);
        }
        if (out != nullptr)
            *out = static_cast<time_t>(wide.sec);
        return static_cast<time_t>(wide.sec);
    }

    int __clock_nanosleep_time64(clockid_t id, int flags, const Timespec64* request, Timespec64* remaining)
    {
        return nanosleep64(id, flags, request, remaining);
    }

    int clock_nanosleep(clockid_t id, int flags, const struct timespec* request, struct timespec* remaining)
    {
        const Timespec64 wide = widen(request);
        Timespec64 left{};
        const int error = nanosleep64(id, flags, &wide, &left);
        if (error == EINTR && remaining != nullptr)
            narrow(left, remaining);
        return error;
    }

    int __nanosleep64(const Timespec64* request, Timespec64* remaining)
    {
        const int error = nanosleep64(CLOCK_MONOTONIC, 0, request, remaining);
        if (error == 0)
            return 0;
        errno = error;
        return -1;
    }

    int nanosleep(const struct timespec* request, struct timespec* remaining)
    {
        const Timespec64 wide = widen(request);
        Timespec64 left{};
        const int error = nanosleep64(CLOCK_MONOTONIC, 0, &wide, &left);
        if (error == 0)
            return 0;
        if (error == EINTR && remaining != nullptr)
            narrow(left, remaining);
        errno = error;
        return -1;
    }

    int usleep(useconds_t microseconds)
    {
        const int error = sleepVirtualNs(static_cast<int64_t>(microseconds) * 1000, nullptr);
        if (error == 0)
            return 0;
        errno = error;
        return -1;
    }

    unsigned int sleep(unsigned int seconds)
    {
        int64_t left = 0;
        sleepVirtualNs(static_cast<int64_t>(seconds) * kNs, &left);
        return static_cast<unsigned int>((left + kNs - 1) / kNs);
    }

    int __pthread_cond_timedwait64(pthread_cond_t* cond, pthread_mutex_t* mutex, const Timespec64* deadline)
    {
        static auto real =
            next<int (*)(pthread_cond_t*, pthread_mutex_t*, const Timespec64*)>("__pthread_cond_timedwait64");
        const clockid_t id = guessClock(*deadline);
        const Timespec64 at = realDeadline(id, *deadline);
        return waitEnded(id, *deadline, real(cond, mutex, &at));
    }

    int pthread_cond_timedwait(pthread_cond_t* cond, pthread_mutex_t* mutex, const struct timespec* deadline)
    {
        const Timespec64 wide = widen(deadline);
        return __pthread_cond_timedwait64(cond, mutex, &wide);
    }

    int __pthread_cond_clockwait64(pthread_cond_t* cond, pthread_mutex_t* mutex, clockid_t id,
                                   const Timespec64* deadline)
    {
        static auto real = next<int (*)(pthread_cond_t*, pthread_mutex_t*, clockid_t, const Timespec64*)>(
            "__pthread_cond_clockwait64");
        const Timespec64 at = realDeadline(id, *deadline);
        return waitEnded(id, *deadline, real(cond, mutex, id, &at));
    }

    int pthread_cond_clockwait(pthread_cond_t* cond, pthread_mutex_t* mutex, clockid_t id,
                               const struct timespec* deadline)
    {
        const Timespec64 wide = widen(deadline);
        return __pthread_cond_clockwait64(cond, mutex, id, &wide);
    }

    void vsyslog(int priority, const char* format, va_list args)
    {
        static auto real = next<void (*)(int, const char*, va_list)>("vsyslog");
        SyslogStamp stamp(priority);
        real(priority, format, args);
    }

    void syslog(int priority, const char* format, ...)
    {
        va_list args;
        va_start(args, format);
        vsyslog(priority, format, args);
        va_end(args);
    }

    void __vsyslog_chk(int priority, int flag, const char* format, va_list args)
    {
        static auto real = next<void (*)(int, int, const char*, va_list)>("__vsyslog_chk");
        SyslogStamp stamp(priority);
        real(priority, flag, format, args);
    }

    void __syslog_chk(int priority, int flag, const char* format, ...)
    {
        va_list args;
        va_start(args, format);
        __vsyslog_chk(priority, flag, format, args);
        va_end(args);
    }

    int __sem_timedwait64(sem_t* sem, const Timespec64* deadline)
    {
        static auto real = next<int (*)(sem_t*, const Timespec64*)>("__sem_timedwait64");
        const Timespec64 at = realDeadline(CLOCK_REALTIME, *deadline);
        const int result = real(sem, &at);
        waitEnded(CLOCK_REALTIME, *deadline, result == 0 ? 0 : errno);
        return result;
    }

    int sem_timedwait(sem_t* sem, const struct timespec* deadline)
    {
        const Timespec64 wide = widen(deadline);
        return __sem_timedwait64(sem, &wide);
    }

} // extern "C"
