#pragma once
// The host's log source: callers format, take the lock, copy one record into the ring and return;
// the log server's worker drains the ring into the files.
#include "BofCriticalSection.h"
#include "CRingBuffer.h"
#include "CSysLogSource.h"
#include <climits>

class CSysLogServer;

class CSysLogCorvaneSource : public CSysLogSource
{
public:
    static constexpr uint32_t RING_SIZE = 2097152;

    CSysLogCorvaneSource(const CSysLogServer& server, const char* directory);
    ~CSysLogCorvaneSource() override;

    void LogMessage(unsigned int channel, unsigned char criticity, short errorCode, short subId,
                    unsigned char context, const char* format, ...) override
        __attribute__((format(printf, 7, 8)));
    void ReadMessage(CSysLogMessage* message) override;
    unsigned int GiveLoad() override;
    // Writes the ring's corruption record to the report file, once in the process's life.
    void LogRingBufferCorruption();

    const char* GetCorruptionReportPath() const { return mpCorruptionPath_c; }

protected:
    // Derived sources (and diagnostics) reach the ring and its storage under the critical section.
    BOF_CRITICAL_SECTION mCriticalSection_X;
    unsigned char mpRingStorage_U8[RING_SIZE];
    CRingBuffer mRingBuffer_O;

private:
    // ReadMessage's work, done while the caller holds the section.
    void ReadLocked(CSysLogMessage* message);
    bool mCorruptionReported_B;
    uint32_t mpSequence_U32[SYSLOG_NB_CHANNEL];
    char mpCorruptionPath_c[PATH_MAX];
    const CSysLogServer& mServer_O;
};
