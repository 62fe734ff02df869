#pragma once
// Base of every log source: one channel handle per channel number. The base logs nothing and
// reads nothing; the micro-code source uses it as it is.
#include "CSysLogChannel.h"
#include "SysLogLimits.h"

class CSysLogMessage;

class CSysLogSource
{
public:
    CSysLogSource();
    virtual ~CSysLogSource();
    CSysLogSource(const CSysLogSource&) = delete;
    CSysLogSource& operator=(const CSysLogSource&) = delete;

    virtual void LogMessage(unsigned int channel, unsigned char criticity, short errorCode, short subId,
                            unsigned char context, const char* format, ...)
        __attribute__((format(printf, 7, 8)));
    // Pops the oldest message into `message` (empty when there is none); null discards it.
    virtual void ReadMessage(CSysLogMessage* message);
    // Occupancy in percent, 0..100.
    virtual unsigned int GiveLoad();

    CSysLogChannel* GetChannel(unsigned int channel);

private:
    CSysLogChannel mpChannel_O[SYSLOG_NB_CHANNEL];
};
