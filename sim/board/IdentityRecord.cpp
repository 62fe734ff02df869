#include "IdentityRecord.h"

#include <cstring>

namespace sim
{

namespace
{

void putText(uint8_t* at, size_t size, const std::string& text)
{
    std::memset(at, 0, size);
    std::memcpy(at, text.data(), text.size() < size ? text.size() : size);
}

std::string getText(const uint8_t* at, size_t size)
{
    size_t n = 0;
    while (n < size && at[n] != 0)
        ++n;
    return std::string(reinterpret_cast<const char*>(at), n);
}

void putLe(uint8_t* at, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        at[i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t getLe(const uint8_t* at, int bytes)
{
    uint32_t value = 0;
    for (int i = bytes - 1; i >= 0; --i)
        value = (value << 8) | at[i];
    return value;
}

} // namespace

uint32_t IdentityRecord::checksum(const uint8_t* record)
{
    uint32_t sum = 1;
    for (uint32_t i = 0; i < kChecksumOffset; ++i)
        sum += record[i];
    return sum;
}

uint32_t IdentityRecord::storedChecksum(const uint8_t* record)
{
    return getLe(record + kChecksumOffset, 4);
}

uint8_t IdentityRecord::oldIntegrity(const uint8_t* oldRecord)
{
    uint8_t sum = 0;
    for (uint32_t i = 0; i < kOldIntegrityOffset; ++i)
        sum = static_cast<uint8_t>(sum + oldRecord[i]);
    return sum;
}

void IdentityRecord::encode(uint8_t* record) const
{
    std::memset(record, 0, kSize);
    putLe(record + 0, hardwareId, 4);
    record[7] = psuType;
    record[8] = caseType;
    putText(record + 9, 20, userName);
    putText(record + 29, 9, serial);
    putLe(record + 42, lastSave, 4);
    putLe(record + 46, signature, 2);
    putLe(record + kChecksumOffset, checksum(record), 4);
}

IdentityRecord IdentityRecord::decode(const uint8_t* record)
{
    IdentityRecord r;
    r.hardwareId = getLe(record, 4);
    r.psuType = record[7];
    r.caseType = record[8];
    r.userName = getText(record + 9, 20);
    r.serial = getText(record + 29, 9);
    r.lastSave = getLe(record + 42, 4);
    r.signature = static_cast<uint16_t>(getLe(record + 46, 2));
    return r;
}

void IdentityRecord::encodeOld(uint8_t* oldRecord) const
{
    std::memset(oldRecord, 0, kSize);
    putText(oldRecord + 72, 19, userName);
    putText(oldRecord + 92, 8, serial);
    putLe(oldRecord + 256, hardwareId, 4);
    oldRecord[263] = psuType;
    oldRecord[264] = caseType;
    oldRecord[kOldIntegrityOffset] = oldIntegrity(oldRecord);
}

IdentityRecord IdentityRecord::decodeOld(const uint8_t* oldRecord)
{
    IdentityRecord r;
    r.userName = getText(oldRecord + 72, 19);
    r.serial = getText(oldRecord + 92, 8);
    r.hardwareId = getLe(oldRecord + 256, 4);
    r.psuType = oldRecord[263];
    r.caseType = oldRecord[264];
    return r;
}

} // namespace sim
