#pragma once
// Handle on the communication RAM driver: maps the board's dual-port RAM and its I/O area.
#include "CDriverHandle.h"
#include "DriverApiTypes.h"
#include "TDriverSingleton.h"

#include <atomic>
#include <memory>

class ComramDriverApi final : public CDriverHandle,
                              public TDriverSingleton<ComramDriverApi, COMRAMDRIVERAPIPARAM>
{
public:
    static int S_ForceUnload();

    int32_t OpenDevice(unsigned int index, COMRAM_OPENDEVICE* param);
    int32_t CloseDevice(unsigned int index, COMRAM_CLOSEDEVICE* param);
    int32_t CloseInstance(bool shutdownDevice);

    // DRIVER_STATUS_BAD_ARGUMENT for a bad index or null output, DRIVER_STATUS_NOT_READY when
    // the device is not open, else 0 with the pointer stored (null when the mapping failed).
    int32_t GetComramPointer(unsigned int index, _MMAP_COMRAM volatile** out);
    int32_t GetBaseIsaIoPointer(unsigned int index, volatile uint8_t** out);

    // Forms taking the handle as found in the interface record: a null handle reports DRIVER_STATUS_NOT_READY
    // and leaves the output untouched.
    static int32_t GetComramPointer(uintptr_t instance, unsigned int index, _MMAP_COMRAM volatile** out);
    static int32_t GetBaseIsaIoPointer(uintptr_t instance, unsigned int index, volatile uint8_t** out);

    explicit ComramDriverApi(COMRAMDRIVERAPIPARAM* param);
    ~ComramDriverApi() override;

private:
    // The communication RAM pointer as published to whoever shares the cell.
    struct SPublishedComram
    {
        std::atomic<uint8_t> Busy_U8{0};
        volatile uint8_t* pComram_U8 = nullptr;
    };

    int32_t OpenNode() override;
    int32_t CloseNode() override;
    void Publish(volatile uint8_t* comram);
    int32_t MapIoArea();
    // The argument and open-state checks of the pointer getters.
    int32_t CheckPointerQuery(unsigned int index, const void* out) const;
    volatile uint8_t* Map(uint32_t length, uint32_t offset);

    volatile uint8_t* mpComram_U8 = nullptr;
    volatile uint8_t* mpIoArea_U8 = nullptr;
    std::shared_ptr<SPublishedComram> mpPublished_X;
    uint32_t mConfig_U32[8] = {};
};
