#include "GenlockDriverApi.h"

namespace
{
// Its interrupt thread, "(irq/11-genlock)", runs above every other real-time thread.
const SDriverDescriptor S_GenlockDescriptor_X = {
    "GenlockDriverApi", "genlock", "drv_genlock", 0x40046710, 0x40046712, false, 11, 97};
} // namespace

GenlockDriverApi::GenlockDriverApi(GENLOCKDRIVERAPIPARAM* param)
    : CPlainDriverApi(S_GenlockDescriptor_X, param != nullptr ? &param->Status_S32 : nullptr)
{
}

GenlockDriverApi::~GenlockDriverApi()
{
    CloseInstance(S_mDoDeviceShutdown);
}

int GenlockDriverApi::S_ForceUnload()
{
    return CDriverHandle::S_ForceUnload(S_GenlockDescriptor_X);
}
