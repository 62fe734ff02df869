#pragma once
// Layouts of the unit's identity record as stored in the codec board's EEPROM (little-endian).
#include "keyDriver.h"

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)
// Current record: 20 EEPROM pages, kept in three copies.
struct SETTINGSFILE
{
    uint32_t HardwareId_U32;
    uint8_t Reserved1_U8[3];
    uint8_t PsuType_U8;
    uint8_t CaseType_U8;    // KV_CASE_TYPE code
    char UserName_c[20];    // NUL-padded when shorter
    char SerialNumber_c[9]; // NUL-padded when shorter; a full field has no NUL
    uint8_t Reserved2_U8[4];
    uint32_t LastSave_U32;
    uint16_t Signature_U16;
    uint8_t Further_U8[1168];
    uint32_t CheckSum_U32; // 1 + sum of the bytes before it
    uint8_t Tail_U8[60];   // outside the checksum
};

// Older single-copy record at EEPROM address 0. Only its first 320 bytes are kept: no field
// beyond is used.
struct OLDSETTINGS
{
    uint8_t Head_U8[72];
    char UserName_c[19];
    uint8_t Reserved1_U8;
    char SerialNumber_c[8];
    uint8_t Reserved2_U8;
    uint8_t CheckSum_U8; // 8-bit sum of the bytes before it
    uint8_t Reserved3_U8[154];
    uint32_t HardwareId_U32;
    uint8_t Reserved4_U8[3];
    uint8_t PsuType_U8;
    uint8_t CaseType_U8;
    uint8_t Reserved5_U8[55];
};
#pragma pack(pop)

constexpr uint32_t EEPROM_PAGE_SIZE = keyDriver::S_EEPROM_PAGE_SIZE;
constexpr uint32_t SETTINGS_PAGE_COUNT = 20;
constexpr uint32_t SETTINGS_CHECKSUM_SPAN = 1216;
constexpr uint32_t OLDSETTINGS_CHECKSUM_SPAN = 101;

static_assert(sizeof(SETTINGSFILE) == SETTINGS_PAGE_COUNT * EEPROM_PAGE_SIZE, "record is 20 pages");
static_assert(offsetof(SETTINGSFILE, PsuType_U8) == 7, "PSU type offset");
static_assert(offsetof(SETTINGSFILE, CaseType_U8) == 8, "case type offset");
static_assert(offsetof(SETTINGSFILE, UserName_c) == 9, "user name offset");
static_assert(offsetof(SETTINGSFILE, SerialNumber_c) == 29, "serial number offset");
static_assert(offsetof(SETTINGSFILE, LastSave_U32) == 42, "last save offset");
static_assert(offsetof(SETTINGSFILE, Signature_U16) == 46, "signature offset");
static_assert(offsetof(SETTINGSFILE, CheckSum_U32) == SETTINGS_CHECKSUM_SPAN, "checksum offset");
static_assert(offsetof(SETTINGSFILE, Tail_U8) == 1220, "tail offset");

static_assert(sizeof(OLDSETTINGS) == 320, "kept part of the older record");
static_assert(offsetof(OLDSETTINGS, UserName_c) == 72, "old user name offset");
static_assert(offsetof(OLDSETTINGS, SerialNumber_c) == 92, "old serial number offset");
static_assert(offsetof(OLDSETTINGS, CheckSum_U8) == OLDSETTINGS_CHECKSUM_SPAN, "old checksum offset");
static_assert(offsetof(OLDSETTINGS, HardwareId_U32) == 256, "old hardware ID offset");
static_assert(offsetof(OLDSETTINGS, PsuType_U8) == 263, "old PSU type offset");
static_assert(offsetof(OLDSETTINGS, CaseType_U8) == 264, "old case type offset");
