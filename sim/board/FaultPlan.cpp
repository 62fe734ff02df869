#include "FaultPlan.h"

#include "IdentityRecord.h"

#include <cstdlib>

namespace sim
{

namespace
{

struct FaultInfo
{
    const char* name;
    const char* args; // "" none; otherwise the argument pattern shown in help
    unsigned minArgs;
    unsigned maxArgs;
    const char* kind; // what it breaks: firmware, bus, eeprom, or transient (heals after a count)
    const char* description;
};

const FaultInfo kFaults[] = {
    {"reset-stuck", "", 0, 0, "firmware", "the board never leaves reset: the RAM check never passes"},
    {"ram-check-fail", "", 0, 0, "firmware",
     "a data bit of the dual-port RAM is stuck: the check word never reads back"},
    {"bootstrap-silent", "", 0, 0, "firmware", "the RAM works but the bootstrap never answers a command"},
    {"ident-fail", "STATUS", 1, 1, "firmware", "opcode 0x05 (identification) answers STATUS"},
    {"version-fail", "STATUS", 1, 1, "firmware", "opcode 0x03 (version) answers STATUS"},
    {"wakeup-step-fail", "STATUS", 1, 1, "firmware", "opcode 0x92 (ZEBX/Q5K wake-up step) answers STATUS"},
    {"i2c-stuck", "", 0, 0, "bus", "a device holds SDA low mid-byte until SCL is clocked by the GPIO pins"},
    {"i2c-stuck-hard", "", 0, 0, "bus", "a device holds SDA low whatever is clocked"},
    {"ucode-absent", "", 0, 0, "firmware", "the micro-code never runs: its mailbox commands are never taken"},
    {"ucode-refuse", "", 0, 0, "firmware", "the micro-code answers every EEPROM transaction with 0x7F"},
    {"ucode-timeout", "", 0, 0, "firmware", "the micro-code takes commands and never answers them"},
    {"eeprom-busy", "N", 1, 1, "eeprom", "the EEPROM does not acknowledge the next N transactions"},
    {"page-status", "ADDR:STATUS[:COUNT]", 2, 3, "eeprom",
     "transfers touching the page of ADDR answer STATUS (COUNT times)"},
    {"bitflip", "COPY[:N]", 1, 2, "eeprom", "N seeded bit flips (default 1) in record copy 0|1|2|old"},
    {"power-cut", "N", 1, 1, "eeprom", "after N accepted page writes the EEPROM stops changing"},
    {"status-stuck", "0x80|0xFF", 1, 1, "firmware", "every status the board writes reads as 0x80 or 0xFF"},
    {"uart-stuck", "", 0, 0, "firmware", "the Q7K UART never sends: its FIFO never drains"},
    {"ram-late", "N", 1, 1, "transient",
     "the RAM check fails the host's first N probes (counted across resets)"},
    {"bootstrap-late", "N", 1, 1, "transient",
     "the bootstrap leaves the first N presence queries unanswered"},
    {"write-busy", "N", 1, 1, "transient", "after each page write the EEPROM ignores N more transactions"},
    {"reply-corrupt", "N", 1, 1, "transient", "one seeded data bit flips in each of the next N I2C replies"},
    {"checksum-corrupt", "N", 1, 1, "transient",
     "one seeded bit flips in the checksum of each of the next N replies with data"},
    {"status-unsettled", "N", 1, 1, "transient",
     "the next N statuses read pending twice more after they are written"},
    {"status-flicker", "N", 0, 1, "transient",
     "an answered status reads alternately 0x80 and the answer for N reads (without N: for ever)"},
};

const FaultInfo* findFault(const std::string& name)
{
    for (const FaultInfo& info : kFaults)
        if (name == info.name)
            return &info;
    return nullptr;
}

bool parseNumber(const std::string& text, uint32_t* out)
{
    if (text.empty())
        return false;
    char* end = nullptr;
    unsigned long long value = std::strtoull(text.c_str(), &end, 0);
    if (*end != '\0' || text[0] == '-' || value > 0xFFFFFFFFull)
        return false;
    *out = static_cast<uint32_t>(value);
    return true;
}

bool isFailureStatus(uint32_t status)
{
    return status != 0 && status != 0x80 && status <= 0xFE;
}

bool checkArgs(const FaultRequest& request, std::string* error)
{
    auto fail = [&](const std::string& why)
    {
        if (error)
            *error = "fault " + request.name + ": " + why;
        return false;
    };
    const std::vector<uint32_t>& a = request.args;
    if (request.name == "ident-fail" || request.name == "version-fail" || request.name == "wakeup-step-fail")
        return isFailureStatus(a[0]) ? true : fail("STATUS must be a failure status (not 0, 0x80, 0xFF)");
    if (request.name == "page-status")
    {
        if (a[0] >= SimServer::kEepromSize)
            return fail("ADDR beyond the EEPROM");
        return isFailureStatus(a[1]) ? true : fail("STATUS must be a failure status (not 0, 0x80, 0xFF)");
    }
    if (request.name == "bitflip" &&
        (a[0] > FaultPlan::kOldCopy || (a.size() > 1 && (a[1] == 0 || a[1] > 64))))
        return fail("COPY is 0, 1, 2 or old and N is 1 to 64");
    if (request.name == "status-stuck" && a[0] != 0x80 && a[0] != 0xFF)
        return fail("the stuck status is 0x80 or 0xFF");
    return true;
}

} // namespace

bool FaultPlan::parse(const std::string& text, FaultRequest* out, std::string* error)
{
    const size_t eq = text.find('=');
    FaultRequest request;
    request.name = text.substr(0, eq);
    const FaultInfo* info = findFault(request.name);
    if (info == nullptr)
    {
        if (error)
            *error = "unknown fault '" + request.name + "'";
        return false;
    }
    if (eq != std::string::npos)
    {
        std::string rest = text.substr(eq + 1);
        size_t start = 0;
        while (true)
        {
            const size_t colon = rest.find(':', start);
            const std::string part = rest.substr(start, colon - start);
            uint32_t value = 0;
            if (request.name == "bitflip" && request.args.empty() && part == "old")
                value = kOldCopy;
            else if (!parseNumber(part, &value))
            {
                if (error)
                    *error = "fault " + request.name + ": bad argument '" + part + "'";
                return false;
            }
            request.args.push_back(value);
            if (colon == std::string::npos)
                break;
            start = colon + 1;
        }
    }
    if (request.args.size() < info->minArgs || request.args.size() > info->maxArgs)
    {
        if (error)
            *error = "fault " + request.name +
                     (info->maxArgs ? " takes " + std::string(info->args) : " takes no argument");
        return false;
    }
    if (!checkArgs(request, error))
        return false;
    *out = request;
    return true;
}

std::vector<std::string> FaultPlan::descriptions()
{
    std::vector<std::string> lines;
    for (const FaultInfo& info : kFaults)
    {
        std::string head = info.name;
        if (info.args[0] != '\0')
            head += std::string("=") + info.args;
        head.resize(head.size() < 30 ? 30 : head.size() + 1, ' ');
        lines.push_back(head + "[" + info.kind + "] " + info.description);
    }
    return lines;
}

Rng FaultPlan::stream(uint64_t seed, const char* name)
{
    // Each fault draws from its own stream, so adding one fault does not move another's bits.
    uint64_t hash = 0xCBF29CE484222325ull;
    for (const char* c = name; *c != '\0'; ++c)
        hash = (hash ^ static_cast<uint8_t>(*c)) * 0x100000001B3ull;
    return Rng(seed ^ hash);
}

FaultPlan::FaultPlan(const std::vector<FaultRequest>& faults, uint64_t seed)
    : stuckRng_(stream(seed, "i2c-stuck")), flipRng_(stream(seed, "bitflip")),
      replyRng_(stream(seed, "reply-corrupt")), checksumRng_(stream(seed, "checksum-corrupt"))
{
    for (const FaultRequest& f : faults)
    {
        const std::vector<uint32_t>& a = f.args;
        if (f.name == "reset-stuck")
            resetStuck_ = true;
        else if (f.name == "ram-check-fail")
            ramCheckFail_ = true;
        else if (f.name == "bootstrap-silent")
            bootstrapSilent_ = true;
        else if (f.name == "ident-fail")
            identFail_ = static_cast<uint8_t>(a[0]);
        else if (f.name == "version-fail")
            versionFail_ = static_cast<uint8_t>(a[0]);
        else if (f.name == "wakeup-step-fail")
            wakeupStepFail_ = static_cast<uint8_t>(a[0]);
        else if (f.name == "i2c-stuck")
            i2cStuck_ = true;
        else if (f.name == "i2c-stuck-hard")
            i2cStuckHard_ = true;
        else if (f.name == "ucode-absent")
            ucodeAbsent_ = true;
        else if (f.name == "ucode-refuse")
            ucodeRefuse_ = true;
        else if (f.name == "ucode-timeout")
            ucodeTimeout_ = true;
        else if (f.name == "eeprom-busy")
            eepromBusy_ += a[0];
        else if (f.name == "page-status")
            pageStatus_.push_back({static_cast<uint16_t>(a[0] / 64), static_cast<uint8_t>(a[1]),
                                   a.size() > 2 ? a[2] : 0, a.size() > 2});
        else if (f.name == "bitflip")
            bitFlips_.push_back({a[0], a.size() > 1 ? a[1] : 1});
        else if (f.name == "power-cut")
        {
            powerCutSet_ = true;
            powerCutAfter_ = a[0];
        }
        else if (f.name == "status-stuck")
            stuckStatus_ = static_cast<uint8_t>(a[0]);
        else if (f.name == "uart-stuck")
            uartStuck_ = true;
        else if (f.name == "ram-late")
            ramLate_ += a[0];
        else if (f.name == "bootstrap-late")
            bootstrapLate_ += a[0];
        else if (f.name == "write-busy")
            writeBusy_ += a[0];
        else if (f.name == "reply-corrupt")
            replyCorrupt_ += a[0];
        else if (f.name == "checksum-corrupt")
            checksumCorrupt_ += a[0];
        else if (f.name == "status-unsettled")
            unsettled_ += a[0];
        else if (f.name == "status-flicker")
            flickerReads_ = a.empty() ? kForever : a[0];
    }
}

bool FaultPlan::powerCut(uint32_t* pageWrites) const
{
    if (powerCutSet_ && pageWrites)
        *pageWrites = powerCutAfter_;
    return powerCutSet_;
}

uint8_t FaultPlan::takePageStatus(uint16_t address)
{
    for (PageStatus& p : pageStatus_)
    {
        if (p.page != (address & 0x7FFF) / 64)
            continue;
        if (p.counted && p.remaining == 0)
            continue;
        if (p.counted)
            --p.remaining;
        return p.status;
    }
    return 0;
}

void FaultPlan::applyBitFlips(uint8_t* eeprom)
{
    for (const BitFlip& flip : bitFlips_)
    {
        const bool old = flip.copy == kOldCopy;
        uint8_t* base = old ? eeprom : eeprom + IdentityRecord::copyAddress(flip.copy);
        // Flipping into a record that is already damaged would undo earlier flips of the same
        // seed on a persistent image; a damaged copy stays as it is.
        const uint32_t span =
            old ? IdentityRecord::kOldIntegrityOffset + 1 : IdentityRecord::kChecksumOffset + 4;
        auto intact = [&]
        { return old ? IdentityRecord::oldIntegrityHolds(base) : IdentityRecord::checksumHolds(base); };
        if (!intact())
            continue;
        // Flips may cancel out in the sum; keep flipping until the damage shows.
        for (uint32_t round = 0; round < 8 && intact(); ++round)
            for (uint32_t i = 0; i < flip.bits; ++i)
            {
                const uint32_t bit = flipRng_.below(span * 8);
                base[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
            }
    }
}

} // namespace sim

namespace sim
{

bool FaultPlan::takeCount(uint32_t* remaining)
{
    if (*remaining == 0)
        return false;
    --*remaining;
    return true;
}

bool FaultPlan::corruptReply(std::vector<uint8_t>* data)
{
    if (data->empty() || !takeCount(&replyCorrupt_))
        return false;
    const uint32_t bit = replyRng_.below(static_cast<uint32_t>(data->size()) * 8);
    (*data)[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
    return true;
}

uint32_t FaultPlan::corruptChecksum(uint32_t checksum)
{
    return takeCount(&checksumCorrupt_) ? checksum ^ (1u << checksumRng_.below(32)) : checksum;
}

} // namespace sim
