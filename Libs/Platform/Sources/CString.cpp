// The platform's bounded printf-style formatter: the scanner and its argument handling.
#include "CString.h"

#include "CStringLocal.h"

#include <climits>
#include <cstdint>

namespace Orx::Corvane
{
namespace
{
using namespace local;

enum class ELength
{
    DEFAULT, // int; 'h' lands here too, the argument is never narrowed
    LONG,    // 'l': a long
    INT32,   // 'I32': a 32-bit int, widened as unsigned for u, o, x
    INT64,   // 'll', 'L', 'I64'
};

int ReadDecimal(const char*& pos)
{
    int value_S32 = 0;
    while (*pos >= '0' && *pos <= '9')
    {
        const int digit_S32 = *pos++ - '0';
        value_S32 = value_S32 > (INT_MAX - digit_S32) / 10 ? INT_MAX : value_S32 * 10 + digit_S32;
    }
    return value_S32;
}

unsigned ReadFlags(const char*& pos)
{
    unsigned flags_U32 = 0;
    for (;; ++pos)
    {
        switch (*pos)
        {
        case '-':
            flags_U32 |= FLAG_LEFT;
            break;
        case '+':
            flags_U32 |= FLAG_PLUS;
            break;
        case ' ':
            flags_U32 |= FLAG_SPACE;
            break;
        case '#':
            flags_U32 |= FLAG_SPECIAL;
            break;
        case '0':
            flags_U32 |= FLAG_ZERO_PAD;
            break;
        default:
            return flags_U32;
        }
    }
}

ELength ReadLength(const char*& pos)
{
    switch (*pos)
    {
    case 'l':
        if (*++pos != 'l')
        {
            return ELength::LONG;
        }
        ++pos;
        return ELength::INT64;
    case 'L':
        ++pos;
        return ELength::INT64;
    case 'h':
        ++pos;
        return ELength::DEFAULT;
    case 'I':
        if (pos[1] == '3' && pos[2] == '2')
        {
            pos += 3;
            return ELength::INT32;
        }
        if (pos[1] == '6' && pos[2] == '4')
        {
            pos += 3;
            return ELength::INT64;
        }
        return ELength::DEFAULT;
    default:
        return ELength::DEFAULT;
    }
}

unsigned long long SignedArg(ELength length, va_list& args)
{
    switch (length)
    {
    case ELength::LONG:
        return static_cast<unsigned long long>(va_arg(args, long));
    case ELength::INT64:
        return static_cast<unsigned long long>(va_arg(args, long long));
    default:
        return static_cast<unsigned long long>(va_arg(args, int));
    }
}

unsigned long long UnsignedArg(ELength length, va_list& args)
{
    switch (length)
    {
    case ELength::LONG:
        return va_arg(args, unsigned long);
    case ELength::INT64:
        return va_arg(args, unsigned long long);
    default:
        return va_arg(args, unsigned int);
    }
}

void Address(SSink& out, const SField& field, ELength length, bool upper, const unsigned char* bytes)
{
    if (!bytes)
    {
        return;
    }
    char pText_c[18];
    const bool ethernet_B = length == ELength::LONG || length == ELength::INT32;
    TextField(out, field, pText_c, ethernet_B ? Ethernet(bytes, upper, pText_c) : Dotted(bytes, pText_c));
}

void Text(SSink& out, const SField& field, const char* text)
{
    if (!text)
    {
        text = "<NULL>";
    }
    const size_t length_U32 = field.Precision_S32 >= 0
                                  ? strnlen(text, static_cast<size_t>(field.Precision_S32))
                                  : std::strlen(text);
    TextField(out, field, text, length_U32);
}
} // namespace

int CString::Format(char* buffer, int size, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result_S32 = VFormat(buffer, static_cast<unsigned int>(size), format, args);
    va_end(args);
    return result_S32;
}

int CString::VFormat(char* buffer, unsigned int size, const char* format, va_list args)
{
    if (static_cast<int>(size) <= 0)
    {
        return static_cast<int>(size);
    }
    if (!buffer)
    {
        return 0;
    }
    if (!format)
    {
        format = "";
    }

    va_list list;
    va_copy(list, args);
    SSink out_X{buffer, buffer, size};
    const char* pPos_c = format;
    for (;;)
    {
        const char* pRun_c = pPos_c;
        while (*pPos_c != '\0' && *pPos_c != '%')
        {
            ++pPos_c;
        }
        const size_t runLength_U32 = static_cast<size_t>(pPos_c - pRun_c);
        if (runLength_U32 > out_X.Room_U32)
        {
            // A plain character that no longer fits ends the output and the result is the size,
            // even when a width on %n, %% or an unknown conversion left fewer characters stored.
            out_X.Write(pRun_c, out_X.Room_U32);
            *out_X.pPos_c = '\0';
            va_end(list);
            return static_cast<int>(size);
        }
        out_X.Write(pRun_c, runLength_U32);
        if (*pPos_c == '\0')
        {
            break;
        }

        ++pPos_c;
        SField field_X{ReadFlags(pPos_c), -1, -1};
        if (*pPos_c == '*')
        {
            ++pPos_c;
            const int width_S32 = va_arg(list, int);
            if (width_S32 < 0)
            {
                field_X.Flags_U32 |= FLAG_LEFT;
            }
            field_X.Width_S32 = width_S32 == INT_MIN ? INT_MAX : (width_S32 < 0 ? -width_S32 : width_S32);
        }
        else if (*pPos_c >= '0' && *pPos_c <= '9')
        {
            field_X.Width_S32 = ReadDecimal(pPos_c);
        }
        if (*pPos_c == '.')
        {
            ++pPos_c;
            if (*pPos_c == '*')
            {
                ++pPos_c;
                // A negative precision still counts as precision 0.
                const int precision_S32 = va_arg(list, int);
                field_X.Precision_S32 = precision_S32 < 0 ? 0 : precision_S32;
            }
            else
            {
                field_X.Precision_S32 = ReadDecimal(pPos_c);
            }
        }
        if (field_X.Flags_U32 & FLAG_LEFT)
        {
            field_X.Flags_U32 &= ~FLAG_ZERO_PAD;
        }
        const ELength length_E = ReadLength(pPos_c);

        const char conversion_c = *pPos_c;
        if (conversion_c != '\0')
        {
            ++pPos_c;
        }
        bool valid_B = true;
        switch (conversion_c)
        {
        case 'd':
        case 'i':
            field_X.Flags_U32 |= FLAG_SIGNED;
            valid_B = Number(out_X, SignedArg(length_E, list), 10, field_X);
            break;
        case 'u':
            valid_B = Number(out_X, UnsignedArg(length_E, list), 10, field_X);
            break;
        case 'o':
            valid_B = Number(out_X, UnsignedArg(length_E, list), 8, field_X);
            break;
        case 'X':
            field_X.Flags_U32 |= FLAG_UPPER;
            [[fallthrough]];
        case 'x':
            valid_B = Number(out_X, UnsignedArg(length_E, list), 16, field_X);
            break;
        case 'p':
            if (field_X.Width_S32 < 0)
            {
                field_X.Width_S32 = 8;
                if (!(field_X.Flags_U32 & FLAG_LEFT))
                {
                    field_X.Flags_U32 |= FLAG_ZERO_PAD;
                }
            }
            valid_B = Number(out_X, reinterpret_cast<uintptr_t>(va_arg(list, void*)), 16, field_X);
            break;
        case 'c':
        {
            const char character_c = static_cast<char>(va_arg(list, int));
            TextField(out_X, field_X, &character_c, 1);
            break;
        }
        case 's':
            Text(out_X, field_X, va_arg(list, const char*));
            break;
        case 'e':
        case 'E':
        case 'f':
        case 'g':
        case 'G':
            Float(out_X, va_arg(list, double), conversion_c, field_X);
            break;
        case 'a':
        case 'A':
            Address(out_X, field_X, length_E, conversion_c == 'A', va_arg(list, const unsigned char*));
            break;
        case 'n':
        {
            // The width shrinks the room; the value stored is still what was really stored.
            out_X.Consume(field_X.Width_S32);
            int* pStored_S32 = va_arg(list, int*);
            if (pStored_S32)
            {
                *pStored_S32 = out_X.Stored();
            }
            break;
        }
        default:
            // '%', unknown conversions and a '%' ending the format print themselves; their
            // width shrinks the room as for %n.
            out_X.Consume(field_X.Width_S32);
            out_X.Put('%');
            if (conversion_c != '%' && conversion_c != '\0')
            {
                out_X.Put(conversion_c);
            }
            break;
        }
        if (!valid_B)
        {
            out_X.pPos_c = buffer;
            break;
        }
        if (conversion_c == '\0')
        {
            break;
        }
    }
    va_end(list);
    *out_X.pPos_c = '\0';
    return out_X.Stored();
}
} // namespace Orx::Corvane
