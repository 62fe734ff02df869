#include "BofSystem.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <sched.h>
#include <x86intrin.h>

namespace
{
// Callers hand Bof_Sprintf buffers of at least this size.
constexpr size_t BOF_SPRINTF_BOUND = 8192;
} // namespace

extern "C"
{

    uint32_t Bof_GetTickCount()
    {
        timespec now_X{};
        // The raw monotonic clock is not slewed by NTP, so tick differences stay true milliseconds.
        clock_gettime(CLOCK_MONOTONIC_RAW, &now_X);
        uint64_t nanoseconds_U64 =
            static_cast<uint64_t>(now_X.tv_sec) * 1000000000ull + static_cast<uint64_t>(now_X.tv_nsec);
        return static_cast<uint32_t>(nanoseconds_U64 / 1000000ull);
    }

    uint64_t Bof_RdTsc()
    {
        return __rdtsc();
    }

    uint32_t Bof_Sleep(uint32_t milliseconds)
    {
        if (milliseconds == 0)
        {
            return static_cast<uint32_t>(sched_yield());
        }
        timespec request_X{};
        request_X.tv_sec = static_cast<time_t>(milliseconds / 1000);
        request_X.tv_nsec = static_cast<long>(static_cast<uint64_t>(milliseconds % 1000) * 1000000ull);
        timespec remaining_X{};
        while (nanosleep(&request_X, &remaining_X) != 0)
        {
            if (errno != EINTR)
            {
                return static_cast<uint32_t>(errno);
            }
            // A signal handler ran: finish the rest of the delay the caller asked for.
            request_X = remaining_X;
        }
        return 0;
    }

    int Bof_Snprintf(char* buffer, uint32_t size, const char* format, ...)
    {
        va_list args;
        va_start(args, format);
        int result_S32 = vsnprintf(buffer, size, format, args);
        va_end(args);
        return result_S32;
    }

    int Bof_Sprintf(char* buffer, const char* format, ...)
    {
        va_list args;
        va_start(args, format);
        int result_S32 = vsnprintf(buffer, BOF_SPRINTF_BOUND, format, args);
        va_end(args);
        return result_S32;
    }
}
