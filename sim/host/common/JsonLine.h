// One flat JSON object for the trace and the system log files, in the trace's shape: the
// virtual time in microseconds and the event name first, then the event's fields.
#pragma once

#include <cstdint>
#include <string>

namespace simhost
{

class JsonLine
{
public:
    JsonLine(uint64_t nowNs, const char* event);

    JsonLine& str(const char* key, const std::string& value);
    JsonLine& num(const char* key, int64_t value);
    // A hexadecimal text such as "0x80206e01", as the trace writes register numbers.
    JsonLine& hex(const char* key, uint32_t value, int digits);

    // The complete object, without a newline.
    std::string text() const { return text_ + "}"; }

private:
    void key(const char* name);
    std::string text_;
};

} // namespace simhost
