#pragma once
// Handle on the communication RAM driver: maps the board's dual-port RAM and its I/O area.
#include "DriverApiTypes.h"

class ComramDriverApi
{
public:
    static ComramDriverApi* S_GetInstance();
    static void S_ReleaseInstance(bool shutdownDevice);
    static int S_ForceUnload();

    int32_t OpenDevice(unsigned int index, COMRAM_OPENDEVICE* param);
    int32_t CloseDevice(unsigned int index, COMRAM_CLOSEDEVICE* param);
    int32_t CloseInstance(bool shutdownDevice);

    // 22 for a bad index or null output, 9 when the device is not open, else 0 with the
    // pointer stored (null when the mapping failed).
    int32_t GetComramPointer(unsigned int index, _MMAP_COMRAM volatile** out);
    int32_t GetBaseIsaIoPointer(unsigned int index, volatile uint8_t** out);

    // Forms taking the handle as found in the interface record: a null handle reports 9
    // and leaves the output untouched.
    static int32_t GetComramPointer(uintptr_t instance, unsigned int index, _MMAP_COMRAM volatile** out);
    static int32_t GetBaseIsaIoPointer(uintptr_t instance, unsigned int index, volatile uint8_t** out);

    void Log(int priority, const char* text);

    // Owned by the driver handle code; members below may change freely.
    explicit ComramDriverApi(COMRAMDRIVERAPIPARAM* param);
    ~ComramDriverApi();
    ComramDriverApi(const ComramDriverApi&) = delete;
    ComramDriverApi& operator=(const ComramDriverApi&) = delete;

private:
    struct Impl;
    Impl* mpImpl = nullptr;
};
