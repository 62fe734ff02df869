#include "CEepromDataHandler.h"

#include "BlockCheckSum.h"
#include "BofSystem.h"
#include "CSysLogServer.h"
#include "keyDriver.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{
constexpr uint32_t COPY_COUNT = 3;
// Copy c starts at page 169 * c + 4: the copies sit far apart so that one damaged area of the
// EEPROM cannot take two of them.
constexpr uint32_t COPY_STRIDE_PAGES = 169;
constexpr uint32_t COPY_FIRST_PAGE = 4;
constexpr uint32_t COPY_ATTEMPTS = 3;
constexpr uint32_t OLD_ATTEMPTS = 5;
constexpr uint32_t PAGE_RETRIES = 4;
constexpr uint32_t BUSY_SLEEP_MS = 20;
constexpr uint32_t OLD_KEPT_PAGES = sizeof(OLDSETTINGS) / EEPROM_PAGE_SIZE;
constexpr uint32_t OLD_SECOND_SPAN = 97;
constexpr uint32_t MODIFIED_FROM_OLD = 0x1;
constexpr unsigned short STATUS_EEPROM_BUSY = 3;

constexpr uint32_t LOG_CHANNEL = 224;
constexpr uint8_t LOG_CRITICITY = 1;
constexpr short LOG_SUB_ID = 1;
constexpr uint8_t LOG_CONTEXT = 1;

uint32_t RecordCheckSum(const SETTINGSFILE& record_X)
{
    return BlockCheckSum(reinterpret_cast<const uint8_t*>(&record_X), SETTINGS_CHECKSUM_SPAN);
}

uint8_t Sum8(const uint8_t* pByte_U8, uint32_t count_U32)
{
    uint8_t sum_U8 = 0;
    for (uint32_t i = 0; i < count_U32; i++)
    {
        sum_U8 = static_cast<uint8_t>(sum_U8 + pByte_U8[i]);
    }
    return sum_U8;
}
} // namespace

CEepromDataHandler::CEepromDataHandler(CSysLogServer* server)
    : mpKeyDriver_O(new keyDriver()), mpLogServer_O(server)
{
}

CEepromDataHandler::~CEepromDataHandler()
{
    delete mpKeyDriver_O;
}

void CEepromDataHandler::Log(const char* format, ...)
{
    if (mpLogServer_O == nullptr || format == nullptr)
    {
        return;
    }
    char pText_c[512];
    va_list args;
    va_start(args, format);
    vsnprintf(pText_c, sizeof(pText_c), format, args);
    va_end(args);
    // The finished text is handed on as the format, as every platform caller of the source does:
    // a '%' left in it is expanded once more.
    CSysLogServer::GetInstance().GetHostSource().LogMessage(LOG_CHANNEL, LOG_CRITICITY, 0, LOG_SUB_ID,
                                                            LOG_CONTEXT, pText_c);
}

void CEepromDataHandler::LogEepromData()
{
    if (mpLogServer_O == nullptr)
    {
        return;
    }
    char pSerial_c[sizeof(mSettings_X.SerialNumber_c) + 1] = {};
    char pUser_c[sizeof(mSettings_X.UserName_c) + 1] = {};
    memcpy(pSerial_c, mSettings_X.SerialNumber_c, sizeof(mSettings_X.SerialNumber_c));
    memcpy(pUser_c, mSettings_X.UserName_c, sizeof(mSettings_X.UserName_c));
    char pLine_c[160];
    int length_S32 = 0;

    Log("Signature     %d", mSettings_X.Signature_U16);
    Log("Last save     %d", static_cast<int>(mSettings_X.LastSave_U32));
    Log("Hardware ID   %d", static_cast<int>(mSettings_X.HardwareId_U32));
    length_S32 = snprintf(pLine_c, sizeof(pLine_c), "Serial number %s", pSerial_c);
    for (uint32_t i = 0; i < sizeof(mSettings_X.SerialNumber_c); i++)
    {
        length_S32 += snprintf(pLine_c + length_S32, sizeof(pLine_c) - length_S32, " %02X",
                               static_cast<uint8_t>(mSettings_X.SerialNumber_c[i]));
    }
    Log("%s", pLine_c);
    length_S32 = snprintf(pLine_c, sizeof(pLine_c), "User name     %s", pUser_c);
    for (uint32_t i = 0; i < sizeof(mSettings_X.UserName_c); i++)
    {
        length_S32 += snprintf(pLine_c + length_S32, sizeof(pLine_c) - length_S32, " %02X",
                               static_cast<uint8_t>(mSettings_X.UserName_c[i]));
    }
    Log("%s", pLine_c);
    Log("Chassis type  %d", mSettings_X.CaseType_U8);
    Log("PSU type      %d", mSettings_X.PsuType_U8);
}

