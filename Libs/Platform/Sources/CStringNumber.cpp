// Integer and network-address conversions of the formatter.
#include "CStringLocal.h"

#include <cstdint>

namespace Orx::Corvane::local
{
namespace
{
const char S_pLowerDigits_c[] = "0123456789abcdefghijklmnopqrstuvwxyz";
const char S_pUpperDigits_c[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// Digits from the least significant end backwards to `end`; a constant base lets the compiler
// replace the division by a multiplication, and 32-bit values avoid 64-bit division on i386.
template <unsigned BASE, typename T> char* Digits(T value, char* end, const char* digitSet)
{
    do
    {
        *--end = digitSet[value % BASE];
        value /= BASE;
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
    {
        return Digits(static_cast<uint32_t>(value), base, end, digitSet);
    }
    return Digits(value, base, end, digitSet);
}
} // namespace

bool Number(SSink& out, unsigned long long value, unsigned base, const SField& field)
{
    if (base < 2 || base > 36)
    {
        return false;
    }
    const unsigned flags_U32 = field.Flags_U32;
    char sign_c = 0;
    if ((flags_U32 & FLAG_SIGNED) && static_cast<long long>(value) < 0)
    {
        sign_c = '-';
        value = 0 - value;
    }
    else if ((flags_U32 & (FLAG_SIGNED | FLAG_PLUS)) == (FLAG_SIGNED | FLAG_PLUS))
    {
        sign_c = '+';
    }
    else if ((flags_U32 & (FLAG_SIGNED | FLAG_SPACE)) == (FLAG_SIGNED | FLAG_SPACE))
    {
        sign_c = ' ';
    }

    // The prefix is written for 0 as well: "%#x" of 0 gives "0x0", "%#o" of 0 gives "00".
    const char* pPrefix_c = "";
    size_t prefixLength_U32 = 0;
    if (flags_U32 & FLAG_SPECIAL)
    {
        if (base == 16)
        {
            pPrefix_c = "0x";
            prefixLength_U32 = 2;
        }
        else if (base == 8)
        {
            pPrefix_c = "0";
            prefixLength_U32 = 1;
        }
    }

    char pBuffer_c[64];
    char* const pEnd_c = pBuffer_c + sizeof pBuffer_c;
    const char* pFirst_c =
        AllDigits(value, base, pEnd_c, (flags_U32 & FLAG_UPPER) ? S_pUpperDigits_c : S_pLowerDigits_c);
    const long long length_S64 = pEnd_c - pFirst_c;
    // Zero prints its digit even with precision 0.
    const long long precision_S64 = field.Precision_S32 > length_S64 ? field.Precision_S32 : length_S64;

    const long long pad_S64 =
        OpenField(out, flags_U32, field.Width_S32, precision_S64, sign_c, pPrefix_c, prefixLength_U32);
    out.Fill('0', precision_S64 - length_S64);
    out.Write(pFirst_c, static_cast<size_t>(length_S64));
    CloseField(out, flags_U32, pad_S64);
    return true;
}

size_t Dotted(const unsigned char* bytes, char* text)
{
    char* pPos_c = text;
    for (int i = 0; i < 4; ++i)
    {
        if (i != 0)
        {
            *pPos_c++ = '.';
        }
        char pDigits_c[3];
        char* pFirst_c = Digits<10>(static_cast<unsigned>(bytes[i]), pDigits_c + 3, S_pLowerDigits_c);
        while (pFirst_c != pDigits_c + 3)
        {
            *pPos_c++ = *pFirst_c++;
        }
    }
    return static_cast<size_t>(pPos_c - text);
}

size_t Ethernet(const unsigned char* bytes, bool upper, char* text)
{
    const char* pDigitSet_c = upper ? S_pUpperDigits_c : S_pLowerDigits_c;
    char* pPos_c = text;
    for (int i = 0; i < 6; ++i)
    {
        if (i != 0)
        {
            *pPos_c++ = ':';
        }
        *pPos_c++ = pDigitSet_c[bytes[i] >> 4];
        *pPos_c++ = pDigitSet_c[bytes[i] & 15];
    }
    return static_cast<size_t>(pPos_c - text);
}
} // namespace Orx::Corvane::local
