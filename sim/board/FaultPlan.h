// The faults one simulated board shows, parsed from "NAME[=ARGS]" and kept with their counters.
#pragma once

#include "Rng.h"
#include "SimServer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sim
{

class FaultPlan
{
public:
    static constexpr uint32_t kOldCopy = 3;
    static constexpr uint32_t kForever = 0xFFFFFFFF;

    // Parses one fault text; false with an error naming the fault and the bad argument.
    static bool parse(const std::string& text, FaultRequest* out, std::string* error);
    // "name[=args]  description" lines, one per fault.
    static std::vector<std::string> descriptions();

    FaultPlan(const std::vector<FaultRequest>& faults, uint64_t seed);

    bool resetStuck() const { return resetStuck_; }
    bool ramCheckFails() const { return ramCheckFail_; }
    bool bootstrapSilent() const { return bootstrapSilent_; }
    // 0 when the opcode is answered normally, else the failure status it answers.
    uint8_t identFailStatus() const { return identFail_; }
    uint8_t versionFailStatus() const { return versionFail_; }
    uint8_t wakeupStepFailStatus() const { return wakeupStepFail_; }
    bool i2cStuck() const { return i2cStuck_ || i2cStuckHard_; }
    bool i2cStuckHard() const { return i2cStuckHard_; }
    bool ucodeAbsent() const { return ucodeAbsent_; }
    bool ucodeRefuses() const { return ucodeRefuse_; }
    bool ucodeTimesOut() const { return ucodeTimeout_; }
    uint32_t eepromBusyCount() const { return eepromBusy_; }
    bool powerCut(uint32_t* pageWrites) const;
    // 0 when no status is stuck, else 0x80 or 0xFF.
    uint8_t stuckStatus() const { return stuckStatus_; }
    // Reads of a freshly answered status that still flicker (0: none, kForever: never settles).
    uint32_t flickerReads() const { return flickerReads_; }

    // The status a transfer touching EEPROM byte address `address` answers instead of running,
    // or 0; counts the fault down.
    uint8_t takePageStatus(uint16_t address);
    // Applies the seeded bit flips to a 32 KiB image (only into records that are intact).
    void applyBitFlips(uint8_t* eeprom);

    // Rising SCL edges a stuck device needs (seeded).
    uint32_t stuckPulses() { return 1 + stuckRng_.below(9); }
    bool uartStuck() const { return uartStuck_; }

    // Transient faults: each call that answers true uses one of its count up.
    bool takeRamProbe() { return takeCount(&ramLate_); }
    bool ramLate() const { return ramLate_ > 0; }
    bool takeBootstrapQuery() { return takeCount(&bootstrapLate_); }
    uint32_t writeBusyCount() const { return writeBusy_; }
    bool takeUnsettled() { return takeCount(&unsettled_); }
    // Flips one seeded bit of a non-empty reply; false when no reply is due to be corrupted.
    bool corruptReply(std::vector<uint8_t>* data);
    uint32_t corruptChecksum(uint32_t checksum);

private:
    // One row per fault: its name, arguments, description and what it sets in the plan.
    struct FaultInfo;
    static const FaultInfo kFaults[];
    static const FaultInfo* findFault(const std::string& name);
    static Rng stream(uint64_t seed, const char* name);
    static bool takeCount(uint32_t* remaining);

    struct PageStatus
    {
        uint16_t page;
        uint8_t status;
        uint32_t remaining; // 0 = forever
        bool counted;
    };
    struct BitFlip
    {
        uint32_t copy;
        uint32_t bits;
    };

    Rng stuckRng_;
    Rng flipRng_;
    Rng replyRng_;
    Rng checksumRng_;
    bool resetStuck_ = false;
    bool ramCheckFail_ = false;
    bool bootstrapSilent_ = false;
    uint8_t identFail_ = 0;
    uint8_t versionFail_ = 0;
    uint8_t wakeupStepFail_ = 0;
    bool i2cStuck_ = false;
    bool i2cStuckHard_ = false;
    bool ucodeAbsent_ = false;
    bool ucodeRefuse_ = false;
    bool ucodeTimeout_ = false;
    uint32_t eepromBusy_ = 0;
    bool powerCutSet_ = false;
    uint32_t powerCutAfter_ = 0;
    uint8_t stuckStatus_ = 0;
    bool uartStuck_ = false;
    uint32_t ramLate_ = 0;
    uint32_t bootstrapLate_ = 0;
    uint32_t writeBusy_ = 0;
    uint32_t replyCorrupt_ = 0;
    uint32_t checksumCorrupt_ = 0;
    uint32_t unsettled_ = 0;
    uint32_t flickerReads_ = 0;
    std::vector<PageStatus> pageStatus_;
    std::vector<BitFlip> bitFlips_;
};

} // namespace sim
