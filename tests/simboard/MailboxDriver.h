// A tiny host for the board model: it reaches the board only through SimServer's byte
// interface, with its own virtual clock, the way the tool's toolbox and EEPROM driver do.
#pragma once

#include "SimServer.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace simtest
{

constexpr uint64_t kUs = 1000;
constexpr uint64_t kMs = 1000 * kUs;
constexpr int kTimedOut = -1;
using Bytes = std::vector<uint8_t>;
// The words of a text, split at spaces.
std::vector<std::string> words(const std::string& text);

class RecordingSink : public sim::TraceSink
{
public:
    void emit(const std::string& line) override { lines.push_back(line); }
    // How many lines hold the fragment.
    size_t count(const std::string& fragment) const
    {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line)
                             { return line.find(fragment) != std::string::npos; });
    }
    std::vector<std::string> lines;
};

class MailboxDriver
{
public:
    // Launcher options as KEY=VALUE words, e.g. "board=Q7K fault=uart-stuck timing=uart-byte=100".
    explicit MailboxDriver(const std::string& options = "", Bytes eeprom = sim::sampleEepromImage());
    static sim::BoardConfig config(const std::string& options);

    void wait(uint64_t ns) { now += ns; }
    uint8_t read(uint32_t offset) { return server.comramRead(offset, now); }
    void write(uint32_t offset, uint8_t value) { server.comramWrite(offset, value, now); }
    uint32_t readLe(uint32_t offset, int width);
    void writeLe(uint32_t offset, uint32_t value, int width);

    // The toolbox's wake-up: reset pulses, the RAM check, the bootstrap's first answer.
    bool wake();
    bool memoryCheck();

    // Posts a command and polls its status; the status, or kTimedOut.
    int command(uint8_t opcode, uint32_t mailbox = 0, uint64_t timeoutNs = 1000 * kMs, uint8_t flag = 1,
                uint64_t pollNs = 100 * kUs);
    // Bootstrap memory commands go to this mailbox; on interface 0 the flag byte at 0x0003 is
    // the second byte of the address.
    uint32_t bsMailbox = 0;
    int bsWrite(uint8_t opcode, uint32_t address, uint32_t value);
    int bsRead(uint8_t opcode, uint32_t address, uint32_t* value);
    // The toolbox's bus recovery: the clock pin to the port, ten pulses on it, the pin back.
    void busReset(bool handPinToPort = true);

    // The EEPROM driver's request; answers the status. With the checksum flag, the request's
    // checksum is off by checksumSkew.
    int transfer(uint8_t device, const Bytes& out, uint16_t readCount, Bytes* in, bool checksum = false,
                 uint32_t checksumSkew = 0);
    int eepromRead(uint16_t address, uint16_t count, Bytes* data);

    // A script for the power-supply link: UART set-up (the rate's low divisor byte), then the bytes.
    static std::string psuScript(const std::string& bytes, const char* rate = "32");

    // Runs a script of steps, numbers in hex but for t and COUNT: wOFFSET=VALUE writes the
    // RAM, rOFFSET=VALUE reads it; tMICROSECONDS; m=1 (or 0) the memory check passes (or not);
    // cOPCODE posts a command on interface 0 and rings; pPORT=VALUE reads a port; gINDEX=VALUE
    // sets a Q7K register, qINDEX=VALUE reads one;
    // WADDRESS+COUNT=STATUS writes COUNT bytes 1, 2, 3... to the EEPROM, RADDRESS+COUNT=STATUS
    // reads, P=STATUS polls it with an empty write; MADDRESS=VALUE is a byte of the caller's image.
    void run(const std::string& script);

    RecordingSink trace;
    Bytes eeprom;
    sim::SimServer server;
    uint64_t now = 0;
};

} // namespace simtest
