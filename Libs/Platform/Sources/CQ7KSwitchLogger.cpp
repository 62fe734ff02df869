#include "CQ7KSwitchLogger.h"

CQ7KSwitchLogger::CQ7KSwitchLogger(const char* path)
{
    if (mLog_O.Open(path, "a+t") == 0)
    {
        mLog_O.Log(1, "-------------- New Session --------------\r\n");
    }
}
