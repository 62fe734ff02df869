// Floating-point conversions of the formatter: e, E, f, g, G.
#include "CStringLocal.h"

#include <climits>
#include <cmath>

namespace Orx::Corvane::local
{
namespace
{
// The text of one value between sign and padding: integer digits, point, fraction, exponent.
struct SBody
{
    const char* pWhole_c = "0";
    long long WholeLength_S64 = 1;
    long long WholeZeros_S64 = 0; // integer digits beyond what the digit area holds
    bool Point_B = false;
    long long LeadZeros_S64 = 0; // zeros between the point and the first significant digit
    const char* pFraction_c = "";
    long long FractionLength_S64 = 0;
    long long TrailZeros_S64 = 0; // precision beyond what the digit area holds
    char pExponent_c[6] = {};
    long long ExponentLength_S64 = 0;

    long long Length() const
    {
        return WholeLength_S64 + WholeZeros_S64 + (Point_B ? 1 : 0) + LeadZeros_S64 + FractionLength_S64 +
               TrailZeros_S64 + ExponentLength_S64;
    }
    void Write(SSink& out) const
    {
        out.Write(pWhole_c, static_cast<size_t>(WholeLength_S64));
        out.Fill('0', WholeZeros_S64);
        if (Point_B)
        {
            out.Put('.');
        }
        out.Fill('0', LeadZeros_S64);
        out.Write(pFraction_c, static_cast<size_t>(FractionLength_S64));
        out.Fill('0', TrailZeros_S64);
        out.Write(pExponent_c, static_cast<size_t>(ExponentLength_S64));
    }
    // %g without '#': no trailing zeros in the fraction, no point when nothing follows it.
    void Crop()
    {
        TrailZeros_S64 = 0;
        while (FractionLength_S64 > 0 && pFraction_c[FractionLength_S64 - 1] == '0')
        {
            --FractionLength_S64;
        }
        if (FractionLength_S64 == 0)
        {
            LeadZeros_S64 = 0;
        }
    }
};

long long Missing(long long wanted, long long present)
{
    return wanted > present ? wanted - present : 0;
}

void EStyle(SBody& body, double value, int precision, bool upper, char (&digits)[CVT_SIZE])
{
    int decimalExponent_S32;
    // The digit area caps what is generated anyway; a precision of INT_MAX must not overflow here.
    const int wanted_S32 = precision < INT_MAX ? precision + 1 : precision;
    const int count_S32 = Cvt(value, wanted_S32, true, digits, decimalExponent_S32);
    body.pWhole_c = digits;
    body.pFraction_c = digits + 1;
    body.FractionLength_S64 = count_S32 - 1;
    body.TrailZeros_S64 = Missing(precision, body.FractionLength_S64);
    int exponent_S32 = value == 0 ? 0 : decimalExponent_S32 - 1;
    char* pPos_c = body.pExponent_c;
    *pPos_c++ = upper ? 'E' : 'e';
    *pPos_c++ = exponent_S32 < 0 ? '-' : '+';
    if (exponent_S32 < 0)
    {
        exponent_S32 = -exponent_S32;
    }
    // Always three exponent digits.
    *pPos_c++ = static_cast<char>('0' + exponent_S32 / 100 % 10);
    *pPos_c++ = static_cast<char>('0' + exponent_S32 / 10 % 10);
    *pPos_c++ = static_cast<char>('0' + exponent_S32 % 10);
    body.ExponentLength_S64 = pPos_c - body.pExponent_c;
}

void FStyle(SBody& body, double value, int precision, char (&digits)[CVT_SIZE])
{
    int decimalExponent_S32;
    const int count_S32 = Cvt(value, precision, false, digits, decimalExponent_S32);
    if (count_S32 == 0)
    {
        body.TrailZeros_S64 = precision;
    }
    else if (decimalExponent_S32 <= 0)
    {
        body.LeadZeros_S64 = -decimalExponent_S32;
        body.pFraction_c = digits;
        body.FractionLength_S64 = count_S32;
        body.TrailZeros_S64 = Missing(precision, body.LeadZeros_S64 + count_S32);
    }
    else
    {
        body.pWhole_c = digits;
        body.WholeLength_S64 = count_S32 < decimalExponent_S32 ? count_S32 : decimalExponent_S32;
        body.WholeZeros_S64 = decimalExponent_S32 - body.WholeLength_S64;
        body.pFraction_c = digits + body.WholeLength_S64;
        body.FractionLength_S64 = count_S32 - body.WholeLength_S64;
        body.TrailZeros_S64 = Missing(precision, body.FractionLength_S64);
    }
}

// Infinities and NaNs have no digits: their names stand in, padded with spaces.
void NonFinite(SSink& out, double value, bool upper, char sign, unsigned flags, int width)
{
    const char* pName_c = std::isnan(value) ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf");
    flags &= ~FLAG_ZERO_PAD;
    const long long pad_S64 = OpenField(out, flags, width, 3, sign);
    out.Write(pName_c, 3);
    CloseField(out, flags, pad_S64);
}
} // namespace

void Float(SSink& out, double value, char conversion, const SField& field)
{
    const unsigned flags_U32 = field.Flags_U32 | FLAG_SIGNED;
    char sign_c = 0;
    if (value < 0)
    {
        sign_c = '-';
        value = -value;
    }
    else if (flags_U32 & FLAG_PLUS)
    {
        sign_c = '+';
    }
    else if (flags_U32 & FLAG_SPACE)
    {
        sign_c = ' ';
    }
    const bool upper_B = conversion == 'E' || conversion == 'G';
    if (!std::isfinite(value))
    {
        return NonFinite(out, value, upper_B, sign_c, flags_U32, field.Width_S32);
    }

    int precision_S32 = field.Precision_S32 < 0 ? 6 : field.Precision_S32;
    char pDigits_c[CVT_SIZE];
    SBody body_X;
    bool crop_B = false;
    bool eStyle_B = conversion == 'e' || conversion == 'E';
    if (conversion == 'g' || conversion == 'G')
    {
        if (precision_S32 == 0)
        {
            precision_S32 = 1;
        }
        int decimalExponent_S32;
        Cvt(value, precision_S32, true, pDigits_c, decimalExponent_S32);
        const int x_S32 = decimalExponent_S32 - 1;
        eStyle_B = x_S32 < -4 || x_S32 >= precision_S32;
        const long long fraction_S64 = eStyle_B ? precision_S32 - 1LL : precision_S32 - (x_S32 + 1LL);
        precision_S32 = static_cast<int>(fraction_S64 < INT_MAX ? fraction_S64 : INT_MAX);
        crop_B = !(flags_U32 & FLAG_SPECIAL);
    }
    if (eStyle_B)
    {
        EStyle(body_X, value, precision_S32, upper_B, pDigits_c);
    }
    else
    {
        FStyle(body_X, value, precision_S32, pDigits_c);
    }
    if (crop_B)
    {
        body_X.Crop();
    }
    body_X.Point_B = (flags_U32 & FLAG_SPECIAL) ||
                     body_X.LeadZeros_S64 + body_X.FractionLength_S64 + body_X.TrailZeros_S64 > 0;

    const long long pad_S64 = OpenField(out, flags_U32, field.Width_S32, body_X.Length(), sign_c);
    body_X.Write(out);
    CloseField(out, flags_U32, pad_S64);
}
} // namespace Orx::Corvane::local
