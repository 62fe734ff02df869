// CSysLogFile: message lines, header lines and rotation.
#include "CString.h"
#include "CSysLogFile.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include <cstring>
#include <ctime>
#include <unistd.h>

using Orx::Corvane::CString;

namespace
{
constexpr uint32_t LOG_LINE_SIZE = 242;
constexpr uint32_t ERROR_LINE_SIZE = 247;
constexpr const char* LOST_LINE = "---------- Log message lost ----------\r\n";

const char* CriticityLetter(uint8_t criticity)
{
    switch (criticity)
    {
    case SYSLOG_CRITICAL:
        return "C";
    case SYSLOG_NORMAL:
        return "N";
    case SYSLOG_DEBUG:
        return "D";
    default:
        return "";
    }
}

const char* ThresholdName(uint8_t threshold)
{
    static const char* const S_ppName_c[] = {"No Log", "Critical", "Normal", "Debug"};
    return threshold <= SYSLOG_DEBUG ? S_ppName_c[threshold] : "";
}

// A failed write counts for nothing: with an unwritable log folder the sizes stay 0, so a lost
// message can never start a rotation (whose notices would fail and rotate in turn).
uint32_t WrittenBytes(ssize_t written)
{
    return written > 0 ? static_cast<uint32_t>(written) : 0;
}

bool LocalNow(struct tm* now)
{
    time_t seconds = time(nullptr);
    return localtime_r(&seconds, now) != nullptr;
}
} // namespace

void CSysLogFile::RefreshDateTime()
{
    struct tm now_X = {};
    LocalNow(&now_X);
    CString::Format(mpDateTime_c, DATE_TIME_SIZE - 1, "%02d/%02d/%02d|%02d:%02d:%02d", now_X.tm_mday,
                    now_X.tm_mon + 1, now_X.tm_year % 100, now_X.tm_hour, now_X.tm_min, now_X.tm_sec);
}

void CSysLogFile::SetDateTime(char* dateTime)
{
    memcpy(mpDateTime_c, dateTime, DATE_TIME_SIZE);
    mpDateTime_c[DATE_TIME_SIZE - 1] = '\0';
}

int CSysLogFile::WriteMessage(CSysLogMessage* message)
{
    if (!mOpened_B)
    {
        mOpened_B = Open(true);
        if (!mOpened_B)
        {
            CSysLogServer::GetInstance().GetHostSource().LogMessage(
                SYSLOG_CHANNEL_ASSERT_VIEWER, SYSLOG_CRITICAL, 0, 1, 1, "%s (%s - line %d)",
                "HwOsManager/SysLog/SysLogFile", "WriteMessage", 222);
        }
    }
    if (mStampTime_B)
    {
        RefreshDateTime();
    }
    if (message->mTextLength_U8 == 0)
    {
        return 0;
    }
    mLastChannel_U32 = message->mChannel_U32;
    // A gap in the channel's sequence numbers means the ring dropped messages to make room.
    if (mLastSequence_U32 != UINT32_MAX && message->mSequence_U32 != mLastSequence_U32 + 1)
    {
        ssize_t written_S = write(mLogFd_S32, LOST_LINE, strlen(LOST_LINE));
        mLogSize_U32 += WrittenBytes(written_S);
        mLogSinceFlush_U32 += WrittenBytes(written_S);
    }
    mLastSequence_U32 = message->mSequence_U32;

    char pLine_c[ERROR_LINE_SIZE];
    int length_S32 = CString::Format(pLine_c, LOG_LINE_SIZE - 1, "%17s|%8.8X|%s|%6d|%2X|%s\r\n", mpDateTime_c,
                                     message->mTimeStamp_U32, CriticityLetter(message->mCriticity_U8),
                                     static_cast<int>(message->mSubId_S16),
                                     static_cast<unsigned int>(message->mContext_U8), message->mpText_c);
    ssize_t written_S = write(mLogFd_S32, pLine_c, length_S32 > 0 ? length_S32 : 0);
    size_t lastLength = strnlen(message->mpText_c, LAST_TEXT_SIZE - 1);
    memcpy(mpLastText_c, message->mpText_c, lastLength);
    mpLastText_c[lastLength] = '\0';
    mLogSize_U32 += WrittenBytes(written_S);
    mLogSinceFlush_U32 += WrittenBytes(written_S);
    mNbBytes_U32 += WrittenBytes(written_S);
    mNbMessages_U32++;

    if (message->mErrorCode_U16 != 0)
    {
        length_S32 = CString::Format(
            pLine_c, ERROR_LINE_SIZE - 1, "%17s|%8.8X|%s|%6d|%2X|%4.4X|%s\r\n", mpDateTime_c,
            message->mTimeStamp_U32, CriticityLetter(message->mCriticity_U8),
            static_cast<int>(message->mSubId_S16), static_cast<unsigned int>(message->mContext_U8),
            static_cast<unsigned int>(message->mErrorCode_U16), message->mpText_c);
        written_S = write(mErrorFd_S32, pLine_c, length_S32 > 0 ? length_S32 : 0);
        mErrorSize_U32 += WrittenBytes(written_S);
        mErrorSinceFlush_U32 += WrittenBytes(written_S);
    }

    if (mLogSize_U32 > mMaxSize_U32)
    {
        Rotate(false);
    }
    if (mErrorSize_U32 > mMaxSize_U32)
    {
        Rotate(true);
    }
    return message->mTextLength_U8;
}

