#pragma once
// One host channel's pair of files: a log file with every message and an error file with the
// messages that carry an error code. Opened on the first message, written unbuffered, rotated to a
// single backup past the channel's maximal size. Only the log server's worker (or a flush under
// the server mutex) writes: no lock of its own.
#include "CSysLogDestination.h"
#include "SysLogLimits.h"
#include <cstdint>

class CSysLogFile : public CSysLogDestination
{
public:
    static constexpr uint32_t PATH_SIZE = 128;
    static constexpr uint32_t NAME_SIZE = 23;
    static constexpr uint32_t DATE_TIME_SIZE = 20;
    static constexpr uint32_t LAST_TEXT_SIZE = 64;
    static constexpr uint32_t LOG_LINE_WIDTH = 239;
    static constexpr uint32_t ERROR_LINE_WIDTH = 244;
    static constexpr uint32_t LARGE_CHANNEL = 28;
    static constexpr uint32_t LARGE_CHANNEL_SIZE = 52428800;

    CSysLogFile(unsigned int channel, unsigned char threshold, char* header, bool stampTime,
                unsigned int maxSize);
    CSysLogFile(unsigned int channel, unsigned char threshold, char* header, bool stampTime);
    ~CSysLogFile() override;
    CSysLogFile(const CSysLogFile&) = delete;
    CSysLogFile& operator=(const CSysLogFile&) = delete;

    void InitChannelInfo(unsigned int channel, unsigned char threshold, unsigned int maxSize);
    void InitNames();
    bool Open(bool writeHeader);
    int WriteMessage(CSysLogMessage* message) override;
    void FirstLines(bool fresh, bool errorFile);
    void SetLogFileHeader(char* header);
    void SetDateTime(char* dateTime);
    void SetThreshold(unsigned char threshold) { mThreshold_U8 = threshold; }
    void DeleteFiles();
    void ExtractFiles();
    void Close();
    bool IsReadyForReceiving() const override;
    void Flush() override;

    bool IsOpened() const { return mOpened_B; }
    unsigned int GetMaxSize() const { return mMaxSize_U32; }
    unsigned int GetLogSize() const { return mLogSize_U32; }
    unsigned int GetErrorSize() const { return mErrorSize_U32; }
    unsigned int GetNbBackups() const { return mNbBackups_U32; }
    unsigned int GetNbMessages() const { return mNbMessages_U32; }
    const char* GetLastText() const { return mpLastText_c; }
    const char* GetChannelName() const { return mpChannelName_c; }
    const char* GetLogPath() const { return mpLogPath_c; }
    const char* GetLogBackupPath() const { return mpLogBackupPath_c; }
    const char* GetErrorPath() const { return mpErrorPath_c; }
    const char* GetErrorBackupPath() const { return mpErrorBackupPath_c; }
    const char* GetRawPath() const { return mpRawPath_c; }
    const char* GetExtractLogPath() const { return mpExtractLogPath_c; }
    const char* GetExtractErrorPath() const { return mpExtractErrorPath_c; }

private:
    struct SFileNames
    {
        const char* mpPath_c;
        const char* mpBackupPath_c;
        const char* mpKind_c;
    };

    int OpenOne(bool errorFile);
    void Backup(bool errorFile);
    void Rotate(bool errorFile);
    SFileNames Names(bool errorFile) const;
    void RefreshDateTime();
    void WriteHeaderLine(int fd, uint32_t width, const char* text, uint32_t* size);
    static void Notify(const char* format, const char* path);

    uint32_t mLastChannel_U32;
    uint32_t mNbMessages_U32;
    uint32_t mNbBytes_U32;
    uint32_t mNbBackups_U32;
    char mpLastText_c[LAST_TEXT_SIZE];
    bool mOpened_B;
    int mLogFd_S32;
    uint32_t mLogSize_U32;
    uint32_t mLogSinceFlush_U32;
    int mErrorFd_S32;
    uint32_t mErrorSize_U32;
    uint32_t mErrorSinceFlush_U32;
    char mpLogPath_c[PATH_SIZE];
    char mpLogBackupPath_c[PATH_SIZE];
    char mpErrorPath_c[PATH_SIZE];
    char mpErrorBackupPath_c[PATH_SIZE];
    char mpRawPath_c[PATH_SIZE];
    char mpExtractLogPath_c[PATH_SIZE];
    char mpExtractErrorPath_c[PATH_SIZE];
    char mpChannelName_c[NAME_SIZE];
    bool mUCodeChannel_B;
    bool mSpare_B;
    uint32_t mChannel_U32;
    uint8_t mThreshold_U8;
    uint32_t mMaxSize_U32;
    uint32_t mLastSequence_U32;
    char mpDateTime_c[DATE_TIME_SIZE];
    char* mpHeader_c;
    bool mStampTime_B;

    static uint32_t S_mLastFlushTime_U32;
};
