#include "keyDriver.h"

#include "BofSystem.h"
#include "ComramDriverApi.h"

namespace
{
// Mailbox layout in the communication RAM (byte offsets).
constexpr uint32_t S_MBX_COMMAND_U32 = 0;
constexpr uint32_t S_MBX_HANDSHAKE_U32 = 1;
constexpr uint32_t S_MBX_DEVICE_U32 = 2;
constexpr uint32_t S_MBX_CHECKSUM_PRESENT_U32 = 3;
constexpr uint32_t S_MBX_WRITE_COUNT_U32 = 4;
constexpr uint32_t S_MBX_READ_COUNT_U32 = 6;
constexpr uint32_t S_MBX_CHECKSUM_U32 = 8;
constexpr uint32_t S_MBX_DATA_U32 = 16;
constexpr uint32_t S_MBX_DOORBELL_U32 = 32767;
constexpr uint32_t S_MBX_DATA_MAX_U32 = S_MBX_DOORBELL_U32 - S_MBX_DATA_U32;

constexpr uint8_t S_CMD_PRESENCE_U8 = 0x01;
constexpr uint8_t S_CMD_I2C_U8 = 0x90;
constexpr uint8_t S_HS_POSTED_U8 = 0x80;
constexpr uint8_t S_HS_BUSY_U8 = 0xFF;
constexpr uint8_t S_HS_REFUSED_U8 = 0x7F;

constexpr uint32_t S_PRESENCE_ROUNDS_U32 = 10;
constexpr uint32_t S_EXTRA_POLLS_U32 = 999;
constexpr uint32_t S_WRITE_CYCLE_POLLS_U32 = 10;

bool IsPending(uint8_t handshake_U8)
{
    return handshake_U8 == S_HS_POSTED_U8 || handshake_U8 == S_HS_BUSY_U8;
}

uint32_t BlockCheckSum(const uint8_t* pData_U8, uint32_t count_U32)
{
    uint32_t sum_U32 = 1;
    for (uint32_t i = 0; i < count_U32; i++)
    {
        sum_U32 += pData_U8[i];
    }
    return sum_U32;
}
} // namespace

keyDriver::keyDriver()
{
    _MMAP_COMRAM volatile* pComram_X = nullptr;
    ComramDriverApi::GetComramPointer(GL_PinguInterface_X[PINGU_COMRAM], 0, &pComram_X);
    if (pComram_X != nullptr)
    {
        mpComram_U8 = pComram_X->Byte_U8;
    }
}

keyDriver::~keyDriver() {}

void keyDriver::EnableCheckSum(int on)
{
    mCheckSumMode_S32 = on;
}

// Reads the handshake, then polls it with 1 ms sleeps while the request is pending. True when
// the micro-code answered; the last handshake read is returned either way.
bool keyDriver::WaitHandshake(uint32_t extraPolls_U32, uint8_t* pHandshake_U8)
{
    uint8_t handshake_U8 = mpComram_U8[S_MBX_HANDSHAKE_U32];
    for (uint32_t poll_U32 = 0; IsPending(handshake_U8) && poll_U32 < extraPolls_U32; poll_U32++)
    {
        Bof_Sleep(1);
        handshake_U8 = mpComram_U8[S_MBX_HANDSHAKE_U32];
    }
    *pHandshake_U8 = handshake_U8;
    return !IsPending(handshake_U8);
}

void keyDriver::StoreLastStatus(uint8_t handshake_U8)
{
    mLastStatus_U16 = static_cast<uint16_t>((mpComram_U8[S_MBX_COMMAND_U32] << 8) | handshake_U8);
}

// Multi-byte mailbox fields are written byte by byte: the board side sees every access.
void keyDriver::WriteLe(uint32_t offset_U32, uint32_t value_U32, uint32_t bytes_U32)
{
    for (uint32_t i = 0; i < bytes_U32; i++)
    {
        mpComram_U8[offset_U32 + i] = static_cast<uint8_t>(value_U32 >> (8 * i));
    }
}

uint32_t keyDriver::ReadLe32(uint32_t offset_U32) const
{
    uint32_t value_U32 = 0;
    for (uint32_t i = 0; i < 4; i++)
    {
        value_U32 |= static_cast<uint32_t>(mpComram_U8[offset_U32 + i]) << (8 * i);
    }
    return value_U32;
}

int keyDriver::detect()
{
    if (mDetected_B)
    {
        return 0;
    }
    // Without a mapped communication RAM there is nobody to ask.
    if (mpComram_U8 == nullptr)
    {
        return 1;
    }
    for (uint32_t round_U32 = 0; round_U32 < S_PRESENCE_ROUNDS_U32 && !mDetected_B; round_U32++)
    {
        mpComram_U8[S_MBX_COMMAND_U32] = S_CMD_PRESENCE_U8;
        mpComram_U8[S_MBX_HANDSHAKE_U32] = S_HS_POSTED_U8;
        mpComram_U8[S_MBX_CHECKSUM_PRESENT_U32] = 1;
        mpComram_U8[S_MBX_DOORBELL_U32] = 1;
        uint8_t handshake_U8 = 0;
        WaitHandshake(S_EXTRA_POLLS_U32, &handshake_U8);
        StoreLastStatus(handshake_U8);
        mDetected_B = handshake_U8 == 0;
    }
    return mDetected_B ? 0 : 1;
}