void CSysLogFile::Rotate(bool errorFile)
{
    SFileNames names_X = Names(errorFile);
    Notify(errorFile ? "--- Backuping error file %s ---" : "--- Backuping log file %s ---", names_X.mpPath_c);
    Backup(errorFile);
    if ((errorFile ? mErrorFd_S32 : mLogFd_S32) != 0)
    {
        FirstLines(false, errorFile);
    }
    Notify("--- Backup %s done    ---", names_X.mpBackupPath_c);
}

void CSysLogFile::WriteHeaderLine(int fd, uint32_t width, const char* text, uint32_t* size)
{
    char pLine_c[ERROR_LINE_WIDTH + 2];
    memset(pLine_c, '-', width);
    size_t length = text != nullptr ? strnlen(text, width) : 0;
    memcpy(pLine_c, text, length);
    pLine_c[width] = '\r';
    pLine_c[width + 1] = '\n';
    ssize_t written_S = write(fd, pLine_c, width + 2);
    *size += WrittenBytes(written_S);
}

void CSysLogFile::FirstLines(bool fresh, bool errorFile)
{
    int fd_S32 = errorFile ? mErrorFd_S32 : mLogFd_S32;
    if (fd_S32 == 0)
    {
        return;
    }
    uint32_t width_U32 = errorFile ? ERROR_LINE_WIDTH : LOG_LINE_WIDTH;
    uint32_t* pSize_U32 = errorFile ? &mErrorSize_U32 : &mLogSize_U32;

    struct tm now_X = {};
    LocalNow(&now_X);
    char pDate_c[DATE_TIME_SIZE + 4];
    CString::Format(pDate_c, sizeof(pDate_c) - 1, "%02d/%02d/%02d - %02d:%02d:%02d", now_X.tm_mday,
                    now_X.tm_mon + 1, now_X.tm_year % 100, now_X.tm_hour, now_X.tm_min, now_X.tm_sec);
    char pText_c[ERROR_LINE_WIDTH + 1];

    WriteHeaderLine(fd_S32, width_U32, "", pSize_U32);
    CString::Format(pText_c, width_U32, "%s --- %19s ---", mpHeader_c != nullptr ? mpHeader_c : "", pDate_c);
    WriteHeaderLine(fd_S32, width_U32, pText_c, pSize_U32);
    const char* pTitle_c;
    if (fresh)
    {
        pTitle_c = errorFile ? "---------------------------------------- Error log file (.err) "
                             : "---------------------------------------- Log file (.log) ";
    }
    else
    {
        pTitle_c = errorFile
                       ? "---------------------------------------- Error log file sequel - see backup file "
                         "for more information ---"
                       : "---------------------------------------- Log file sequel - see backup file for "
                         "more information ---";
    }
    WriteHeaderLine(fd_S32, width_U32, pTitle_c, pSize_U32);
    CString::Format(
        pText_c, width_U32,
        "---------------------------------------- Source: %s - Channel: %s - Criticity threshold: %s ---",
        mUCodeChannel_B ? "uCode" : "Corvane", mpChannelName_c, ThresholdName(mThreshold_U8));
    WriteHeaderLine(fd_S32, width_U32, pText_c, pSize_U32);
    WriteHeaderLine(fd_S32, width_U32, "", pSize_U32);
}

void CSysLogFile::SetLogFileHeader(char* header)
{
    // The server rewrites its header text in place and hands the same pointer again, so the
    // same pointer means the text changed.
    bool changed_B =
        header == mpHeader_c || header == nullptr || mpHeader_c == nullptr || strcmp(header, mpHeader_c) != 0;
    if (!changed_B)
    {
        return;
    }
    mpHeader_c = header;
    if (mOpened_B)
    {
        FirstLines(true, false);
        FirstLines(true, true);
    }
}
