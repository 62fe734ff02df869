#pragma once
// Top driver handle: opens the drivers named by a mask and hands them out as one record.
#include "DriverApiTypes.h"

class CeDspUart;

class KvDriverApi
{
public:
    // Bits of the mask: the drivers to open.
    static constexpr uint32_t S_MASK_TIMECODE = 0x1;
    static constexpr uint32_t S_MASK_GENLOCK = 0x2;
    static constexpr uint32_t S_MASK_DSPUART = 0x4;
    static constexpr uint32_t S_MASK_COMRAM = 0x8;

    // Mask 0 returns the existing instance (or null) and creates nothing.
    static KvDriverApi* S_GetInstance(uint32_t mask);
    static void S_ReleaseInstance(bool shutdownDevice);

    // DRIVER_STATUS_BAD_ARGUMENT for a null pointer, else the construction status.
    int32_t GetKvDriverInterface(KVDRIVER_PINGUINTERFACE* out);
    int32_t KrpcBoardType();

    // Null-safe forms for callers that hold a handle that may be null: a null handle
    // reports DRIVER_STATUS_NOT_READY and leaves the output untouched.
    static int32_t S_GetKvDriverInterface(KvDriverApi* api, KVDRIVER_PINGUINTERFACE* out);
    static int32_t S_KrpcBoardType(KvDriverApi* api);

    // Implementation details are private to the driver handle code.
    KvDriverApi(KVDRIVERAPIPARAM* param);
    ~KvDriverApi();
    KvDriverApi(const KvDriverApi&) = delete;
    KvDriverApi& operator=(const KvDriverApi&) = delete;

private:
    int32_t OpenDrivers();

    uint32_t mMask_U32 = 0;
    int32_t mKrpcBoardType_S32 = 0;
    int32_t mStatus_S32 = DRIVER_STATUS_NOT_READY;
    KVDRIVER_PINGUINTERFACE mInterface_X = {};
    int32_t mTraceFd_S32 = -1;
    int32_t mBoardType_S32 = 0;
    CeDspUart* mpCeDspUart_O = nullptr;
    static KvDriverApi* S_mpKvDriverApiInstance;
    static bool S_mDoDeviceShutdown;
};
