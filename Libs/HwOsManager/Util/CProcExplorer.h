#pragma once
// Finds processes and kernel threads by name in /proc and gives them real-time priority.
#include "CFileUtils.h"

#include <cstdint>

namespace OrxHwLGPL
{
// The first 42 fields of /proc/<pid>/stat, in the kernel's order. Widths are fixed so the
// record is the same on the 32-bit product and the 64-bit test builds.
struct _STRUCT_STAT_INFO
{
    int32_t Pid_S32;
    char pCommand_c[256]; // with its parentheses, e.g. "(bash)"
    char State_c;
    int32_t ParentPid_S32;
    int32_t ProcessGroup_S32;
    int32_t Session_S32;
    int32_t Terminal_S32;
    int32_t TerminalProcessGroup_S32;
    uint32_t Flags_U32;
    uint32_t MinorFaults_U32;
    uint32_t ChildrenMinorFaults_U32;
    uint32_t MajorFaults_U32;
    uint32_t ChildrenMajorFaults_U32;
    uint32_t UserTime_U32;
    uint32_t SystemTime_U32;
    int32_t ChildrenUserTime_S32;
    int32_t ChildrenSystemTime_S32;
    int32_t Priority_S32;
    int32_t Nice_S32;
    int32_t ThreadCount_S32;
    int32_t IntervalTimerValue_S32;
    uint32_t StartTime_U32;
    uint32_t VirtualSize_U32;
    int32_t ResidentSetSize_S32;
    uint32_t ResidentLimit_U32;
    uint32_t CodeStart_U32;
    uint32_t CodeEnd_U32;
    uint32_t StackStart_U32;
    uint32_t StackPointer_U32;
    uint32_t InstructionPointer_U32;
    uint32_t PendingSignals_U32;
    uint32_t BlockedSignals_U32;
    uint32_t IgnoredSignals_U32;
    uint32_t CaughtSignals_U32;
    uint32_t WaitChannel_U32;
    uint32_t SwappedPages_U32;
    uint32_t ChildrenSwappedPages_U32;
    int32_t ExitSignal_S32;
    int32_t Processor_S32;
    uint32_t RealTimePriority_U32;
    uint32_t SchedulingPolicy_U32;
    uint64_t BlockIoDelayTicks_U64;
};

class CProcExplorer : public CFileUtils
{
public:
    // Reads the highest process number from /proc/sys/kernel/pid_max (32768 when unreadable).
    CProcExplorer();

    // 0 when all 42 fields of /proc/<pid>/stat were read, else -1.
    int GetStatInfoFromPid(unsigned int pid, _STRUCT_STAT_INFO* info);
    // The lowest pid whose command name, parentheses included, equals `name`; -1 when none.
    int GetPidFromName(const char* name);
    // The lowest pid whose command name, parentheses included, contains `text`; -1 when none.
    int GetPidFromPartialName(const char* text);

    // SCHED_FIFO at `priority` (0..99) for `pid`: 0, or -1 as the system call or the checks report.
    static int SetPriorityFromPid(int pid, unsigned int priority);
    static int SetPriorityFromName(const char* name, unsigned int priority);
    // No range check on `priority`: a value above 99 reaches the system call, which refuses it.
    static int SetPriorityFromPartialName(const char* text, unsigned int priority);

    int GetPidMax() const { return mPidMax_S32; }

private:
    typedef bool (*NAME_MATCH)(const char* command, const char* wanted);
    int FindPid(const char* wanted, NAME_MATCH match);
    static int S_SetFifoPriority(int pid, unsigned int priority);

    int32_t mPidMax_S32;
};
} // namespace OrxHwLGPL
