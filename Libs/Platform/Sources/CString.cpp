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

enum class Length
{
    Default, // int; 'h' lands here too, the argument is never narrowed
    Long,    // 'l': a long
    Int32,   // 'I32': a 32-bit int, widened as unsigned for u, o, x
    Int64,   // 'll', 'L', 'I64'
};

int ReadDecimal(const char*& pos)
{
    int value = 0;
    while (*pos >= '0' && *pos <= '9')
    {
        const int digit = *pos++ - '0';
        value = value > (INT_MAX - digit) / 10 ? INT_MAX : value * 10 + digit;
    }
    return value;
}

unsigned ReadFlags(const char*& pos)
{
    unsigned flags = 0;
    for (;; ++pos)
    {
        switch (*pos)
        {
        case '-':
            flags |= kLeft;
            break;
        case '+':
            flags |= kPlus;
            break;
        case ' ':
            flags |= kSpace;
            break;
        case '#':
            flags |= kSpecial;
            break;
        case '0':
            flags |= kZeroPad;
            break;
        default:
            return flags;
        }
    }
}

Length ReadLength(const char*& pos)
{
    switch (*pos)
    {
    case 'l':
        if (*++pos != 'l')
            return Length::Long;
        ++pos;
        return Length::Int64;
    case 'L':
        ++pos;
        return Length::Int64;
    case 'h':
        ++pos;
        return Length::Default;
    case 'I':
        if (pos[1] == '3' && pos[2] == '2')
            return pos += 3, Length::Int32;
        if (pos[1] == '6' && pos[2] == '4')
            return pos += 3, Length::Int64;
        return Length::Default;
    default:
        return Length::Default;
    }
}

unsigned long long SignedArg(Length length, va_list& args)
{
    switch (length)
    {
    case Length::Long:
        return static_cast<unsigned long long>(va_arg(args, long));
    case Length::Int64:
        return static_cast<unsigned long long>(va_arg(args, long long));
    default:
        return static_cast<unsigned long long>(va_arg(args, int));
    }
}

unsigned long long UnsignedArg(Length length, va_list& args)
{
    switch (length)
    {
    case Length::Long:
        return va_arg(args, unsigned long);
    case Length::Int64:
        return va_arg(args, unsigned long long);
    default:
        return va_arg(args, unsigned int);
    }
}

void Address(Sink& out, const Field& field, Length length, bool upper, const unsigned char* bytes)
{
    if (!bytes)
        return;
    char text[18];
    const bool ethernet = length == Length::Long || length == Length::Int32;
    TextField(out, field, text, ethernet ? Ethernet(bytes, upper, text) : Dotted(bytes, text));
}

void Text(Sink& out, const Field& field, const char* text)
{
    if (!text)
        text = "<NULL>";
    const size_t length =
        field.precision >= 0 ? strnlen(text, static_cast<size_t>(field.precision)) : std::strlen(text);
    TextField(out, field, text, length);
}
} // namespace

int CString::Format(char* buffer, int size, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int result = VFormat(buffer, static_cast<unsigned int>(size), format, args);
    va_end(args);
    return result;
}

int CString::VFormat(char* buffer, unsigned int size, const char* format, va_list args)
{
    if (static_cast<int>(size) <= 0)
        return static_cast<int>(size);
    if (!buffer)
        return 0;
    if (!format)
        format = "";

    va_list list;
    va_copy(list, args);
    Sink out{buffer, buffer, size};
    const char* pos = format;
    for (;;)
    {
        const char* run = pos;
        while (*pos != '\0' && *pos != '%')
            ++pos;
        const size_t runLength = static_cast<size_t>(pos - run);
        if (runLength > out.room)
        {
            // A plain character that no longer fits ends the output and the result is the size,
            // even when a width on %n, %% or an unknown conversion left fewer characters stored.
            out.Write(run, out.room);
            *out.pos = '\0';
            va_end(list);
            return static_cast<int>(size);
        }
        out.Write(run, runLength);
        if (*pos == '\0')
            break;

        ++pos;
        Field field{ReadFlags(pos), -1, -1};
        if (*pos == '*')
        {
            ++pos;
            const int width = va_arg(list, int);
            if (width < 0)
                field.flags |= kLeft;
            field.width = width == INT_MIN ? INT_MAX : (width < 0 ? -width : width);
        }
        else if (*pos >= '0' && *pos <= '9')
            field.width = ReadDecimal(pos);
        if (*pos == '.')
        {
            ++pos;
            if (*pos == '*')
            {
                ++pos;
                // A negative precision still counts as precision 0.
                const int precision = va_arg(list, int);
                field.precision = precision < 0 ? 0 : precision;
            }
            else
                field.precision = ReadDecimal(pos);
        }
        if (field.flags & kLeft)
            field.flags &= ~kZeroPad;
        const Length length = ReadLength(pos);

        const char conversion = *pos;
        if (conversion != '\0')
            ++pos;
        bool valid = true;
        switch (conversion)
        {
        case 'd':
        case 'i':
            field.flags |= kSigned;
            valid = number(out, SignedArg(length, list), 10, field);
            break;
        case 'u':
            valid = number(out, UnsignedArg(length, list), 10, field);
            break;
        case 'o':
            valid = number(out, UnsignedArg(length, list), 8, field);
            break;
        case 'X':
            field.flags |= kUpper;
            [[fallthrough]];
        case 'x':
            valid = number(out, UnsignedArg(length, list), 16, field);
            break;
        case 'p':
            if (field.width < 0)
            {
                field.width = 8;
                if (!(field.flags & kLeft))
                    field.flags |= kZeroPad;
            }
            valid = number(out, reinterpret_cast<uintptr_t>(va_arg(list, void*)), 16, field);
            break;
        case 'c':
        {
            const char c = static_cast<char>(va_arg(list, int));
            TextField(out, field, &c, 1);
            break;
        }
        case 's':
            Text(out, field, va_arg(list, const char*));
            break;
        case 'e':
        case 'E':
        case 'f':
        case 'g':
        case 'G':
            flt(out, va_arg(list, double), conversion, field);
            break;
        case 'a':
        case 'A':
            Address(out, field, length, conversion == 'A', va_arg(list, const unsigned char*));
            break;
        case 'n':
        {
            // The width shrinks the room; the value stored is still what was really stored.
            out.Consume(field.width);
            int* stored = va_arg(list, int*);
            if (stored)
                *stored = out.Stored();
            break;
        }
        default:
            // '%', unknown conversions and a '%' ending the format print themselves; their
            // width shrinks the room as for %n.
            out.Consume(field.width);
            out.Put('%');
            if (conversion != '%' && conversion != '\0')
                out.Put(conversion);
            break;
        }
        if (!valid)
        {
            out.pos = buffer;
            break;
        }
        if (conversion == '\0')
            break;
    }
    va_end(list);
    *out.pos = '\0';
    return out.Stored();
}
} // namespace Orx::Corvane
