#pragma once
// Sizes and numbers shared by the log server, its sources and its files.
#include <cstdint>

constexpr uint32_t SYSLOG_NB_CHANNEL = 350;
constexpr uint32_t SYSLOG_NB_SOURCE = 2;
constexpr uint32_t SYSLOG_NB_DESTINATION = 350;
constexpr uint32_t SYSLOG_NOT_LINKED = SYSLOG_NB_DESTINATION;
constexpr uint32_t SYSLOG_FIRST_HOST_CHANNEL = 64;
constexpr uint32_t SYSLOG_LAST_HOST_CHANNEL = 277;
constexpr uint32_t SYSLOG_NB_UCODE_CHANNEL = 56;
constexpr uint32_t SYSLOG_TEXT_SIZE = 200;
constexpr uint32_t SYSLOG_DEFAULT_FILE_SIZE = 5242880;
constexpr uint32_t SYSLOG_MESSAGES_PER_PASS = 20;
constexpr uint32_t SYSLOG_PASS_PERIOD_MS = 20;

// Channels that the platform itself writes to.
constexpr uint32_t SYSLOG_CHANNEL_UCODE_GENERAL = 5;
constexpr uint32_t SYSLOG_CHANNEL_GENERAL = 65;
constexpr uint32_t SYSLOG_CHANNEL_ASSERT_VIEWER = 185;
constexpr uint32_t SYSLOG_CHANNEL_EEPROM = 224;

// Criticities: a threshold is the highest criticity still logged.
constexpr uint8_t SYSLOG_NO_LOG = 0;
constexpr uint8_t SYSLOG_CRITICAL = 1;
constexpr uint8_t SYSLOG_NORMAL = 2;
constexpr uint8_t SYSLOG_DEBUG = 3;

inline bool SysLog_IsHostChannel(uint32_t channel)
{
    return channel >= SYSLOG_FIRST_HOST_CHANNEL && channel <= SYSLOG_LAST_HOST_CHANNEL;
}
