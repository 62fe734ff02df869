#include "Board.h"

#include "TraceJson.h"

#include <algorithm>

namespace sim
{

namespace
{

constexpr uint8_t kPending = 0x80;
constexpr uint8_t kDefaultI2cDevice = 0xA2;
// A stuck RAM data bit: the memory check word never reads back as written.
constexpr uint8_t kStuckRamBit = 0x20;

} // namespace

Board::Board(const BoardConfig& config, uint8_t* eeprom, TraceSink* trace)
    : config_(config), traits_(ModelTraits::of(config.model)), faults_(config.faults, config.seed),
      trace_(trace), bus_(config.i2cByteNs), eeprom_(eeprom, config.eepromWriteCycleNs), cpu_(bus_),
      i2c_(faults_, zone_, bus_, trace), bootstrap_(config_, faults_, zone_, cpu_, i2c_),
      uart_(config.uartByteNs,
            [this](uint8_t byte, bool garbled, uint64_t t)
            {
                if (garbled)
                    TraceJson(t, "psu").str("rx", "garbled").emitTo(trace_);
                else
                    psu_.receive(byte, t);
            }),
      psu_(
          PsuController::kAllComponents, [this](uint8_t mask, uint64_t t) { switchComponents(mask, t); },
          [this](uint8_t byte, uint64_t t) { TraceJson(t, "psu").hex8("rejected", byte).emitTo(trace_); }),
      regs_(config.q7kRegs, uart_)
{
    faults_.applyBitFlips(eeprom);
    uint32_t pageWrites = 0;
    if (faults_.powerCut(&pageWrites))
        eeprom_.cutPowerAfter(pageWrites);
    I2cDevice* identity = &eeprom_;
    if (faults_.eepromBusyCount() > 0 || faults_.writeBusyCount() > 0)
    {
        busyEeprom_.reset(new BusyFaultDevice(eeprom_, faults_.eepromBusyCount(), faults_.writeBusyCount()));
        identity = busyEeprom_.get();
    }
    bus_.attach(I2cService::kEepromAddress, identity);
    bus_.attach(kDefaultI2cDevice, &ackDevice_);
    if (faults_.i2cStuck())
        bus_.holdSdaLow(faults_.i2cStuckHard() ? 0 : faults_.stuckPulses());
    if (faults_.uartStuck())
        uart_.jam();
    // A powered server's board has been woken before: its firmware runs and takes commands.
    fw_ = faults_.ucodeAbsent() ? Firmware::Absent : Firmware::MicroCode;
    zone_.set(CommandZone::kAddress, kDefaultI2cDevice);
}

bool Board::ramUsable() const
{
    return !traits_.resetLine || (fw_ != Firmware::Reset && fw_ != Firmware::RamWait && !ramLate());
}

void Board::enter(Firmware next, uint64_t atNs, const char* state)
{
    fw_ = next;
    TraceJson(atNs, "board").str("state", state).emitTo(trace_);
}

void Board::advance(uint64_t nowNs)
{
    uart_.advance(nowNs);
    if (fw_ == Firmware::RamWait && nowNs >= readyAtNs_)
    {
        enter(Firmware::BootWait, readyAtNs_, "ram-ready");
        readyAtNs_ += config_.bootstrapDelayNs;
    }
    if (fw_ == Firmware::BootWait && nowNs >= readyAtNs_)
    {
        if (faults_.bootstrapSilent())
            enter(Firmware::Silent, readyAtNs_, "bootstrap-hung");
        else
        {
            enter(Firmware::Bootstrap, readyAtNs_, "bootstrap");
            // The bootstrap leaves its default I2C device in the address byte; the toolbox's
            // probe relies on it, as it never writes that byte itself.
            zone_.set(CommandZone::kAddress, kDefaultI2cDevice);
            firmwareStarted(readyAtNs_);
        }
    }
    if (fw_ == Firmware::Booting && nowNs >= readyAtNs_)
    {
        if (faults_.ucodeAbsent())
            enter(Firmware::Absent, readyAtNs_, "ucode-absent");
        else
        {
            enter(Firmware::MicroCode, readyAtNs_, "ucode-running");
            firmwareStarted(readyAtNs_);
        }
    }
    // Completions in time order; a write the host made meanwhile is overwritten by the answer.
    std::stable_sort(pending_.begin(), pending_.end(),
                     [](const Pending& a, const Pending& b) { return a.atNs < b.atNs; });
    size_t done = 0;
    while (done < pending_.size() && pending_[done].atNs <= nowNs)
    {
        for (const auto& w : pending_[done].writes)
            zone_.set(w.first, w.second);
        for (Awaited& a : awaited_)
            if (a.mailbox == pending_[done].mailbox)
                a.answered = true;
        // The answer's last write is its status: with the fault, the board is still writing it.
        if (faults_.flickerReads() != 0 && !pending_[done].writes.empty())
        {
            flickerOffset_ = pending_[done].writes.back().first;
            flickerLeft_ = faults_.flickerReads();
            flickerPending_ = false;
        }
        ++done;
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(done));
}

void Board::firmwareStarted(uint64_t atNs)
{
    // Requests posted while the firmware was starting are latched and taken now.
    if (q7k() ? zone_.get(CommandZone::kStatus) == kPending : zone_.get(CommandZone::kDoorbell) != 0)
        take(CommandZone::kOpcode, atNs);
    for (uint32_t mailbox : {CommandZone::kMailbox1, CommandZone::kMailbox2})
        if (zone_.get(mailbox + 1) == kPending)
            take(mailbox, atNs);
}

void Board::setResetLine(uint8_t value, uint64_t nowNs)
{
    const uint8_t before = zone_.get(CommandZone::kResetLine);
    zone_.set(CommandZone::kResetLine, value);
    TraceJson(nowNs, "reset").num("line", value).emitTo(trace_);
    if (value != 0)
    {
        dropCommands();
        cpu_.reset();
        bootstrap_.reset();
        enter(Firmware::Reset, nowNs, "reset");
        return;
    }
    if (before == 0 || faults_.resetStuck())
        return;
    readyAtNs_ = nowNs + config_.ramCheckDelayNs;
    fw_ = Firmware::RamWait;
    resetSeen_ = true;
}

void Board::take(uint32_t mailbox, uint64_t nowNs)
{
    if (fw_ == Firmware::Absent || !serving())
        return;
    const uint8_t opcode = zone_.get(mailbox);
    // A bootstrap that is still starting leaves the host's first presence queries where they are.
    if (fw_ == Firmware::Bootstrap && opcode == 0x01 && faults_.takeBootstrapQuery())
        return;
    if (mailbox == CommandZone::kOpcode)
        zone_.set(CommandZone::kDoorbell, 0);
    const bool microCode = fw_ == Firmware::MicroCode;
    TraceJson line(nowNs, "cmd");
    line.hex("mbx", mailbox, 4).hex8("op", opcode).str("by", microCode ? "ucode" : "bootstrap");
    awaited_.erase(std::remove_if(awaited_.begin(), awaited_.end(),
                                  [&](const Awaited& a) { return a.mailbox == mailbox; }),
                   awaited_.end());
    awaited_.push_back({mailbox, opcode, false, 0, faults_.takeUnsettled() ? 2u : 0u});
    if (microCode && faults_.ucodeTimesOut())
    {
        line.null("status").emitTo(trace_);
        return;
    }
    CommandResult result = bootstrap_.execute(opcode, nowNs, microCode, line);
    result.latencyNs += microCode ? config_.ucodeCommandNs : config_.bootstrapCommandNs;
    const uint8_t shown = faults_.stuckStatus() ? faults_.stuckStatus() : result.status;
    if (shown != result.status)
        line.hex8("real_status", result.status);
    result.answer.emplace_back(mailbox + 1, shown);
    const uint64_t doneNs = nowNs + result.latencyNs;
    pending_.push_back({doneNs, mailbox, std::move(result.answer)});
    line.hex8("status", shown).num("done_us", doneNs / 1000).emitTo(trace_);
    // The bootstrap hands over to the micro-code once the host has identified the board.
    if (fw_ == Firmware::Bootstrap && opcode == 0x03 && result.status == 0)
        enter(faults_.ucodeAbsent() ? Firmware::Absent : Firmware::MicroCode, doneNs,
              faults_.ucodeAbsent() ? "ucode-absent" : "ucode-running");
}

void Board::switchComponents(uint8_t mask, uint64_t nowNs)
{
    TraceJson(nowNs, "psu")
        .hex8("mask", mask)
        .str("state", mask == PsuController::kAllComponents ? "on" : "off")
        .emitTo(trace_);
    if (!traits_.registerFile)
        return;
    if (mask != PsuController::kAllComponents)
    {
        dropCommands();
        if (fw_ != Firmware::Off)
            enter(Firmware::Off, nowNs, "off");
        return;
    }
    if (fw_ == Firmware::Off)
    {
        enter(Firmware::Booting, nowNs, "booting");
        readyAtNs_ = nowNs + config_.q7kBootDelayNs;
    }
}

uint8_t Board::comramRead(uint32_t offset, uint64_t nowNs)
{
    offset %= CommandZone::kSize;
    advance(nowNs);
    if (traits_.resetLine && offset == CommandZone::kResetLine)
        return zone_.get(offset);
    if (!ramUsable())
        return 0xFF;
    uint8_t value = zone_.get(offset);
    if (flickerLeft_ != 0 && offset == flickerOffset_)
    {
        if (flickerLeft_ != FaultPlan::kForever)
            --flickerLeft_;
        flickerPending_ = !flickerPending_;
        value = flickerPending_ ? kPending : value;
    }
    if (traits_.resetLine && faults_.ramCheckFails())
        return static_cast<uint8_t>(value | kStuckRamBit);
    return statusRead(offset, value, nowNs);
}

void Board::comramWrite(uint32_t offset, uint8_t value, uint64_t nowNs)
{
    offset %= CommandZone::kSize;
    advance(nowNs);
    if (traits_.resetLine && offset == CommandZone::kResetLine)
    {
        setResetLine(value, nowNs);
        return;
    }
    if (offset == CommandZone::kDoorbell && value != 0)
    {
        // Every ring is traced, answered or not, so that a host's retries can be counted against
        // a board that stays silent.
        TraceJson(nowNs, "doorbell").hex8("op", zone_.get(CommandZone::kOpcode)).emitTo(trace_);
    }
    if (!ramUsable())
    {
        // A late RAM counts the host's probes: each writes the check word, then reads it back.
        if (ramLate() && fw_ != Firmware::Reset && offset == CommandZone::kWord4)
            faults_.takeRamProbe();
        return;
    }
    zone_.set(offset, value);
    if (offset == CommandZone::kDoorbell)
    {
        // The Q7K's micro-code looks at the mailbox on any doorbell write; the other boards
        // take an interface-0 command when the doorbell is rung.
        if (q7k() ? zone_.get(CommandZone::kStatus) == kPending : value != 0)
            take(CommandZone::kOpcode, nowNs);
    }
    else if ((offset == CommandZone::kMailbox1 + 1 || offset == CommandZone::kMailbox2 + 1) &&
             value == kPending)
        take(offset - 1, nowNs);
}

void Board::dropCommands()
{
    pending_.clear();
    awaited_.clear();
}

uint8_t Board::statusRead(uint32_t offset, uint8_t value, uint64_t nowNs)
{
    for (auto it = awaited_.begin(); it != awaited_.end(); ++it)
    {
        if (offset != it->mailbox + 1)
            continue;
        if (!it->answered || it->unsettledReads > 0 || value == kPending)
        {
            ++it->pendingReads;
            if (!it->answered || it->unsettledReads == 0)
                return value;
            --it->unsettledReads;
            return kPending;
        }
        // The host's first look at the answer: how often it found the command still pending.
        TraceJson(nowNs, "polled")
            .hex("mbx", it->mailbox, 4)
            .hex8("op", it->opcode)
            .num("pending", it->pendingReads)
            .hex8("status", value)
            .emitTo(trace_);
        awaited_.erase(it);
        return value;
    }
    return value;
}

void Board::traceReg(uint16_t port, uint8_t value, const char* dir, uint64_t nowNs)
{
    TraceJson line(nowNs, "reg");
    line.hex("port", port, 3);
    if (port == Q7kRegisterFile::kDataPort && traits_.registerFile)
        line.num("index", regs_.index());
    line.hex8("value", value).str("dir", dir).emitTo(trace_);
}

uint8_t Board::portRead(uint16_t port, uint64_t nowNs)
{
    advance(nowNs);
    uint8_t value = 0xFF; // nothing decodes the port: the bus floats high
    if (traits_.registerFile && port == Q7kRegisterFile::kIndexPort)
        value = regs_.index();
    else if (traits_.registerFile && port == Q7kRegisterFile::kDataPort)
        value = regs_.readData(nowNs);
    traceReg(port, value, "r", nowNs);
    advance(nowNs);
    return value;
}

void Board::portWrite(uint16_t port, uint8_t value, uint64_t nowNs)
{
    advance(nowNs);
    traceReg(port, value, "w", nowNs);
    if (traits_.registerFile && port == Q7kRegisterFile::kIndexPort)
        regs_.selectIndex(value);
    else if (traits_.registerFile && port == Q7kRegisterFile::kDataPort)
        regs_.writeData(value, nowNs);
    advance(nowNs);
}

} // namespace sim
