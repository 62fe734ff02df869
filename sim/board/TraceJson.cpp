#include "TraceJson.h"

#include "SimServer.h"

#include <cstdio>

namespace sim
{

TraceJson::TraceJson(uint64_t nowNs, const char* event)
{
    text_ = "{\"t_us\":" + std::to_string(nowNs / 1000);
    str("ev", event);
}

void TraceJson::key(const char* name)
{
    text_ += ",\"";
    text_ += name;
    text_ += "\":";
}

TraceJson& TraceJson::str(const char* name, const std::string& value)
{
    key(name);
    text_ += '"';
    for (char c : value)
    {
        if (c == '"' || c == '\\')
        {
            text_ += '\\';
            text_ += c;
        }
        else if (static_cast<unsigned char>(c) < 0x20)
        {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            text_ += buf;
        }
        else
        {
            text_ += c;
        }
    }
    text_ += '"';
    return *this;
}

TraceJson& TraceJson::num(const char* name, uint64_t value)
{
    key(name);
    text_ += std::to_string(value);
    return *this;
}

TraceJson& TraceJson::snum(const char* name, int64_t value)
{
    key(name);
    text_ += std::to_string(value);
    return *this;
}

TraceJson& TraceJson::hex(const char* name, uint32_t value, int digits)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%0*X", digits, static_cast<unsigned>(value));
    return str(name, buf);
}

TraceJson& TraceJson::null(const char* name)
{
    key(name);
    text_ += "null";
    return *this;
}

void TraceJson::emitTo(TraceSink* sink)
{
    if (sink == nullptr)
        return;
    sink->emit(line());
}

} // namespace sim
