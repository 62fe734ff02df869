// CSysLogServer: construction steps, thresholds, file sizes and the file header.
#include "CString.h"
#include "CSysLogFile.h"
#include "CSysLogServer.h"
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <json/json.h>
#include <unistd.h>

namespace
{
constexpr uint32_t THRESHOLD_RECORD_SIZE = 7;
constexpr uint8_t THRESHOLD_NOT_CONFIGURED = 255;
constexpr uint32_t MAX_FILE_SIZE_LIMIT = 1073741824;

bool ParseChannel(const char* record, uint32_t* channel)
{
    uint32_t value_U32 = 0;
    for (uint32_t i_U32 = 0; i_U32 < 3; i_U32++)
    {
        if (record[i_U32] < '0' || record[i_U32] > '9')
        {
            return false;
        }
        value_U32 = value_U32 * 10 + static_cast<uint32_t>(record[i_U32] - '0');
    }
    *channel = value_U32;
    return true;
}
} // namespace

void CSysLogServer::Init()
{
    mMutex_O.lock();
    for (SSysLogSourceSlot& slot_X : mpSourceSlot_X)
    {
        for (uint32_t& link_U32 : slot_X.mpLink_U32)
        {
            link_U32 = SYSLOG_NOT_LINKED;
        }
    }
    for (SSysLogChannelEntry& entry_X : mpChannel_X)
    {
        entry_X.mReserved_U32 = 0;
    }
    for (CSysLogDestination*& pDestination : mpDestination)
    {
        pDestination = nullptr;
    }
    mMutex_O.unlock();

    AddSource(&mHostSource_O);
    InitThresholds();
    CreateChannelFiles();
    for (uint32_t channel_U32 = SYSLOG_FIRST_HOST_CHANNEL; channel_U32 <= SYSLOG_LAST_HOST_CHANNEL;
         channel_U32++)
    {
        CSysLogFile* pFile = mpChannel_X[channel_U32].mpFile;
        AddDestination(pFile);
        Link(0, channel_U32, pFile);
    }
    InitInfoKeys();
}

void CSysLogServer::CreateChannelFiles()
{
    for (uint32_t channel_U32 = SYSLOG_FIRST_HOST_CHANNEL; channel_U32 <= SYSLOG_LAST_HOST_CHANNEL;
         channel_U32++)
    {
        SSysLogChannelEntry& entry_X = mpChannel_X[channel_U32];
        delete entry_X.mpFile;
        entry_X.mpFile = new CSysLogFile(channel_U32, entry_X.mThreshold_U8.load(std::memory_order_relaxed),
                                         mpHeader_c, true, entry_X.mMaxFileSize_U32);
    }
}

void CSysLogServer::InitThresholds()
{
    for (uint32_t channel_U32 = SYSLOG_FIRST_HOST_CHANNEL; channel_U32 <= SYSLOG_LAST_HOST_CHANNEL;
         channel_U32++)
    {
        mpChannel_X[channel_U32].mThreshold_U8.store(THRESHOLD_NOT_CONFIGURED, std::memory_order_relaxed);
        mpChannel_X[channel_U32].mMaxFileSize_U32 = SYSLOG_DEFAULT_FILE_SIZE;
    }
    SetThresholdFrom(THRESHOLD_FILE);
    for (uint32_t channel_U32 = SYSLOG_FIRST_HOST_CHANNEL; channel_U32 <= SYSLOG_LAST_HOST_CHANNEL;
         channel_U32++)
    {
        if (mpChannel_X[channel_U32].mThreshold_U8.load(std::memory_order_relaxed) ==
            THRESHOLD_NOT_CONFIGURED)
        {
            mpChannel_X[channel_U32].mThreshold_U8.store(SYSLOG_CRITICAL, std::memory_order_relaxed);
        }
    }
    SetLogFilesSizeFrom(FILE_SIZE_FILE);
    CreateChannelFiles();
}

void CSysLogServer::SetThresholdFrom(const char* path)
{
    int fd_S32 = open(path, O_RDONLY);
    if (fd_S32 < 0)
    {
        return;
    }
    char pRecord_c[THRESHOLD_RECORD_SIZE];
    memset(pRecord_c, 0, sizeof(pRecord_c));
    while (read(fd_S32, pRecord_c, THRESHOLD_RECORD_SIZE) > 0)
    {
        uint32_t channel_U32;
        if (ParseChannel(pRecord_c, &channel_U32) && SysLog_IsHostChannel(channel_U32))
        {
            if (pRecord_c[3] == '*')
            {
                mSelectedChannel_U32 = channel_U32;
            }
            if (pRecord_c[4] >= '0' && pRecord_c[4] <= '3')
            {
                mpChannel_X[channel_U32].mThreshold_U8.store(static_cast<uint8_t>(pRecord_c[4] - '0'),
                                                             std::memory_order_relaxed);
            }
        }
        memset(pRecord_c, 0, sizeof(pRecord_c));
    }
    close(fd_S32);
}

