// The codec board as a whole: reset line, firmware phases, mailboxes, the processor and its
// I2C bus, and for the Q7K the register file, the power-supply link and its micro-code. It
// advances lazily: every access first plays the events due up to its time stamp.
#pragma once

#include "AckDevice.h"
#include "Bootstrap.h"
#include "BusyFaultDevice.h"
#include "ColdFireBus.h"
#include "CommandZone.h"
#include "Eeprom24C256.h"
#include "FaultPlan.h"
#include "I2cBus.h"
#include "I2cService.h"
#include "ModelTraits.h"
#include "PsuController.h"
#include "Q7kRegisterFile.h"
#include "Q7kUart.h"
#include "SimServer.h"

#include <memory>
#include <vector>

namespace sim
{

class Board
{
public:
    Board(const BoardConfig& config, uint8_t* eeprom, TraceSink* trace);

    uint8_t comramRead(uint32_t offset, uint64_t nowNs);
    void comramWrite(uint32_t offset, uint8_t value, uint64_t nowNs);
    uint8_t portRead(uint16_t port, uint64_t nowNs);
    void portWrite(uint16_t port, uint8_t value, uint64_t nowNs);

private:
    enum class Firmware
    {
        Reset,     // reset line asserted (or stuck): nothing answers
        RamWait,   // released, dual-port RAM not yet usable
        BootWait,  // RAM usable, bootstrap starting
        Silent,    // bootstrap hung
        Bootstrap, // bootstrap serves commands
        MicroCode, // micro-code serves commands
        Absent,    // micro-code should run but does not take commands
        Off,       // Q7K components switched off
        Booting    // Q7K components on, micro-code starting
    };
    struct Pending
    {
        uint64_t atNs;
        uint32_t mailbox;
        ZoneWrites writes;
    };
    // A taken command whose status the host has not yet read: its status reads are counted.
    struct Awaited
    {
        uint32_t mailbox;
        uint8_t opcode;
        bool answered;
        uint32_t pendingReads;
        uint32_t unsettledReads; // answered, still reading pending (status-unsettled)
    };

    bool q7k() const { return config_.model == BoardModel::Q7k; }
    bool ramLate() const { return resetSeen_ && faults_.ramLate(); }
    uint8_t statusRead(uint32_t offset, uint8_t value, uint64_t nowNs);
    void dropCommands();
    bool ramUsable() const;
    bool serving() const { return fw_ == Firmware::Bootstrap || fw_ == Firmware::MicroCode; }
    void advance(uint64_t nowNs);
    void enter(Firmware next, uint64_t atNs, const char* state);
    void firmwareStarted(uint64_t atNs);
    void setResetLine(uint8_t value, uint64_t nowNs);
    void take(uint32_t mailbox, uint64_t nowNs);
    void switchComponents(uint8_t mask, uint64_t nowNs);
    void traceReg(uint16_t port, uint8_t value, const char* dir, uint64_t nowNs);

    BoardConfig config_;
    const ModelTraits& traits_;
    FaultPlan faults_;
    TraceSink* trace_;
    CommandZone zone_;
    I2cBus bus_;
    Eeprom24C256 eeprom_;
    AckDevice ackDevice_;
    std::unique_ptr<BusyFaultDevice> busyEeprom_;
    ColdFireBus cpu_;
    I2cService i2c_;
    Bootstrap bootstrap_;
    Q7kUart uart_;
    PsuController psu_;
    Q7kRegisterFile regs_;

    Firmware fw_;
    uint64_t readyAtNs_ = 0;
    std::vector<Pending> pending_;
    std::vector<Awaited> awaited_;
    bool resetSeen_ = false;
    // The status byte last answered while it still flickers, and how many reads it has left.
    uint32_t flickerOffset_ = 0;
    uint32_t flickerLeft_ = 0;
    bool flickerPending_ = false;
};

} // namespace sim
