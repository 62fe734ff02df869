#include "CSysLogFile.h"
#include "BofSystem.h"
#include "CSysLogServer.h"
#include "SysLogChannelNames.h"
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <mutex>
#include <unistd.h>

uint32_t CSysLogFile::S_mLastFlushTime_U32 = 0;

namespace
{
std::once_flag S_LastFlushTimeOnce_X;
} // namespace

CSysLogFile::CSysLogFile(unsigned int channel, unsigned char threshold, char* header, bool stampTime,
                         unsigned int maxSize)
    : mLastChannel_U32(0), mNbMessages_U32(0), mNbBytes_U32(0), mNbBackups_U32(0), mpLastText_c{},
      mOpened_B(false), mLogFd_S32(-1), mLogSize_U32(0), mLogSinceFlush_U32(0), mErrorFd_S32(-1),
      mErrorSize_U32(0), mErrorSinceFlush_U32(0), mpLogPath_c{}, mpLogBackupPath_c{}, mpErrorPath_c{},
      mpErrorBackupPath_c{}, mpRawPath_c{}, mpExtractLogPath_c{}, mpExtractErrorPath_c{}, mpChannelName_c{},
      mUCodeChannel_B(false), mSpare_B(false), mChannel_U32(0), mThreshold_U8(0), mMaxSize_U32(0),
      mLastSequence_U32(UINT32_MAX), mpDateTime_c{}, mpHeader_c(header), mStampTime_B(stampTime)
{
    std::call_once(S_LastFlushTimeOnce_X, [] { S_mLastFlushTime_U32 = Bof_GetTickCount(); });
    InitChannelInfo(channel, threshold, maxSize);
    InitNames();
    RefreshDateTime();
}

CSysLogFile::CSysLogFile(unsigned int channel, unsigned char threshold, char* header, bool stampTime)
    : CSysLogFile(channel, threshold, header, stampTime, SYSLOG_DEFAULT_FILE_SIZE)
{
}

CSysLogFile::~CSysLogFile()
{
    Close();
}

void CSysLogFile::InitChannelInfo(unsigned int channel, unsigned char threshold, unsigned int maxSize)
{
    mChannel_U32 = channel;
    mThreshold_U8 = threshold;
    // This channel's traffic is far above the others': it always gets the large size.
    mMaxSize_U32 = channel == LARGE_CHANNEL ? LARGE_CHANNEL_SIZE : maxSize;
    mUCodeChannel_B = channel < SYSLOG_FIRST_HOST_CHANNEL;
    snprintf(mpChannelName_c, sizeof(mpChannelName_c), "%s", SysLog_GetChannelName(channel));
}

void CSysLogFile::InitNames()
{
    const char* pDir_c = CSysLogServer::LOG_DIRECTORY;
    const char* pName_c = mpChannelName_c;
    snprintf(mpLogPath_c, PATH_SIZE, "%s%s.log", pDir_c, pName_c);
    snprintf(mpLogBackupPath_c, PATH_SIZE, "%s%s.bak", pDir_c, pName_c);
    snprintf(mpErrorPath_c, PATH_SIZE, "%s%s.err", pDir_c, pName_c);
    snprintf(mpErrorBackupPath_c, PATH_SIZE, "%s%s.err.bak", pDir_c, pName_c);
    // No dot before "raw": the raw dumps have always been named this way.
    snprintf(mpRawPath_c, PATH_SIZE, "%s%sraw.log", pDir_c, pName_c);
    snprintf(mpExtractLogPath_c, PATH_SIZE, "%s_%s.log", pDir_c, pName_c);
    snprintf(mpExtractErrorPath_c, PATH_SIZE, "%s_%s.err", pDir_c, pName_c);
}

CSysLogFile::SFileNames CSysLogFile::Names(bool errorFile) const
{
    if (errorFile)
    {
        return {mpErrorPath_c, mpErrorBackupPath_c, "error"};
    }
    return {mpLogPath_c, mpLogBackupPath_c, "log"};
}

void CSysLogFile::Notify(const char* format, const char* path)
{
    // Error code 1 sends the notices to the general channel's error file as well.
    CSysLogServer::GetInstance().GetHostSource().LogMessage(SYSLOG_CHANNEL_GENERAL, SYSLOG_CRITICAL, 1, 0, 0,
                                                            format, path);
}

