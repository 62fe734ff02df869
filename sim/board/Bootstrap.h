// The board firmware's opcode dispatcher: bootstrap commands (presence, version,
// identification, memory access, the ZEBX/Q5K wake-up step) and the I2C service.
#pragma once

#include "ColdFireBus.h"
#include "CommandResult.h"
#include "CommandZone.h"
#include "FaultPlan.h"
#include "I2cService.h"
#include "ModelTraits.h"
#include "SimServer.h"
#include "TraceJson.h"

namespace sim
{

class Bootstrap
{
public:
    static constexpr uint8_t kUnknownOpcode = 0x0F;
    static constexpr uint8_t kI2cNotReady = 0x06;

    Bootstrap(const BoardConfig& config, FaultPlan& faults, const CommandZone& zone, ColdFireBus& cpu,
              I2cService& i2c);

    // A board reset: ZEBX and Q5K need the wake-up step again before their next I2C transfer.
    void reset();
    // Runs one command; `microCode` tells whether the micro-code (rather than the bootstrap)
    // serves it. Fills the trace line with the command's parameters.
    CommandResult execute(uint8_t opcode, uint64_t nowNs, bool microCode, TraceJson& line);

private:
    CommandResult memoryWrite(int width, TraceJson& line);
    CommandResult memoryRead(int width, TraceJson& line);

    const BoardConfig& config_;
    const ModelTraits& traits_;
    FaultPlan& faults_;
    const CommandZone& zone_;
    ColdFireBus& cpu_;
    I2cService& i2c_;
    bool i2cEnabled_ = true; // a powered server's board went through its wake-up before
};

} // namespace sim
