#include "ZebDriverApi.h"

namespace
{
const SDriverDescriptor S_ZebDescriptor_X = {"ZebDriverApi", "zeb", "drv_zeb", 0x40047A10, 0x40047A12, false};
}

ZebDriverApi::ZebDriverApi(ZEBDRIVERAPIPARAM* param)
    : CPlainDriverApi(S_ZebDescriptor_X, param != nullptr ? &param->Status_S32 : nullptr)
{
}

ZebDriverApi::~ZebDriverApi()
{
    CloseInstance(S_mDoDeviceShutdown);
}

int ZebDriverApi::S_ForceUnload()
{
    return CDriverHandle::S_ForceUnload(S_ZebDescriptor_X);
}
