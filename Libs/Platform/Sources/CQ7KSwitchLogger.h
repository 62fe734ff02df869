#pragma once
// The board switch log: one session line per run of the tool, written by a CRealTimeLog.
#include "CRealTimeLog.h"

class CQ7KSwitchLogger
{
public:
    static constexpr const char* DEFAULT_PATH = "/mnt/APPS/data/log/QXK_Switch.log";

    // Opens the log for appending and queues the session line; without the log's directory
    // nothing is written and nothing is reported.
    explicit CQ7KSwitchLogger(const char* path = DEFAULT_PATH);

    CRealTimeLog& GetLog() { return mLog_O; }

private:
    CRealTimeLog mLog_O;
};
