#include "ModelTraits.h"

namespace sim
{

namespace
{

// The bootstrap's opcodes; the Q7K's micro-code serves the presence check and the I2C service only.
const ModelTraits kModels[] = {
    {BoardModel::Zebx,
     "ZEBX",
     0x12,
     0x03,
     true,
     true,
     false,
     {0x01, 0x02, 0x03, 0x05, 0x80, 0x81, 0x82, 0x86, 0x87, 0x88, 0x90, 0x92}},
    {BoardModel::Q5k,
     "Q5K",
     0xB2,
     0x03,
     true,
     true,
     false,
     {0x01, 0x02, 0x03, 0x05, 0x80, 0x81, 0x82, 0x86, 0x87, 0x88, 0x90, 0x92}},
    {BoardModel::Q5kp,
     "Q5KP",
     0xC5,
     0x03,
     true,
     false,
     false,
     {0x01, 0x02, 0x03, 0x05, 0x80, 0x81, 0x82, 0x86, 0x87, 0x88, 0x90}},
    {BoardModel::Q5kpVariant,
     "Q5KP-V",
     0xC5,
     0x0B,
     true,
     false,
     false,
     {0x01, 0x02, 0x03, 0x05, 0x80, 0x81, 0x82, 0x86, 0x87, 0x88, 0x90}},
    {BoardModel::Q7k, "Q7K", 0xD1, 0x03, false, false, true, {0x01, 0x90}},
};

} // namespace

bool ModelTraits::knows(uint8_t opcode) const
{
    for (const uint8_t* known = opcodes; *known != 0; ++known)
        if (*known == opcode)
            return true;
    return false;
}

const ModelTraits& ModelTraits::of(BoardModel model)
{
    for (const ModelTraits& traits : kModels)
        if (traits.model == model)
            return traits;
    return kModels[1];
}

const ModelTraits* ModelTraits::named(const std::string& name)
{
    for (const ModelTraits& traits : kModels)
        if (name == traits.name)
            return &traits;
    return nullptr;
}

std::string ModelTraits::names()
{
    std::string text;
    for (const ModelTraits& traits : kModels)
        text += (text.empty() ? "" : "|") + std::string(traits.name);
    return text;
}

} // namespace sim
