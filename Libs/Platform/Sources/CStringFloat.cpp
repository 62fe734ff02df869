// Floating-point conversions of the formatter: e, E, f, g, G.
#include "CStringLocal.h"

#include <climits>
#include <cmath>

namespace Orx::Corvane::local
{
namespace
{
// The text of one value between sign and padding: integer digits, point, fraction, exponent.
struct Body
{
    const char* whole = "0";
    long long wholeLength = 1;
    long long wholeZeros = 0; // integer digits beyond what the digit area holds
    bool point = false;
    long long leadZeros = 0; // zeros between the point and the first significant digit
    const char* fraction = "";
    long long fractionLength = 0;
    long long trailZeros = 0; // precision beyond what the digit area holds
    char exponent[6] = {};
    long long exponentLength = 0;

    long long Length() const
    {
        return wholeLength + wholeZeros + (point ? 1 : 0) + leadZeros + fractionLength + trailZeros +
               exponentLength;
    }
    void Write(Sink& out) const
    {
        out.Write(whole, static_cast<size_t>(wholeLength));
        out.Fill('0', wholeZeros);
        if (point)
            out.Put('.');
        out.Fill('0', leadZeros);
        out.Write(fraction, static_cast<size_t>(fractionLength));
        out.Fill('0', trailZeros);
        out.Write(exponent, static_cast<size_t>(exponentLength));
    }
    // %g without '#': no trailing zeros in the fraction, no point when nothing follows it.
    void Crop()
    {
        trailZeros = 0;
        while (fractionLength > 0 && fraction[fractionLength - 1] == '0')
            --fractionLength;
        if (fractionLength == 0)
            leadZeros = 0;
    }
};

long long Missing(long long wanted, long long present)
{
    return wanted > present ? wanted - present : 0;
}

void EStyle(Body& body, double value, int precision, bool upper, char (&digits)[kCvtSize])
{
    int decimalExponent;
    // The digit area caps what is generated anyway; a precision of INT_MAX must not overflow here.
    const int wanted = precision < INT_MAX ? precision + 1 : precision;
    const int count = cvt(value, wanted, true, digits, decimalExponent);
    body.whole = digits;
    body.fraction = digits + 1;
    body.fractionLength = count - 1;
    body.trailZeros = Missing(precision, body.fractionLength);
    int exponent = value == 0 ? 0 : decimalExponent - 1;
    char* pos = body.exponent;
    *pos++ = upper ? 'E' : 'e';
    *pos++ = exponent < 0 ? '-' : '+';
    if (exponent < 0)
        exponent = -exponent;
    // Always three exponent digits.
    *pos++ = static_cast<char>('0' + exponent / 100 % 10);
    *pos++ = static_cast<char>('0' + exponent / 10 % 10);
    *pos++ = static_cast<char>('0' + exponent % 10);
    body.exponentLength = pos - body.exponent;
}

void FStyle(Body& body, double value, int precision, char (&digits)[kCvtSize])
{
    int decimalExponent;
    const int count = cvt(value, precision, false, digits, decimalExponent);
    if (count == 0)
        body.trailZeros = precision;
    else if (decimalExponent <= 0)
    {
        body.leadZeros = -decimalExponent;
        body.fraction = digits;
        body.fractionLength = count;
        body.trailZeros = Missing(precision, body.leadZeros + count);
    }
    else
    {
        body.whole = digits;
        body.wholeLength = count < decimalExponent ? count : decimalExponent;
        body.wholeZeros = decimalExponent - body.wholeLength;
        body.fraction = digits + body.wholeLength;
        body.fractionLength = count - body.wholeLength;
        body.trailZeros = Missing(precision, body.fractionLength);
    }
}

// Infinities and NaNs have no digits: their names stand in, padded with spaces.
void NonFinite(Sink& out, double value, bool upper, char sign, unsigned flags, int width)
{
    const char* name = std::isnan(value) ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf");
    flags &= ~kZeroPad;
    const long long pad = OpenField(out, flags, width, 3, sign);
    out.Write(name, 3);
    CloseField(out, flags, pad);
}
} // namespace

void flt(Sink& out, double value, char conversion, const Field& field)
{
    const unsigned flags = field.flags | kSigned;
    char sign = 0;
    if (value < 0)
    {
        sign = '-';
        value = -value;
    }
    else if (flags & kPlus)
        sign = '+';
    else if (flags & kSpace)
        sign = ' ';
    const bool upper = conversion == 'E' || conversion == 'G';
    if (!std::isfinite(value))
        return NonFinite(out, value, upper, sign, flags, field.width);

    int precision = field.precision < 0 ? 6 : field.precision;
    char digits[kCvtSize];
    Body body;
    bool crop = false;
    bool eStyle = conversion == 'e' || conversion == 'E';
    if (conversion == 'g' || conversion == 'G')
    {
        if (precision == 0)
            precision = 1;
        int decimalExponent;
        cvt(value, precision, true, digits, decimalExponent);
        const int x = decimalExponent - 1;
        eStyle = x < -4 || x >= precision;
        const long long fraction = eStyle ? precision - 1LL : precision - (x + 1LL);
        precision = static_cast<int>(fraction < INT_MAX ? fraction : INT_MAX);
        crop = !(flags & kSpecial);
    }
    if (eStyle)
        EStyle(body, value, precision, upper, digits);
    else
        FStyle(body, value, precision, digits);
    if (crop)
        body.Crop();
    body.point = (flags & kSpecial) || body.leadZeros + body.fractionLength + body.trailZeros > 0;

    const long long pad = OpenField(out, flags, field.width, body.Length(), sign);
    body.Write(out);
    CloseField(out, flags, pad);
}
} // namespace Orx::Corvane::local
