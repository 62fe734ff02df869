#include "FormatCase.h"

#include <cstring>

uint64_t FormatCase::Word()
{
    uint64_t value = 0;
    for (int i = 0; i < 8; ++i)
        value = value << 8 | Byte();
    return value;
}

FormatCase::FormatCase(const uint8_t* data, size_t size) : m_pData(data), m_pEnd(data + size)
{
    m_Size = static_cast<int16_t>(Word() >> 48) % 600;
    for (size_t i = 0; i < sizeof m_Text - 1; ++i)
        m_Text[i] = static_cast<char>(Byte() % 95 + 32);
    for (unsigned char& b : m_Bytes)
        b = Byte();
    for (int index = 0; index < kMaxConversions && m_pData != m_pEnd && m_Count + 3 <= kMaxArguments; ++index)
    {
        // A run of plain text, then a conversion; a lone '%' may end the format.
        for (int n = Byte() % 8; n > 0; --n)
        {
            const char c = static_cast<char>(Byte());
            if (c != '\0' && c != '%')
                m_Format += c;
        }
        Conversion(index);
    }
    if (Byte() % 4 == 0)
        m_Format += '%';
}

void FormatCase::Conversion(int index)
{
    static const char* const kFlags[] = {"", "-", "+", " ", "#", "0", "-0", "+ ", "#0", "-+ #0"};
    static const char* const kWidths[] = {"", "1", "5", "12", "99", "*", "0"};
    static const char* const kPrecisions[] = {"", ".", ".0", ".3", ".12", ".600", ".*"};
    static const char* const kLengths[] = {"", "h", "l", "ll", "L", "I32", "I64"};
    // Unknown conversions included; none of them may read as a flag, width or length.
    static const char kConversions[] = "diuoxXpcsneEfgGaA%zqkFb";

    const std::string width = Pick(kWidths), precision = Pick(kPrecisions), length = Pick(kLengths);
    char c = kConversions[Byte() % (sizeof kConversions - 1)];
    if (std::strchr("eEfgG", c) && m_Doubles == kMaxDoubles)
        c = 'd';
    m_Format += '%' + std::string(Pick(kFlags)) + width + precision + length + c;
    // '*' takes its argument before the conversion is known, for unknown conversions too.
    if (width == "*")
        Add(Word() >> (Byte() % 64));
    if (precision == ".*")
        Add(Word() >> (Byte() % 64));
    const bool null = Byte() % 8 == 0;
    const bool isLong = length == "l" || length == "I32";
    const uint64_t word = Word();
    if (c == 's' || c == 'a' || c == 'A')
        Add(c == 's' ? static_cast<const void*>(m_Text) : m_Bytes, null);
    else if (c == 'n')
        Add(&m_Counters[index], null);
    else if (std::strchr("eEfgG", c))
        Add(word, word, true, true);
    else if (c == 'p' || c == 'c') // a pointer is the value itself
        Add(word, c == 'p' ? word & 0xFFFFFFFFu : word);
    else if (isLong && (c == 'd' || c == 'i'))
        Add(word, static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(word))));
    else if (isLong && std::strchr("uoxX", c)) // a long shows all 64 bits on x86_64: keep to 31
        Add(word, word & 0x7FFFFFFFu);
    else if (std::strchr("diuoxX", c))
        Add(word, word, length == "ll" || length == "L" || length == "I64");
}

// Arguments go into machine words in order, a long long or a double taking two on i386; on x86_64
// doubles travel apart in vector registers. Extra arguments after them are never read.
int FormatCase::Run(char* buffer, bool portable)
{
    static_assert(sizeof(uintptr_t) == 4 || sizeof(uintptr_t) == 8, "i386 or x86_64");
    uintptr_t words[2 * kMaxArguments] = {};
    double doubles[kMaxDoubles] = {};
    size_t count = 0, doubleCount = 0;
    for (size_t i = 0; i < m_Count; ++i)
    {
        const Argument& a = m_Arguments[i];
        const uint64_t value = portable ? a.portable : a.bits;
        if (sizeof(uintptr_t) == 8 && a.real)
            std::memcpy(&doubles[doubleCount++], &value, sizeof value);
        else
            words[count++] = static_cast<uintptr_t>(value);
        if (sizeof(uintptr_t) == 4 && a.wide)
            words[count++] = static_cast<uintptr_t>(value >> 32);
    }
    return Call(buffer, words, doubles, std::make_index_sequence<2 * kMaxArguments>(),
                std::make_index_sequence<kMaxDoubles>());
}
