#pragma once
// The process-wide logging hub: owns the host source, the channel table with thresholds, file sizes
// and log files, the routing from sources to destinations, and a worker that moves messages from
// the sources' rings into the files every 20 ms. Callers never wait for disk.
#include "CSysLogCorvaneSource.h"
#include "CSysLogMessage.h"
#include "Mutex.h"
#include "SysLogLimits.h"
#include <atomic>
#include <future>
#include <string>

class CSysLogDestination;
class CSysLogFile;

struct SSysLogSourceSlot
{
    CSysLogSource* mpSource;
    uint32_t mpLink_U32[SYSLOG_NB_CHANNEL];
    uint32_t mWaitCount_U32;
    CSysLogMessage mPendingMessage_O;
    bool mPendingHeld_B;
};

struct SSysLogChannelEntry
{
    std::atomic<uint8_t> mThreshold_U8;
    uint32_t mMaxFileSize_U32;
    CSysLogFile* mpFile;
    uint32_t mReserved_U32;
};

struct SSysLogStatistics
{
    uint32_t mpLoad_U32[SYSLOG_NB_SOURCE];
    uint32_t mpMaxLoad_U32[SYSLOG_NB_SOURCE];
    uint32_t mWrittenLastPass_U32;
    uint32_t mMaxWrittenInPass_U32;
    uint32_t mFullPasses_U32;
    uint32_t mMaxFullPasses_U32;
    uint32_t mFullStretchStart_U32;
    uint32_t mMaxFullStretchStart_U32;
};

// One line of the log menu's key help.
struct SSysLogInfoKey
{
    char mpKey_c[16];
    char mpText_c[48];
};

class CSysLogServer
{
public:
    static constexpr const char* LOG_DIRECTORY = "/mnt/APPS/data/log/";
    static constexpr const char* THRESHOLD_FILE = "/mnt/APPS/data/orx/logcfg.cfg";
    static constexpr const char* FILE_SIZE_FILE = "/mnt/APPS/data/orx/logcfgparam.json";
    static constexpr uint32_t HEADER_SIZE = 130;
    static constexpr uint32_t NB_INFO_KEYS = 16;

    static CSysLogServer& GetInstance();
    CSysLogCorvaneSource& GetHostSource() { return mHostSource_O; }

    ~CSysLogServer();
    CSysLogServer(const CSysLogServer&) = delete;
    CSysLogServer& operator=(const CSysLogServer&) = delete;

    // Configuration (CSysLogServerConfig.cpp).
    void Init();
    void InitThresholds();
    void SetThresholdFrom(const char* path);
    void SaveThresholdConfig();
    void SetLogFilesSizeFrom(const char* path);
    void SetLogFileHeader(unsigned int machine, const std::string& version, const std::string& hwEdition);
    const char* GetLogFileHeader() const { return mpHeader_c; }

    // The log menu's key help (CSysLogServerInfoKeys.cpp): InitInfoKeys puts back the built-in
    // lines; SetInfoKeys replaces a key's text or adds the key (ignored once the table is full).
    void InitInfoKeys();
    void SetInfoKeys(const char* key, const char* text);
    unsigned int GetNbInfoKeys() const { return mNbInfoKeys_U32; }
    // The key's help text, nullptr for a key without help.
    const char* GetInfoKeyText(const char* key) const;

    unsigned char GetThreshold(unsigned int channel) const;
    bool CanIDisplayLogMessage(unsigned int channel, unsigned char criticity) const;
    void SetThreshold(unsigned int channel, unsigned char threshold);
    void EnableLogs() { mLogsEnabled_B.store(true, std::memory_order_relaxed); }
    void DisableLogs() { mLogsEnabled_B.store(false, std::memory_order_relaxed); }
    bool AreLogsEnabled() const { return mLogsEnabled_B.load(std::memory_order_relaxed); }
    uint32_t GetTimeStamp() const { return mTimeStamp_U32; }
    static const char* GetCriticityName(unsigned char criticity);

    // Routing (CSysLogServer.cpp).
    bool AddSource(CSysLogSource* source);
    void RemoveSource(CSysLogSource* source);
    bool AddDestination(CSysLogDestination* destination);
    int GetSourceId(CSysLogSource* source) const;
    int GetDestId(CSysLogDestination* destination) const;
    bool Link(int source, CSysLogDestination* destination);
    bool Link(int source, unsigned int channel, CSysLogDestination* destination);

    // Worker (CSysLogServerWorker.cpp). The choice depends only on the slots; `loads` receives
    // each slot's load for the statistics.
    static unsigned int SelectSourceToProcess(SSysLogSourceSlot* slots, uint32_t* loads);

    // Flush and shutdown (CSysLogServerFlush.cpp).
    void Flush(unsigned int source, unsigned int count);
    void FlushPendingMessages();
    void Shutdown();

    // Inspection for the debug screen.
    bool IsFileOpened(unsigned int channel) const;
    // How many channels have their files open.
    unsigned int OpenLogFile() const;
    unsigned int GetMaxFileSize(unsigned int channel) const;
    unsigned int GetSelectedChannel() const { return mSelectedChannel_U32; }
    SSysLogStatistics GetMaxStatisticArray();

private:
    CSysLogServer();
    void CreateChannelFiles();
    void RunWorker();
    void ProcessMessages();
    void LogBadChannel(uint32_t channel);
    bool RouteMessage(SSysLogSourceSlot& slot, CSysLogMessage& message, bool keepPending);
    void UpdatePassStatistics(uint32_t written);
    bool IsDestinationKnown(CSysLogDestination* destination, uint32_t* index) const;

    // Declared first so that it is destroyed last: files log their last notices through it.
    CSysLogCorvaneSource mHostSource_O;
    std::atomic<bool> mRunning_B;
    char mpHeader_c[HEADER_SIZE];
    mutable Orx::Corvane::Concurrency::Mutex mMutex_O;
    uint32_t mTimeStamp_U32;
    uint32_t mTimeStampSent_U32;
    std::atomic<bool> mLogsEnabled_B;
    SSysLogStatistics mStatistics_X;
    SSysLogSourceSlot mpSourceSlot_X[SYSLOG_NB_SOURCE];
    CSysLogDestination* mpDestination[SYSLOG_NB_DESTINATION];
    SSysLogChannelEntry mpChannel_X[SYSLOG_NB_CHANNEL];
    uint32_t mSelectedChannel_U32;
    SSysLogInfoKey mpInfoKey_X[NB_INFO_KEYS];
    uint32_t mNbInfoKeys_U32;
    CSysLogSource mUCodeSource_O;
    std::future<void> mWorker_O;
};
