#pragma once
// Internal routines of CString's formatter, shared by its source files and nothing else.
#include <cstddef>
#include <cstring>

namespace Orx::Corvane::local
{
enum EFlag : unsigned
{
    FLAG_LEFT = 1u << 0,     // left-justify in the field
    FLAG_PLUS = 1u << 1,     // "+" before non-negative signed values
    FLAG_SPACE = 1u << 2,    // " " before non-negative signed values
    FLAG_SPECIAL = 1u << 3,  // alternate form: "0x"/"0" prefix, forced decimal point, kept zeros
    FLAG_ZERO_PAD = 1u << 4, // zeros between sign/prefix and digits up to the width
    FLAG_SIGNED = 1u << 5,   // the value may be negative
    FLAG_UPPER = 1u << 6,    // upper-case digits and exponent letter
};

// One conversion as the scanner read it; width and precision are -1 when not given.
struct SField
{
    unsigned Flags_U32;
    int Width_S32;
    int Precision_S32;
};

// The caller's buffer: characters are stored while room is left, the rest is dropped silently.
struct SSink
{
    char* pStart_c;
    char* pPos_c;
    unsigned Room_U32;

    void Put(char c)
    {
        if (Room_U32 != 0)
        {
            *pPos_c++ = c;
            --Room_U32;
        }
    }
    void Write(const char* text, size_t length)
    {
        if (length > Room_U32)
        {
            length = Room_U32;
        }
        std::memcpy(pPos_c, text, length);
        pPos_c += length;
        Room_U32 -= static_cast<unsigned>(length);
    }
    void Fill(char c, long long count)
    {
        if (count <= 0)
        {
            return;
        }
        const size_t length_U32 = count > Room_U32 ? Room_U32 : static_cast<size_t>(count);
        std::memset(pPos_c, c, length_U32);
        pPos_c += length_U32;
        Room_U32 -= static_cast<unsigned>(length_U32);
    }
    // A width on %n, %% or an unknown conversion consumes room without storing anything.
    void Consume(long long count)
    {
        if (count > 0)
        {
            Room_U32 = count >= Room_U32 ? 0 : Room_U32 - static_cast<unsigned>(count);
        }
    }
    int Stored() const { return static_cast<int>(pPos_c - pStart_c); }
};

// Writes what stands before a field's body: spaces to the width (unless zero-padded or
// left-justified), the sign, the prefix, then zeros to the width when zero-padded. Returns the
// padding still owed behind the body; CloseField writes it for left-justified fields.
inline long long OpenField(SSink& out, unsigned flags, int width, long long bodyLength, char sign,
                           const char* prefix = "", size_t prefixLength = 0)
{
    const long long pad_S64 = width - bodyLength - (sign ? 1 : 0) - static_cast<long long>(prefixLength);
    if (!(flags & (FLAG_LEFT | FLAG_ZERO_PAD)))
    {
        out.Fill(' ', pad_S64);
    }
    if (sign)
    {
        out.Put(sign);
    }
    out.Write(prefix, prefixLength);
    if (flags & FLAG_ZERO_PAD)
    {
        out.Fill('0', pad_S64);
    }
    return pad_S64;
}

inline void CloseField(SSink& out, unsigned flags, long long pad)
{
    if (flags & FLAG_LEFT)
    {
        out.Fill(' ', pad);
    }
}

// Plain text padded with spaces to the width; zero padding never applies to text.
inline void TextField(SSink& out, const SField& field, const char* text, size_t length)
{
    const unsigned flags_U32 = field.Flags_U32 & ~FLAG_ZERO_PAD;
    const long long pad_S64 = OpenField(out, flags_U32, field.Width_S32, static_cast<long long>(length), 0);
    out.Write(text, length);
    CloseField(out, flags_U32, pad_S64);
}

// Integer in `base` (2..36); false for any other base, an internal fault that voids the output.
bool Number(SSink& out, unsigned long long value, unsigned base, const SField& field);

// Floating point for the conversions e, E, f, g and G.
void Float(SSink& out, double value, char conversion, const SField& field);

constexpr int CVT_SIZE = 512;

// Decimal digits of a non-negative value, rounded; `fromFirst` counts `digits` from the first
// significant digit (e, g), otherwise from the point (f). Stores the decimal exponent in
// `exponent` (value = 0.d1d2... x 10^exponent) and returns how many digits `buffer` holds.
int Cvt(double value, int digits, bool fromFirst, char (&buffer)[CVT_SIZE], int& exponent);

// Network addresses: dotted IPv4 from 4 bytes, colon-separated Ethernet from 6 bytes.
size_t Dotted(const unsigned char* bytes, char* text);
size_t Ethernet(const unsigned char* bytes, bool upper, char* text);
} // namespace Orx::Corvane::local
