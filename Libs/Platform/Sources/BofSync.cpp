#include "BofSync.h"

namespace
{
int InitPriorityInheritingMutex(pthread_mutex_t* mutex, int type)
{
    pthread_mutexattr_t attributes_X;
    int status_S32 = pthread_mutexattr_init(&attributes_X);
    if (status_S32 != 0)
    {
        return status_S32;
    }
    pthread_mutexattr_settype(&attributes_X, type);
    pthread_mutexattr_setprotocol(&attributes_X, PTHREAD_PRIO_INHERIT);
    status_S32 = pthread_mutex_init(mutex, &attributes_X);
    pthread_mutexattr_destroy(&attributes_X);
    return status_S32;
}
} // namespace

int Bof_InitPriorityInheritingMutex(pthread_mutex_t* mutex)
{
    return InitPriorityInheritingMutex(mutex, PTHREAD_MUTEX_DEFAULT);
}

int Bof_InitRecursivePriorityInheritingMutex(pthread_mutex_t* mutex)
{
    return InitPriorityInheritingMutex(mutex, PTHREAD_MUTEX_RECURSIVE);
}

int Bof_InitMonotonicCondition(pthread_cond_t* condition)
{
    pthread_condattr_t attributes_X;
    int status_S32 = pthread_condattr_init(&attributes_X);
    if (status_S32 != 0)
    {
        return status_S32;
    }
    pthread_condattr_setclock(&attributes_X, CLOCK_MONOTONIC);
    status_S32 = pthread_cond_init(condition, &attributes_X);
    pthread_condattr_destroy(&attributes_X);
    return status_S32;
}

timespec Bof_MonotonicDeadline(uint32_t milliseconds)
{
    timespec deadline_X{};
    clock_gettime(CLOCK_MONOTONIC, &deadline_X);
    uint64_t nanoseconds_U64 =
        static_cast<uint64_t>(deadline_X.tv_nsec) + static_cast<uint64_t>(milliseconds) * 1000000ull;
    deadline_X.tv_sec += static_cast<time_t>(nanoseconds_U64 / 1000000000ull);
    deadline_X.tv_nsec = static_cast<long>(nanoseconds_U64 % 1000000000ull);
    return deadline_X;
}
