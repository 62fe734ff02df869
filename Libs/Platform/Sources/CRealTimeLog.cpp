#include "CRealTimeLog.h"

#include "BofSystem.h"

#include <new>
#include <sys/types.h>
#include <unistd.h>

namespace
{
constexpr uint32_t WRITER_STACK_SIZE_U32 = 4096;
constexpr uint32_t REOPEN_RETRY_MS_U32 = 2;

// Holds a critical section for the lifetime of a scope.
class CSectionGuard
{
public:
    explicit CSectionGuard(BOF_CRITICAL_SECTION handle) : mHandle_X(handle) { CritSectEnter(mHandle_X); }
    ~CSectionGuard() { CritSectLeave(mHandle_X); }
    CSectionGuard(const CSectionGuard&) = delete;
    CSectionGuard& operator=(const CSectionGuard&) = delete;

private:
    BOF_CRITICAL_SECTION mHandle_X;
};
} // namespace

bool CRealTimeLog::SSlotQueue::Push(uint16_t index)
{
    if (mCount_U32 >= SLOT_COUNT_U32)
    {
        return false;
    }
    mIndex_U16[(mHead_U32 + mCount_U32) % SLOT_COUNT_U32] = index;
    mCount_U32++;
    return true;
}

bool CRealTimeLog::SSlotQueue::Pop(uint16_t* index)
{
    if (mCount_U32 == 0)
    {
        return false;
    }
    *index = mIndex_U16[mHead_U32];
    mHead_U32 = (mHead_U32 + 1) % SLOT_COUNT_U32;
    mCount_U32--;
    return true;
}

CRealTimeLog::CRealTimeLog()
{
    Init();
}

CRealTimeLog::CRealTimeLog(const char* /*name*/)
{
    Init();
}

void CRealTimeLog::Init()
{
    // Everything the log will ever need is taken here, so that Log never allocates.
    mSlots_U8 = new (std::nothrow) char[SLOT_COUNT_U32 * SLOT_SIZE_U32];
    mFree_X = new (std::nothrow) SSlotQueue;
    mPending_X = new (std::nothrow) SSlotQueue;
    if (mSlots_U8 != nullptr && mFree_X != nullptr)
    {
        for (uint32_t i_U32 = 0; i_U32 < SLOT_COUNT_U32; i_U32++)
        {
            mFree_X->Push(static_cast<uint16_t>(i_U32));
        }
    }
    mWakeUp_X = Bof_CreateEvent(false, nullptr);
    mThread_X = Bof_CreateThread(WRITER_STACK_SIZE_U32, S_FlushTask, this, true);
    Bof_SetThreadName(mThread_X, "CRtLog");
    Bof_SetThreadPriority(mThread_X, BOF_THREAD_PRIORITY_004);
    Bof_CreateCriticalSection("CRealTimeLog", &mListLock_X);
    Bof_CreateCriticalSection("CRealTimeLogStream", &mStreamLock_X);
    Bof_ResumeThread(mThread_X);
}

CRealTimeLog::~CRealTimeLog()
{
    {
        CSectionGuard guard(mListLock_X);
        mStop_U32 = 1;
    }
    Bof_SetEvent(mWakeUp_X);
    Bof_WaitForThreadEnd(mThread_X);
    Bof_CloseThread(mThread_X);
    Close();
    Bof_CloseEvent(mWakeUp_X);
    Bof_DestroyCriticalSection(&mStreamLock_X);
    Bof_DestroyCriticalSection(&mListLock_X);
    delete mPending_X;
    delete mFree_X;
    delete[] mSlots_U8;
}

uint32_t CRealTimeLog::SetMaxFileSize(uint32_t maxFileSize)
{
    return mMaxFileSize_U32.exchange(maxFileSize);
}

int CRealTimeLog::Open(const char* name, const char* mode)
{
    CSectionGuard guard(mStreamLock_X);
    mFileName_U8[0] = '\0';
    if (mClosed_U32 == 0)
    {
        return 0;
    }
    FILE* stream = fopen(name, mode);
    if (stream == nullptr)
    {
        mClosed_U32 = 1;
        return 1;
    }
    snprintf(mFileName_U8, sizeof(mFileName_U8), "%s", name);
    mClosed_U32 = 0;
    off_t size = -1;
    if (fseeko(stream, 0, SEEK_END) == 0)
    {
        size = ftello(stream);
    }
    // A pipe or device has no size to limit.
    if (size < 0 || static_cast<uint64_t>(size) <= mMaxFileSize_U32)
    {
        mStream_X = stream;
        return 0;
    }
    fclose(stream);
    char backup[NAME_SIZE_U32 + 8];
    snprintf(backup, sizeof(backup), "%s.bak", name);
    rename(name, backup);
    unlink(name);
    // Deliberate: the closed flag is still clear, so this returns at once and the run that moved
    // the file aside keeps no file; its lines are dropped until the next run opens a fresh one.
    return Open(name, mode);
}

int CRealTimeLog::Log(int withTime, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    int queued = Enqueue(withTime, format, args);
    va_end(args);
    return queued;
}

int CRealTimeLog::Log(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    int queued = Enqueue(0, format, args);
    va_end(args);
    return queued;
}

