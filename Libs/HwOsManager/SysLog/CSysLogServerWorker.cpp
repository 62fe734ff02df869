// CSysLogServer: the worker, its passes and the choice of the source to serve.
#include "BofSystem.h"
#include "CSysLogDestination.h"
#include "CSysLogServer.h"
#include "RTMonitoring.h"

using Orx::Corvane::Monitoring::RTMonitoring;

namespace
{
constexpr uint32_t WORKER_TASK_ID = 0;
constexpr uint32_t TIME_STAMP_SEND_STEP = 5;
} // namespace

void CSysLogServer::RunWorker()
{
    // The flag is tested before the sleep: a cleared flag ends the worker after the current pass.
    while (mRunning_B.load())
    {
        Bof_Sleep(SYSLOG_PASS_PERIOD_MS);
        RTMonitoring::OnTaskStart(WORKER_TASK_ID);
        ProcessMessages();
        RTMonitoring::OnTaskStop(WORKER_TASK_ID);
    }
}

unsigned int CSysLogServer::SelectSourceToProcess(SSysLogSourceSlot* slots, uint32_t* loads)
{
    int early_S32 = -1;
    uint32_t best_U32 = 0;
    uint32_t bestLoad_U32 = 0;
    for (uint32_t i_U32 = 0; i_U32 < SYSLOG_NB_SOURCE; i_U32++)
    {
        SSysLogSourceSlot& slot_X = slots[i_U32];
        if (slot_X.mpSource == nullptr)
        {
            continue;
        }
        uint32_t load_U32 = slot_X.mpSource->GiveLoad();
        load_U32 = load_U32 > 100 ? 100 : load_U32;
        if (loads != nullptr)
        {
            loads[i_U32] = load_U32;
        }
        if (load_U32 == 0)
        {
            slot_X.mWaitCount_U32 = 0;
            continue;
        }
        // A source that keeps losing is served after fewer passes the fuller it is.
        if (slot_X.mWaitCount_U32 > (100 - load_U32) / 10 + 1)
        {
            early_S32 = static_cast<int>(i_U32);
            break;
        }
        slot_X.mWaitCount_U32++;
        if (load_U32 > bestLoad_U32)
        {
            bestLoad_U32 = load_U32;
            best_U32 = i_U32;
        }
    }
    uint32_t chosen_U32 = early_S32 >= 0 ? static_cast<uint32_t>(early_S32) : best_U32;
    slots[chosen_U32].mWaitCount_U32 = 0;
    return chosen_U32;
}

bool CSysLogServer::RouteMessage(SSysLogSourceSlot& slot, CSysLogMessage& message, bool keepPending)
{
    uint32_t link_U32 = slot.mpLink_U32[message.mChannel_U32];
    CSysLogDestination* pDestination = link_U32 < SYSLOG_NB_DESTINATION ? mpDestination[link_U32] : nullptr;
    if (pDestination == nullptr)
    {
        slot.mPendingHeld_B = false;
        return false;
    }
    if (pDestination->IsReadyForReceiving())
    {
        pDestination->WriteMessage(&message);
        slot.mPendingHeld_B = false;
        return true;
    }
    if (keepPending)
    {
        // Offered again on the next iteration; only this slot waits for it.
        slot.mPendingMessage_O = message;
        slot.mPendingHeld_B = true;
    }
    return false;
}

void CSysLogServer::LogBadChannel(uint32_t channel)
{
    mHostSource_O.LogMessage(SYSLOG_CHANNEL_UCODE_GENERAL, SYSLOG_CRITICAL, 0, 0, 0,
                             "SYSLOG DEBUG - Channel == %d", static_cast<int>(channel));
}

void CSysLogServer::ProcessMessages()
{
    // The micro-code's log control only follows the time-stamp word, which stays put in the tool.
    if (mTimeStamp_U32 - mTimeStampSent_U32 > TIME_STAMP_SEND_STEP)
    {
        mTimeStampSent_U32 = mTimeStamp_U32;
    }
    uint32_t written_U32 = 0;
    mMutex_O.lock();
    for (uint32_t iteration_U32 = 0; iteration_U32 < SYSLOG_MESSAGES_PER_PASS; iteration_U32++)
    {
        uint32_t pLoad_U32[SYSLOG_NB_SOURCE] = {};
        uint32_t chosen_U32 = SelectSourceToProcess(mpSourceSlot_X, pLoad_U32);
        for (uint32_t i_U32 = 0; i_U32 < SYSLOG_NB_SOURCE; i_U32++)
        {
            mStatistics_X.mpLoad_U32[i_U32] = pLoad_U32[i_U32];
            if (pLoad_U32[i_U32] > mStatistics_X.mpMaxLoad_U32[i_U32])
            {
                mStatistics_X.mpMaxLoad_U32[i_U32] = pLoad_U32[i_U32];
            }
        }
        SSysLogSourceSlot& slot_X = mpSourceSlot_X[chosen_U32];
        if (slot_X.mpSource == nullptr)
        {
            continue;
        }
        CSysLogMessage message;
        if (slot_X.mPendingHeld_B)
        {
            message = slot_X.mPendingMessage_O;
        }
        else
        {
            slot_X.mpSource->ReadMessage(&message);
        }
        if (message.mChannel_U32 >= SYSLOG_NB_CHANNEL)
        {
            slot_X.mPendingHeld_B = false;
            LogBadChannel(message.mChannel_U32);
            continue;
        }
        if (message.IsEmpty())
        {
            continue;
        }
        if (RouteMessage(slot_X, message, true))
        {
            written_U32++;
        }
    }
    UpdatePassStatistics(written_U32);
    mMutex_O.unlock();
}

void CSysLogServer::UpdatePassStatistics(uint32_t written)
{
    mStatistics_X.mWrittenLastPass_U32 = written;
    if (written > mStatistics_X.mMaxWrittenInPass_U32)
    {
        mStatistics_X.mMaxWrittenInPass_U32 = written;
    }
    if (written < SYSLOG_MESSAGES_PER_PASS)
    {
        mStatistics_X.mFullPasses_U32 = 0;
        return;
    }
    if (mStatistics_X.mFullPasses_U32 == 0)
    {
        mStatistics_X.mFullStretchStart_U32 = Bof_GetTickCount();
    }
    mStatistics_X.mFullPasses_U32++;
    if (mStatistics_X.mFullPasses_U32 > mStatistics_X.mMaxFullPasses_U32)
    {
        mStatistics_X.mMaxFullPasses_U32 = mStatistics_X.mFullPasses_U32;
        mStatistics_X.mMaxFullStretchStart_U32 = mStatistics_X.mFullStretchStart_U32;
    }
}
