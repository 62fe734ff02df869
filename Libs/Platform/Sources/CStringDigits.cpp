// Decimal digit generation for the floating-point conversions.
#include "CStringLocal.h"

#include <cmath>

namespace Orx::Corvane::local
{
int cvt(double value, int digits, bool fromFirst, char (&buffer)[kCvtSize], int& exponent)
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
    char* last = buffer + digits + (fromFirst ? 0 : decimalExponent);
    if (last < buffer)
        return 0;
    while (pos <= last && pos < end)
    {
        double digit;
        fraction = std::modf(fraction * 10, &digit);
        *pos++ = static_cast<char>('0' + static_cast<int>(digit));
    }
    if (last >= end)
        return kCvtSize - 1;

    pos = last;
    *last += 5;
    while (*last > '9')
    {
        *last = '0';
        if (last > buffer)
            ++*--last;
        else
        {
            *last = '1';
            ++exponent;
            // Counting from the point, the carry adds a digit in front: keep the count behind it.
            if (!fromFirst)
            {
                if (pos > buffer)
                    *pos = '0';
                ++pos;
            }
        }
    }
    return static_cast<int>(pos - buffer);
}
} // namespace Orx::Corvane::local