int CSysLogFile::OpenOne(bool errorFile)
{
    SFileNames names_X = Names(errorFile);
    uint32_t& size_U32 = errorFile ? mErrorSize_U32 : mLogSize_U32;
    size_U32 = 0;
    int fd_S32 = open(names_X.mpPath_c, O_WRONLY | O_CREAT | O_EXCL | O_APPEND, 0666);
    if (fd_S32 >= 0)
    {
        return fd_S32;
    }
    fd_S32 = open(names_X.mpPath_c, O_WRONLY | O_APPEND);
    if (fd_S32 < 0)
    {
        return fd_S32;
    }
    off_t end_S64 = lseek(fd_S32, 0, SEEK_END);
    size_U32 = end_S64 > 0 ? static_cast<uint32_t>(end_S64) : 0;
    if (end_S64 > static_cast<off_t>(mMaxSize_U32))
    {
        Notify(errorFile ? "--- Backuping error file %s (Open)---" : "--- Backuping log file %s (Open) ---",
               names_X.mpPath_c);
        (errorFile ? mErrorFd_S32 : mLogFd_S32) = fd_S32;
        Backup(errorFile);
        fd_S32 = errorFile ? mErrorFd_S32 : mLogFd_S32;
        Notify("--- Backup %s done    ---", names_X.mpBackupPath_c);
    }
    return fd_S32;
}

void CSysLogFile::Backup(bool errorFile)
{
    SFileNames names_X = Names(errorFile);
    int& fd_S32 = errorFile ? mErrorFd_S32 : mLogFd_S32;
    if (fd_S32 >= 0)
    {
        close(fd_S32);
    }
    unlink(names_X.mpBackupPath_c);
    rename(names_X.mpPath_c, names_X.mpBackupPath_c);
    fd_S32 = open(names_X.mpPath_c, O_WRONLY | O_CREAT | O_APPEND, 0666);
    (errorFile ? mErrorSize_U32 : mLogSize_U32) = 0;
    mNbBackups_U32++;
}

bool CSysLogFile::Open(bool writeHeader)
{
    mLogFd_S32 = OpenOne(false);
    mErrorFd_S32 = OpenOne(true);
    // Descriptors are tested against 0, not -1: a failed open counts as open and its writes
    // fail without effect, which is how a missing log directory stays silent.
    if (writeHeader)
    {
        if (mLogFd_S32 != 0)
        {
            FirstLines(true, false);
        }
        if (mErrorFd_S32 != 0)
        {
            FirstLines(true, true);
        }
    }
    return mLogFd_S32 != 0;
}

void CSysLogFile::Close()
{
    if (mLogFd_S32 >= 0)
    {
        close(mLogFd_S32);
    }
    if (mErrorFd_S32 >= 0)
    {
        close(mErrorFd_S32);
    }
    mLogFd_S32 = -1;
    mErrorFd_S32 = -1;
}

void CSysLogFile::DeleteFiles()
{
    Close();
    unlink(mpLogPath_c);
    unlink(mpLogBackupPath_c);
    unlink(mpErrorPath_c);
    unlink(mpErrorBackupPath_c);
    unlink(mpExtractLogPath_c);
    unlink(mpExtractErrorPath_c);
    mOpened_B = false;
}

void CSysLogFile::ExtractFiles()
{
    // One file per kind with the backup's content followed by the current file's.
    const char* ppSources_c[2][2] = {{mpLogBackupPath_c, mpLogPath_c}, {mpErrorBackupPath_c, mpErrorPath_c}};
    const char* ppTargets_c[2] = {mpExtractLogPath_c, mpExtractErrorPath_c};
    for (uint32_t i_U32 = 0; i_U32 < 2; i_U32++)
    {
        std::ofstream out(ppTargets_c[i_U32], std::ios::binary | std::ios::trunc);
        for (const char* pSource_c : ppSources_c[i_U32])
        {
            std::ifstream in(pSource_c, std::ios::binary);
            if (in)
            {
                out << in.rdbuf();
            }
        }
    }
}

bool CSysLogFile::IsReadyForReceiving() const
{
    return mLogFd_S32 != 0 || !mOpened_B;
}

void CSysLogFile::Flush()
{
    // Writes are unbuffered: only the statistics restart.
    mLogSinceFlush_U32 = 0;
    mErrorSinceFlush_U32 = 0;
}
