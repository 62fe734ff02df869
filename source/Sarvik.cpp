#include "Sarvik.h"

#include "CEepromDataHandler.h"
#include "CKvFunctionality.h"
#include "CZebToolBox.h"
#include "keyDriver.h"

#include <cstdarg>
#include <syslog.h>

namespace
{
// Shared by every getter that has no value to give.
const char S_pEmpty_c[1] = {'\0'};
constexpr int LOG_FACILITY = LOG_USER;
} // namespace

namespace Orx::Corvane
{
Sarvik::Sarvik()
{
    openlog("Sarvik", 0, LOG_FACILITY);
    // The board model is found out by the wake-up, not told.
    mpToolBox_O = new CZebToolBox(SYS_CTL_BOARD_TYPE_UNKNOWN);
    mpDataHandler_O = new CEepromDataHandler(nullptr);
    // A page answered "busy" is taken as read: a slow EEPROM must not stall the report, and a
    // page that really was garbled fails the copy's checksum anyway.
    mpDataHandler_O->SetBusyRetry(false);
    // The record carries its own checksum, so the mailbox's is not needed on this path.
    mpDataHandler_O->GetKeyDriver()->EnableCheckSum(0);
}

Sarvik::~Sarvik()
{
    delete mpToolBox_O;
    delete mpDataHandler_O;
    closelog();
}

void Sarvik::LogMessage(int priority, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    vsyslog(priority, format, args);
    va_end(args);
}

bool Sarvik::ResetQXKBoard()
{
    if (mpToolBox_O == nullptr)
    {
        LogMessage(LOG_ERR, "::%s: failed, no driver instance", __func__);
        return false;
    }
    LogMessage(LOG_INFO, "Resetting QXK board...");
    const uint32_t wakeUp_U32 = mpToolBox_O->BoardWakeUp(3);
    if (wakeUp_U32 != 0)
    {
        LogMessage(LOG_ERR, "::%s: failed, BoardWakeUp() returned 0x%x", __func__, wakeUp_U32);
        return false;
    }
    LogMessage(LOG_INFO, "Retrieving QXK board infos...");
    SZebBoardInfos infos_X = {};
    const uint32_t infos_U32 = mpToolBox_O->GetBoardInfos(&infos_X);
    if (infos_U32 != 0)
    {
        LogMessage(LOG_ERR, "::%s: failed, GetBoardInfos() returned 0x%x", __func__, infos_U32);
        return false;
    }
    const uint32_t type_U32 = static_cast<uint32_t>(infos_X.BoardType);
    switch (type_U32)
    {
    case SYS_CTL_BOARD_TYPE_ZEBX:
        LogMessage(LOG_INFO, "Detected ZEBX board");
        return true;
    case SYS_CTL_BOARD_TYPE_Q5K:
        // The double blank lines the model names up in the log; scripts match it as is.
        LogMessage(LOG_INFO, "Detected Q5K  board");
        return true;
    case SYS_CTL_BOARD_TYPE_Q5KP:
    case SYS_CTL_BOARD_TYPE_Q5KP_V:
        LogMessage(LOG_INFO, "Detected Q5KP board");
        return true;
    case SYS_CTL_BOARD_TYPE_Q7K:
        LogMessage(LOG_INFO, "Detected Q7K board");
        return true;
    default:
        LogMessage(LOG_ERR, "::%s: failed, unknown board type 0x%x", __func__, type_U32);
        return false;
    }
}

bool Sarvik::SettingsRead()
{
    LogMessage(LOG_INFO, "Reading settings...");
    if (mpDataHandler_O == nullptr)
    {
        LogMessage(LOG_ERR, "::%s: failed, no driver instance", __func__);
        return false;
    }
    const int error_S32 = mpDataHandler_O->Read(true);
    if (error_S32 != 0)
    {
        // A repaired copy (0x200 and above) fails too: the next run reads the healed record.
        LogMessage(LOG_ERR, "::%s: failed, received error 0x%x", __func__,
                   static_cast<unsigned int>(error_S32));
        return false;
    }
    return true;
}

bool Sarvik::Connect()
{
    mConnected_B = ResetQXKBoard();
    if (!mConnected_B)
    {
        LogMessage(LOG_ERR, "::%s: QXK board reset failed", __func__);
        return false;
    }
    mConnected_B = SettingsRead();
    if (!mConnected_B)
    {
        LogMessage(LOG_ERR, "::%s: failed to read settings", __func__);
        return false;
    }
    return true;
}

bool Sarvik::Disconnect()
{
    return true;
}

const char* Sarvik::GetSerialNumber() const
{
    if (!mConnected_B || mpDataHandler_O == nullptr)
    {
        return S_pEmpty_c;
    }
    return mpDataHandler_O->GetSerialNumber();
}

const char* Sarvik::GetChassis()
{
    if (!mConnected_B || mpDataHandler_O == nullptr)
    {
        return S_pEmpty_c;
    }
    const KV_CASE_TYPE code = static_cast<KV_CASE_TYPE>(mpDataHandler_O->GetCaseType());
    if (CKvFunctionality::S_GetChassisName(code, mpChassisName_c, sizeof(mpChassisName_c)))
    {
        return mpChassisName_c;
    }
    return S_pEmpty_c;
}
} // namespace Orx::Corvane
