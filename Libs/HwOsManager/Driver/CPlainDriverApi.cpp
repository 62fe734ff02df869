#include "CPlainDriverApi.h"

CPlainDriverApi::CPlainDriverApi(const SDriverDescriptor& descriptor, int32_t* paramStatus)
    : CDriverHandle(descriptor)
{
    Construct(paramStatus);
}

CPlainDriverApi::~CPlainDriverApi() = default;

int32_t CPlainDriverApi::OpenDevice(unsigned int index, const void* param)
{
    const int32_t check_S32 = S_CheckArguments(index, param);
    return check_S32 != 0 ? check_S32 : OpenDeviceFile();
}

int32_t CPlainDriverApi::CloseDevice(unsigned int index, const void* param)
{
    const int32_t check_S32 = S_CheckArguments(index, param);
    if (check_S32 != 0)
    {
        return check_S32;
    }
    if (mFd_S32 < 0)
    {
        return DRIVER_STATUS_DEVICE_FILE;
    }
    CloseDeviceFile();
    return 0;
}

int32_t CPlainDriverApi::CloseInstance(bool shutdownDevice)
{
    return CloseHandle(shutdownDevice);
}

int32_t CPlainDriverApi::OpenNode()
{
    const uint32_t unused_U32 = 0;
    return OpenDevice(0, &unused_U32);
}

int32_t CPlainDriverApi::CloseNode()
{
    const uint32_t unused_U32 = 0;
    return CloseDevice(0, &unused_U32);
}
