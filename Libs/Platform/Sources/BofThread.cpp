#include "BofThread.h"

#include "CBofThreadGeneric.h"

#include <cstring>
#include <new>
#include <sched.h>

namespace
{
constexpr uint32_t BOF_THREAD_CHECK = 0xABBA1234u;

// What a BOFTHREAD points to. The check word catches stale and foreign pointers.
struct BOF_THREAD_HANDLE
{
    uint32_t Check_U32;
    CBofThreadGeneric* pThread_O;
};

BOF_THREAD_HANDLE* ToHandle(BOFTHREAD thread)
{
    BOF_THREAD_HANDLE* pHandle_X = static_cast<BOF_THREAD_HANDLE*>(thread);
    if (pHandle_X == nullptr || pHandle_X->Check_U32 != BOF_THREAD_CHECK)
    {
        return nullptr;
    }
    return pHandle_X;
}

// -1 for a bad handle, -2 for a handle without thread object, else the object.
int ToThread(BOFTHREAD thread, CBofThreadGeneric** ppThread_O)
{
    BOF_THREAD_HANDLE* pHandle_X = ToHandle(thread);
    if (pHandle_X == nullptr)
    {
        return -1;
    }
    if (pHandle_X->pThread_O == nullptr)
    {
        return -2;
    }
    *ppThread_O = pHandle_X->pThread_O;
    return 0;
}
} // namespace

extern "C"
{

    BOFTHREAD Bof_CreateThread(uint32_t stackSize, BOF_THREAD_FUNCTION function, void* context,
                               bool createSuspended)
    {
        BOF_THREAD_HANDLE* pHandle_X = new (std::nothrow) BOF_THREAD_HANDLE{BOF_THREAD_CHECK, nullptr};
        if (pHandle_X == nullptr)
        {
            return nullptr;
        }
        pHandle_X->pThread_O = new (std::nothrow) CBofThreadGeneric();
        if (pHandle_X->pThread_O != nullptr)
        {
            BOF_THREAD_PARAM param_X{};
            param_X.Priority_E = BOF_THREAD_PRIORITY_003;
            param_X.StackSize_U32 = stackSize;
            param_X.StartTimeoutMs_U32 = CBofThreadGeneric::DEFAULT_START_TIMEOUT_MS;
            pHandle_X->pThread_O->SetFunction(function);
            pHandle_X->pThread_O->SetContext(context);
            pHandle_X->pThread_O->SetParam(param_X);
            if (!createSuspended)
            {
                // A failed start shows when the caller resumes, waits for or closes the thread.
                pHandle_X->pThread_O->Start();
            }
        }
        return pHandle_X;
    }

    int Bof_ResumeThread(BOFTHREAD thread)
    {
        CBofThreadGeneric* pThread_O = nullptr;
        int status_S32 = ToThread(thread, &pThread_O);
        return status_S32 != 0 ? status_S32 : pThread_O->Start();
    }

    int Bof_SetThreadName(BOFTHREAD thread, const char* name)
    {
        if (name == nullptr)
        {
            return -1;
        }
        CBofThreadGeneric* pThread_O = nullptr;
        int status_S32 = ToThread(thread, &pThread_O);
        if (status_S32 == 0)
        {
            pThread_O->SetName(name);
        }
        return status_S32;
    }

    int Bof_SetThreadPriority(BOFTHREAD thread, BOF_THREAD_PRIORITY level)
    {
        CBofThreadGeneric* pThread_O = nullptr;
        int status_S32 = ToThread(thread, &pThread_O);
        return status_S32 != 0 ? status_S32 : pThread_O->SetPriority(level);
    }

    int Bof_WaitForThreadEnd(BOFTHREAD thread)
    {
        CBofThreadGeneric* pThread_O = nullptr;
        int status_S32 = ToThread(thread, &pThread_O);
        return status_S32 != 0 ? status_S32 : pThread_O->WaitForEnd();
    }

    int Bof_CloseThread(BOFTHREAD thread)
    {
        BOF_THREAD_HANDLE* pHandle_X = ToHandle(thread);
        if (pHandle_X == nullptr)
        {
            return -1;
        }
        if (pHandle_X->pThread_O != nullptr)
        {
            // A thread cannot close itself: it would have to join itself and free its own object.
            if (pHandle_X->pThread_O->WaitForEnd() != 0)
            {
                return -1;
            }
            delete pHandle_X->pThread_O;
        }
        pHandle_X->Check_U32 = 0;
        pHandle_X->pThread_O = nullptr;
        delete pHandle_X;
        return 0;
    }

    bool ConvertBofPriorityToOsPriority(BOF_THREAD_PRIORITY level, int* policy, int* priority)
    {
        // Read as a plain number: C callers may hand any value, and none of them may crash us.
        int level_S32 = 0;
        memcpy(&level_S32, &level, sizeof(level_S32));
        if (policy == nullptr || priority == nullptr || level_S32 < 0 || level_S32 > 7)
        {
            return false;
        }
        int policy_S32 = (level_S32 == 0) ? SCHED_FIFO : SCHED_OTHER;
        int lowest_S32 = sched_get_priority_min(policy_S32);
        int highest_S32 = sched_get_priority_max(policy_S32);
        int middle_S32 = (lowest_S32 + highest_S32) / 2;
        int wanted_S32 = 0;
        switch (level_S32)
        {
        case 0:
        case 1:
            wanted_S32 = highest_S32;
            break;
        case 2:
            wanted_S32 = middle_S32 + 1;
            break;
        case 3:
            wanted_S32 = middle_S32;
            break;
        case 4:
            wanted_S32 = middle_S32 - 1;
            break;
        case 5:
            wanted_S32 = lowest_S32 + 2;
            break;
        case 6:
            wanted_S32 = lowest_S32 + 1;
            break;
        default:
            wanted_S32 = lowest_S32;
            break;
        }
        // SCHED_OTHER offers 0..0 on Linux: every level of it clamps to 0.
        *policy = policy_S32;
        *priority =
            wanted_S32 < lowest_S32 ? lowest_S32 : (wanted_S32 > highest_S32 ? highest_S32 : wanted_S32);
        return true;
    }
}
