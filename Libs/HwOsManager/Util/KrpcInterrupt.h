#pragma once
// A process-wide counted critical section standing in for disabling interrupts.
#include <cstdint>

int KrpcDisableInterrupt(void* caller, int line);
int KrpcEnableInterrupt();

// Created and destroyed by KvDriverApi; named "GlobalIntLock".
void KrpcCreateGlobalIntLock();
void KrpcDestroyGlobalIntLock();

// Optional monitoring hook: counts outermost disables and enables. Absent (null) by default.
struct SKrpcInterruptMonitor
{
    uint32_t Disables_U32;
    uint32_t Enables_U32;
};
void KrpcSetInterruptMonitor(SKrpcInterruptMonitor* monitor);

// Current nesting of the holder, and the deepest nesting seen by the process.
uint32_t KrpcGetInterruptNesting();
uint32_t KrpcGetHighestInterruptNesting();
