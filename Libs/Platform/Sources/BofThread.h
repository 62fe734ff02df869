#pragma once
// Threads and events of the portability layer.
#include <cstdint>

enum BOF_THREAD_PRIORITY
{
    BOF_THREAD_PRIORITY_000 = 0, // SCHED_FIFO, highest
    BOF_THREAD_PRIORITY_001 = 1,
    BOF_THREAD_PRIORITY_002 = 2,
    BOF_THREAD_PRIORITY_003 = 3,
    BOF_THREAD_PRIORITY_004 = 4,
    BOF_THREAD_PRIORITY_005 = 5,
    BOF_THREAD_PRIORITY_006 = 6,
    BOF_THREAD_PRIORITY_007 = 7,
};

typedef void* BOFTHREAD; // thread handle; null means none
typedef void* BOFEVENT;  // event handle; null means none
typedef void (*BOF_THREAD_FUNCTION)(void* context);

extern "C"
{
    BOFTHREAD Bof_CreateThread(uint32_t stackSize, BOF_THREAD_FUNCTION function, void* context,
                               bool createSuspended);
    // Starts a thread created suspended (no effect on a started one): 0 when it runs, -2 when it
    // runs but the system refused its priority, -1 when it could not be started or a bad handle.
    int Bof_ResumeThread(BOFTHREAD thread);
    int Bof_SetThreadName(BOFTHREAD thread, const char* name);
    int Bof_SetThreadPriority(BOFTHREAD thread, BOF_THREAD_PRIORITY level);
    int Bof_WaitForThreadEnd(BOFTHREAD thread); // joins; -1 for a bad handle
    int Bof_CloseThread(BOFTHREAD thread);      // joins if still running, frees the handle

    // Maps a level to a policy and priority; false for an unknown level.
    bool ConvertBofPriorityToOsPriority(BOF_THREAD_PRIORITY level, int* policy, int* priority);

    // A successful wait consumes the signal: one set releases one wait. Named events share their
    // state between processes; opening an existing one keeps its state.
    BOFEVENT Bof_CreateEvent(bool initialState, const char* name);
    int Bof_SetEvent(BOFEVENT event);
    int Bof_ResetEvent(BOFEVENT event);
    int Bof_WaitForEvent(BOFEVENT event, uint32_t timeoutMs); // 0 signalled, 1 timed out, -1 bad handle
    int Bof_CloseEvent(BOFEVENT event);
}
constexpr uint32_t BOF_INFINITE = 0xFFFFFFFFu;
