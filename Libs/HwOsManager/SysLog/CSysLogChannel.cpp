#include "CSysLogChannel.h"
#include "CSysLogSource.h"
#include "SysLogLimits.h"
#include <cstdarg>
#include <cstdio>

void CSysLogChannel::Attach(unsigned int channel, CSysLogSource* source)
{
    mChannel_U32 = channel;
    mpSource = source;
}

void CSysLogChannel::LogMessage(unsigned char criticity, short errorCode, short subId, unsigned char context,
                                const char* format, ...)
{
    if (mpSource == nullptr)
    {
        return;
    }
    char pText_c[SYSLOG_TEXT_SIZE];
    va_list args;
    va_start(args, format);
    vsnprintf(pText_c, sizeof(pText_c), format, args);
    va_end(args);
    mpSource->LogMessage(mChannel_U32, criticity, errorCode, subId, context, pText_c);
}
