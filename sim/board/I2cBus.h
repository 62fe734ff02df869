// The board's I2C bus: the devices behind it, the controller's transfers and the SCL line that
// the processor's GPIO port can take over to clock a stuck device free.
#pragma once

#include "I2cDevice.h"

#include <cstdint>
#include <map>
#include <vector>

namespace sim
{

class I2cBus
{
public:
    // Transfer results, as the board firmware reports them.
    static constexpr uint8_t kOk = 0x00;
    static constexpr uint8_t kNoAck = 0x02;
    static constexpr uint8_t kBusBusy = 0x03;

    explicit I2cBus(uint64_t byteNs) : byteNs_(byteNs) {}

    // `address` is the 8-bit write address (0xA4 for the identity EEPROM).
    void attach(uint8_t address, I2cDevice* device) { devices_[address] = device; }

    // A device has stopped mid-byte with SDA held low; `pulses` SCL pulses free it (0 = never).
    void holdSdaLow(uint32_t pulses);
    bool stuck() const { return stuck_; }

    // One write-then-read transaction starting at nowNs; an empty one only addresses the device.
    // The duration on the wire is returned in *durationNs.
    uint8_t transfer(uint8_t address, const std::vector<uint8_t>& out, uint32_t readCount,
                     std::vector<uint8_t>* in, uint64_t nowNs, uint64_t* durationNs);

    // The level the GPIO port drives on SCL; rising edges clock a stuck device. True when this
    // edge freed the bus.
    bool driveScl(bool high);

private:
    uint64_t byteNs_;
    std::map<uint8_t, I2cDevice*> devices_;
    bool stuck_ = false;
    uint32_t pulsesToFree_ = 0;
    bool sclHigh_ = true;
};

} // namespace sim
