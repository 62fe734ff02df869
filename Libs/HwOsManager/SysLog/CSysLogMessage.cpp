#include "CSysLogMessage.h"
#include "CString.h"
#include <cstring>

CSysLogMessage::CSysLogMessage()
{
    Init();
}

void CSysLogMessage::Init()
{
    memset(static_cast<void*>(this), 0, sizeof(*this));
}

void CSysLogMessage::SetEmptyMessage()
{
    mTextLength_U8 = 0;
    mpText_c[0] = '\0';
}

void CSysLogMessage::MakeMessage(unsigned int channel, unsigned char criticity, unsigned int timeStamp,
                                 short errorCode, short subId, unsigned char context, unsigned int sequence,
                                 char* text)
{
    mChannel_U32 = channel;
    mCriticity_U8 = criticity;
    mTimeStamp_U32 = timeStamp;
    mErrorCode_U16 = static_cast<uint16_t>(errorCode);
    mSubId_S16 = subId;
    mContext_U8 = context;
    mSequence_U32 = sequence;
    // The text is used as a format once more, so a '%' left in it is expanded again: callers of
    // the platform rely on this second expansion.
    int length_S32 = Orx::Corvane::CString::Format(mpText_c, SYSLOG_TEXT_SIZE - 1, text);
    if (length_S32 < 0)
    {
        length_S32 = 0;
        mpText_c[0] = '\0';
    }
    // Every file line gets its own CR LF: a trailing one is dropped (the LF stays behind the NUL).
    if (length_S32 >= 2 && mpText_c[length_S32 - 2] == '\r' && mpText_c[length_S32 - 1] == '\n')
    {
        mpText_c[length_S32 - 2] = '\0';
        length_S32 -= 2;
    }
    mTextLength_U8 = static_cast<uint8_t>(length_S32);
}
