#include "KrpcInterrupt.h"

#include "BofCriticalSection.h"

namespace
{
BOF_CRITICAL_SECTION S_GlobalIntLock_X = 0;
uint32_t S_Nesting_U32 = 0;
uint32_t S_HighestNesting_U32 = 0;
SKrpcInterruptMonitor* S_pMonitor_X = nullptr;
} // namespace

void KrpcCreateGlobalIntLock()
{
    Bof_CreateCriticalSection("GlobalIntLock", &S_GlobalIntLock_X);
}

void KrpcDestroyGlobalIntLock()
{
    Bof_DestroyCriticalSection(&S_GlobalIntLock_X);
    // The layer leaves the handle variable as it was; clear it so a later enter is a no-op
    // instead of a use of freed memory.
    S_GlobalIntLock_X = 0;
}

int KrpcDisableInterrupt(void* caller, int line)
{
    Bof_EnterCriticalSection(&S_GlobalIntLock_X);
    ++S_Nesting_U32;
    if (S_Nesting_U32 > S_HighestNesting_U32)
    {
        S_HighestNesting_U32 = S_Nesting_U32;
    }
    if (S_Nesting_U32 == 1 && S_pMonitor_X != nullptr)
    {
        ++S_pMonitor_X->Disables_U32;
    }
    return 0;
}

int KrpcEnableInterrupt()
{
    // Changed before the lock is left, so only the holder ever touches the count.
    const uint32_t was_U32 = S_Nesting_U32;
    if (S_Nesting_U32 > 0)
    {
        --S_Nesting_U32;
    }
    if (was_U32 == 1 && S_pMonitor_X != nullptr)
    {
        ++S_pMonitor_X->Enables_U32;
    }
    Bof_LeaveCriticalSection(&S_GlobalIntLock_X);
    return 0;
}

void KrpcSetInterruptMonitor(SKrpcInterruptMonitor* monitor)
{
    S_pMonitor_X = monitor;
}

uint32_t KrpcGetInterruptNesting()
{
    return S_Nesting_U32;
}

uint32_t KrpcGetHighestInterruptNesting()
{
    return S_HighestNesting_U32;
}
