#pragma once
// A handle on one channel of a source: formats a line and hands it to the source.
#include <cstdint>

class CSysLogSource;

class CSysLogChannel
{
public:
    CSysLogChannel() : mChannel_U32(0), mpSource(nullptr) {}
    CSysLogChannel(unsigned int channel, CSysLogSource* source) : mChannel_U32(channel), mpSource(source) {}

    void Attach(unsigned int channel, CSysLogSource* source);
    unsigned int GetChannel() const { return mChannel_U32; }
    void LogMessage(unsigned char criticity, short errorCode, short subId, unsigned char context,
                    const char* format, ...) __attribute__((format(printf, 6, 7)));

private:
    uint32_t mChannel_U32;
    CSysLogSource* mpSource;
};
