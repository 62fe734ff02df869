#include "CRealTimeLog.h"

#include "BofSystem.h"
#include "CCriticalSectionGuard.h"

#include <cstring>
#include <new>
#include <sys/types.h>
#include <unistd.h>

namespace
{
constexpr uint32_t WRITER_STACK_SIZE = 4096;
constexpr uint32_t REOPEN_RETRY_MS = 2;
constexpr uint32_t GATHER_MS = 1;
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
    mBatch_X = new (std::nothrow) SSlotQueue;
    if (mSlots_U8 != nullptr && mFree_X != nullptr)
    {
        for (uint32_t i_U32 = 0; i_U32 < SLOT_COUNT_U32; i_U32++)
        {
            mFree_X->Push(static_cast<uint16_t>(i_U32));
        }
    }
    mWakeUp_X = Bof_CreateEvent(false, nullptr);
    mThread_X = Bof_CreateThread(WRITER_STACK_SIZE, S_FlushTask, this, true);
    Bof_SetThreadName(mThread_X, "CRtLog");
    Bof_SetThreadPriority(mThread_X, BOF_THREAD_PRIORITY_004);
    Bof_CreateCriticalSection("CRealTimeLog", &mListLock_X);
    Bof_CreateCriticalSection("CRealTimeLogStream", &mStreamLock_X);
    Bof_ResumeThread(mThread_X);
}

CRealTimeLog::~CRealTimeLog()
{
    {
        CCriticalSectionGuard guard_O(mListLock_X);
        mStop_U32 = 1;
    }
    Bof_SetEvent(mWakeUp_X);
    Bof_WaitForThreadEnd(mThread_X);
    Bof_CloseThread(mThread_X);
    Close();
    Bof_CloseEvent(mWakeUp_X);
    Bof_DestroyCriticalSection(&mStreamLock_X);
    Bof_DestroyCriticalSection(&mListLock_X);
    delete mBatch_X;
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
    CCriticalSectionGuard guard_O(mStreamLock_X);
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
    // A pipe or device has no size to limit (-1).
    if (size < 0 || static_cast<uint64_t>(size) <= mMaxFileSize_U32)
    {
        mFileSize_S64 = size;
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
    if (mStream_X.load(std::memory_order_acquire) == nullptr || mClosed_U32 != 0 || mSlots_U8 == nullptr ||
        mFree_X == nullptr || mPending_X == nullptr || mBatch_X == nullptr)
    {
        return 0;
    }
    uint16_t index_U16 = 0;
    bool wake_B = false;
    {
        // Stamped and queued under one lock: the file's lines are in the order of their time
        // prefixes, whichever callers race.
        CCriticalSectionGuard guard_O(mListLock_X);
        if (!mFree_X->Pop(&index_U16))
        {
            return 0;
        }
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
        mPending_X->Push(index_U16);
        wake_B = mWriterWaiting_B;
        mWriterWaiting_B = false;
    }
    // Only a writer that announced its wait needs the event; a busy one finds the line on its next round.
    if (wake_B)
    {
        Bof_SetEvent(mWakeUp_X);
    }
    return 1;
}

void CRealTimeLog::ForceFlush()
{
    CCriticalSectionGuard guard_O(mStreamLock_X);
    FILE* stream = mStream_X.load();
    if (stream != nullptr)
    {
        fflush(stream);
    }
}

void CRealTimeLog::Close()
{
    CCriticalSectionGuard guard_O(mStreamLock_X);
    FILE* stream = mStream_X.exchange(nullptr);
    if (stream != nullptr)
    {
        fclose(stream);
        mClosed_U32 = 1;
    }
}

int CRealTimeLog::MakeDateAndTimeStr(char* buffer, unsigned size)
{
    if (buffer == nullptr || size == 0)
    {
        return 0;
    }
    struct timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    // localtime_r and the formatting are most of a line's cost, and only the milliseconds change
    // within a second: keep each thread's last prefix and patch its three digits.
    thread_local time_t S_CachedSecond = 0;
    thread_local int S_CachedLength_S32 = 0;
    thread_local char S_Cached_U8[64];
    if (S_CachedLength_S32 == 0 || now.tv_sec != S_CachedSecond)
    {
        struct timespec second = {now.tv_sec, 0};
        S_CachedLength_S32 = FormatDateAndTime(second, S_Cached_U8, sizeof(S_Cached_U8));
        S_CachedSecond = now.tv_sec;
    }
    if (S_CachedLength_S32 < 5)
    {
        return FormatDateAndTime(now, buffer, size);
    }
    // "...ss.mmm> ": the milliseconds end five characters before the end.
    const int milliseconds_S32 = static_cast<int>(now.tv_nsec / 1000000);
    char* digits = S_Cached_U8 + S_CachedLength_S32 - 5;
    digits[0] = static_cast<char>('0' + milliseconds_S32 / 100);
    digits[1] = static_cast<char>('0' + milliseconds_S32 / 10 % 10);
    digits[2] = static_cast<char>('0' + milliseconds_S32 % 10);
    const int length_S32 =
        S_CachedLength_S32 < static_cast<int>(size) ? S_CachedLength_S32 : static_cast<int>(size) - 1;
    memcpy(buffer, S_Cached_U8, static_cast<size_t>(length_S32));
    buffer[length_S32] = '\0';
    return length_S32;
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
        bool idle_B = false;
        bool stop_B = false;
        {
            // Take every pending slot at once: one lock round per burst instead of two per line.
            CCriticalSectionGuard guard_O(mListLock_X);
            uint16_t index_U16 = 0;
            while (mPending_X->Pop(&index_U16))
            {
                mBatch_X->Push(index_U16);
            }
            idle_B = mBatch_X->mCount_U32 == 0;
            stop_B = idle_B && mStop_U32 != 0;
            // Reset and announce the wait under the lock: the next Log to queue sets the event again.
            if (idle_B && !stop_B)
            {
                Bof_ResetEvent(mWakeUp_X);
                mWriterWaiting_B = true;
            }
        }
        if (stop_B)
        {
            return;
        }
        if (idle_B)
        {
            Bof_WaitForEvent(mWakeUp_X, BOF_INFINITE);
            continue;
        }
        WriteBatch();
        // Let a burst gather for a moment: callers then rarely pay for waking the writer, and the
        // disk gets one write per burst instead of one per line.
        if (mStop_U32 == 0)
        {
            Bof_Sleep(GATHER_MS);
        }
    }
}

