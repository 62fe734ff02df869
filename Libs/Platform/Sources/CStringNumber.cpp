// Integer and network-address conversions of the formatter.
#include "CStringLocal.h"

#include <cstdint>

namespace Orx::Corvane::local
{
namespace
{
const char kLowerDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
const char kUpperDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// Digits from the least significant end backwards to `end`; a constant base lets the compiler
// replace the division by a multiplication, and 32-bit values avoid 64-bit division on i386.
template <unsigned Base, typename T> char* Digits(T value, char* end, const char* digitSet)
{
    do
    {
        *--end = digitSet[value % Base];
        value /= Base;
    } while (value != 0);
    return end;
}

template <typename T> char* Digits(T value, unsigned base, char* end, const char* digitSet)
{
    switch (base)
    {
    case 10:
        return Digits<10>(value, end, digitSet);
    case 16:
        return Digits<16>(value, end, digitSet);
    case 8:
        return Digits<8>(value, end, digitSet);
    default:
        do
        {
            *--end = digitSet[value % base];
            value /= base;
        } while (value != 0);
        return end;
    }
}

char* AllDigits(unsigned long long value, unsigned base, char* end, const char* digitSet)
{
    if (value <= UINT32_MAX)
        return Digits(static_cast<uint32_t>(value), base, end, digitSet);
    return Digits(value, base, end, digitSet);
}
} // namespace

bool number(Sink& out, unsigned long long value, unsigned base, const Field& field)
{
    if (base < 2 || base > 36)
        return false;
    const unsigned flags = field.flags;
    char sign = 0;
    if ((flags & kSigned) && static_cast<long long>(value) < 0)
    {
        sign = '-';
        value = 0 - value;
    }
    else if ((flags & (kSigned | kPlus)) == (kSigned | kPlus))
        sign = '+';
    else if ((flags & (kSigned | kSpace)) == (kSigned | kSpace))
        sign = ' ';

    // The prefix is written for 0 as well: "%#x" of 0 gives "0x0", "%#o" of 0 gives "00".
    const char* prefix = "";
    size_t prefixLength = 0;
    if (flags & kSpecial)
    {
        if (base == 16)
            prefix = "0x", prefixLength = 2;
        else if (base == 8)
            prefix = "0", prefixLength = 1;
    }

    char buffer[64];
    char* const end = buffer + sizeof buffer;
    const char* first = AllDigits(value, base, end, (flags & kUpper) ? kUpperDigits : kLowerDigits);
    const long long length = end - first;
    // Zero prints its digit even with precision 0.
    const long long precision = field.precision > length ? field.precision : length;

    const long long pad = OpenField(out, flags, field.width, precision, sign, prefix, prefixLength);
    out.Fill('0', precision - length);
    out.Write(first, static_cast<size_t>(length));
    CloseField(out, flags, pad);
    return true;
}

size_t Dotted(const unsigned char* bytes, char* text)
{
    char* pos = text;
    for (int i = 0; i < 4; ++i)
    {
        if (i != 0)
            *pos++ = '.';
        char digits[3];
        char* first = Digits<10>(static_cast<unsigned>(bytes[i]), digits + 3, kLowerDigits);
        while (first != digits + 3)
            *pos++ = *first++;
    }
    return static_cast<size_t>(pos - text);
}

size_t Ethernet(const unsigned char* bytes, bool upper, char* text)
{
    const char* digitSet = upper ? kUpperDigits : kLowerDigits;
    char* pos = text;
    for (int i = 0; i < 6; ++i)
    {
        if (i != 0)
            *pos++ = ':';
        *pos++ = digitSet[bytes[i] >> 4];
        *pos++ = digitSet[bytes[i] & 15];
    }
    return static_cast<size_t>(pos - text);
}
} // namespace Orx::Corvane::local
