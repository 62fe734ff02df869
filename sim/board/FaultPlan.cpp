#include "FaultPlan.h"

#include "IdentityRecord.h"

#include <cstdlib>

namespace sim
{

namespace
{

using Args = std::vector<uint32_t>;

// Handlers shared by many faults: switch a flag on, take a status, add to a count.
template <bool FaultPlan::*Flag> void on(FaultPlan& plan, const Args&)
{
    plan.*Flag = true;
}
template <uint8_t FaultPlan::*Status> void take(FaultPlan& plan, const Args& a)
{
    plan.*Status = static_cast<uint8_t>(a[0]);
}
template <uint32_t FaultPlan::*Count> void add(FaultPlan& plan, const Args& a)
{
    plan.*Count += a[0];
}

bool isFailureStatus(uint32_t status)
{
    return status != 0 && status != 0x80 && status <= 0xFE;
}

// Argument checks beyond their number: the reason an argument is refused, or nullptr.
template <size_t At> const char* failureStatus(const Args& a)
{
    return isFailureStatus(a[At]) ? nullptr : "STATUS must be a failure status (not 0, 0x80, 0xFF)";
}
const char* pageStatus(const Args& a)
{
    return a[0] >= SimServer::kEepromSize ? "ADDR beyond the EEPROM" : failureStatus<1>(a);
}
const char* bitFlipCopy(const Args& a)
{
    const bool bad = a[0] > FaultPlan::kOldCopy || (a.size() > 1 && (a[1] == 0 || a[1] > 64));
    return bad ? "COPY is 0, 1, 2 or old and N is 1 to 64" : nullptr;
}
const char* stuckStatusValue(const Args& a)
{
    return a[0] != 0x80 && a[0] != 0xFF ? "the stuck status is 0x80 or 0xFF" : nullptr;
}

} // namespace

struct FaultPlan::FaultInfo
{
    const char* name;
    const char* args; // "" none; otherwise the argument pattern shown in help
    unsigned minArgs;
    unsigned maxArgs;
    const char* kind; // what it breaks: firmware, bus, eeprom, or transient (heals after a count)
    const char* description;
    void (*apply)(FaultPlan&, const Args&);
    const char* (*check)(const Args&) = nullptr; // none: any value will do
};

const FaultPlan::FaultInfo FaultPlan::kFaults[] = {
    {"reset-stuck", "", 0, 0, "firmware", "the board never leaves reset: the RAM check never passes",
     on<&FaultPlan::resetStuck_>},
    {"ram-check-fail", "", 0, 0, "firmware",
     "a data bit of the dual-port RAM is stuck: the check word never reads back",
     on<&FaultPlan::ramCheckFail_>},
    {"bootstrap-silent", "", 0, 0, "firmware", "the RAM works but the bootstrap never answers a command",
     on<&FaultPlan::bootstrapSilent_>},
    {"ident-fail", "STATUS", 1, 1, "firmware", "opcode 0x05 (identification) answers STATUS",
     take<&FaultPlan::identFail_>, failureStatus<0>},
    {"version-fail", "STATUS", 1, 1, "firmware", "opcode 0x03 (version) answers STATUS",
     take<&FaultPlan::versionFail_>, failureStatus<0>},
    {"wakeup-step-fail", "STATUS", 1, 1, "firmware", "opcode 0x92 (ZEBX/Q5K wake-up step) answers STATUS",
     take<&FaultPlan::wakeupStepFail_>, failureStatus<0>},
    {"i2c-stuck", "", 0, 0, "bus", "a device holds SDA low mid-byte until SCL is clocked by the GPIO pins",
     on<&FaultPlan::i2cStuck_>},
    {"i2c-stuck-hard", "", 0, 0, "bus", "a device holds SDA low whatever is clocked",
     on<&FaultPlan::i2cStuckHard_>},
    {"ucode-absent", "", 0, 0, "firmware", "the micro-code never runs: its mailbox commands are never taken",
     on<&FaultPlan::ucodeAbsent_>},
    {"ucode-refuse", "", 0, 0, "firmware", "the micro-code answers every EEPROM transaction with 0x7F",
     on<&FaultPlan::ucodeRefuse_>},
    {"ucode-timeout", "", 0, 0, "firmware", "the micro-code takes commands and never answers them",
     on<&FaultPlan::ucodeTimeout_>},
    {"eeprom-busy", "N", 1, 1, "eeprom", "the EEPROM does not acknowledge the next N transactions",
     add<&FaultPlan::eepromBusy_>},
    {"page-status", "ADDR:STATUS[:COUNT]", 2, 3, "eeprom",
     "transfers touching the page of ADDR answer STATUS (COUNT times)",
     [](FaultPlan& plan, const Args& a)
     {
         plan.pageStatus_.push_back({static_cast<uint16_t>(a[0] / 64), static_cast<uint8_t>(a[1]),
                                     a.size() > 2 ? a[2] : 0, a.size() > 2});
     },
     pageStatus},
    {"bitflip", "COPY[:N]", 1, 2, "eeprom", "N seeded bit flips (default 1) in record copy 0|1|2|old",
     [](FaultPlan& plan, const Args& a) {
         plan.bitFlips_.push_back({a[0], a.size() > 1 ? a[1] : 1});
     },
     bitFlipCopy},
    {"power-cut", "N", 1, 1, "eeprom", "after N accepted page writes the EEPROM stops changing",
     [](FaultPlan& plan, const Args& a)
     {
         plan.powerCutSet_ = true;
         plan.powerCutAfter_ = a[0];
     }},
    {"status-stuck", "0x80|0xFF", 1, 1, "firmware", "every status the board writes reads as 0x80 or 0xFF",
     take<&FaultPlan::stuckStatus_>, stuckStatusValue},
    {"uart-stuck", "", 0, 0, "firmware", "the Q7K UART never sends: its FIFO never drains",
     on<&FaultPlan::uartStuck_>},
    {"ram-late", "N", 1, 1, "transient",
     "the RAM check fails the host's first N probes (counted across resets)", add<&FaultPlan::ramLate_>},
    {"bootstrap-late", "N", 1, 1, "transient", "the bootstrap leaves the first N presence queries unanswered",
     add<&FaultPlan::bootstrapLate_>},
    {"write-busy", "N", 1, 1, "transient", "after each page write the EEPROM ignores N more transactions",
     add<&FaultPlan::writeBusy_>},
    {"reply-corrupt", "N", 1, 1, "transient", "one seeded data bit flips in each of the next N I2C replies",
     add<&FaultPlan::replyCorrupt_>},
    {"checksum-corrupt", "N", 1, 1, "transient",
     "one seeded bit flips in the checksum of each of the next N replies with data",
     add<&FaultPlan::checksumCorrupt_>},
    {"status-unsettled", "N", 1, 1, "transient",
     "the next N statuses read pending twice more after they are written", add<&FaultPlan::unsettled_>},
    {"status-flicker", "N", 0, 1, "transient",
     "an answered status reads alternately 0x80 and the answer for N reads (without N: for ever)",
     [](FaultPlan& plan, const Args& a) { plan.flickerReads_ = a.empty() ? kForever : a[0]; }},
};

const FaultPlan::FaultInfo* FaultPlan::findFault(const std::string& name)
{
    for (const FaultInfo& info : kFaults)
        if (name == info.name)
            return &info;
    return nullptr;
}

namespace
{

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
    if (const char* why = info->check != nullptr ? info->check(request.args) : nullptr)
    {
        if (error)
            *error = "fault " + request.name + ": " + why;
        return false;
    }
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
        if (const FaultInfo* info = findFault(f.name))
            info->apply(*this, f.args);
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
