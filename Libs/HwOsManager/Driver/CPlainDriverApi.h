#pragma once
// A driver handle whose open maps nothing: the node is opened and closed, no more.
#include "CDriverHandle.h"

class CPlainDriverApi : public CDriverHandle
{
public:
    int32_t OpenDevice(unsigned int index, const void* param);
    int32_t CloseDevice(unsigned int index, const void* param);
    int32_t CloseInstance(bool shutdownDevice);
    int32_t GetStatus() const { return mStatus_S32; }
    int32_t GetFd() const { return mFd_S32; }

protected:
    CPlainDriverApi(const SDriverDescriptor& descriptor, int32_t* paramStatus);
    ~CPlainDriverApi() override;
    int32_t OpenNode() override;
    int32_t CloseNode() override;
};
