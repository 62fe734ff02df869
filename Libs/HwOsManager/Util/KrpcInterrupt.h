#pragma once
// A process-wide counted critical section standing in for disabling interrupts.
#include <cstdint>

int KrpcDisableInterrupt(void* caller, int line);
int KrpcEnableInterrupt();

// Created and destroyed by KvDriverApi; named "GlobalIntLock".
void KrpcCreateGlobalIntLock();
void KrpcDestroyGlobalIntLock();
