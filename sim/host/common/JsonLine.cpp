#include "JsonLine.h"

#include <cstdio>

namespace simhost
{

JsonLine::JsonLine(uint64_t nowNs, const char* event)
{
    text_ = "{\"t_us\":" + std::to_string(nowNs / 1000);
    str("ev", event);
}

void JsonLine::key(const char* name)
{
    text_ += ",\"";
    text_ += name;
    text_ += "\":";
}

JsonLine& JsonLine::str(const char* name, const std::string& value)
{
    key(name);
    text_ += '"';
    for (const char c : value)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            (text_ += '\\') += c;
        else if (byte < 0x20)
        {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            text_ += escaped;
        }
        else
            text_ += c;
    }
    text_ += '"';
    return *this;
}

JsonLine& JsonLine::num(const char* name, int64_t value)
{
    key(name);
    text_ += std::to_string(value);
    return *this;
}

JsonLine& JsonLine::hex(const char* name, uint32_t value, int digits)
{
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%0*x", digits, value);
    return str(name, buffer);
}

} // namespace simhost
