// Builds one protocol trace line: a flat JSON object whose first field is the virtual time.
#pragma once

#include <cstdint>
#include <string>

namespace sim
{

struct TraceSink;

class TraceJson
{
public:
    TraceJson(uint64_t nowNs, const char* event);

    TraceJson& str(const char* key, const std::string& value);
    TraceJson& num(const char* key, uint64_t value);
    // A signed number: descriptors, results and statuses that may be -1.
    TraceJson& snum(const char* key, int64_t value);
    TraceJson& hex(const char* key, uint32_t value, int digits);
    TraceJson& hex8(const char* key, uint32_t value) { return hex(key, value, 2); }
    TraceJson& null(const char* key);

    const std::string& text() const { return text_; }
    // The complete object, without a newline.
    std::string line() const { return text_ + "}"; }
    // Closes the object and hands it to the sink; a null sink drops it.
    void emitTo(TraceSink* sink);

private:
    void key(const char* name);
    std::string text_;
};

} // namespace sim
