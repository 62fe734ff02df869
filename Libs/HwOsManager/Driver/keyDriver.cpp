#include "keyDriver.h"

#include "BlockCheckSum.h"
#include "BofSystem.h"
#include "ComramCommandZone.h"
#include "ComramDriverApi.h"

using namespace CommandZone;

namespace
{
// Room for data between the data area and the doorbell.
constexpr uint32_t MAILBOX_DATA_MAX = OFFSET_DOORBELL - OFFSET_I2C_DATA;

constexpr uint32_t PRESENCE_ROUNDS = 10;
constexpr uint32_t EXTRA_POLLS = 999;
constexpr uint32_t WRITE_CYCLE_POLLS = 10;

bool IsPending(uint8_t handshake_U8)
{
    return handshake_U8 == STATUS_PENDING || handshake_U8 == STATUS_FLOATING;
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
    uint8_t handshake_U8 = mpComram_U8[OFFSET_STATUS];
    for (uint32_t poll_U32 = 0; IsPending(handshake_U8) && poll_U32 < extraPolls_U32; poll_U32++)
    {
        Bof_Sleep(1);
        handshake_U8 = mpComram_U8[OFFSET_STATUS];
    }
    *pHandshake_U8 = handshake_U8;
    return !IsPending(handshake_U8);
}

void keyDriver::StoreLastStatus(uint8_t handshake_U8)
{
    mLastStatus_U16 = static_cast<uint16_t>((mpComram_U8[OFFSET_OPCODE] << 8) | handshake_U8);
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
    for (uint32_t round_U32 = 0; round_U32 < PRESENCE_ROUNDS && !mDetected_B; round_U32++)
    {
        mpComram_U8[OFFSET_OPCODE] = OPCODE_PRESENCE;
        mpComram_U8[OFFSET_STATUS] = STATUS_PENDING;
        mpComram_U8[OFFSET_INTERFACE0_FLAG] = 1;
        mpComram_U8[OFFSET_DOORBELL] = 1;
        uint8_t handshake_U8 = 0;
        WaitHandshake(EXTRA_POLLS, &handshake_U8);
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
    if (writeCount > MAILBOX_DATA_MAX || readCount > MAILBOX_DATA_MAX ||
        (writeCount != 0 && writeData == nullptr) || (readCount != 0 && readData == nullptr))
    {
        return S_STATUS_TOO_LARGE;
    }
    mpComram_U8[OFFSET_ADDRESS] = device;
    mpComram_U8[OFFSET_INTERFACE0_FLAG] = 0;
    WriteLittleEndian(mpComram_U8, OFFSET_I2C_WRITE_COUNT, writeCount, 2);
    WriteLittleEndian(mpComram_U8, OFFSET_I2C_READ_COUNT, readCount, 2);
    for (uint32_t i = 0; i < writeCount; i++)
    {
        mpComram_U8[OFFSET_I2C_DATA + i] = writeData[i];
    }
    if (mCheckSumMode_S32 != 0)
    {
        WriteLittleEndian(mpComram_U8, OFFSET_I2C_CHECKSUM, BlockCheckSum(writeData, writeCount), 4);
    }

    Bof_Sleep(1);
    mpComram_U8[OFFSET_OPCODE] = OPCODE_I2C_SERVICE;
    mpComram_U8[OFFSET_STATUS] = STATUS_PENDING;
    if (mCheckSumMode_S32 != 0)
    {
        mpComram_U8[OFFSET_INTERFACE0_FLAG] = 1;
    }
    mpComram_U8[OFFSET_DOORBELL] = 1;

    uint8_t handshake_U8 = 0;
    const bool answered_B = WaitHandshake(EXTRA_POLLS, &handshake_U8);
    StoreLastStatus(handshake_U8);
    // A silent or refusing micro-code may have been restarted: probe it again next time.
    if (!answered_B || handshake_U8 == STATUS_REFUSED)
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
    for (uint32_t i = 0; i < readCount; i++)
    {
        readData[i] = mpComram_U8[OFFSET_I2C_DATA + i];
    }
    if (mCheckSumMode_S32 != 0 &&
        BlockCheckSum(readData, readCount) != ReadLittleEndian(mpComram_U8, OFFSET_I2C_CHECKSUM, 4))
    {
        return S_STATUS_BAD_CHECKSUM;
    }
    return S_STATUS_OK;
}

unsigned short keyDriver::EEPROMPoll()
{
    unsigned char pDummy_U8[1] = {0};
    unsigned short status_U16 = S_STATUS_OK;
    for (uint32_t try_U32 = 0; try_U32 < WRITE_CYCLE_POLLS; try_U32++)
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

unsigned short keyDriver::TransferPollingBusy(unsigned short writeCount, unsigned char* writeData,
                                              unsigned short readCount, unsigned char* readData)
{
    unsigned short status_U16 = I2CService(S_EEPROM_DEVICE, writeCount, writeData, readCount, readData);
    if (status_U16 == S_STATUS_NOT_ACKNOWLEDGED)
    {
        const unsigned short poll_U16 = EEPROMPoll();
        if (poll_U16 != S_STATUS_OK)
        {
            return poll_U16;
        }
        status_U16 = I2CService(S_EEPROM_DEVICE, writeCount, writeData, readCount, readData);
    }
    return status_U16;
}

unsigned short keyDriver::EEPROMRead(unsigned short address, unsigned short count, unsigned char* data)
{
    unsigned char pAddress_U8[2] = {static_cast<unsigned char>(address >> 8),
                                    static_cast<unsigned char>(address)};
    return TransferPollingBusy(2, pAddress_U8, count, data);
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
    // The EEPROM's own write cycle is not awaited: the next access finds it busy and polls.
    return TransferPollingBusy(static_cast<unsigned short>(count + 2), pBlock_U8, 0, nullptr);
}
