// Decimal digit generation for the floating-point conversions.
#include "CStringLocal.h"

#include <cfloat>
#include <cmath>

namespace Orx::Corvane::local
{
namespace
{
// Kept out of line so that no step of it can be moved outside the precision set by Cvt.
__attribute__((noinline)) int Digits(double value, int digits, bool fromFirst, char (&buffer)[CVT_SIZE],
                                     int& exponent)
{
    if (digits < 0)
    {
        digits = 0;
    }
    if (digits > CVT_SIZE - 2)
    {
        digits = CVT_SIZE - 2;
    }
    char* const pEnd_c = buffer + CVT_SIZE;
    char* pPos_c = buffer;
    double whole_F64;
    double fraction_F64 = std::modf(value, &whole_F64);
    int decimalExponent_S32 = 0;

    if (whole_F64 != 0)
    {
        // Integer digits, least significant first, into the tail of the buffer.
        char* pTail_c = pEnd_c;
        while (whole_F64 != 0 && pTail_c > buffer)
        {
            const double part_F64 = std::modf(whole_F64 / 10, &whole_F64);
            // The 0.03 absorbs the error of the division so that 0.3999... still gives 4.
            const int digit_S32 = static_cast<int>((part_F64 + 0.03) * 10);
            *--pTail_c = static_cast<char>('0' + (digit_S32 > 9 ? 9 : digit_S32));
            ++decimalExponent_S32;
        }
        while (pTail_c < pEnd_c)
        {
            *pPos_c++ = *pTail_c++;
        }
    }
    else if (fraction_F64 > 0)
    {
        double scaled_F64;
        while ((scaled_F64 = fraction_F64 * 10) < 1)
        {
            fraction_F64 = scaled_F64;
            --decimalExponent_S32;
        }
    }
    exponent = decimalExponent_S32;

    // The last digit is the one behind the wanted ones: it decides the rounding and is dropped.
    const int last_S32 = digits + (fromFirst ? 0 : decimalExponent_S32);
    if (last_S32 < 0)
    {
        return 0;
    }
    int count_S32 = static_cast<int>(pPos_c - buffer);
    while (count_S32 <= last_S32 && count_S32 < CVT_SIZE)
    {
        double digit_F64;
        fraction_F64 = std::modf(fraction_F64 * 10, &digit_F64);
        buffer[count_S32++] = static_cast<char>('0' + static_cast<int>(digit_F64));
    }
    if (last_S32 >= CVT_SIZE)
    {
        return CVT_SIZE - 1;
    }

    count_S32 = last_S32;
    int at_S32 = last_S32;
    buffer[at_S32] = static_cast<char>(buffer[at_S32] + 5);
    while (buffer[at_S32] > '9')
    {
        buffer[at_S32] = '0';
        if (at_S32 > 0)
        {
            ++buffer[--at_S32];
        }
        else
        {
            buffer[at_S32] = '1';
            ++exponent;
            // Counting from the point, the carry adds a digit in front: keep the count behind it.
            if (!fromFirst)
            {
                if (count_S32 > 0)
                {
                    buffer[count_S32] = '0';
                }
                ++count_S32;
            }
        }
    }
    return count_S32;
}
} // namespace

int Cvt(double value, int digits, bool fromFirst, char (&buffer)[CVT_SIZE], int& exponent)
{
#if FLT_EVAL_METHOD == 2
    // The x87 unit keeps 64-bit mantissas in its registers: a value held there just below 1 is
    // scaled once more and becomes 10.0 when stored for the next digit, which then prints as ':'
    // with the exponent one too low. Rounding every result to a double's 53 bits makes each step
    // give what double arithmetic gives on every other build; the i386 baseline has no SSE for it.
    unsigned short saved_U16;
    __asm__ __volatile__("fnstcw %0" : "=m"(saved_U16));
    const unsigned short doublePrecision_U16 = static_cast<unsigned short>((saved_U16 & ~0x300u) | 0x200u);
    __asm__ __volatile__("fldcw %0" : : "m"(doublePrecision_U16) : "memory");
    const int count_S32 = Digits(value, digits, fromFirst, buffer, exponent);
    __asm__ __volatile__("fldcw %0" : : "m"(saved_U16) : "memory");
    return count_S32;
#else
    return Digits(value, digits, fromFirst, buffer, exponent);
#endif
}
} // namespace Orx::Corvane::local
