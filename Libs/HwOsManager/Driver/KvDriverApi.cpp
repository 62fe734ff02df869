#include "KvDriverApi.h"

#include "CeDspUart.h"
#include "ComramDriverApi.h"
#include "DspUartDriverApi.h"
#include "GenlockDriverApi.h"
#include "KrpcBoardType.h"
#include "KrpcInterrupt.h"
#include "TimecodeDriverApi.h"
#include "ZebDriverApi.h"

KVDRIVER_PINGUINTERFACE GL_PinguInterface_X = {};

KvDriverApi* KvDriverApi::S_mpKvDriverApiInstance = nullptr;
bool KvDriverApi::S_mDoDeviceShutdown = false;

KvDriverApi* KvDriverApi::S_GetInstance(uint32_t mask)
{
    if (mask == 0 || S_mpKvDriverApiInstance != nullptr)
    {
        return S_mpKvDriverApiInstance;
    }
    KVDRIVERAPIPARAM param_X = {mask, 0, DRIVER_STATUS_NOT_READY};
    S_mpKvDriverApiInstance = new KvDriverApi(&param_X);
    if (param_X.Status_S32 != 0)
    {
        S_ReleaseInstance(true);
    }
    return S_mpKvDriverApiInstance;
}

void KvDriverApi::S_ReleaseInstance(bool shutdownDevice)
{
    S_mDoDeviceShutdown = shutdownDevice;
    KvDriverApi* pInstance = S_mpKvDriverApiInstance;
    S_mpKvDriverApiInstance = nullptr;
    delete pInstance;
}

KvDriverApi::KvDriverApi(KVDRIVERAPIPARAM* param)
{
    KrpcCreateGlobalIntLock();
    mKrpcBoardType_S32 = static_cast<int32_t>(GetKrpcBoardType());
    mBoardType_S32 = mKrpcBoardType_S32;
    uint32_t mask_U32 = param != nullptr ? param->Mask_U32 : 0;
    // Genlock and the DSP UART lean on the timecode driver.
    if ((mask_U32 & (S_MASK_GENLOCK | S_MASK_DSPUART)) != 0)
    {
        mask_U32 |= S_MASK_TIMECODE;
    }
    mMask_U32 = mask_U32;
    mStatus_S32 = OpenDrivers();
    if (param != nullptr)
    {
        param->Mask_U32 = mMask_U32;
        param->KrpcBoardType_S32 = mKrpcBoardType_S32;
        param->Status_S32 = mStatus_S32;
    }
}

int32_t KvDriverApi::OpenDrivers()
{
    // The failure weights are uneven on purpose; callers only compare the status with 0.
    int32_t step_S32 = 0;
    if ((mMask_U32 & S_MASK_TIMECODE) != 0)
    {
        TimecodeDriverApi* pTimecode = TimecodeDriverApi::S_GetInstance();
        if (pTimecode == nullptr)
        {
            return 10015;
        }
        mInterface_X[PINGU_TIMECODE] = reinterpret_cast<uintptr_t>(pTimecode);
        step_S32 = 1;
    }
    if ((mMask_U32 & S_MASK_GENLOCK) != 0)
    {
        ++step_S32;
        GenlockDriverApi* pGenlock = GenlockDriverApi::S_GetInstance();
        if (pGenlock == nullptr)
        {
            return 10000 * step_S32 + 15;
        }
        mInterface_X[PINGU_GENLOCK] = reinterpret_cast<uintptr_t>(pGenlock);
    }
    if ((mMask_U32 & S_MASK_DSPUART) != 0)
    {
        DspUartDriverApi* pDspUart = DspUartDriverApi::S_GetInstance();
        if (pDspUart == nullptr)
        {
            return 10000 * (step_S32 + 1) + 15;
        }
        step_S32 += 2;
        mInterface_X[PINGU_DSPUART] = reinterpret_cast<uintptr_t>(pDspUart);
        mpCeDspUart_O = new CeDspUart(pDspUart);
        mInterface_X[PINGU_CEDSPUART] = reinterpret_cast<uintptr_t>(mpCeDspUart_O);
    }
    if ((mMask_U32 & S_MASK_COMRAM) != 0)
    {
        ComramDriverApi* pComram = ComramDriverApi::S_GetInstance();
        if (pComram == nullptr)
        {
            return 10000 * (step_S32 + 1) + 15;
        }
        mInterface_X[PINGU_COMRAM] = reinterpret_cast<uintptr_t>(pComram);
    }
    return 0;
}

KvDriverApi::~KvDriverApi()
{
    delete mpCeDspUart_O;
    mpCeDspUart_O = nullptr;
    ZebDriverApi::S_ReleaseInstance(S_mDoDeviceShutdown);
    ComramDriverApi::S_ReleaseInstance(S_mDoDeviceShutdown);
    DspUartDriverApi::S_ReleaseInstance(S_mDoDeviceShutdown);
    GenlockDriverApi::S_ReleaseInstance(S_mDoDeviceShutdown);
    TimecodeDriverApi::S_ReleaseInstance(S_mDoDeviceShutdown);
    KrpcDestroyGlobalIntLock();
}

int32_t KvDriverApi::GetKvDriverInterface(KVDRIVER_PINGUINTERFACE* out)
{
    if (out == nullptr)
    {
        return DRIVER_STATUS_BAD_ARGUMENT;
    }
    for (int entry = 0; entry < 6; ++entry)
    {
        (*out)[entry] = mInterface_X[entry];
    }
    return mStatus_S32;
}

int32_t KvDriverApi::KrpcBoardType()
{
    return mBoardType_S32;
}

int32_t KvDriverApi::S_GetKvDriverInterface(KvDriverApi* api, KVDRIVER_PINGUINTERFACE* out)
{
    return api == nullptr ? DRIVER_STATUS_NOT_READY : api->GetKvDriverInterface(out);
}

int32_t KvDriverApi::S_KrpcBoardType(KvDriverApi* api)
{
    return api == nullptr ? DRIVER_STATUS_NOT_READY : api->KrpcBoardType();
}
