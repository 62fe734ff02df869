#pragma once
// The only place that runs x86 in/out instructions, and only on ports whose ioperm grant
// succeeded: an instruction on a port never granted would kill the process.
#include <cstdint>

class CIoPortAccess
{
public:
    // ioperm over [first, first + count), raising privileges for the call when the process
    // runs without them. -1 when they cannot be raised, else the ioperm result.
    static int S_Grant(uint32_t first, uint32_t count);
    static int S_Revoke(uint32_t first, uint32_t count);
    static bool S_IsGranted(uint32_t port);

    // A port never granted reads 0xFF, as a floating bus does; writes to it are dropped.
    static uint8_t S_In8(uint32_t port);
    static void S_Out8(uint32_t port, uint8_t value);

private:
    static int S_SetPermission(uint32_t first, uint32_t count, int enable);
    static void S_Record(uint32_t first, uint32_t count, bool granted);
};
