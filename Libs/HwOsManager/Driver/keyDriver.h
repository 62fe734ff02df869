#pragma once
// EEPROM access through the micro-code's request mailbox in the communication RAM: the board's
// micro-code runs the I2C transaction and posts the result back.
#include <cstdint>

class keyDriver
{
public:
    // Status codes of the transfers (other non-zero values are the micro-code's own).
    static constexpr unsigned short S_STATUS_OK = 0;
    static constexpr unsigned short S_STATUS_NOT_ACKNOWLEDGED = 2;
    static constexpr unsigned short S_STATUS_BAD_CHECKSUM = 4;
    static constexpr unsigned short S_STATUS_NO_UCODE = 5;
    static constexpr unsigned short S_STATUS_TOO_LARGE = 6;

    static constexpr unsigned char S_EEPROM_DEVICE = 0xA4;
    static constexpr unsigned short S_EEPROM_PAGE_SIZE = 64;

    keyDriver();
    ~keyDriver();
    keyDriver(const keyDriver&) = delete;
    keyDriver& operator=(const keyDriver&) = delete;

    void EnableCheckSum(int on);
    // 0 when the micro-code answers the presence check, 1 when not.
    int detect();
    unsigned short I2CService(unsigned char device, unsigned short writeCount, unsigned char* writeData,
                              unsigned short readCount, unsigned char* readData);
    unsigned short EEPROMRead(unsigned short address, unsigned short count, unsigned char* data);
    unsigned short EEPROMWrite(unsigned short address, unsigned char count, unsigned char* data);
    unsigned short EEPROMPoll();

    // Mailbox command byte and handshake byte as last seen.
    unsigned short GetLastStatus() const { return mLastStatus_U16; }

private:
    bool WaitHandshake(uint32_t extraPolls_U32, uint8_t* pHandshake_U8);
    void StoreLastStatus(uint8_t handshake_U8);
    // One transfer to the EEPROM; when it is busy in a write cycle, waits for it and tries once more.
    unsigned short TransferPollingBusy(unsigned short writeCount, unsigned char* writeData,
                                       unsigned short readCount, unsigned char* readData);

    volatile uint8_t* mpComram_U8 = nullptr;
    bool mDetected_B = false;
    int32_t mCheckSumMode_S32 = 1;
    uint16_t mLastStatus_U16 = 0;
};
