// CSysLogServer: the singleton, its lifetime and the routing tables.
#include "CSysLogServer.h"
#include "CSysLogDestination.h"
#include "CSysLogFile.h"
#include <cstring>

namespace
{
constexpr const char* DEFAULT_HEADER =
    "---------------------------------------- ORX QUINTARVE --- Machine 000000 --- "
    "Corvane version 00.00.00.00000 --- HW Edition 0.00";
} // namespace

CSysLogServer& CSysLogServer::GetInstance()
{
    static CSysLogServer S_Instance_O;
    return S_Instance_O;
}

CSysLogServer::CSysLogServer()
    : mHostSource_O(*this, LOG_DIRECTORY), mRunning_B(true), mpHeader_c{}, mTimeStamp_U32(0),
      mTimeStampSent_U32(0), mLogsEnabled_B(true), mStatistics_X{}, mpSourceSlot_X{}, mpDestination{},
      mSelectedChannel_U32(0), mpInfoKey_X{}, mNbInfoKeys_U32(0)
{
    strncpy(mpHeader_c, DEFAULT_HEADER, HEADER_SIZE - 1);
    for (SSysLogChannelEntry& entry_X : mpChannel_X)
    {
        entry_X.mThreshold_U8.store(0, std::memory_order_relaxed);
        entry_X.mMaxFileSize_U32 = 0;
        entry_X.mpFile = nullptr;
        entry_X.mReserved_U32 = 0;
    }
    Init();
    mWorker_O = std::async(std::launch::async, [this] { RunWorker(); });
}

CSysLogServer::~CSysLogServer()
{
    Shutdown();
    mRunning_B.store(false);
    if (mWorker_O.valid())
    {
        mWorker_O.wait();
    }
    for (SSysLogChannelEntry& entry_X : mpChannel_X)
    {
        delete entry_X.mpFile;
        entry_X.mpFile = nullptr;
    }
}

bool CSysLogServer::AddSource(CSysLogSource* source)
{
    bool added_B = false;
    mMutex_O.lock();
    for (SSysLogSourceSlot& slot_X : mpSourceSlot_X)
    {
        if (slot_X.mpSource == nullptr)
        {
            slot_X.mpSource = source;
            slot_X.mWaitCount_U32 = 0;
            slot_X.mPendingHeld_B = false;
            added_B = true;
            break;
        }
    }
    mMutex_O.unlock();
    return added_B;
}

void CSysLogServer::RemoveSource(CSysLogSource* source)
{
    mMutex_O.lock();
    for (SSysLogSourceSlot& slot_X : mpSourceSlot_X)
    {
        if (slot_X.mpSource == source)
        {
            slot_X.mpSource = nullptr;
            slot_X.mPendingHeld_B = false;
        }
    }
    mMutex_O.unlock();
}

bool CSysLogServer::AddDestination(CSysLogDestination* destination)
{
    // Locked although the server adds its files before the worker starts: a destination added
    // later must not race with a pass.
    bool added_B = false;
    mMutex_O.lock();
    for (CSysLogDestination*& pSlot : mpDestination)
    {
        if (pSlot == nullptr)
        {
            pSlot = destination;
            added_B = true;
            break;
        }
    }
    mMutex_O.unlock();
    return added_B;
}

int CSysLogServer::GetSourceId(CSysLogSource* source) const
{
    for (uint32_t i_U32 = 0; i_U32 < SYSLOG_NB_SOURCE; i_U32++)
    {
        if (mpSourceSlot_X[i_U32].mpSource == source)
        {
            return static_cast<int>(i_U32);
        }
    }
    return -1;
}

int CSysLogServer::GetDestId(CSysLogDestination* destination) const
{
    uint32_t index_U32;
    return IsDestinationKnown(destination, &index_U32) ? static_cast<int>(index_U32) : -1;
}

bool CSysLogServer::IsDestinationKnown(CSysLogDestination* destination, uint32_t* index) const
{
    for (uint32_t i_U32 = 0; i_U32 < SYSLOG_NB_DESTINATION; i_U32++)
    {
        if (destination != nullptr && mpDestination[i_U32] == destination)
        {
            *index = i_U32;
            return true;
        }
    }
    return false;
}

bool CSysLogServer::Link(int source, CSysLogDestination* destination)
{
    uint32_t index_U32;
    if (source < 0 || static_cast<uint32_t>(source) >= SYSLOG_NB_SOURCE ||
        !IsDestinationKnown(destination, &index_U32))
    {
        return false;
    }
    mMutex_O.lock();
    for (uint32_t& link_U32 : mpSourceSlot_X[source].mpLink_U32)
    {
        link_U32 = index_U32;
    }
    mMutex_O.unlock();
    return true;
}

bool CSysLogServer::Link(int source, unsigned int channel, CSysLogDestination* destination)
{
    uint32_t index_U32;
    if (source < 0 || static_cast<uint32_t>(source) >= SYSLOG_NB_SOURCE || channel >= SYSLOG_NB_CHANNEL ||
        !IsDestinationKnown(destination, &index_U32))
    {
        return false;
    }
    mMutex_O.lock();
    mpSourceSlot_X[source].mpLink_U32[channel] = index_U32;
    mMutex_O.unlock();
    return true;
}

bool CSysLogServer::IsFileOpened(unsigned int channel) const
{
    if (channel >= SYSLOG_NB_CHANNEL)
    {
        return false;
    }
    mMutex_O.lock();
    bool opened_B = mpChannel_X[channel].mpFile != nullptr && mpChannel_X[channel].mpFile->IsOpened();
    mMutex_O.unlock();
    return opened_B;
}

unsigned int CSysLogServer::OpenLogFile() const
{
    unsigned int opened_U32 = 0;
    mMutex_O.lock();
    for (const SSysLogChannelEntry& entry_X : mpChannel_X)
    {
        opened_U32 += entry_X.mpFile != nullptr && entry_X.mpFile->IsOpened() ? 1 : 0;
    }
    mMutex_O.unlock();
    return opened_U32;
}

SSysLogStatistics CSysLogServer::GetMaxStatisticArray()
{
    mMutex_O.lock();
    SSysLogStatistics statistics_X = mStatistics_X;
    mMutex_O.unlock();
    return statistics_X;
}