// One page with its retries. Status 5 ends the copy at once; 3 and 4 (EEPROM busy, garbled
// reply) are retried after a pause, or taken as done when busy-retry is off.
unsigned short CEepromDataHandler::TransferPage(Direction direction, uint32_t page_U32, uint8_t* pData_U8,
                                                const char* pageFormat_c, uint32_t tag_U32,
                                                uint32_t index_U32)
{
    const unsigned short address_U16 = static_cast<unsigned short>(page_U32 * EEPROM_PAGE_SIZE);
    for (uint32_t retry_U32 = 0;; retry_U32++)
    {
        const unsigned short status_U16 =
            direction == Direction::READ
                ? mpKeyDriver_O->EEPROMRead(address_U16, EEPROM_PAGE_SIZE, pData_U8)
                : mpKeyDriver_O->EEPROMWrite(address_U16, EEPROM_PAGE_SIZE, pData_U8);
        if (status_U16 == keyDriver::S_STATUS_OK)
        {
            return status_U16;
        }
        Log(pageFormat_c, static_cast<int>(tag_U32), static_cast<int>(index_U32), status_U16);
        if (status_U16 == keyDriver::S_STATUS_NO_UCODE)
        {
            return status_U16;
        }
        const bool busy_B =
            status_U16 == STATUS_EEPROM_BUSY || status_U16 == keyDriver::S_STATUS_BAD_CHECKSUM;
        if (busy_B && !mBusyRetry_B)
        {
            return keyDriver::S_STATUS_OK;
        }
        if (retry_U32 == PAGE_RETRIES)
        {
            return status_U16;
        }
        if (busy_B)
        {
            Bof_Sleep(BUSY_SLEEP_MS);
        }
    }
}

// One attempt over the 20 pages of a record. Only the last page's status decides: a page that
// failed its retries earlier does not fail the attempt by itself.
unsigned short CEepromDataHandler::TransferPages(Direction direction, uint32_t firstPage_U32,
                                                 const PageBuffer& buffer, const char* pageFormat_c,
                                                 uint32_t tag_U32)
{
    unsigned short status_U16 = keyDriver::S_STATUS_OK;
    for (uint32_t page_U32 = 0; page_U32 < SETTINGS_PAGE_COUNT; page_U32++)
    {
        status_U16 = TransferPage(direction, firstPage_U32 + page_U32, buffer(page_U32), pageFormat_c,
                                  tag_U32, page_U32);
        if (status_U16 == keyDriver::S_STATUS_NO_UCODE)
        {
            break;
        }
    }
    return status_U16;
}

short CEepromDataHandler::TransferCopy(Direction direction, unsigned copy, uint8_t* pRecord_U8)
{
    const bool read_B = direction == Direction::READ;
    const char* pageFormat_c = read_B ? "<%d>Reading page %2.2d -> %02X" : "<%d>Writing page %2.2d -> %02X";
    const char* verb_c = read_B ? "Reading" : "Writing";
    const uint32_t firstPage_U32 = COPY_STRIDE_PAGES * copy + COPY_FIRST_PAGE;
    const PageBuffer buffer = [pRecord_U8](uint32_t page_U32)
    { return pRecord_U8 + page_U32 * EEPROM_PAGE_SIZE; };

    unsigned short status_U16 = keyDriver::S_STATUS_OK;
    for (uint32_t attempt_U32 = 0; attempt_U32 < COPY_ATTEMPTS; attempt_U32++)
    {
        status_U16 = TransferPages(direction, firstPage_U32, buffer, pageFormat_c, copy);
        if (status_U16 == keyDriver::S_STATUS_OK || status_U16 == keyDriver::S_STATUS_NO_UCODE)
        {
            break;
        }
    }
    if (status_U16 != keyDriver::S_STATUS_OK)
    {
        Log("%s copy %d failed -> %X", verb_c, copy, status_U16);
    }
    return static_cast<short>(status_U16);
}

short CEepromDataHandler::ReadCopy(unsigned copy, SETTINGSFILE* out)
{
    if (copy >= COPY_COUNT || out == nullptr || mpKeyDriver_O->detect() != 0)
    {
        Log("Reading copy %d ucode is not running (%04X)", copy, mpKeyDriver_O->GetLastStatus());
        return S_RESULT_NO_UCODE;
    }
    const short status_S16 = TransferCopy(Direction::READ, copy, reinterpret_cast<uint8_t*>(out));
    if (status_S16 != S_RESULT_OK)
    {
        return status_S16;
    }
    const uint32_t computed_U32 = RecordCheckSum(*out);
    if (computed_U32 != out->CheckSum_U32)
    {
        Log("Invalid checksum: read %d vs computed %d", static_cast<int>(out->CheckSum_U32),
            static_cast<int>(computed_U32));
        return S_RESULT_BAD_CHECKSUM;
    }
    Log("Reading copy %d success", copy);
    return S_RESULT_OK;
}

short CEepromDataHandler::WriteCopy(unsigned copy, SETTINGSFILE* in)
{
    if (copy >= COPY_COUNT || in == nullptr || mpKeyDriver_O->detect() != 0)
    {
        Log("Data not valid or ucode not running or incorrect copy number or null pointer");
        return S_RESULT_NO_UCODE;
    }
    const short status_S16 = TransferCopy(Direction::WRITE, copy, reinterpret_cast<uint8_t*>(in));
    if (status_S16 == S_RESULT_OK)
    {
        Log("Writing copy %d success", copy);
    }
    return status_S16;
}

