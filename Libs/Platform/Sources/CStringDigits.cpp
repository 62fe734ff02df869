// Decimal digit generation for the floating-point conversions.
#include "CStringLocal.h"

#include <cfloat>
#include <cmath>

namespace Orx::Corvane::local
{
namespace
{
// Kept out of line so that no step of it can be moved outside the precision set by cvt.
__attribute__((noinline)) int Digits(double value, int digits, bool fromFirst, char (&buffer)[kCvtSize],
                                     int& exponent)
{
    if (digits < 0)
        digits = 0;
    if (digits > kCvtSize - 2)
        digits = kCvtSize - 2;
    char* const end = buffer + kCvtSize;
    char* pos = buffer;
    double whole;
    double fraction = std::modf(value, &whole);
    int decimalExponent = 0;

    if (whole != 0)
    {
        // Integer digits, least significant first, into the tail of the buffer.
        char* tail = end;
        while (whole != 0 && tail > buffer)
        {
            const double part = std::modf(whole / 10, &whole);
            // The 0.03 absorbs the error of the division so that 0.3999... still gives 4.
            const int digit = static_cast<int>((part + 0.03) * 10);
            *--tail = static_cast<char>('0' + (digit > 9 ? 9 : digit));
            ++decimalExponent;
        }
        while (tail < end)
            *pos++ = *tail++;
    }
    else if (fraction > 0)
    {
        double scaled;
        while ((scaled = fraction * 10) < 1)
        {
            fraction = scaled;
            --decimalExponent;
        }
    }
    exponent = decimalExponent;

    // `last` is the digit behind the wanted ones: it decides the rounding and is dropped.
    const int last = digits + (fromFirst ? 0 : decimalExponent);
    if (last < 0)
        return 0;
    int count = static_cast<int>(pos - buffer);
    while (count <= last && count < kCvtSize)
    {
        double digit;
        fraction = std::modf(fraction * 10, &digit);
        buffer[count++] = static_cast<char>('0' + static_cast<int>(digit));
    }
    if (last >= kCvtSize)
        return kCvtSize - 1;

    count = last;
    int at = last;
    buffer[at] = static_cast<char>(buffer[at] + 5);
    while (buffer[at] > '9')
    {
        buffer[at] = '0';
        if (at > 0)
            ++buffer[--at];
        else
        {
            buffer[at] = '1';
            ++exponent;
            // Counting from the point, the carry adds a digit in front: keep the count behind it.
            if (!fromFirst)
            {
                if (count > 0)
                    buffer[count] = '0';
                ++count;
            }
        }
    }
    return count;
}
} // namespace

int cvt(double value, int digits, bool fromFirst, char (&buffer)[kCvtSize], int& exponent)
{
#if FLT_EVAL_METHOD == 2
    // The x87 unit keeps 64-bit mantissas in its registers: a value held there just below 1 is
    // scaled once more and becomes 10.0 when stored for the next digit, which then prints as ':'
    // with the exponent one too low. Rounding every result to a double's 53 bits makes each step
    // give what double arithmetic gives on every other build; the i386 baseline has no SSE for it.
    unsigned short saved;
    __asm__ __volatile__("fnstcw %0" : "=m"(saved));
    const unsigned short doublePrecision = static_cast<unsigned short>((saved & ~0x300u) | 0x200u);
    __asm__ __volatile__("fldcw %0" : : "m"(doublePrecision) : "memory");
    const int count = Digits(value, digits, fromFirst, buffer, exponent);
    __asm__ __volatile__("fldcw %0" : : "m"(saved) : "memory");
    return count;
#else
    return Digits(value, digits, fromFirst, buffer, exponent);
#endif
}
} // namespace Orx::Corvane::local