int CRealTimeLog::Enqueue(int withTime, const char* format, va_list args)
{
    if (mStream_X.load(std::memory_order_acquire) == nullptr || mClosed_U32 != 0 || mSlots_U8 == nullptr)
    {
        return 0;
    }
    uint16_t index_U16 = 0;
    {
        CSectionGuard guard(mListLock_X);
        if (!mFree_X->Pop(&index_U16))
        {
            return 0;
        }
    }
    // The slot belongs to this caller until it is queued: format it without holding the lock.
    char* slot = mSlots_U8 + index_U16 * SLOT_SIZE_U32;
    int length = 0;
    slot[0] = '\0';
    if (withTime != 0)
    {
        length = MakeDateAndTimeStr(slot, SLOT_SIZE_U32);
    }
    if (length < static_cast<int>(SLOT_SIZE_U32) - 1)
    {
        vsnprintf(slot + length, SLOT_SIZE_U32 - length, format, args);
    }
    bool wasIdle_B = false;
    {
        CSectionGuard guard(mListLock_X);
        wasIdle_B = mPending_X->mCount_U32 == 0;
        mPending_X->Push(index_U16);
    }
    // The writer only sleeps once it has seen the pending list empty, so one wake-up per burst is enough.
    if (wasIdle_B)
    {
        Bof_SetEvent(mWakeUp_X);
    }
    return 1;
}

void CRealTimeLog::ForceFlush()
{
    CSectionGuard guard(mStreamLock_X);
    FILE* stream = mStream_X.load();
    if (stream != nullptr)
    {
        fflush(stream);
    }
}

void CRealTimeLog::Close()
{
    CSectionGuard guard(mStreamLock_X);
    FILE* stream = mStream_X.exchange(nullptr);
    if (stream != nullptr)
    {
        fclose(stream);
        mClosed_U32 = 1;
    }
}

int CRealTimeLog::MakeDateAndTimeStr(char* buffer, unsigned size)
{
    struct timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return FormatDateAndTime(now, buffer, size);
}

int CRealTimeLog::FormatDateAndTime(const struct timespec& when, char* buffer, unsigned size)
{
    if (buffer == nullptr || size == 0)
    {
        return 0;
    }
    struct tm local = {};
    localtime_r(&when.tv_sec, &local);
    int length = snprintf(buffer, size, "<%02d/%02d/%04d %02d:%02d:%02d.%03d> ", local.tm_mday,
                          local.tm_mon + 1, local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec,
                          static_cast<int>(when.tv_nsec / 1000000));
    if (length < 0)
    {
        buffer[0] = '\0';
        return 0;
    }
    return length < static_cast<int>(size) ? length : static_cast<int>(size) - 1;
}

void CRealTimeLog::S_FlushTask(void* context)
{
    static_cast<CRealTimeLog*>(context)->FlushTask();
}

void CRealTimeLog::FlushTask()
{
    // Pending lines are written before the thread ends, so a line logged just before exit is kept.
    for (;;)
    {
        uint16_t index_U16 = 0;
        CritSectEnter(mListLock_X);
        bool taken_B = mPending_X->Pop(&index_U16);
        bool stop_B = !taken_B && mStop_U32 != 0;
        // Reset under the lock: a Log that queues after this point sets the event again.
        if (!taken_B && !stop_B)
        {
            Bof_ResetEvent(mWakeUp_X);
        }
        CritSectLeave(mListLock_X);
        if (stop_B)
        {
            return;
        }
        if (!taken_B)
        {
            Bof_WaitForEvent(mWakeUp_X, BOF_INFINITE);
            continue;
        }
        char* slot = mSlots_U8 + index_U16 * SLOT_SIZE_U32;
        slot[SLOT_SIZE_U32 - 1] = '\0';
        {
            CSectionGuard guard(mStreamLock_X);
            FILE* stream = mStream_X.load();
            if (stream != nullptr)
            {
                fputs(slot, stream);
                fflush(stream);
                RotateIfTooLarge();
            }
        }
        bool freed_B = false;
        {
            CSectionGuard guard(mListLock_X);
            freed_B = mFree_X->Push(index_U16);
        }
        if (!freed_B)
        {
            fprintf(stderr, "CRealTimeLog::FlushTask: free list push failed for slot %u (%s:%d)\n",
                    static_cast<unsigned>(index_U16), __FILE__, __LINE__);
        }
    }
}

void CRealTimeLog::RotateIfTooLarge()
{
    FILE* stream = mStream_X.load();
    off_t size = ftello(stream);
    if (size < 0 || static_cast<uint64_t>(size) <= mMaxFileSize_U32)
    {
        return;
    }
    // The field keeps the closed stream while this runs under the stream lock, so callers go
    // on queueing instead of dropping lines during the swap.
    fclose(stream);
    char backup[NAME_SIZE_U32 + 8];
    snprintf(backup, sizeof(backup), "%s.bak", mFileName_U8);
    rename(mFileName_U8, backup);
    unlink(mFileName_U8);
    // Give up only at shutdown; meanwhile lines wait in their slots.
    for (;;)
    {
        stream = fopen(mFileName_U8, "wb");
        if (stream != nullptr)
        {
            mStream_X = stream;
            return;
        }
        if (mStop_U32 != 0)
        {
            mStream_X = nullptr;
            mClosed_U32 = 1;
            return;
        }
        Bof_Sleep(REOPEN_RETRY_MS_U32);
    }
}