unsigned short keyDriver::I2CService(unsigned char device, unsigned short writeCount,
                                     unsigned char* writeData, unsigned short readCount,
                                     unsigned char* readData)
{
    if (!mDetected_B)
    {
        return S_STATUS_NO_UCODE;
    }
    // A request that does not fit the mailbox, or has no buffer for its bytes, is never posted.
    if (writeCount > S_MBX_DATA_MAX_U32 || readCount > S_MBX_DATA_MAX_U32 ||
        (writeCount != 0 && writeData == nullptr) || (readCount != 0 && readData == nullptr))
    {
        return S_STATUS_TOO_LARGE;
    }
    mpComram_U8[S_MBX_DEVICE_U32] = device;
    mpComram_U8[S_MBX_CHECKSUM_PRESENT_U32] = 0;
    WriteLe(S_MBX_WRITE_COUNT_U32, writeCount, 2);
    WriteLe(S_MBX_READ_COUNT_U32, readCount, 2);
    for (uint32_t i = 0; i < writeCount; i++)
    {
        mpComram_U8[S_MBX_DATA_U32 + i] = writeData[i];
    }
    if (mCheckSumMode_S32 != 0)
    {
        WriteLe(S_MBX_CHECKSUM_U32, BlockCheckSum(writeData, writeCount), 4);
    }

    Bof_Sleep(1);
    mpComram_U8[S_MBX_COMMAND_U32] = S_CMD_I2C_U8;
    mpComram_U8[S_MBX_HANDSHAKE_U32] = S_HS_POSTED_U8;
    if (mCheckSumMode_S32 != 0)
    {
        mpComram_U8[S_MBX_CHECKSUM_PRESENT_U32] = 1;
    }
    mpComram_U8[S_MBX_DOORBELL_U32] = 1;

    uint8_t handshake_U8 = 0;
    const bool answered_B = WaitHandshake(S_EXTRA_POLLS_U32, &handshake_U8);
    StoreLastStatus(handshake_U8);
    // A silent or refusing micro-code may have been restarted: probe it again next time.
    if (!answered_B || handshake_U8 == S_HS_REFUSED_U8)
    {
        mDetected_B = false;
        return S_STATUS_NO_UCODE;
    }
    if (handshake_U8 != 0)
    {
        return handshake_U8;
    }
    if (readCount == 0)
    {
        return S_STATUS_OK;
    }
    uint32_t sum_U32 = 1;
    for (uint32_t i = 0; i < readCount; i++)
    {
        readData[i] = mpComram_U8[S_MBX_DATA_U32 + i];
        sum_U32 += readData[i];
    }
    if (mCheckSumMode_S32 != 0 && sum_U32 != ReadLe32(S_MBX_CHECKSUM_U32))
    {
        return S_STATUS_BAD_CHECKSUM;
    }
    return S_STATUS_OK;
}

unsigned short keyDriver::EEPROMPoll()
{
    unsigned char pDummy_U8[1] = {0};
    unsigned short status_U16 = S_STATUS_OK;
    for (uint32_t try_U32 = 0; try_U32 < S_WRITE_CYCLE_POLLS_U32; try_U32++)
    {
        if (try_U32 != 0)
        {
            Bof_Sleep(1);
        }
        // An empty write only addresses the device: it acknowledges once its write cycle is over.
        status_U16 = I2CService(S_EEPROM_DEVICE, 0, pDummy_U8, 0, pDummy_U8);
        if (status_U16 != S_STATUS_NOT_ACKNOWLEDGED)
        {
            break;
        }
    }
    return status_U16;
}

unsigned short keyDriver::EEPROMRead(unsigned short address, unsigned short count, unsigned char* data)
{
    unsigned char pAddress_U8[2] = {static_cast<unsigned char>(address >> 8),
                                    static_cast<unsigned char>(address)};
    unsigned short status_U16 = I2CService(S_EEPROM_DEVICE, 2, pAddress_U8, count, data);
    if (status_U16 == S_STATUS_NOT_ACKNOWLEDGED)
    {
        const unsigned short poll_U16 = EEPROMPoll();
        if (poll_U16 != S_STATUS_OK)
        {
            return poll_U16;
        }
        status_U16 = I2CService(S_EEPROM_DEVICE, 2, pAddress_U8, count, data);
    }
    return status_U16;
}

unsigned short keyDriver::EEPROMWrite(unsigned short address, unsigned char count, unsigned char* data)
{
    if (count > S_EEPROM_PAGE_SIZE)
    {
        return S_STATUS_TOO_LARGE;
    }
    if (count != 0 && data == nullptr)
    {
        return S_STATUS_TOO_LARGE;
    }
    unsigned char pBlock_U8[2 + S_EEPROM_PAGE_SIZE];
    pBlock_U8[0] = static_cast<unsigned char>(address >> 8);
    pBlock_U8[1] = static_cast<unsigned char>(address);
    for (uint32_t i = 0; i < count; i++)
    {
        pBlock_U8[2 + i] = data[i];
    }
    const unsigned short blockSize_U16 = static_cast<unsigned short>(count + 2);
    // The EEPROM's own write cycle is not awaited: the next access finds it busy and polls.
    unsigned short status_U16 = I2CService(S_EEPROM_DEVICE, blockSize_U16, pBlock_U8, 0, nullptr);
    if (status_U16 == S_STATUS_NOT_ACKNOWLEDGED)
    {
        const unsigned short poll_U16 = EEPROMPoll();
        if (poll_U16 != S_STATUS_OK)
        {
            return poll_U16;
        }
        status_U16 = I2CService(S_EEPROM_DEVICE, blockSize_U16, pBlock_U8, 0, nullptr);
    }
    return status_U16;
}
