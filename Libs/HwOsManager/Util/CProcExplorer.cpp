#include "CProcExplorer.h"

#include "Permissions.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <sched.h>

namespace OrxHwLGPL
{
namespace
{
constexpr int32_t DEFAULT_PID_MAX = 32768;
constexpr unsigned int HIGHEST_FIFO_PRIORITY = 99;

// Fixed-width conversions: "%lu" would write 64-bit longs on the 64-bit build.
#define D32 "%" SCNd32
#define U32 "%" SCNu32
const char STAT_PATTERN[] =
    D32 " %255s %c " D32 " " D32 " " D32 " " D32 " " D32 " " U32 " " U32 " " U32 " " U32 " " U32 " " U32
        " " U32 " " D32 " " D32 " " D32 " " D32 " " D32 " " D32 " " U32 " " U32 " " D32 " " U32 " " U32
        " " U32 " " U32 " " U32 " " U32 " " U32 " " U32 " " U32 " " U32 " " U32 " " U32 " " U32 " " D32
        " " D32 " " U32 " " U32 " %" SCNu64;
#undef D32
#undef U32
constexpr int STAT_FIELD_COUNT = 42;

bool IsExactName(const char* command, const char* wanted)
{
    return strcmp(command, wanted) == 0;
}

bool ContainsName(const char* command, const char* wanted)
{
    return strstr(command, wanted) != nullptr;
}
} // namespace

CProcExplorer::CProcExplorer() : mPidMax_S32(DEFAULT_PID_MAX)
{
    FILE* pFile_X = fopen("/proc/sys/kernel/pid_max", "r");
    if (pFile_X != nullptr)
    {
        int32_t pidMax_S32 = 0;
        if (fscanf(pFile_X, "%" SCNd32, &pidMax_S32) == 1)
        {
            mPidMax_S32 = pidMax_S32;
        }
        fclose(pFile_X);
    }
}

int CProcExplorer::GetStatInfoFromPid(unsigned int pid, _STRUCT_STAT_INFO* info)
{
    if (info == nullptr)
    {
        return -1;
    }
    char pPath_c[32];
    snprintf(pPath_c, sizeof(pPath_c), "/proc/%u/stat", pid);
    FILE* pFile_X = fopen(pPath_c, "r");
    if (pFile_X == nullptr)
    {
        return -1;
    }
    _STRUCT_STAT_INFO& s = *info;
    int converted_S32 = fscanf(
        pFile_X, STAT_PATTERN, &s.Pid_S32, s.pCommand_c, &s.State_c, &s.ParentPid_S32, &s.ProcessGroup_S32,
        &s.Session_S32, &s.Terminal_S32, &s.TerminalProcessGroup_S32, &s.Flags_U32, &s.MinorFaults_U32,
        &s.ChildrenMinorFaults_U32, &s.MajorFaults_U32, &s.ChildrenMajorFaults_U32, &s.UserTime_U32,
        &s.SystemTime_U32, &s.ChildrenUserTime_S32, &s.ChildrenSystemTime_S32, &s.Priority_S32, &s.Nice_S32,
        &s.ThreadCount_S32, &s.IntervalTimerValue_S32, &s.StartTime_U32, &s.VirtualSize_U32,
        &s.ResidentSetSize_S32, &s.ResidentLimit_U32, &s.CodeStart_U32, &s.CodeEnd_U32, &s.StackStart_U32,
        &s.StackPointer_U32, &s.InstructionPointer_U32, &s.PendingSignals_U32, &s.BlockedSignals_U32,
        &s.IgnoredSignals_U32, &s.CaughtSignals_U32, &s.WaitChannel_U32, &s.SwappedPages_U32,
        &s.ChildrenSwappedPages_U32, &s.ExitSignal_S32, &s.Processor_S32, &s.RealTimePriority_U32,
        &s.SchedulingPolicy_U32, &s.BlockIoDelayTicks_U64);
    fclose(pFile_X);
    return converted_S32 == STAT_FIELD_COUNT ? 0 : -1;
}

int CProcExplorer::FindPid(const char* wanted, NAME_MATCH match)
{
    if (wanted == nullptr)
    {
        return -1;
    }
    // Every number is probed rather than listing /proc, so the lowest matching pid wins.
    _STRUCT_STAT_INFO info_X;
    for (int32_t pid_S32 = 0; pid_S32 < mPidMax_S32; ++pid_S32)
    {
        if (GetStatInfoFromPid(static_cast<unsigned int>(pid_S32), &info_X) == 0 &&
            match(info_X.pCommand_c, wanted))
        {
            return info_X.Pid_S32;
        }
    }
    return -1;
}

int CProcExplorer::GetPidFromName(const char* name)
{
    return FindPid(name, IsExactName);
}

int CProcExplorer::GetPidFromPartialName(const char* text)
{
    return FindPid(text, ContainsName);
}

int CProcExplorer::S_SetFifoPriority(int pid, unsigned int priority)
{
    sched_param param_X{};
    param_X.sched_priority = static_cast<int>(priority);
    Orx::KrpcLinuxTools::Permissions* pPermissions_O = Orx::KrpcLinuxTools::Permissions::GetInstance();
    if (pPermissions_O->HasPrivileges())
    {
        return sched_setscheduler(pid, SCHED_FIFO, &param_X);
    }
    if (!pPermissions_O->RestorePriveleges())
    {
        return -1;
    }
    int result_S32 = sched_setscheduler(pid, SCHED_FIFO, &param_X);
    // The system call's errno is what callers want to see, not the drop's.
    int error_S32 = errno;
    pPermissions_O->DropPriveleges();
    errno = error_S32;
    return result_S32;
}

int CProcExplorer::SetPriorityFromPid(int pid, unsigned int priority)
{
    if (priority > HIGHEST_FIFO_PRIORITY || pid < 0)
    {
        return -1;
    }
    return S_SetFifoPriority(pid, priority);
}

int CProcExplorer::SetPriorityFromName(const char* name, unsigned int priority)
{
    if (priority > HIGHEST_FIFO_PRIORITY || name == nullptr)
    {
        return -1;
    }
    int pid_S32 = CProcExplorer().GetPidFromName(name);
    return pid_S32 < 0 ? -1 : SetPriorityFromPid(pid_S32, priority);
}

int CProcExplorer::SetPriorityFromPartialName(const char* text, unsigned int priority)
{
    int pid_S32 = CProcExplorer().GetPidFromPartialName(text);
    // Deliberately no range check here: the system call is the judge of the priority.
    return pid_S32 < 0 ? -1 : S_SetFifoPriority(pid_S32, priority);
}
} // namespace OrxHwLGPL
