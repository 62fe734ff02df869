#pragma once
// What every kernel driver handle shares: finding or loading its module, opening its node,
// the one syslog identity of the family and the optional trace descriptor.
#include "DriverApiTypes.h"

#include <cstdint>

struct SDriverDescriptor
{
    const char* pClassName_c;   // "ComramDriverApi": used in the log lines
    const char* pNodeName_c;    // "comram": the node is /dev/comram0
    const char* pModule_c;      // "drv_comram"
    uint32_t InitIoctl_U32;     // sent after a fresh module load
    uint32_t ShutdownIoctl_U32; // sent before closing when the device is to be shut down
    bool TracesMissingNode_B;   // the ComRAM handle notes a missing node in its trace
    // Drivers that serve their interrupt in a kernel thread, "(irq/<number>-<node name>)": after
    // a module load it gets this real-time priority. -1: no such thread.
    int32_t Interrupt_S32 = -1;
    uint32_t InterruptPriority_U32 = 0;
};

class CDriverHandle
{
public:
    CDriverHandle(const CDriverHandle&) = delete;
    CDriverHandle& operator=(const CDriverHandle&) = delete;

    void Log(int priority, const char* text) const;

    // rmmod of the module when its node exists, with the real user switched to root.
    static int S_ForceUnload(const SDriverDescriptor& descriptor);

protected:
    explicit CDriverHandle(const SDriverDescriptor& descriptor);
    virtual ~CDriverHandle();

    // The construction sequence; the derived constructor runs it once its own state exists.
    int32_t Construct(int32_t* paramStatus);
    virtual int32_t OpenNode() = 0;
    virtual int32_t CloseNode() = 0;
    int32_t CloseHandle(bool shutdownDevice);

    // DRIVER_STATUS_BAD_ARGUMENT for a bad index or a null parameter record.
    static int32_t S_CheckArguments(unsigned int index, const void* param);
    int32_t OpenDeviceFile();
    void CloseDeviceFile();
    void Trace(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    const SDriverDescriptor& mDescriptor_X;
    int32_t mKrpcBoardType_S32;
    int32_t mStatus_S32 = DRIVER_STATUS_NOT_READY;
    int32_t mFd_S32 = -1;
    int32_t mTraceFd_S32 = -1;
    char mNodePath_c[64] = {};

private:
    int32_t LoadModule();
    void RaiseInterruptThread() const;
};
