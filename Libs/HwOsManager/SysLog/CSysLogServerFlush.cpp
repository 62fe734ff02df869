// CSysLogServer: flushing the sources and the orderly end of logging.
#include "CSysLogFile.h"
#include "CSysLogServer.h"

namespace
{
constexpr uint32_t FLUSH_ALL = 10240;
// The channel counter of the final sweep that reads without looking at the file's state.
constexpr uint32_t SWEEP_UNCONDITIONAL_COUNTER = 228;
} // namespace

void CSysLogServer::Flush(unsigned int source, unsigned int count)
{
    if (source >= SYSLOG_NB_SOURCE)
    {
        return;
    }
    mMutex_O.lock();
    SSysLogSourceSlot& slot_X = mpSourceSlot_X[source];
    if (slot_X.mpSource != nullptr)
    {
        CSysLogMessage message;
        for (uint32_t i_U32 = 0; i_U32 < count; i_U32++)
        {
            slot_X.mpSource->ReadMessage(&message);
            if (message.IsEmpty() || message.mChannel_U32 >= SYSLOG_NB_CHANNEL)
            {
                break;
            }
            RouteMessage(slot_X, message, false);
        }
        // A last sweep reads one more message per open file, and one for the entry at counter 228
        // whatever its state: the historical flush order, kept as it is.
        uint32_t counter_U32 = 1;
        for (SSysLogChannelEntry& entry_X : mpChannel_X)
        {
            if (entry_X.mpFile != nullptr &&
                (counter_U32 == SWEEP_UNCONDITIONAL_COUNTER || entry_X.mpFile->IsOpened()))
            {
                slot_X.mpSource->ReadMessage(&message);
                if (!message.IsEmpty() && message.mChannel_U32 < SYSLOG_NB_CHANNEL)
                {
                    RouteMessage(slot_X, message, false);
                }
            }
            counter_U32++;
        }
    }
    mMutex_O.unlock();
}

void CSysLogServer::FlushPendingMessages()
{
    Flush(0, FLUSH_ALL);
    Flush(1, FLUSH_ALL);
}

void CSysLogServer::Shutdown()
{
    FlushPendingMessages();
    // These last lines are pushed after the flush: only a worker pass that still runs writes them.
    mMutex_O.lock();
    for (uint32_t channel_U32 = 0; channel_U32 < SYSLOG_NB_CHANNEL; channel_U32++)
    {
        CSysLogFile* pFile = mpChannel_X[channel_U32].mpFile;
        if (pFile != nullptr && pFile->IsOpened())
        {
            mHostSource_O.LogMessage(channel_U32, SYSLOG_CRITICAL, 0, 0, 0, "Exiting System Logging");
        }
    }
    mMutex_O.unlock();
}
