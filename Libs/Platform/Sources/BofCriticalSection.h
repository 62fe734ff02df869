#pragma once
// Critical sections as opaque handles kept in caller-owned handle variables.
#include <cstdint>

// Error of the layer's own space: the handle variable pointer was null.
constexpr uint32_t BOF_ERR_NULL_HANDLE_POINTER = 0xC0090101u;

// The handle is the address of a heap-allocated CCriticalSection; 0 means none exists.
typedef uintptr_t BOF_CRITICAL_SECTION;

extern "C"
{
    uint32_t Bof_CreateCriticalSection(const char* name, BOF_CRITICAL_SECTION* handle);
    uint32_t Bof_EnterCriticalSection(BOF_CRITICAL_SECTION* handle);
    uint32_t Bof_LeaveCriticalSection(BOF_CRITICAL_SECTION* handle);
    uint32_t Bof_DestroyCriticalSection(BOF_CRITICAL_SECTION* handle);

    BOF_CRITICAL_SECTION CritSectCreate();
    void CritSectEnter(BOF_CRITICAL_SECTION handle);
    int CritSectLeave(BOF_CRITICAL_SECTION handle);
    void CritSectDestroy(BOF_CRITICAL_SECTION handle);
}
