// Opcode 0x90: the firmware's I2C transaction on behalf of the host. One request layout serves
// the toolbox and the EEPROM driver: device address at 0x0002, checksum flag at 0x0003, write
// and read counts at 0x0004/0x0006, checksum at 0x0008, data from 0x0010.
#pragma once

#include "CommandResult.h"
#include "CommandZone.h"
#include "FaultPlan.h"
#include "I2cBus.h"

namespace sim
{

struct TraceSink;

class I2cService
{
public:
    static constexpr uint32_t kMaxTransfer = 0x1000;
    static constexpr uint8_t kRefused = 0x7F;
    static constexpr uint8_t kTooLong = 0x07;
    static constexpr uint8_t kBadChecksum = 0x08;
    static constexpr uint8_t kEepromAddress = 0xA4;

    I2cService(FaultPlan& faults, const CommandZone& zone, I2cBus& bus, TraceSink* trace);

    // The result's latency is the wire time; the firmware adds its own.
    CommandResult execute(uint64_t nowNs, bool microCode);

private:
    FaultPlan& faults_;
    const CommandZone& zone_;
    I2cBus& bus_;
    TraceSink* trace_;
};

} // namespace sim
