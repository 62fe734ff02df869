// Random formats with matching arguments into a heap buffer of exactly size + 1 bytes: ASan
// reports any store past the terminator's place, the checks below a wrong result.
//
// Arguments are passed as a fixed list of 64-bit integers followed by at most eight doubles. On
// x86_64 the doubles travel in vector registers, apart from the integer ones, so each
// conversion's va_arg takes the next slot of its own class whatever the order of conversions.
#include "CString.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

using Orx::Corvane::CString;

namespace
{
constexpr size_t kIntegers = 40;
constexpr size_t kDoubles = 8;
constexpr int kMaxConversions = 12;

class Input
{
public:
    Input(const uint8_t* data, size_t size) : m_pData(data), m_Size(size) {}
    bool Empty() const { return m_Size == 0; }
    uint8_t Byte()
    {
        if (m_Size == 0)
            return 0;
        --m_Size;
        return *m_pData++;
    }
    uint64_t Word()
    {
        uint64_t value = 0;
        for (int i = 0; i < 8; ++i)
            value = value << 8 | Byte();
        return value;
    }
    template <size_t N> const char* Pick(const char* const (&choices)[N]) { return choices[Byte() % N]; }

private:
    const uint8_t* m_pData;
    size_t m_Size;
};

struct Arguments
{
    uint64_t integers[kIntegers] = {};
    double doubles[kDoubles] = {};
    size_t integerCount = 0;
    size_t doubleCount = 0;
    // What pointer arguments point at: text for %s, bytes for %a, counters for %n.
    char text[48] = {};
    unsigned char bytes[8] = {};
    int counters[kMaxConversions] = {};

    void Integer(uint64_t value) { integers[integerCount++] = value; }
    void Pointer(const void* p, bool null) { Integer(null ? 0 : reinterpret_cast<uintptr_t>(p)); }
};

// One conversion with its arguments; false when the argument lists are full.
bool Conversion(Input& in, Arguments& args, std::string& format, int index)
{
    static const char* const kFlags[] = {"", "-", "+", " ", "#", "0", "-0", "+ ", "#0", "-+ #0"};
    static const char* const kWidths[] = {"", "1", "5", "12", "99", "*", "0"};
    static const char* const kPrecisions[] = {"", ".", ".0", ".3", ".12", ".600", ".*"};
    static const char* const kLengths[] = {"", "h", "l", "ll", "L", "I32", "I64"};
    // Unknown conversions included; none of them may read as a flag, width or length.
    static const char kConversions[] = "diuoxXpcsneEfgGaA%zqkFb";

    if (args.integerCount + 3 > kIntegers)
        return false;
    format += '%';
    format += in.Pick(kFlags);
    const std::string width = in.Pick(kWidths);
    const std::string precision = in.Pick(kPrecisions);
    format += width + precision + in.Pick(kLengths);
    char conversion = kConversions[in.Byte() % (sizeof kConversions - 1)];
    if (std::strchr("eEfgG", conversion) && args.doubleCount == kDoubles)
        conversion = 'd';
    format += conversion;

    const bool known = std::strchr("diuoxXpcsneEfgGaA", conversion) != nullptr;
    // '*' takes its argument before the conversion is known, for unknown conversions too.
    if (width == "*")
        args.Integer(in.Word() >> (in.Byte() % 64));
    if (precision == ".*")
        args.Integer(in.Word() >> (in.Byte() % 64));
    const bool null = in.Byte() % 8 == 0;
    switch (conversion)
    {
    case 's':
        return args.Pointer(args.text, null), true;
    case 'a':
    case 'A':
        return args.Pointer(args.bytes, null), true;
    case 'n':
        return args.Pointer(&args.counters[index], null), true;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
    {
        const uint64_t bits = in.Word();
        std::memcpy(&args.doubles[args.doubleCount++], &bits, sizeof bits);
        return true;
    }
    default:
        if (known)
            args.Integer(in.Word());
        return true;
    }
}

template <size_t... I, size_t... D>
int Call(char* buffer, int size, const char* format, const Arguments& a, std::index_sequence<I...>,
         std::index_sequence<D...>)
{
    return CString::Format(buffer, size, format, a.integers[I]..., a.doubles[D]...);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t length)
{
    Input in(data, length);
    const int size = static_cast<int16_t>(in.Byte() << 8 | in.Byte()) % 600;
    Arguments args;
    for (size_t i = 0; i < sizeof args.text - 1; ++i)
        args.text[i] = static_cast<char>(in.Byte() % 95 + 32);
    for (unsigned char& b : args.bytes)
        b = in.Byte();

    std::string format;
    for (int index = 0; index < kMaxConversions && !in.Empty(); ++index)
    {
        // A run of plain text, then a conversion; a lone '%' may end the format.
        for (int n = in.Byte() % 8; n > 0; --n)
        {
            const char c = static_cast<char>(in.Byte());
            if (c != '\0' && c != '%')
                format += c;
        }
        if (!Conversion(in, args, format, index))
            break;
    }
    if (in.Byte() % 4 == 0)
        format += '%';

    const size_t bytes = size > 0 ? static_cast<size_t>(size) + 1 : 1;
    char* buffer = new char[bytes];
    std::memset(buffer, 0x5a, bytes);
    const int result = Call(buffer, size, format.c_str(), args, std::make_index_sequence<kIntegers>(),
                            std::make_index_sequence<kDoubles>());
    if (size <= 0)
    {
        if (result != size || buffer[0] != 0x5a)
            std::abort();
    }
    // The text is terminated inside the buffer. Its exact place is not checked: a %c of 0 stores a
    // zero byte inside the text, and output that stops early after a width on %n, %% or an unknown
    // conversion returns the size while the terminator stands behind what was really stored.
    else if (result < 0 || result > size || std::memchr(buffer, '\0', bytes) == nullptr)
        std::abort();
    delete[] buffer;
    return 0;
}
