#include "FaultPlan.h"
#include "SimServer.h"

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

} // namespace

BoardConfig::BoardConfig() = default;

bool BoardConfig::apply(const std::string& key, const std::string& value, std::string* error)
{
    if (key == "board")
    {
        struct Named
        {
            const char* name;
            BoardModel model;
            uint8_t ident;
            uint8_t version0;
        };
        // Each model comes with identification and version bytes that make the host recognise
        // it; explicit "ident"/"version" options win whatever their order.
        static const Named kModels[] = {{"ZEBX", BoardModel::Zebx, 0x12, 0x03},
                                        {"Q5K", BoardModel::Q5k, 0xB2, 0x03},
                                        {"Q5KP", BoardModel::Q5kp, 0xC5, 0x03},
                                        {"Q5KP-V", BoardModel::Q5kpVariant, 0xC5, 0x0B},
                                        {"Q7K", BoardModel::Q7k, 0xD1, 0x03}};
        for (const Named& m : kModels)
        {
            if (value != m.name)
                continue;
            model = m.model;
            if (!identSet_)
                ident = m.ident;
            if (!versionSet_)
                version[0] = m.version0;
            return true;
        }
        return fail(error, "board: unknown model '" + value + "' (ZEBX, Q5K, Q5KP, Q5KP-V, Q7K)");
    }
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
        const unsigned long long parsed = std::strtoull(value.c_str(), &end, 0);
        if (value.empty() || *end != '\0' || value[0] == '-')
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

} // namespace sim
