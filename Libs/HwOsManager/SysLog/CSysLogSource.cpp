#include "CSysLogSource.h"
#include "CSysLogMessage.h"

CSysLogSource::CSysLogSource()
{
    for (uint32_t i_U32 = 0; i_U32 < SYSLOG_NB_CHANNEL; i_U32++)
    {
        mpChannel_O[i_U32].Attach(i_U32, this);
    }
}

CSysLogSource::~CSysLogSource() = default;

void CSysLogSource::LogMessage(unsigned int, unsigned char, short, short, unsigned char, const char*, ...) {}

void CSysLogSource::ReadMessage(CSysLogMessage* message)
{
    if (message != nullptr)
    {
        message->Init();
    }
}

unsigned int CSysLogSource::GiveLoad()
{
    return 0;
}

CSysLogChannel* CSysLogSource::GetChannel(unsigned int channel)
{
    return channel < SYSLOG_NB_CHANNEL ? &mpChannel_O[channel] : nullptr;
}
