#pragma once
// The unit's identity record: three checksummed copies in the codec board's EEPROM, an older
// single-copy layout as fallback, built-in defaults as last resort, and repair of a damaged copy.
#include "IdentityRecord.h"
#include <cstdint>
#include <functional>

class CSysLogServer;
class keyDriver;

class CEepromDataHandler
{
public:
    // Result codes of Read and of the copy transfers.
    static constexpr short S_RESULT_OK = 0;
    static constexpr short S_RESULT_NO_UCODE = 5;
    static constexpr short S_RESULT_BAD_CHECKSUM = 6;
    static constexpr short S_RESULT_DEFAULTS = 11;
    static constexpr short S_RESULT_REPAIRED = 0x200;

    explicit CEepromDataHandler(CSysLogServer* server);
    ~CEepromDataHandler();
    CEepromDataHandler(const CEepromDataHandler&) = delete;
    CEepromDataHandler& operator=(const CEepromDataHandler&) = delete;

    // A damaged copy is rewritten whatever allowWrite says: every caller of the tool allows it.
    short Read(bool allowWrite);
    short ReadCopy(unsigned copy, SETTINGSFILE* out);
    short WriteCopy(unsigned copy, SETTINGSFILE* in);
    short ReadOldCopy(OLDSETTINGS* out);
    void ConvertFromOldFormat(OLDSETTINGS* in, SETTINGSFILE* out);

    void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void LogEepromData();

    keyDriver* GetKeyDriver() const { return mpKeyDriver_O; }
    const SETTINGSFILE& GetSettings() const { return mSettings_X; }
    // The serial number in place: a full 9-character field runs on into the following bytes.
    const char* GetSerialNumber() const { return mSettings_X.SerialNumber_c; }
    uint8_t GetCaseType() const { return mSettings_X.CaseType_U8; }
    bool IsValid() const { return mValid_B; }
    uint32_t GetModifiedFlags() const { return mModifiedFlags_U32; }
    // When cleared, pages answered with status 3 or 4 are taken as read instead of retried.
    void SetBusyRetry(bool on) { mBusyRetry_B = on; }

private:
    // Where each 64-byte page of a transfer comes from or goes to.
    using PageBuffer = std::function<uint8_t*(uint32_t page_U32)>;
    enum class Direction
    {
        READ,
        WRITE
    };
    unsigned short TransferPages(Direction direction, uint32_t firstPage_U32, const PageBuffer& buffer,
                                 const char* pageFormat_c, uint32_t tag_U32);
    unsigned short TransferPage(Direction direction, uint32_t page_U32, uint8_t* pData_U8,
                                const char* pageFormat_c, uint32_t tag_U32, uint32_t index_U32);
    short TransferCopy(Direction direction, unsigned copy, uint8_t* pRecord_U8);

    keyDriver* mpKeyDriver_O = nullptr;
    CSysLogServer* mpLogServer_O = nullptr;
    OLDSETTINGS mOldSettings_X = {};
    SETTINGSFILE mSettings_X = {};
    // Kept right behind the record and always zero: it ends the serial number text when the
    // record itself holds no NUL after a full field.
    uint8_t mSpare_U8 = 0;
    uint32_t mModifiedFlags_U32 = 0;
    bool mValid_B = false;
    bool mBusyRetry_B = true;
};
