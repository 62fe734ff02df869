#pragma once
// Text log for code that must not wait on the disk: callers format a line into a pre-allocated
// slot and return at once; the "CRtLog" writer thread writes the slots to one file in order.
#include "BofCriticalSection.h"
#include "BofThread.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>

class CRealTimeLog
{
public:
    static constexpr uint32_t SLOT_COUNT_U32 = 1000;
    static constexpr uint32_t SLOT_SIZE_U32 = 1024;
    static constexpr uint32_t DEFAULT_MAX_FILE_SIZE_U32 = 0x200000;
    static constexpr uint32_t NAME_SIZE_U32 = 1024;

    CRealTimeLog();
    // The name is accepted for callers of the older interface; the file is named by Open.
    explicit CRealTimeLog(const char* name);
    ~CRealTimeLog();

    CRealTimeLog(const CRealTimeLog&) = delete;
    CRealTimeLog& operator=(const CRealTimeLog&) = delete;

    // Returns the previous limit.
    uint32_t SetMaxFileSize(uint32_t maxFileSize);

    // 0 when open (or already open), 1 when the file cannot be opened.
    int Open(const char* name, const char* mode);

    // Queue one line; 1 when queued, 0 when dropped (no file, or every slot pending).
    int Log(int withTime, const char* format, ...) __attribute__((format(printf, 3, 4)));
    int Log(const char* format, ...) __attribute__((format(printf, 2, 3)));

    void ForceFlush();
    void Close();

    // "<dd/mm/yyyy hh:mm:ss.mmm> " in local time; returns the length written.
    static int MakeDateAndTimeStr(char* buffer, unsigned size);
    static int FormatDateAndTime(const struct timespec& when, char* buffer, unsigned size);

private:
    // Fixed-capacity FIFO of slot indexes; never allocates after construction.
    struct SSlotQueue
    {
        uint16_t mIndex_U16[SLOT_COUNT_U32];
        uint32_t mHead_U32 = 0;
        uint32_t mCount_U32 = 0;

        bool Push(uint16_t index);
        bool Pop(uint16_t* index);
    };

    void Init();
    int Enqueue(int withTime, const char* format, va_list args);
    void RotateIfTooLarge();
    static void S_FlushTask(void* context);
    void FlushTask();

    std::atomic<uint32_t> mMaxFileSize_U32{DEFAULT_MAX_FILE_SIZE_U32};
    std::atomic<uint32_t> mClosed_U32{1};
    std::atomic<uint32_t> mStop_U32{0};
    BOFTHREAD mThread_X = nullptr;
    BOFEVENT mWakeUp_X = nullptr;
    std::atomic<FILE*> mStream_X{nullptr};
    char* mSlots_U8 = nullptr;
    SSlotQueue* mFree_X = nullptr;
    SSlotQueue* mPending_X = nullptr;
    // Guards both queues; held only for list moves and formatting, never for disk I/O.
    BOF_CRITICAL_SECTION mListLock_X = 0;
    // Serialises the writer's disk I/O with Open, Close and ForceFlush.
    BOF_CRITICAL_SECTION mStreamLock_X = 0;
    char mFileName_U8[NAME_SIZE_U32] = {};
    char mMode_U8[16] = {};
};
