#include "ComramDriverApi.h"

#include "CIoPortAccess.h"

#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

namespace
{
const SDriverDescriptor S_ComramDescriptor_X = {"ComramDriverApi", "comram",   "drv_comram",
                                                0x40046E10,        0x40046E12, true};
constexpr unsigned long IOCTL_GET_CONFIG = 0x80206E01;
// Words of the driver's configuration record.
constexpr int CFG_COMRAM_OFFSET = 1;
constexpr int CFG_COMRAM_LENGTH = 2;
constexpr int CFG_IO_OFFSET = 4;
constexpr int CFG_IO_LENGTH = 5;
// Hosts with the zq8 controller reach the board through the mapped area, plus these two ports.
constexpr uint32_t ZQ8_FIRST_PORT = 0x70;
constexpr uint32_t ZQ8_NB_PORTS = 2;
} // namespace

ComramDriverApi::ComramDriverApi(COMRAMDRIVERAPIPARAM* param)
    : CDriverHandle(S_ComramDescriptor_X), mpPublished_X(std::make_shared<SPublishedComram>())
{
    Trace("COMRAM1 %p\r\n", static_cast<void*>(this));
    Construct(param != nullptr ? &param->Status_S32 : nullptr);
    Trace("COMRAM8 %d\r\n", mStatus_S32);
}

ComramDriverApi::~ComramDriverApi()
{
    CloseInstance(S_mDoDeviceShutdown);
}

int ComramDriverApi::S_ForceUnload()
{
    return CDriverHandle::S_ForceUnload(S_ComramDescriptor_X);
}

int32_t ComramDriverApi::CloseInstance(bool shutdownDevice)
{
    return CloseHandle(shutdownDevice);
}

int32_t ComramDriverApi::OpenNode()
{
    COMRAM_OPENDEVICE open_X = {};
    return OpenDevice(0, &open_X);
}

int32_t ComramDriverApi::CloseNode()
{
    COMRAM_CLOSEDEVICE close_X = {};
    return CloseDevice(0, &close_X);
}

void ComramDriverApi::Publish(volatile uint8_t* comram)
{
    while (mpPublished_X->Busy_U8.exchange(1) != 0)
    {
        sched_yield();
    }
    mpPublished_X->pComram_U8 = comram;
    mpPublished_X->Busy_U8.store(0);
}

volatile uint8_t* ComramDriverApi::Map(uint32_t length, uint32_t offset)
{
    void* pArea =
        mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, mFd_S32, static_cast<off_t>(offset));
    return pArea == MAP_FAILED ? nullptr : static_cast<volatile uint8_t*>(pArea);
}

int32_t ComramDriverApi::OpenDevice(unsigned int index, COMRAM_OPENDEVICE* param)
{
    const int32_t check_S32 = S_CheckArguments(index, param);
    if (check_S32 != 0)
    {
        return check_S32;
    }
    const int32_t opened_S32 = OpenDeviceFile();
    if (opened_S32 != 0)
    {
        return opened_S32;
    }
    const int configured = ioctl(mFd_S32, IOCTL_GET_CONFIG, mConfig_U32);
    if (configured != 0)
    {
        return configured;
    }
    mpComram_U8 = Map(mConfig_U32[CFG_COMRAM_LENGTH], mConfig_U32[CFG_COMRAM_OFFSET]);
    if (mpComram_U8 == nullptr)
    {
        Publish(nullptr);
        return DRIVER_STATUS_MAP_FAILED;
    }
    if (mKrpcBoardType_S32 == 0)
    {
        // No I/O area on this host: the board's registers are real I/O ports.
        const int granted = CIoPortAccess::S_Grant(mConfig_U32[CFG_IO_OFFSET], mConfig_U32[CFG_IO_LENGTH]);
        Publish(mpComram_U8);
        return granted;
    }
    const int granted = CIoPortAccess::S_Grant(ZQ8_FIRST_PORT, ZQ8_NB_PORTS);
    Publish(mpComram_U8);
    if (granted != 0)
    {
        return granted;
    }
    return MapIoArea();
}

int32_t ComramDriverApi::MapIoArea()
{
    mpIoArea_U8 = Map(mConfig_U32[CFG_IO_LENGTH], mConfig_U32[CFG_IO_OFFSET]);
    return mpIoArea_U8 == nullptr ? DRIVER_STATUS_MAP_FAILED : DRIVER_STATUS_OK;
}

int32_t ComramDriverApi::CloseDevice(unsigned int index, COMRAM_CLOSEDEVICE* param)
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
    if (mpComram_U8 != nullptr)
    {
        Publish(nullptr);
        munmap(const_cast<uint8_t*>(mpComram_U8), mConfig_U32[CFG_COMRAM_LENGTH]);
        mpComram_U8 = nullptr;
    }
    if (mKrpcBoardType_S32 != 0)
    {
        if (mpIoArea_U8 != nullptr)
        {
            munmap(const_cast<uint8_t*>(mpIoArea_U8), mConfig_U32[CFG_IO_LENGTH]);
            mpIoArea_U8 = nullptr;
        }
    }
    else if (CIoPortAccess::S_IsGranted(mConfig_U32[CFG_IO_OFFSET]))
    {
        CIoPortAccess::S_Revoke(mConfig_U32[CFG_IO_OFFSET], mConfig_U32[CFG_IO_LENGTH]);
    }
    CloseDeviceFile();
    return 0;
}

int32_t ComramDriverApi::CheckPointerQuery(unsigned int index, const void* out) const
{
    const int32_t check_S32 = S_CheckArguments(index, out);
    if (check_S32 != DRIVER_STATUS_OK)
    {
        return check_S32;
    }
    return mFd_S32 < 0 ? DRIVER_STATUS_NOT_READY : DRIVER_STATUS_OK;
}

int32_t ComramDriverApi::GetComramPointer(unsigned int index, _MMAP_COMRAM volatile** out)
{
    const int32_t check_S32 = CheckPointerQuery(index, out);
    if (check_S32 == DRIVER_STATUS_OK)
    {
        *out = reinterpret_cast<_MMAP_COMRAM volatile*>(mpComram_U8);
    }
    return check_S32;
}

int32_t ComramDriverApi::GetBaseIsaIoPointer(unsigned int index, volatile uint8_t** out)
{
    const int32_t check_S32 = CheckPointerQuery(index, out);
    if (check_S32 == DRIVER_STATUS_OK)
    {
        *out = mpIoArea_U8;
    }
    return check_S32;
}

int32_t ComramDriverApi::GetComramPointer(uintptr_t instance, unsigned int index, _MMAP_COMRAM volatile** out)
{
    ComramDriverApi* pApi = reinterpret_cast<ComramDriverApi*>(instance);
    return pApi == nullptr ? DRIVER_STATUS_NOT_READY : pApi->GetComramPointer(index, out);
}

int32_t ComramDriverApi::GetBaseIsaIoPointer(uintptr_t instance, unsigned int index, volatile uint8_t** out)
{
    ComramDriverApi* pApi = reinterpret_cast<ComramDriverApi*>(instance);
    return pApi == nullptr ? DRIVER_STATUS_NOT_READY : pApi->GetBaseIsaIoPointer(index, out);
}
