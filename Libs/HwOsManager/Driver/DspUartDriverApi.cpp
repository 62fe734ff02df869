#include "DspUartDriverApi.h"

namespace
{
// Its interrupt thread, "(irq/7-dspuart)", runs just below the genlock's.
const SDriverDescriptor S_DspUartDescriptor_X = {
    "DspUartDriverApi", "dspuart", "drv_dspuart", 0x40047510, 0x40047512, false, 7, 95};
} // namespace

DspUartDriverApi::DspUartDriverApi(DSPUARTDRIVERAPIPARAM* param)
    : CPlainDriverApi(S_DspUartDescriptor_X, param != nullptr ? &param->Status_S32 : nullptr)
{
}

DspUartDriverApi::~DspUartDriverApi()
{
    CloseInstance(S_mDoDeviceShutdown);
}

int DspUartDriverApi::S_ForceUnload()
{
    return CDriverHandle::S_ForceUnload(S_DspUartDescriptor_X);
}
