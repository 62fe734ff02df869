#include "I2cBus.h"

namespace sim
{

void I2cBus::holdSdaLow(uint32_t pulses)
{
    stuck_ = true;
    pulsesToFree_ = pulses;
}

uint8_t I2cBus::transfer(uint8_t address, const std::vector<uint8_t>& out, uint32_t readCount,
                         std::vector<uint8_t>* in, uint64_t nowNs, uint64_t* durationNs)
{
    uint64_t t = nowNs;
    auto finish = [&](uint8_t status)
    {
        *durationNs = t - nowNs;
        return status;
    };
    // With SDA held low the controller cannot produce a START: arbitration is lost at once.
    if (stuck_)
        return finish(kBusBusy);
    auto found = devices_.find(static_cast<uint8_t>(address & 0xFE));
    I2cDevice* device = found == devices_.end() ? nullptr : found->second;
    t += byteNs_;
    const bool writePhase = !out.empty() || readCount == 0;
    if (writePhase)
    {
        if (device == nullptr || !device->select(false, t))
        {
            if (device)
                device->stop(t);
            return finish(kNoAck);
        }
        for (uint8_t byte : out)
        {
            t += byteNs_;
            if (!device->writeByte(byte, t))
            {
                device->stop(t);
                return finish(kNoAck);
            }
        }
    }
    if (readCount > 0)
    {
        t += byteNs_;
        if (device == nullptr || !device->select(true, t))
        {
            if (device)
                device->stop(t);
            return finish(kNoAck);
        }
        for (uint32_t i = 0; i < readCount; ++i)
        {
            t += byteNs_;
            in->push_back(device->readByte(t));
        }
    }
    device->stop(t);
    return finish(kOk);
}

bool I2cBus::driveScl(bool high)
{
    const bool rising = high && !sclHigh_;
    sclHigh_ = high;
    if (!rising || !stuck_ || pulsesToFree_ == 0)
        return false;
    if (--pulsesToFree_ > 0)
        return false;
    stuck_ = false;
    return true;
}

} // namespace sim
