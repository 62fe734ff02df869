#include "TimecodeDriverApi.h"

namespace
{
const SDriverDescriptor S_TimecodeDescriptor_X = {"TimecodeDriverApi", "timecode", "drv_timecode",
                                                  0x40046B10,          0x40046B12, false};
}

TimecodeDriverApi::TimecodeDriverApi(TIMECODEDRIVERAPIPARAM* param)
    : CPlainDriverApi(S_TimecodeDescriptor_X, param != nullptr ? &param->Status_S32 : nullptr)
{
}

TimecodeDriverApi::~TimecodeDriverApi()
{
    CloseInstance(S_mDoDeviceShutdown);
}

int TimecodeDriverApi::S_ForceUnload()
{
    return CDriverHandle::S_ForceUnload(S_TimecodeDescriptor_X);
}
