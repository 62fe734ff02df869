// A tiny host for the board model: it reaches the board only through SimServer's byte
// interface, with its own virtual clock, the way the tool's toolbox and EEPROM driver do.
#pragma once

#include "SimServer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace simtest
{

constexpr uint64_t kUs = 1000;
constexpr uint64_t kMs = 1000 * kUs;
constexpr int kTimedOut = -1;

class RecordingSink : public sim::TraceSink
{
public:
    void emit(const std::string& line) override { lines.push_back(line); }
    // Lines that contain every one of the fragments.
    std::vector<std::string> matching(std::initializer_list<const char*> fragments) const;
    std::vector<std::string> lines;
};

class MailboxDriver
{
public:
    explicit MailboxDriver(const sim::BoardConfig& config = sim::BoardConfig(),
                           std::vector<uint8_t> eeprom = sim::sampleEepromImage());
    static sim::BoardConfig config(std::initializer_list<std::pair<const char*, const char*>> options);

    void wait(uint64_t ns) { now += ns; }
    uint8_t read(uint32_t offset) { return server.comramRead(offset, now); }
    void write(uint32_t offset, uint8_t value) { server.comramWrite(offset, value, now); }
    uint32_t readLe(uint32_t offset, int width);
    void writeLe(uint32_t offset, uint32_t value, int width);

    // The toolbox's wake-up steps.
    void resetPulse();
    bool memoryCheck();
    bool waitBootstrap(uint64_t budgetNs = 1000 * kMs);
    // Reset pulse, memory check and bootstrap presence: the board answers commands after it.
    bool wake();

    // The toolbox's BoardWakeUp for boards other than the Q7K, with shorter budgets: 0 or its
    // wake-up error code (1 RAM, 2 bootstrap, 3 identification, 4 version, 5 wake-up step,
    // 6 I2C probe).
    int boardWakeUp(int attempts);

    // Posts a command and polls its status every 100 µs; the status, or kTimedOut.
    int command(uint8_t opcode, uint32_t mailbox = 0, uint64_t timeoutNs = 1000 * kMs);
    // Bootstrap memory commands go to this mailbox; the toolbox uses interface 0, whose flag
    // byte at 0x0003 is the second byte of the address.
    uint32_t bsMailbox = 0;
    int bsWrite(uint8_t opcode, uint32_t address, uint32_t value);
    int bsRead(uint8_t opcode, uint32_t address, uint32_t* value);
    // The toolbox's bus recovery: 3 bootstrap reads and 23 writes.
    void busReset();

    // The EEPROM driver's request: device, checksum flag, counts, data; answers the status.
    int transfer(uint8_t device, const std::vector<uint8_t>& out, uint16_t readCount,
                 std::vector<uint8_t>* in, bool checksum = false);
    int eepromRead(uint16_t address, uint16_t count, std::vector<uint8_t>* data);
    int eepromWrite(uint16_t address, const std::vector<uint8_t>& data);

    // The Q7K register file through the index and data ports.
    uint8_t reg(uint8_t index);
    void setReg(uint8_t index, uint8_t value);
    // The power-supply link: UART set-up, escape sequence, a switch command; waits for the FIFO.
    bool psuSend(const std::vector<uint8_t>& bytes);

    RecordingSink trace;
    std::vector<uint8_t> eeprom;
    sim::SimServer server;
    uint64_t now = 0;
};

} // namespace simtest