void CRealTimeLog::WriteBatch()
{
    {
        CCriticalSectionGuard guard_O(mStreamLock_X);
        for (uint32_t i_U32 = 0; i_U32 < mBatch_X->mCount_U32; i_U32++)
        {
            char* slot = mSlots_U8 +
                         mBatch_X->mIndex_U16[(mBatch_X->mHead_U32 + i_U32) % SLOT_COUNT_U32] * SLOT_SIZE_U32;
            slot[SLOT_SIZE_U32 - 1] = '\0';
            FILE* stream = mStream_X.load();
            if (stream != nullptr)
            {
                fputs(slot, stream);
                if (mFileSize_S64 >= 0)
                {
                    mFileSize_S64 += static_cast<int64_t>(strlen(slot));
                }
                RotateIfTooLarge();
            }
        }
        // One flush per burst: the lines reach the file before the writer waits again.
        FILE* stream = mStream_X.load();
        if (stream != nullptr)
        {
            fflush(stream);
        }
    }
    CCriticalSectionGuard guard_O(mListLock_X);
    uint16_t index_U16 = 0;
    while (mBatch_X->Pop(&index_U16))
    {
        if (!mFree_X->Push(index_U16))
        {
            fprintf(stderr, "CRealTimeLog::WriteBatch: free list push failed for slot %u (%s:%d)\n",
                    static_cast<unsigned>(index_U16), __FILE__, __LINE__);
        }
    }
}

void CRealTimeLog::RotateIfTooLarge()
{
    // The size is counted as lines are written, so that the check costs no system call per line.
    // A second Open clears the stored name while the first file stays open: with nothing to
    // rename, keep writing to that file rather than lose it.
    if (mFileSize_S64 < 0 || static_cast<uint64_t>(mFileSize_S64) <= mMaxFileSize_U32 ||
        mFileName_U8[0] == '\0')
    {
        return;
    }
    FILE* stream = mStream_X.load();
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
            mFileSize_S64 = 0;
            mStream_X = stream;
            return;
        }
        if (mStop_U32 != 0)
        {
            mStream_X = nullptr;
            mClosed_U32 = 1;
            return;
        }
        Bof_Sleep(REOPEN_RETRY_MS);
    }
}
