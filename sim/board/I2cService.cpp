#include "I2cService.h"

#include "TraceJson.h"

namespace sim
{

I2cService::I2cService(FaultPlan& faults, const CommandZone& zone, I2cBus& bus, TraceSink* trace)
    : faults_(faults), zone_(zone), bus_(bus), trace_(trace)
{
}

CommandResult I2cService::execute(uint64_t nowNs, bool microCode)
{
    const uint8_t device = zone_.get(CommandZone::kAddress);
    const bool checked = zone_.get(CommandZone::kFlag) == 1;
    const uint32_t writeCount = zone_.le(CommandZone::kWord4, 2);
    const uint32_t readCount = zone_.le(CommandZone::kWord6, 2);
    CommandResult result;

    TraceJson line(nowNs, "i2c");
    line.hex8("dev", device).num("wr", writeCount).num("rd", readCount);
    auto done = [&](uint8_t status)
    {
        result.status = status;
        line.hex8("status", status).emitTo(trace_);
        return result;
    };

    if (writeCount > kMaxTransfer || readCount > kMaxTransfer)
        return done(kTooLong);
    std::vector<uint8_t> out;
    uint32_t sum = 1;
    for (uint32_t i = 0; i < writeCount; ++i)
    {
        out.push_back(zone_.get(CommandZone::kData + i));
        sum += out.back();
    }
    // The request checksum protects the bytes to write; an empty transfer carries none (the
    // toolbox's probe leaves whatever a previous command put at 0x0008).
    if (checked && writeCount > 0 && sum != zone_.le(CommandZone::kChecksum, 4))
        return done(kBadChecksum);
    if (microCode && faults_.ucodeRefuses())
        return done(kRefused);
    if ((device & 0xFE) == kEepromAddress && writeCount >= 2)
    {
        const uint16_t memory = static_cast<uint16_t>((out[0] << 8) | out[1]);
        line.hex("mem", memory, 4);
        if (uint8_t forced = faults_.takePageStatus(memory))
            return done(forced);
    }

    std::vector<uint8_t> in;
    uint64_t wire = 0;
    const uint8_t status = bus_.transfer(device, out, readCount, &in, nowNs, &wire);
    result.latencyNs += wire;
    if (status == I2cBus::kOk)
    {
        uint32_t replySum = 1;
        for (uint8_t byte : in)
            replySum += byte;
        if (faults_.corruptReply(&in))
            line.str("corrupt", "data");
        for (size_t i = 0; i < in.size(); ++i)
            result.answer.emplace_back(CommandZone::kData + static_cast<uint32_t>(i), in[i]);
        if (checked && !in.empty())
        {
            const uint32_t sent = faults_.corruptChecksum(replySum);
            if (sent != replySum)
                line.str("corrupt", "checksum");
            CommandZone::putLe(&result.answer, CommandZone::kChecksum, sent, 4);
        }
        else if (checked)
            CommandZone::putLe(&result.answer, CommandZone::kChecksum, replySum, 4);
    }
    return done(status);
}

} // namespace sim
