#pragma once
// Building blocks shared by the thread and event objects of the portability layer.
#include <cstdint>
#include <ctime>
#include <pthread.h>

extern "C"
{
    // Non-recursive, priority-inheriting: real-time threads share the layer's locks with ordinary ones.
    int Bof_InitPriorityInheritingMutex(pthread_mutex_t* mutex);
    // The same, recursive: the critical sections' lock.
    int Bof_InitRecursivePriorityInheritingMutex(pthread_mutex_t* mutex);
    // Timed waits on the condition use CLOCK_MONOTONIC, so wall-clock changes do not stretch them.
    int Bof_InitMonotonicCondition(pthread_cond_t* condition);
    // The CLOCK_MONOTONIC instant `milliseconds` from now.
    timespec Bof_MonotonicDeadline(uint32_t milliseconds);
}
