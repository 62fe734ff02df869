#pragma once
// Checksum of the identity record and of the EEPROM mailbox's data: 1 plus the unsigned 32-bit
// sum of the bytes (1 for an empty block).
#include <cstdint>

uint32_t BlockCheckSum(const uint8_t* pData_U8, uint32_t count_U32);
