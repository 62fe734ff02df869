#pragma once
// Holds a critical section (BofCriticalSection.h) for the lifetime of a scope.
#include "BofCriticalSection.h"

class CCriticalSectionGuard
{
public:
    explicit CCriticalSectionGuard(BOF_CRITICAL_SECTION handle) : mHandle_X(handle)
    {
        CritSectEnter(mHandle_X);
    }
    ~CCriticalSectionGuard() { CritSectLeave(mHandle_X); }
    CCriticalSectionGuard(const CCriticalSectionGuard&) = delete;
    CCriticalSectionGuard& operator=(const CCriticalSectionGuard&) = delete;

private:
    BOF_CRITICAL_SECTION mHandle_X;
};
