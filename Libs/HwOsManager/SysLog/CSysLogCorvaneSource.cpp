#include "CSysLogCorvaneSource.h"
#include "CCriticalSectionGuard.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include <cstdarg>
#include <cstdio>
#include <cstring>

CSysLogCorvaneSource::CSysLogCorvaneSource(const CSysLogServer& server, const char* directory)
    : mCriticalSection_X(0), mpRingStorage_U8{}, mRingBuffer_O(mpRingStorage_U8, RING_SIZE),
      mCorruptionReported_B(false), mpSequence_U32{}, mpCorruptionPath_c{}, mServer_O(server)
{
    Bof_CreateCriticalSection("CSysLogCorvaneSource", &mCriticalSection_X);
    snprintf(mpCorruptionPath_c, sizeof(mpCorruptionPath_c), "%sringbuffercorruption.log", directory);
}

CSysLogCorvaneSource::~CSysLogCorvaneSource()
{
    Bof_DestroyCriticalSection(&mCriticalSection_X);
}

void CSysLogCorvaneSource::LogMessage(unsigned int channel, unsigned char criticity, short errorCode,
                                      short subId, unsigned char context, const char* format, ...)
{
    if (channel >= SYSLOG_NB_CHANNEL || !mServer_O.AreLogsEnabled())
    {
        return;
    }
    if (criticity == SYSLOG_NO_LOG || criticity > mServer_O.GetThreshold(channel))
    {
        return;
    }
    char pText_c[SYSLOG_TEXT_SIZE] = {};
    va_list args;
    va_start(args, format);
    vsnprintf(pText_c, sizeof(pText_c), format, args);
    va_end(args);
    // An empty record would use a sequence number and stop a flush at it, losing what follows:
    // a text with nothing to show is dropped like a refused criticity.
    if (pText_c[0] == '\0' || strcmp(pText_c, "\r\n") == 0)
    {
        return;
    }

    CSysLogMessage message;
    CCriticalSectionGuard guard_O(mCriticalSection_X);
    uint32_t sequence_U32 = mpSequence_U32[channel]++;
    message.MakeMessage(channel, criticity, mServer_O.GetTimeStamp(), errorCode, subId, context, sequence_U32,
                        pText_c);
    mRingBuffer_O.Push(reinterpret_cast<unsigned char*>(&message), message.GetWireSize());
}

void CSysLogCorvaneSource::ReadMessage(CSysLogMessage* message)
{
    {
        CCriticalSectionGuard guard_O(mCriticalSection_X);
        ReadLocked(message);
    }
    LogRingBufferCorruption();
}

void CSysLogCorvaneSource::ReadLocked(CSysLogMessage* message)
{
    if (message == nullptr)
    {
        mRingBuffer_O.Pop(nullptr, nullptr);
    }
    else
    {
        message->Init();
        unsigned int size_U32 = 0;
        if (mRingBuffer_O.GetNextElemSize() <= sizeof(CSysLogMessage))
        {
            mRingBuffer_O.Pop(reinterpret_cast<unsigned char*>(message), &size_U32);
        }
        else
        {
            // Larger than any record: not one of ours, drop it rather than overrun the message.
            mRingBuffer_O.Pop(nullptr, &size_U32);
        }
        if (size_U32 < CSysLogMessage::HEADER_SIZE || size_U32 > sizeof(CSysLogMessage))
        {
            message->Init();
        }
    }
}

unsigned int CSysLogCorvaneSource::GiveLoad()
{
    if (!mServer_O.AreLogsEnabled())
    {
        return 0;
    }
    CCriticalSectionGuard guard_O(mCriticalSection_X);
    return static_cast<unsigned int>(static_cast<uint64_t>(mRingBuffer_O.GetNbBytesUsed()) * 100u /
                                     mRingBuffer_O.GetCapacity());
}

void CSysLogCorvaneSource::LogRingBufferCorruption()
{
    SRingBufferCorruption corruption_X = {};
    bool report_B = false;
    {
        CCriticalSectionGuard guard_O(mCriticalSection_X);
        corruption_X = mRingBuffer_O.GetCorruption();
        report_B = corruption_X.mSeen_B && !mCorruptionReported_B;
        mCorruptionReported_B = mCorruptionReported_B || report_B;
    }
    if (!report_B)
    {
        return;
    }
    // An unopenable report file is a fault of the installation, not of the ring.
    FILE* pFile_X = fopen(mpCorruptionPath_c, "a");
    if (pFile_X == nullptr)
    {
        return;
    }
    fprintf(pFile_X,
            "RingBuffer corrupted: during push: %s, mHead_U32: %d, mQueue_U32: %d, mNbMaxData_U32: %d\n",
            corruption_X.mDuringPush_B ? "true" : "false", static_cast<int>(corruption_X.mHead_U32),
            static_cast<int>(corruption_X.mQueue_U32), static_cast<int>(corruption_X.mNbMaxData_U32));
    fclose(pFile_X);
}