void CSysLogServer::SaveThresholdConfig()
{
    unlink(THRESHOLD_FILE);
    int fd_S32 = open(THRESHOLD_FILE, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd_S32 < 0)
    {
        return;
    }
    // Micro-code channels are saved too but only host channels are read back: older tools edit
    // the micro-code records by hand.
    for (uint32_t channel_U32 = 0; channel_U32 <= SYSLOG_LAST_HOST_CHANNEL; channel_U32++)
    {
        if (channel_U32 >= SYSLOG_NB_UCODE_CHANNEL && channel_U32 < SYSLOG_FIRST_HOST_CHANNEL)
        {
            continue;
        }
        char pRecord_c[16];
        int length_S32 = snprintf(pRecord_c, sizeof(pRecord_c),
                                  channel_U32 == mSelectedChannel_U32 ? "%3.3d*%d\r\n" : "%3.3d-%d\r\n",
                                  static_cast<int>(channel_U32),
                                  static_cast<int>(mpChannel_X[channel_U32].mThreshold_U8.load()));
        if (write(fd_S32, pRecord_c, static_cast<size_t>(length_S32)) != length_S32)
        {
            break;
        }
    }
    close(fd_S32);
}

void CSysLogServer::SetLogFilesSizeFrom(const char* path)
{
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line))
    {
        Json::Reader reader;
        Json::Value root;
        if (!reader.parse(line, root) || !root.isObject() || !root["Channel"].isInt() ||
            !root["FileSize"].isInt())
        {
            continue;
        }
        int channel_S32 = root["Channel"].asInt();
        int size_S32 = root["FileSize"].asInt();
        bool knownChannel_B =
            channel_S32 >= 0 && (SysLog_IsHostChannel(static_cast<uint32_t>(channel_S32)) ||
                                 static_cast<uint32_t>(channel_S32) < SYSLOG_NB_UCODE_CHANNEL);
        if (knownChannel_B && static_cast<uint32_t>(size_S32) >= SYSLOG_DEFAULT_FILE_SIZE &&
            static_cast<uint32_t>(size_S32) < MAX_FILE_SIZE_LIMIT && size_S32 > 0)
        {
            mpChannel_X[channel_S32].mMaxFileSize_U32 = static_cast<uint32_t>(size_S32);
        }
    }
}

void CSysLogServer::SetLogFileHeader(unsigned int machine, const std::string& version,
                                     const std::string& hwEdition)
{
    // 37 leading dashes here against 40 in the built-in default: both are what the viewers expect.
    char pHeader_c[HEADER_SIZE];
    Orx::Corvane::CString::Format(pHeader_c, HEADER_SIZE - 1,
                                  "------------------------------------- ORX QUINTARVE --- Machine %-6u --- "
                                  "Corvane version %-14s --- HW "
                                  "Edition %-4s",
                                  machine, version.c_str(), hwEdition.c_str());
    mMutex_O.lock();
    if (strcmp(pHeader_c, mpHeader_c) != 0)
    {
        memcpy(mpHeader_c, pHeader_c, HEADER_SIZE);
        for (SSysLogChannelEntry& entry_X : mpChannel_X)
        {
            if (entry_X.mpFile != nullptr)
            {
                entry_X.mpFile->SetLogFileHeader(mpHeader_c);
            }
        }
    }
    mMutex_O.unlock();
}

unsigned char CSysLogServer::GetThreshold(unsigned int channel) const
{
    return channel < SYSLOG_NB_CHANNEL ? mpChannel_X[channel].mThreshold_U8.load(std::memory_order_relaxed)
                                       : 0;
}

bool CSysLogServer::CanIDisplayLogMessage(unsigned int channel, unsigned char criticity) const
{
    return AreLogsEnabled() && channel < SYSLOG_NB_CHANNEL && criticity != SYSLOG_NO_LOG &&
           criticity <= GetThreshold(channel);
}

void CSysLogServer::SetThreshold(unsigned int channel, unsigned char threshold)
{
    if (channel < SYSLOG_NB_CHANNEL)
    {
        mpChannel_X[channel].mThreshold_U8.store(threshold, std::memory_order_relaxed);
    }
}

unsigned int CSysLogServer::GetMaxFileSize(unsigned int channel) const
{
    return channel < SYSLOG_NB_CHANNEL ? mpChannel_X[channel].mMaxFileSize_U32 : 0;
}

const char* CSysLogServer::GetCriticityName(unsigned char criticity)
{
    static const char* const S_ppName_c[] = {"  No Log", "Critical", "  Normal", "   Debug"};
    return criticity <= SYSLOG_DEBUG ? S_ppName_c[criticity] : "";
}
