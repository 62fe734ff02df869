#include "Bootstrap.h"

#include "TraceJson.h"

namespace sim
{

Bootstrap::Bootstrap(const BoardConfig& config, FaultPlan& faults, const CommandZone& zone, ColdFireBus& cpu,
                     I2cService& i2c)
    : config_(config), traits_(ModelTraits::of(config.model)), faults_(faults), zone_(zone), cpu_(cpu),
      i2c_(i2c)
{
}

void Bootstrap::reset()
{
    i2cEnabled_ = !traits_.wakeupStep;
}

CommandResult Bootstrap::memoryWrite(int width, TraceJson& line)
{
    const uint32_t address = zone_.le(CommandZone::kAddress, 4);
    const uint32_t data = zone_.le(CommandZone::kWord6, width);
    line.hex("addr", address, 8).hex("data", data, 2 * width);
    CommandResult result;
    result.status = cpu_.write(address, width, data);
    if (cpu_.busFreed())
        line.str("bus", "freed");
    return result;
}

CommandResult Bootstrap::memoryRead(int width, TraceJson& line)
{
    const uint32_t address = zone_.le(CommandZone::kAddress, 4);
    line.hex("addr", address, 8);
    CommandResult result;
    uint32_t value = 0;
    result.status = cpu_.read(address, width, &value);
    if (result.status == 0)
    {
        CommandZone::putLe(&result.answer, CommandZone::kWord6, value, width);
        line.hex("data", value, 2 * width);
    }
    return result;
}

CommandResult Bootstrap::execute(uint8_t opcode, uint64_t nowNs, bool microCode, TraceJson& line)
{
    CommandResult result;
    if (!traits_.knows(opcode))
    {
        result.status = kUnknownOpcode;
        return result;
    }
    switch (opcode)
    {
    case 0x01:
    case 0x02:
        return result;
    case 0x03:
        if ((result.status = faults_.versionFailStatus()) == 0)
        {
            result.answer = {{CommandZone::kAddress, config_.version[0]},
                             {CommandZone::kFlag, config_.version[1]}};
            line.hex8("version", config_.version[0]).hex8("version2", config_.version[1]);
        }
        return result;
    case 0x05:
        if ((result.status = faults_.identFailStatus()) == 0)
        {
            result.answer = {{CommandZone::kWord4, config_.ident}};
            line.hex8("ident", config_.ident);
        }
        return result;
    case 0x80:
        return memoryWrite(1, line);
    case 0x81:
        return memoryWrite(2, line);
    case 0x82:
        return memoryWrite(4, line);
    case 0x86:
        return memoryRead(1, line);
    case 0x87:
        return memoryRead(2, line);
    case 0x88:
        return memoryRead(4, line);
    case 0x90:
        if (!i2cEnabled_)
        {
            result.status = kI2cNotReady;
            return result;
        }
        return i2c_.execute(nowNs, microCode);
    case 0x92:
        result.status = faults_.wakeupStepFailStatus();
        if (result.status == 0)
            i2cEnabled_ = true;
        return result;
    default:
        result.status = kUnknownOpcode;
        return result;
    }
}

} // namespace sim
