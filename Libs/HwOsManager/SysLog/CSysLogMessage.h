#pragma once
// One log record. Packed: the ring buffer carries exactly these bytes, and only the first
// HEADER_SIZE + text length of them.
#include "SysLogLimits.h"
#include <cstdint>

#pragma pack(push, 1)
class CSysLogMessage
{
public:
    static constexpr uint32_t HEADER_SIZE = 19;

    CSysLogMessage();
    void Init();
    void SetEmptyMessage();
    bool IsEmpty() const { return mTextLength_U8 == 0; }
    const char* GetText() const { return mpText_c; }
    uint32_t GetWireSize() const { return HEADER_SIZE + mTextLength_U8; }
    void MakeMessage(unsigned int channel, unsigned char criticity, unsigned int timeStamp, short errorCode,
                     short subId, unsigned char context, unsigned int sequence, char* text);

    uint32_t mChannel_U32;
    uint8_t mCriticity_U8;
    uint32_t mTimeStamp_U32;
    uint16_t mErrorCode_U16;
    int16_t mSubId_S16;
    uint8_t mContext_U8;
    uint32_t mSequence_U32;
    uint8_t mTextLength_U8;
    char mpText_c[SYSLOG_TEXT_SIZE];
};
#pragma pack(pop)

static_assert(sizeof(CSysLogMessage) == 219, "the record layout is shared with the ring buffer");
