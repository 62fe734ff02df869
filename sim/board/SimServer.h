// The simulated codec board of a broadcast video server, seen from the host: communication RAM
// bytes and host I/O ports, each access stamped with a virtual time. The model has no threads and
// no OS dependencies; it advances lazily on every access.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sim
{

// Receives one JSON object per protocol event, without a trailing newline.
struct TraceSink
{
    virtual ~TraceSink() = default;
    virtual void emit(const std::string& jsonObject) = 0;
};

enum class BoardModel
{
    Zebx,
    Q5k,
    Q5kp,
    Q5kpVariant,
    Q7k
};

// One fault the board or its I2C bus will show, parsed from "NAME[=ARGS]".
struct FaultRequest
{
    std::string name;
    std::vector<uint32_t> args;
};

class BoardConfig
{
public:
    BoardConfig();

    // Applies one launcher option; false with an error text for an unknown key or bad value.
    // Keys: "board" (ZEBX|Q5K|Q5KP|Q5KP-V|Q7K), "ident" (identification byte, e.g. 0xB2),
    // "version" (two bytes "0x03,0x12"), "q7k-regs" (four bytes "0xD1,0x02,0x34,0x05"),
    // "fault" (a fault request NAME[=ARGS], repeatable), "seed" (unsigned 64-bit), "timing"
    // (NAME=MICROSECONDS, repeatable).
    bool apply(const std::string& key, const std::string& value, std::string* error);

    BoardModel model = BoardModel::Q5k;
    uint8_t ident = 0xB2;
    uint8_t version[2] = {0x03, 0x12};
    uint8_t q7kRegs[4] = {0xD1, 0x02, 0x34, 0x05};
    std::vector<FaultRequest> faults;
    uint64_t seed = 1;

    // Virtual latencies in nanoseconds, each a "timing" option (timingNames()).
    uint64_t ramCheckDelayNs = 5'000'000;
    uint64_t bootstrapDelayNs = 50'000'000;
    uint64_t bootstrapCommandNs = 50'000;
    uint64_t ucodeCommandNs = 100'000;
    uint64_t i2cByteNs = 25'000;
    uint64_t eepromWriteCycleNs = 5'000'000;
    uint64_t q7kBootDelayNs = 200'000'000;
    uint64_t uartByteNs = 260'417; // 38400 baud, 10 bits a character

private:
    bool applyTiming(const std::string& value, std::string* error);

    bool identSet_ = false;
    bool versionSet_ = false;
};

// Every board fault name with a one-line description, for --help.
std::vector<std::string> faultNames();
// Every timing name with its default and a one-line description, for --help.
std::vector<std::string> timingNames();
// "ZEBX|Q5K|...": the board models.
std::string modelNames();
// 32768 bytes: the built-in sample unit.
std::vector<uint8_t> sampleEepromImage();
// argv[0] = "make" or "show" ...; output on stdout, errors on stderr, returns exit status.
int imageCommand(int argc, char** argv);

class Board;

class SimServer
{
public:
    static constexpr uint32_t kComramSize = 0x8000;
    static constexpr uint32_t kEepromSize = 0x8000;

    SimServer(const BoardConfig& config,
              uint8_t* eeprom /* kEepromSize bytes, persistent, owned by the caller */,
              TraceSink* trace /* may be null */);
    ~SimServer();
    SimServer(const SimServer&) = delete;
    SimServer& operator=(const SimServer&) = delete;

    uint8_t comramRead(uint32_t offset, uint64_t nowNs);
    void comramWrite(uint32_t offset, uint8_t value, uint64_t nowNs);
    // Host I/O ports; the mapped I/O area's byte N is port N.
    uint8_t portRead(uint16_t port, uint64_t nowNs);
    void portWrite(uint16_t port, uint8_t value, uint64_t nowNs);

private:
    std::unique_ptr<Board> board_;
};

} // namespace sim
