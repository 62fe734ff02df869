#pragma once
// Portability layer: ticks, time-stamp counter, sleeps and bounded formatting.
// Plain linkage so that C and C++ callers of the platform share one set of entry points.
#include <cstdint>

extern "C"
{
    uint32_t Bof_GetTickCount();
    uint64_t Bof_RdTsc();
    uint32_t Bof_Sleep(uint32_t milliseconds);
    int Bof_Snprintf(char* buffer, uint32_t size, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    int Bof_Sprintf(char* buffer, const char* format, ...) __attribute__((format(printf, 2, 3)));
}
