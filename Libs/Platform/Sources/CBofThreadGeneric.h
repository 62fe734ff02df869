#pragma once
// The thread object behind a BOFTHREAD handle: runs a plain function with a context pointer.
#include "BofThread.h"

#include <pthread.h>

// Parameters kept by the thread object until, and after, the thread starts.
struct BOF_THREAD_PARAM
{
    char pName_c[16];               // at most 15 characters, the kernel's limit for thread names
    BOF_THREAD_PRIORITY Priority_E; // level applied at start and on change
    uint32_t StackSize_U32;         // as asked; raised to the system minimum at start
    uint32_t StartTimeoutMs_U32;    // how long Start waits for the thread to report it runs
};

class CBofThreadGeneric
{
public:
    static constexpr uint32_t DEFAULT_START_TIMEOUT_MS = 10000;

    CBofThreadGeneric();
    // Joins a thread that still runs: the function and context must outlive it.
    ~CBofThreadGeneric();
    CBofThreadGeneric(const CBofThreadGeneric&) = delete;
    CBofThreadGeneric& operator=(const CBofThreadGeneric&) = delete;

    void SetFunction(BOF_THREAD_FUNCTION function) { mFunction_X = function; }
    void SetContext(void* context) { mpContext = context; }
    void SetStackSize(uint32_t stackSize) { mParam_X.StackSize_U32 = stackSize; }
    void SetParam(const BOF_THREAD_PARAM& param) { mParam_X = param; }
    const BOF_THREAD_PARAM& GetParam() const { return mParam_X; }

    // Stores the name cut to 15 characters; a running thread is renamed at once.
    void SetName(const char* name);
    // 0, or -1 for an unknown level or when the system refuses it for a running thread.
    int SetPriority(BOF_THREAD_PRIORITY level);

    // Creates and starts the thread once. 0 when it runs with its priority, -2 when it runs
    // but the system refused its priority (it then keeps the creator's), -1 when it does not run.
    int Start();
    // Joins the thread if it was started and not yet joined. 0, or -1 when called by the
    // thread itself or when the join fails.
    int WaitForEnd();
    bool IsStarted() const;

private:
    static void* S_Entry(void* self);
    int CreateWithPriority(bool explicitPriority_B);
    void MarkRunning();
    bool WaitRunning();

    BOF_THREAD_FUNCTION mFunction_X = nullptr;
    void* mpContext = nullptr;
    BOF_THREAD_PARAM mParam_X;
    pthread_t mThread_X{};
    // Guards the flags below; priority-inheriting like every lock of the platform.
    mutable pthread_mutex_t mLock_X;
    pthread_cond_t mStateChanged_X; // signals mRunning_B and mJoined_B
    bool mStarted_B = false;
    bool mRunning_B = false;
    bool mJoinClaimed_B = false;
    bool mJoined_B = false;
};
