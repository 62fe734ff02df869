#include "FaultPlan.h"
#include "ModelTraits.h"
#include "SimServer.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace sim
{

namespace
{

bool parseByteList(const std::string& text, uint8_t* out, size_t count)
{
    size_t start = 0;
    for (size_t i = 0; i < count; ++i)
    {
        const size_t comma = text.find(',', start);
        if ((comma == std::string::npos) != (i + 1 == count))
            return false;
        const std::string part = text.substr(start, comma - start);
        if (part.empty())
            return false;
        char* end = nullptr;
        const unsigned long value = std::strtoul(part.c_str(), &end, 0);
        if (*end != '\0' || part[0] == '-' || value > 0xFF)
            return false;
        out[i] = static_cast<uint8_t>(value);
        start = comma + 1;
    }
    return true;
}

bool fail(std::string* error, const std::string& text)
{
    if (error)
        *error = text;
    return false;
}

struct Timing
{
    const char* name;
    uint64_t BoardConfig::*field;
    const char* description;
};

const Timing kTimings[] = {
    {"ram-ready", &BoardConfig::ramCheckDelayNs, "the RAM works this long after the reset line is released"},
    {"bootstrap-ready", &BoardConfig::bootstrapDelayNs, "the bootstrap runs this long after the RAM works"},
    {"bootstrap-cmd", &BoardConfig::bootstrapCommandNs, "a bootstrap command's execution time"},
    {"ucode-cmd", &BoardConfig::ucodeCommandNs,
     "a micro-code command's execution time (I2C wire time apart)"},
    {"i2c-byte", &BoardConfig::i2cByteNs, "I2C wire time of one byte"},
    {"eeprom-write", &BoardConfig::eepromWriteCycleNs, "the EEPROM's write cycle after a page write"},
    {"q7k-boot", &BoardConfig::q7kBootDelayNs, "the Q7K's micro-code starts this long after power-on"},
    {"uart-byte", &BoardConfig::uartByteNs, "the Q7K UART sends one byte in this time"},
};

} // namespace

BoardConfig::BoardConfig() = default;

bool BoardConfig::applyTiming(const std::string& value, std::string* error)
{
    const size_t eq = value.find('=');
    const std::string name = value.substr(0, eq);
    for (const Timing& timing : kTimings)
    {
        if (name != timing.name)
            continue;
        const std::string number = eq == std::string::npos ? "" : value.substr(eq + 1);
        char* end = nullptr;
        const double us = std::strtod(number.c_str(), &end);
        if (number.empty() || *end != '\0' || !(us >= 0) || us > 1e9)
            return fail(error, "timing " + name + ": expected microseconds, e.g. " + name + "=250, got '" +
                                   number + "'");
        this->*timing.field = static_cast<uint64_t>(us * 1000 + 0.5);
        return true;
    }
    std::string names;
    for (const Timing& timing : kTimings)
        names += (names.empty() ? "" : ", ") + std::string(timing.name);
    return fail(error, "timing: unknown name '" + name + "' (" + names + ")");
}

bool BoardConfig::apply(const std::string& key, const std::string& value, std::string* error)
{
    if (key == "board")
    {
        const ModelTraits* traits = ModelTraits::named(value);
        if (traits == nullptr)
            return fail(error, "board: unknown model '" + value + "' (" + ModelTraits::names() + ")");
        // Each model comes with identification and version bytes that make the host recognise
        // it; explicit "ident"/"version" options win whatever their order.
        model = traits->model;
        if (!identSet_)
            ident = traits->ident;
        if (!versionSet_)
            version[0] = traits->version0;
        return true;
    }
    if (key == "timing")
        return applyTiming(value, error);
    if (key == "ident")
    {
        if (!parseByteList(value, &ident, 1))
            return fail(error, "ident: expected one byte, e.g. 0xB2, got '" + value + "'");
        identSet_ = true;
        return true;
    }
    if (key == "version")
    {
        if (!parseByteList(value, version, 2))
            return fail(error, "version: expected two bytes, e.g. 0x03,0x12, got '" + value + "'");
        versionSet_ = true;
        return true;
    }
    if (key == "q7k-regs")
    {
        if (!parseByteList(value, q7kRegs, 4))
            return fail(error,
                        "q7k-regs: expected four bytes, e.g. 0xD1,0x02,0x34,0x05, got '" + value + "'");
        return true;
    }
    if (key == "fault")
    {
        FaultRequest request;
        if (!FaultPlan::parse(value, &request, error))
            return false;
        faults.push_back(request);
        return true;
    }
    if (key == "seed")
    {
        char* end = nullptr;
        errno = 0;
        const unsigned long long parsed = std::strtoull(value.c_str(), &end, 0);
        if (value.empty() || *end != '\0' || value[0] == '-' || errno == ERANGE)
            return fail(error, "seed: expected an unsigned 64-bit number, got '" + value + "'");
        seed = parsed;
        return true;
    }
    return fail(error, "unknown board option '" + key + "'");
}

std::vector<std::string> faultNames()
{
    return FaultPlan::descriptions();
}

std::vector<std::string> timingNames()
{
    const BoardConfig defaults;
    std::vector<std::string> lines;
    for (const Timing& timing : kTimings)
    {
        char head[64];
        std::snprintf(head, sizeof head, "%s=%g", timing.name,
                      static_cast<double>(defaults.*timing.field) / 1000);
        std::string line = head;
        line.resize(line.size() < 30 ? 30 : line.size() + 1, ' ');
        lines.push_back(line + timing.description);
    }
    return lines;
}

std::string modelNames()
{
    return ModelTraits::names();
}

} // namespace sim
