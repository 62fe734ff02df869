#pragma once
// Internal routines of CString's formatter, shared by its source files and nothing else.
#include <cstddef>
#include <cstring>

namespace Orx::Corvane::local
{
enum Flag : unsigned
{
    kLeft = 1u << 0,    // left-justify in the field
    kPlus = 1u << 1,    // "+" before non-negative signed values
    kSpace = 1u << 2,   // " " before non-negative signed values
    kSpecial = 1u << 3, // alternate form: "0x"/"0" prefix, forced decimal point, kept zeros
    kZeroPad = 1u << 4, // zeros between sign/prefix and digits up to the width
    kSigned = 1u << 5,  // the value may be negative
    kUpper = 1u << 6,   // upper-case digits and exponent letter
};

// One conversion as the scanner read it; width and precision are -1 when not given.
struct Field
{
    unsigned flags;
    int width;
    int precision;
};

// The caller's buffer: characters are stored while room is left, the rest is dropped silently.
struct Sink
{
    char* start;
    char* pos;
    unsigned room;

    void Put(char c)
    {
        if (room != 0)
        {
            *pos++ = c;
            --room;
        }
    }
    void Write(const char* text, size_t length)
    {
        if (length > room)
            length = room;
        std::memcpy(pos, text, length);
        pos += length;
        room -= static_cast<unsigned>(length);
    }
    void Fill(char c, long long count)
    {
        if (count <= 0)
            return;
        const size_t length = count > room ? room : static_cast<size_t>(count);
        std::memset(pos, c, length);
        pos += length;
        room -= static_cast<unsigned>(length);
    }
    // A width on %n, %% or an unknown conversion consumes room without storing anything.
    void Consume(long long count)
    {
        if (count > 0)
            room = count >= room ? 0 : room - static_cast<unsigned>(count);
    }
    int Stored() const { return static_cast<int>(pos - start); }
};

// Writes what stands before a field's body: spaces to the width (unless zero-padded or
// left-justified), the sign, the prefix, then zeros to the width when zero-padded. Returns the
// padding still owed behind the body; CloseField writes it for left-justified fields.
inline long long OpenField(Sink& out, unsigned flags, int width, long long bodyLength, char sign,
                           const char* prefix = "", size_t prefixLength = 0)
{
    const long long pad = width - bodyLength - (sign ? 1 : 0) - static_cast<long long>(prefixLength);
    if (!(flags & (kLeft | kZeroPad)))
        out.Fill(' ', pad);
    if (sign)
        out.Put(sign);
    out.Write(prefix, prefixLength);
    if (flags & kZeroPad)
        out.Fill('0', pad);
    return pad;
}

inline void CloseField(Sink& out, unsigned flags, long long pad)
{
    if (flags & kLeft)
        out.Fill(' ', pad);
}

// Plain text padded with spaces to the width; zero padding never applies to text.
inline void TextField(Sink& out, const Field& field, const char* text, size_t length)
{
    const unsigned flags = field.flags & ~kZeroPad;
    const long long pad = OpenField(out, flags, field.width, static_cast<long long>(length), 0);
    out.Write(text, length);
    CloseField(out, flags, pad);
}

// Integer in `base` (2..36); false for any other base, an internal fault that voids the output.
bool number(Sink& out, unsigned long long value, unsigned base, const Field& field);

// Floating point for the conversions e, E, f, g and G.
void flt(Sink& out, double value, char conversion, const Field& field);

constexpr int kCvtSize = 512;

// Decimal digits of a non-negative value, rounded; `fromFirst` counts `digits` from the first
// significant digit (e, g), otherwise from the point (f). Stores the decimal exponent in
// `exponent` (value = 0.d1d2... x 10^exponent) and returns how many digits `buffer` holds.
int cvt(double value, int digits, bool fromFirst, char (&buffer)[kCvtSize], int& exponent);

// Network addresses: dotted IPv4 from 4 bytes, colon-separated Ethernet from 6 bytes.
size_t Dotted(const unsigned char* bytes, char* text);
size_t Ethernet(const unsigned char* bytes, bool upper, char* text);
} // namespace Orx::Corvane::local