short CEepromDataHandler::ReadOldCopy(OLDSETTINGS* out)
{
    if (out == nullptr || mpKeyDriver_O->detect() != 0)
    {
        Log("ucode is not running");
        return S_RESULT_NO_UCODE;
    }
    // The older layout is read as 20 pages like a current record, but only its first 320 bytes
    // are kept; the rest lands in the current record, which the conversion clears anyway.
    uint8_t* pOld_U8 = reinterpret_cast<uint8_t*>(out);
    uint8_t* pSpill_U8 = reinterpret_cast<uint8_t*>(&mSettings_X);
    const PageBuffer buffer = [pOld_U8, pSpill_U8](uint32_t page_U32)
    {
        return page_U32 < OLD_KEPT_PAGES ? pOld_U8 + page_U32 * EEPROM_PAGE_SIZE
                                         : pSpill_U8 + (page_U32 - OLD_KEPT_PAGES) * EEPROM_PAGE_SIZE;
    };
    unsigned short status_U16 = keyDriver::S_STATUS_OK;
    for (uint32_t attempt_U32 = 0; attempt_U32 < OLD_ATTEMPTS; attempt_U32++)
    {
        status_U16 =
            TransferPages(Direction::READ, 0, buffer, "<%d>(Old)Reading page %2.2d -> %02X", attempt_U32);
        if (status_U16 == keyDriver::S_STATUS_OK || status_U16 == keyDriver::S_STATUS_NO_UCODE)
        {
            break;
        }
    }
    if (status_U16 != keyDriver::S_STATUS_OK)
    {
        return static_cast<short>(status_U16);
    }
    const uint8_t computed_U8 = Sum8(pOld_U8, OLDSETTINGS_CHECKSUM_SPAN);
    if (computed_U8 == out->CheckSum_U8)
    {
        return S_RESULT_OK;
    }
    Log("Invalid checksum: read %d (at offset 1) vs computed %d", out->CheckSum_U8, computed_U8);
    // The second, shorter sum of the older tools was taken over the bytes that follow the kept
    // area, never over the record: it cannot rescue the record and is reported for the record only.
    const uint8_t second_U8 = Sum8(pSpill_U8, OLD_SECOND_SPAN);
    Log("Invalid checksum: read %d (at offset 2) vs computed %d", out->CheckSum_U8, second_U8);
    return S_RESULT_BAD_CHECKSUM;
}

void CEepromDataHandler::ConvertFromOldFormat(OLDSETTINGS* in, SETTINGSFILE* out)
{
    if (in == nullptr || out == nullptr)
    {
        return;
    }
    memset(out, 0, sizeof(*out));
    memcpy(out->UserName_c, in->UserName_c, sizeof(in->UserName_c));
    memcpy(out->SerialNumber_c, in->SerialNumber_c, sizeof(in->SerialNumber_c));
    out->PsuType_U8 = in->PsuType_U8;
    out->CaseType_U8 = in->CaseType_U8;
    out->HardwareId_U32 = in->HardwareId_U32;
    mModifiedFlags_U32 |= MODIFIED_FROM_OLD;
}

short CEepromDataHandler::Read(bool allowWrite)
{
    mValid_B = false;
    if (mpKeyDriver_O->detect() != 0)
    {
        return S_RESULT_NO_UCODE;
    }
    SETTINGSFILE pCopy_X[COPY_COUNT] = {};
    short pStatus_S16[COPY_COUNT] = {};
    for (uint32_t copy_U32 = 0; copy_U32 < COPY_COUNT; copy_U32++)
    {
        pStatus_S16[copy_U32] = ReadCopy(copy_U32, &pCopy_X[copy_U32]);
    }
    for (uint32_t copy_U32 = 0; copy_U32 < COPY_COUNT && !mValid_B; copy_U32++)
    {
        if (pStatus_S16[copy_U32] == S_RESULT_OK)
        {
            mSettings_X = pCopy_X[copy_U32];
            mValid_B = true;
        }
    }
    if (!mValid_B && ReadOldCopy(&mOldSettings_X) == S_RESULT_OK)
    {
        mValid_B = true;
        ConvertFromOldFormat(&mOldSettings_X, &mSettings_X);
    }
    if (!mValid_B)
    {
        memset(&mSettings_X, 0, sizeof(mSettings_X));
        memcpy(mSettings_X.UserName_c, "ORX", sizeof("ORX"));
        memcpy(mSettings_X.SerialNumber_c, "100000", sizeof("100000"));
        return S_RESULT_DEFAULTS;
    }
    LogEepromData();
    // One copy per call: a unit with several damaged copies heals over successive runs, and a
    // run that stops half-way never leaves two copies in flight.
    for (uint32_t copy_U32 = 0; copy_U32 < COPY_COUNT; copy_U32++)
    {
        if (pStatus_S16[copy_U32] != S_RESULT_OK)
        {
            return static_cast<short>(S_RESULT_REPAIRED + WriteCopy(copy_U32, &mSettings_X));
        }
    }
    return S_RESULT_OK;
}
