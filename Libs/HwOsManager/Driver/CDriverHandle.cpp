#include "CDriverHandle.h"

#include "CProcExplorer.h"
#include "CSystemCommand.h"
#include "KrpcBoardType.h"
#include "Permissions.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <syslog.h>
#include <unistd.h>

namespace
{
// One identity for the whole family, whichever handle logs.
const char* const DRIVER_LOG_IDENT = "GenlockDriverApi::GenlockDriverApi";
constexpr int32_t SWITCH_FAILED = -1;

// Runs a module command as root; SWITCH_FAILED when the real user could not be switched.
int RunAsRoot(const char* command, bool* switched)
{
    Orx::KrpcLinuxTools::Permissions* pPermissions = Orx::KrpcLinuxTools::Permissions::GetInstance();
    *switched = pPermissions->ChangeRealUser(Orx::KrpcLinuxTools::Users::root_uid);
    int result = SWITCH_FAILED;
    if (*switched)
    {
        result = CSystemCommand::Run(command);
    }
    // A half-done switch is undone as well: the process keeps the identities it started with.
    pPermissions->RestoreRealUser();
    return result;
}
} // namespace

CDriverHandle::CDriverHandle(const SDriverDescriptor& descriptor)
    : mDescriptor_X(descriptor), mKrpcBoardType_S32(static_cast<int32_t>(GetKrpcBoardType()))
{
    snprintf(mNodePath_c, sizeof(mNodePath_c), "/dev/%s%d", descriptor.pNodeName_c, 0);
}

CDriverHandle::~CDriverHandle() = default;

void CDriverHandle::Log(int priority, const char* text) const
{
    openlog(DRIVER_LOG_IDENT, LOG_CONS | LOG_PID, LOG_USER);
    syslog(priority, "%s", text);
    closelog();
}

void CDriverHandle::Trace(const char* format, ...) const
{
    if (mTraceFd_S32 < 0)
    {
        return;
    }
    va_list args;
    va_start(args, format);
    vdprintf(mTraceFd_S32, format, args);
    va_end(args);
}

int32_t CDriverHandle::S_CheckArguments(unsigned int index, const void* param)
{
    return (index != 0 || param == nullptr) ? DRIVER_STATUS_BAD_ARGUMENT : DRIVER_STATUS_OK;
}

int32_t CDriverHandle::OpenDeviceFile()
{
    if (mFd_S32 >= 0)
    {
        return DRIVER_STATUS_DEVICE_FILE;
    }
    // Close-on-exec: the shell that loads a module later must not inherit the driver.
    mFd_S32 = open(mNodePath_c, O_RDWR | O_CLOEXEC);
    if (mFd_S32 < 0)
    {
        mFd_S32 = -1;
        return DRIVER_STATUS_DEVICE_FILE;
    }
    return 0;
}

void CDriverHandle::CloseDeviceFile()
{
    if (mFd_S32 >= 0)
    {
        close(mFd_S32);
    }
    mFd_S32 = -1;
}

int32_t CDriverHandle::LoadModule()
{
    char command_c[96];
    char text_c[160];
    snprintf(command_c, sizeof(command_c), "modprobe -s %s", mDescriptor_X.pModule_c);
    snprintf(text_c, sizeof(text_c), "In %s() - %s", mDescriptor_X.pClassName_c, command_c);
    Log(LOG_ERR, text_c);
    bool switched_B = false;
    const int result = RunAsRoot(command_c, &switched_B);
    if (!switched_B)
    {
        Trace("No root privilege to load driver");
        return -1;
    }
    return result;
}

void CDriverHandle::RaiseInterruptThread() const
{
    if (mDescriptor_X.Interrupt_S32 < 0)
    {
        return;
    }
    // The video timing depends on this interrupt being served before any ordinary work.
    char thread_c[64];
    snprintf(thread_c, sizeof(thread_c), "(irq/%d-%s)", mDescriptor_X.Interrupt_S32,
             mDescriptor_X.pNodeName_c);
    OrxHwLGPL::CProcExplorer::SetPriorityFromName(thread_c, mDescriptor_X.InterruptPriority_U32);
}

int32_t CDriverHandle::Construct(int32_t* paramStatus)
{
    char text_c[128];
    snprintf(text_c, sizeof(text_c), "Enter In %s()", mDescriptor_X.pClassName_c);
    Log(LOG_WARNING, text_c);
    mStatus_S32 = DRIVER_STATUS_NOT_READY;
    mFd_S32 = -1;

    int32_t status_S32 = 0;
    bool final_B = false;
    bool freshLoad_B = false;
    if (access(mNodePath_c, F_OK) != 0)
    {
        const int error = errno;
        if (mKrpcBoardType_S32 == 0 && error == ENOENT)
        {
            const int32_t loaded_S32 = LoadModule();
            final_B = loaded_S32 < 0;
            status_S32 = final_B ? loaded_S32 : 0;
            freshLoad_B = !final_B;
            if (freshLoad_B)
            {
                RaiseInterruptThread();
            }
        }
        else if (mDescriptor_X.TracesMissingNode_B)
        {
            Trace("%d\r\n", 13);
        }
    }
    if (!final_B)
    {
        const int32_t opened_S32 = OpenNode();
        if (opened_S32 < 0)
        {
            status_S32 = opened_S32;
        }
        else if (freshLoad_B)
        {
            uint32_t zero_U32 = 0;
            status_S32 = ioctl(mFd_S32, mDescriptor_X.InitIoctl_U32, &zero_U32);
        }
        else
        {
            // Deliberate: a failed open or mapping still makes an instance; its
            // getters report the state to the caller.
            status_S32 = 0;
        }
    }
    mStatus_S32 = status_S32;
    if (paramStatus != nullptr)
    {
        *paramStatus = status_S32;
    }
    snprintf(text_c, sizeof(text_c), "Exit From %s()", mDescriptor_X.pClassName_c);
    Log(LOG_WARNING, text_c);
    return status_S32;
}

int32_t CDriverHandle::CloseHandle(bool shutdownDevice)
{
    // Only the ComRAM handle ever has a trace descriptor, so its name is part of the text.
    Trace("COMRAM CloseInstance1 %d,%d ShutdownDevice %d\r\n", mFd_S32, mStatus_S32, shutdownDevice ? 1 : 0);
    if (shutdownDevice && mFd_S32 >= 0)
    {
        uint32_t zero_U32 = 0;
        ioctl(mFd_S32, mDescriptor_X.ShutdownIoctl_U32, &zero_U32);
    }
    CloseNode();
    if (shutdownDevice)
    {
        S_ForceUnload(mDescriptor_X);
    }
    if (mTraceFd_S32 >= 0)
    {
        close(mTraceFd_S32);
        mTraceFd_S32 = -1;
    }
    return 0;
}

int CDriverHandle::S_ForceUnload(const SDriverDescriptor& descriptor)
{
    char node_c[64];
    snprintf(node_c, sizeof(node_c), "/dev/%s%d", descriptor.pNodeName_c, 0);
    const int exists = access(node_c, F_OK);
    if (exists != 0)
    {
        return exists;
    }
    char command_c[96];
    snprintf(command_c, sizeof(command_c), "rmmod %s", descriptor.pModule_c);
    bool switched_B = false;
    return RunAsRoot(command_c, &switched_B);
}
