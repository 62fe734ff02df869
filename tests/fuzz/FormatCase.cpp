#include "FormatCase.h"

#include <cstring>

class FormatCase::Input
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

FormatCase::FormatCase(const uint8_t* data, size_t size)
{
    Input in(data, size);
    m_Size = static_cast<int16_t>(in.Byte() << 8 | in.Byte()) % 600;
    for (size_t i = 0; i < sizeof m_Text - 1; ++i)
        m_Text[i] = static_cast<char>(in.Byte() % 95 + 32);
    for (unsigned char& b : m_Bytes)
        b = in.Byte();
    for (int index = 0; index < kMaxConversions && !in.Empty(); ++index)
    {
        // A run of plain text, then a conversion; a lone '%' may end the format.
        for (int n = in.Byte() % 8; n > 0; --n)
        {
            const char c = static_cast<char>(in.Byte());
            if (c != '\0' && c != '%')
                m_Format += c;
        }
        if (!Conversion(in, index))
            break;
    }
    if (in.Byte() % 4 == 0)
        m_Format += '%';
}

// One conversion with its arguments; false when the argument list is full.
bool FormatCase::Conversion(Input& in, int index)
{
    static const char* const kFlags[] = {"", "-", "+", " ", "#", "0", "-0", "+ ", "#0", "-+ #0"};
    static const char* const kWidths[] = {"", "1", "5", "12", "99", "*", "0"};
    static const char* const kPrecisions[] = {"", ".", ".0", ".3", ".12", ".600", ".*"};
    static const char* const kLengths[] = {"", "h", "l", "ll", "L", "I32", "I64"};
    // Unknown conversions included; none of them may read as a flag, width or length.
    static const char kConversions[] = "diuoxXpcsneEfgGaA%zqkFb";

    if (m_Count + 3 > kMaxArguments)
        return false;
    m_Format += '%';
    m_Format += in.Pick(kFlags);
    const std::string width = in.Pick(kWidths);
    const std::string precision = in.Pick(kPrecisions);
    const std::string length = in.Pick(kLengths);
    m_Format += width + precision + length;
    char conversion = kConversions[in.Byte() % (sizeof kConversions - 1)];
    if (std::strchr("eEfgG", conversion) && m_Doubles == kMaxDoubles)
        conversion = 'd';
    m_Format += conversion;

    // '*' takes its argument before the conversion is known, for unknown conversions too.
    if (width == "*")
        Add(Kind::Int, in.Word() >> (in.Byte() % 64));
    if (precision == ".*")
        Add(Kind::Int, in.Word() >> (in.Byte() % 64));
    const bool null = in.Byte() % 8 == 0;
    switch (conversion)
    {
    case 's':
        return Add(Kind::Text, !null), true;
    case 'a':
    case 'A':
        return Add(Kind::Bytes, !null), true;
    case 'n':
        return Add(Kind::Counter, null ? 0 : index + 1), true;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
        ++m_Doubles;
        return Add(Kind::Double, in.Word()), true;
    case 'p':
        return Add(Kind::Pointer, in.Word()), true;
    case 'c':
        return Add(Kind::Int, in.Word()), true;
    default:
        if (!std::strchr("diuoxX", conversion))
            return true;
        if (length == "l" || length == "I32")
            Add(std::strchr("di", conversion) ? Kind::LongSign : Kind::Long, in.Word());
        else
            Add(length == "ll" || length == "L" || length == "I64" ? Kind::Wide : Kind::Int, in.Word());
        return true;
    }
}

uint64_t FormatCase::Value(const Argument& argument, bool portable) const
{
    switch (argument.kind)
    {
    case Kind::Text:
        return argument.bits ? reinterpret_cast<uintptr_t>(m_Text) : 0;
    case Kind::Bytes:
        return argument.bits ? reinterpret_cast<uintptr_t>(m_Bytes) : 0;
    case Kind::Counter:
        return argument.bits ? reinterpret_cast<uintptr_t>(&m_Counters[argument.bits - 1]) : 0;
    case Kind::Long:
        // Unsigned conversions of a long show all 64 bits on x86_64: keep to 31.
        return portable ? argument.bits & 0x7FFFFFFFu : argument.bits;
    case Kind::LongSign:
        return portable ? static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(argument.bits)))
                        : argument.bits;
    case Kind::Pointer:
        return portable ? argument.bits & 0xFFFFFFFFu : argument.bits;
    default:
        return argument.bits;
    }
}

#if defined(__x86_64__)
// Integer-class arguments travel in their own registers and stack slots, doubles in vector
// registers: each conversion's va_arg takes the next slot of its class whatever the order.
int FormatCase::Run(char* buffer, bool portable)
{
    uint64_t integers[kMaxArguments] = {};
    double doubles[kMaxDoubles] = {};
    size_t integerCount = 0, doubleCount = 0;
    for (size_t i = 0; i < m_Count; ++i)
    {
        const uint64_t value = Value(m_Arguments[i], portable);
        if (m_Arguments[i].kind == Kind::Double)
            std::memcpy(&doubles[doubleCount++], &value, sizeof value);
        else
            integers[integerCount++] = value;
    }
    return Call(buffer, integers, doubles, std::make_index_sequence<kMaxArguments>(),
                std::make_index_sequence<kMaxDoubles>());
}
#elif defined(__i386__)
// Every argument lies on the stack in order, in 4-byte words: two for long long and double.
int FormatCase::Run(char* buffer, bool portable)
{
    uint32_t words[2 * kMaxArguments] = {};
    size_t count = 0;
    for (size_t i = 0; i < m_Count; ++i)
    {
        const uint64_t value = Value(m_Arguments[i], portable);
        words[count++] = static_cast<uint32_t>(value);
        if (m_Arguments[i].kind == Kind::Wide || m_Arguments[i].kind == Kind::Double)
            words[count++] = static_cast<uint32_t>(value >> 32);
    }
    return Call(buffer, words, std::make_index_sequence<2 * kMaxArguments>());
}
#else
#error "FormatCase lays out variadic arguments for i386 and x86_64 only"
#endif
