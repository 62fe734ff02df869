#include "EepromImage.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace sim
{

EepromImage::EepromImage(std::vector<uint8_t> bytes) : bytes_(std::move(bytes))
{
    bytes_.resize(kSize, 0xFF);
}

bool EepromImage::parseState(const std::string& text, State* out)
{
    if (text == "good")
        *out = State::Good;
    else if (text == "bad-checksum" || text == "bad")
        *out = State::Bad;
    else if (text == "erased" || text == "none")
        *out = State::Erased;
    else
        return false;
    return true;
}

const char* EepromImage::stateName(State state)
{
    switch (state)
    {
    case State::Good:
        return "good";
    case State::Bad:
        return "bad-checksum";
    default:
        return "erased";
    }
}

void EepromImage::writeCopy(uint32_t copy, const IdentityRecord& record, State state)
{
    uint8_t* base = bytes_.data() + IdentityRecord::copyAddress(copy);
    if (state == State::Erased)
    {
        std::fill(base, base + IdentityRecord::kSize, 0xFF);
        return;
    }
    record.encode(base);
    if (state == State::Bad)
        base[IdentityRecord::kChecksumOffset] ^= 0x01;
}

void EepromImage::writeOld(const IdentityRecord& record, State state)
{
    if (state == State::Erased)
    {
        std::fill(bytes_.begin(), bytes_.begin() + IdentityRecord::copyAddress(0), 0xFF);
        return;
    }
    // Only the old bytes up to the case type are written: beyond them lies copy 0.
    uint8_t old[IdentityRecord::kSize];
    record.encodeOld(old);
    std::copy(old, old + kOldSpan, bytes_.begin());
    if (state == State::Bad)
        bytes_[IdentityRecord::kOldIntegrityOffset] ^= 0x01;
}

bool EepromImage::erased(uint32_t address, uint32_t size) const
{
    for (uint32_t i = 0; i < size; ++i)
        if (bytes_[address + i] != 0xFF)
            return false;
    return true;
}

EepromImage::State EepromImage::copyState(uint32_t copy) const
{
    const uint32_t address = IdentityRecord::copyAddress(copy);
    if (erased(address, IdentityRecord::kSize))
        return State::Erased;
    return IdentityRecord::checksumHolds(at(address)) ? State::Good : State::Bad;
}

EepromImage::State EepromImage::oldState() const
{
    if (erased(0, IdentityRecord::kOldIntegrityOffset + 1))
        return State::Erased;
    return IdentityRecord::oldIntegrityHolds(at(0)) ? State::Good : State::Bad;
}

namespace
{

std::string fields(const IdentityRecord& r)
{
    char line[200];
    std::snprintf(line, sizeof line,
                  "  serial \"%s\" case-type %u user-name \"%s\" hardware-id 0x%08X psu-type %u\n",
                  r.serial.c_str(), static_cast<unsigned>(r.caseType), r.userName.c_str(),
                  static_cast<unsigned>(r.hardwareId), static_cast<unsigned>(r.psuType));
    return line;
}

} // namespace

std::string EepromImage::describe() const
{
    std::string text;
    char line[160];
    for (uint32_t c = 0; c < 3; ++c)
    {
        const uint32_t address = IdentityRecord::copyAddress(c);
        std::snprintf(line, sizeof line, "copy %u at %u: %s (stored 0x%08X, computed 0x%08X)\n",
                      static_cast<unsigned>(c), static_cast<unsigned>(address), stateName(copyState(c)),
                      static_cast<unsigned>(IdentityRecord::storedChecksum(at(address))),
                      static_cast<unsigned>(IdentityRecord::checksum(at(address))));
        text += line;
        if (copyState(c) != State::Erased)
            text += fields(copy(c));
    }
    std::snprintf(line, sizeof line, "old at 0: %s (stored 0x%02X, computed 0x%02X)\n", stateName(oldState()),
                  static_cast<unsigned>(bytes_[IdentityRecord::kOldIntegrityOffset]),
                  static_cast<unsigned>(IdentityRecord::oldIntegrity(at(0))));
    text += line;
    if (oldState() != State::Erased)
        text += fields(old());
    return text;
}

} // namespace sim
