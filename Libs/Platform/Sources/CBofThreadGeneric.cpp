#include "CBofThreadGeneric.h"

#include "BofSync.h"
#include "CBofLockGuard.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>

CBofThreadGeneric::CBofThreadGeneric() : mParam_X()
{
    mParam_X.Priority_E = BOF_THREAD_PRIORITY_003;
    mParam_X.StartTimeoutMs_U32 = DEFAULT_START_TIMEOUT_MS;
    Bof_InitPriorityInheritingMutex(&mLock_X);
    Bof_InitMonotonicCondition(&mStateChanged_X);
}

CBofThreadGeneric::~CBofThreadGeneric()
{
    WaitForEnd();
    pthread_cond_destroy(&mStateChanged_X);
    pthread_mutex_destroy(&mLock_X);
}

void CBofThreadGeneric::SetName(const char* name)
{
    CBofLockGuard guard(&mLock_X);
    strncpy(mParam_X.pName_c, name, sizeof(mParam_X.pName_c) - 1);
    mParam_X.pName_c[sizeof(mParam_X.pName_c) - 1] = '\0';
    if (mStarted_B && !mJoinClaimed_B)
    {
        pthread_setname_np(mThread_X, mParam_X.pName_c);
    }
}

int CBofThreadGeneric::SetPriority(BOF_THREAD_PRIORITY level)
{
    int policy_S32 = 0;
    int priority_S32 = 0;
    if (!ConvertBofPriorityToOsPriority(level, &policy_S32, &priority_S32))
    {
        return -1;
    }
    CBofLockGuard guard(&mLock_X);
    mParam_X.Priority_E = level;
    if (!mStarted_B || mJoinClaimed_B)
    {
        return 0;
    }
    sched_param param_X{};
    param_X.sched_priority = priority_S32;
    return pthread_setschedparam(mThread_X, policy_S32, &param_X) == 0 ? 0 : -1;
}

int CBofThreadGeneric::CreateWithPriority(bool explicitPriority_B)
{
    pthread_attr_t attributes_X;
    int status_S32 = pthread_attr_init(&attributes_X);
    if (status_S32 != 0)
    {
        return status_S32;
    }
    // Small stacks (the real-time log asks for 4096 bytes) are below what glibc accepts.
    size_t stack_U32 = std::max<size_t>(mParam_X.StackSize_U32, PTHREAD_STACK_MIN);
    pthread_attr_setstacksize(&attributes_X, stack_U32);
    int policy_S32 = 0;
    int priority_S32 = 0;
    if (explicitPriority_B && ConvertBofPriorityToOsPriority(mParam_X.Priority_E, &policy_S32, &priority_S32))
    {
        // The priority is in force before the function runs its first instruction.
        sched_param param_X{};
        param_X.sched_priority = priority_S32;
        pthread_attr_setinheritsched(&attributes_X, PTHREAD_EXPLICIT_SCHED);
        pthread_attr_setschedpolicy(&attributes_X, policy_S32);
        pthread_attr_setschedparam(&attributes_X, &param_X);
    }
    status_S32 = pthread_create(&mThread_X, &attributes_X, S_Entry, this);
    pthread_attr_destroy(&attributes_X);
    return status_S32;
}

int CBofThreadGeneric::Start()
{
    int result_S32 = 0;
    {
        CBofLockGuard guard(&mLock_X);
        if (mStarted_B)
        {
            return 0;
        }
        int status_S32 = CreateWithPriority(true);
        if (status_S32 == EPERM)
        {
            // Real-time policies need rights the process may lack: run at the inherited priority.
            status_S32 = CreateWithPriority(false);
            result_S32 = -2;
        }
        if (status_S32 != 0)
        {
            return -1;
        }
        mStarted_B = true;
    }
    return WaitRunning() ? result_S32 : -1;
}

bool CBofThreadGeneric::WaitRunning()
{
    timespec deadline_X = Bof_MonotonicDeadline(mParam_X.StartTimeoutMs_U32);
    CBofLockGuard guard(&mLock_X);
    while (!mRunning_B)
    {
        if (pthread_cond_timedwait(&mStateChanged_X, &mLock_X, &deadline_X) == ETIMEDOUT)
        {
            break;
        }
    }
    return mRunning_B;
}

void CBofThreadGeneric::MarkRunning()
{
    CBofLockGuard guard(&mLock_X);
    // Named from inside so the name is in /proc/self/task/*/comm before anyone sees it running;
    // an unnamed thread keeps the name it inherited rather than an empty one.
    if (mParam_X.pName_c[0] != '\0')
    {
        pthread_setname_np(pthread_self(), mParam_X.pName_c);
    }
    mRunning_B = true;
    pthread_cond_broadcast(&mStateChanged_X);
}

void* CBofThreadGeneric::S_Entry(void* self)
{
    CBofThreadGeneric* pThread_O = static_cast<CBofThreadGeneric*>(self);
    pThread_O->MarkRunning();
    if (pThread_O->mFunction_X != nullptr)
    {
        pThread_O->mFunction_X(pThread_O->mpContext);
    }
    return nullptr;
}

int CBofThreadGeneric::WaitForEnd()
{
    pthread_t thread_X{};
    {
        CBofLockGuard guard(&mLock_X);
        if (!mStarted_B)
        {
            return 0;
        }
        if (pthread_equal(mThread_X, pthread_self()))
        {
            return -1;
        }
        if (mJoinClaimed_B)
        {
            // Another caller joins: wait until it has, so that every waiter returns after the end.
            while (!mJoined_B)
            {
                pthread_cond_wait(&mStateChanged_X, &mLock_X);
            }
            return 0;
        }
        mJoinClaimed_B = true;
        thread_X = mThread_X;
    }
    int status_S32 = pthread_join(thread_X, nullptr);
    CBofLockGuard guard(&mLock_X);
    mJoined_B = true;
    pthread_cond_broadcast(&mStateChanged_X);
    return status_S32 == 0 ? 0 : -1;
}

bool CBofThreadGeneric::IsStarted() const
{
    CBofLockGuard guard(&mLock_X);
    return mStarted_B;
}
