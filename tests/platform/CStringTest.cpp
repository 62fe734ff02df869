// The formatter prints as glibc's snprintf (but for its three-digit exponents) except where it
// differs by design; those differences and its own conversions are checked for their texts.
#include "CString.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using Orx::Corvane::CString;

namespace
{
// The stored text, formatted into size + 1 bytes before guard bytes that must stay untouched; a
// result other than the stored length is shown behind it.
template <typename... Args> std::string Formatted(int size, const char* format, Args... args)
{
    std::vector<char> buffer(static_cast<size_t>(size) + 17, '#');
    const int result = CString::Format(buffer.data(), size, format, args...);
    const size_t stored = strnlen(buffer.data(), buffer.size());
    bool clean = stored <= static_cast<size_t>(size);
    for (size_t i = stored + 1; i < buffer.size(); ++i)
        clean = clean && buffer[i] == '#';
    const std::string text = clean ? std::string(buffer.data(), stored) : "<wrote past its terminator>";
    return result == static_cast<int>(stored) ? text : text + " <result " + std::to_string(result) + ">";
}

template <typename... Args> std::string Glibc(int size, const char* format, Args... args)
{
    char text[256];
    std::snprintf(text, static_cast<size_t>(size) + 1, format, args...);
    return text;
}

// One generated conversion.
struct Conversion
{
    std::string flags, length;
    int width, precision; // -1: none
    char type;

    bool Has(char flag) const { return flags.find(flag) != std::string::npos; }
    std::string Text() const
    {
        return "%" + flags + (width >= 0 ? std::to_string(width) : "") +
               (precision >= 0 ? "." + std::to_string(precision) : "") + length + type;
    }
    // Where the platform's formatter differs from glibc by design (the texts are checked further
    // down), for `n` as the conversion takes it from the argument list.
    bool Deliberate(long long n, const char* text) const
    {
        const unsigned long long value = length == "ll" || length == "L" ? static_cast<unsigned long long>(n)
                                         : length == "l"                 ? static_cast<unsigned long>(n)
                                                                         : static_cast<unsigned>(n);
        int octalDigits = 1;
        for (unsigned long long rest = value; rest >>= 3;)
            ++octalDigits;
        const bool integer = std::strchr("diuoxX", type) != nullptr;
        const bool fitsShort = std::strchr("di", type) ? n == static_cast<short>(n) : value <= 0xFFFFu;
        return (length == "h" && !fitsShort) || (integer && precision == 0 && value == 0) ||
               (integer && Has('0') && !Has('-') && precision >= 0 && width > 0) ||
               (Has('#') && (type == 'X' || (type == 'x' && value == 0))) ||
               (Has('#') && type == 'o' && (value == 0 || precision > octalDigits)) ||
               (type == 's' && text == nullptr);
    }
    template <typename T> std::string Differs(int size, long long n, const char* text, T arg) const
    {
        const std::string f = Text(), ours = Formatted(size, f.c_str(), arg),
                          glibc = Glibc(size, f.c_str(), arg);
        return Deliberate(n, text) || ours == glibc
                   ? ""
                   : f + " size " + std::to_string(size) + ": \"" + ours + "\", glibc \"" + glibc + "\"";
    }
};

// Every flag set × width × precision of each conversion on each value, in room and cut short.
TEST(CStringFormat, IntegersTextAndCharactersMatchGlibcButForTheDeliberateDifferences)
{
    const long long numbers[] = {
        0, 1, -1, 7, 42, -255, 4096, 70000, -70000, INT_MAX, INT_MIN, 0x123456789LL, LLONG_MIN, LLONG_MAX};
    const char* const texts[] = {"", "a", "hello", "hello, world!", "with %d inside", nullptr};
    int failures = 0;
    auto check = [&failures](const std::string& failure)
    {
        if (!failure.empty() && ++failures <= 20)
            ADD_FAILURE() << failure;
    };
    for (unsigned mask = 0; mask < 32; ++mask)
        for (int width : {-1, 1, 6, 12})
            for (int precision : {-1, 0, 1, 4, 12})
                for (char type : std::string("diuoxXsc"))
                    for (const char* length : {"", "h", "l", "ll", "L"})
                        for (int size : {200, 3})
                        {
                            if (std::strchr("sc", type) && *length)
                                continue;
                            Conversion c{"", length, width, precision, type};
                            for (unsigned bit = 0; bit < 5; ++bit)
                                c.flags += (mask & (1u << bit)) ? std::string(1, "-+ #0"[bit]) : "";
                            if (type == 's')
                                for (const char* text : texts)
                                    check(c.Differs(size, 0, text, text));
                            else if (type == 'c')
                                for (int character : {65, 126, 32, 0x141})
                                    check(c.Differs(size, character, "", character));
                            else
                                for (long long n : numbers)
                                    check(c.length == "ll" || c.length == "L" ? c.Differs(size, n, "", n)
                                          : c.length == "l" ? c.Differs(size, n, "", static_cast<long>(n))
                                                            : c.Differs(size, n, "", static_cast<int>(n)));
                        }
    EXPECT_EQ(failures, 0);
}

TEST(CStringFormat, FloatingPointMatchesGlibcButForTheExponentWidth)
{
    // Digits come from repeated multiplication, exact as glibc's as far as a double carries (%f of
    // the powers of ten up to 1e22); on i386 only while the x87 unit rounds to 53 bits.
    std::vector<std::pair<const char*, double>> cases;
    for (int power = -308; power <= 308; ++power)
        for (const char* format : {"%e", "%.3E", "%g", "%.12g", "%.9f"})
            if (power <= 22 || !std::strchr(format, 'f'))
                cases.push_back({format, std::strtod(("1e" + std::to_string(power)).c_str(), nullptr)});
    for (const char* format : {"%e", "%E", "% .1e", "%.0e", "%#.0e", "%f", "%08.3f", "%-8.2f|", "%.0f",
                               "%#.0f", "%.2f", "%.3f", "%.1f", "%g", "%G", "%.0g", "%-5E|", "%05f"})
        for (double value : {12345.678, -1e-300, 9.6,      -3.14159,  1.5,       0.6,         0.4, 0.005,
                             0.0096,    0.0123,  0.0001,   9.9999999, 9.99,      0.00001,     0.0, 100000.0,
                             1e6,       123.0,   4.9e-324, HUGE_VAL,  -HUGE_VAL, std::nan("")})
            cases.push_back({format, value});
    int failures = 0;
    for (const auto& [format, value] : cases)
        for (int size : {200, 5})
        {
            std::string glibc = Glibc(255, format, value);
            const size_t e = glibc.find_first_of("eE");
            if (e != std::string::npos && std::strspn(glibc.c_str() + e + 2, "0123456789") == 2)
                glibc.insert(e + 2, "0");
            const std::string ours = Formatted(size, format, value);
            if (ours != glibc.substr(0, size) && ++failures <= 10)
                ADD_FAILURE() << format << " of " << value << " size " << size << ": \"" << ours << '"';
        }
    EXPECT_EQ(failures, 0);
}

template <typename T> void ExpectAll(const std::vector<std::tuple<const char*, T, const char*>>& cases)
{
    for (const auto& [format, value, expected] : cases)
        EXPECT_EQ(Formatted(200, format, value), expected) << "format \"" << format << '"';
}

TEST(CStringFormat, DeliberateDifferencesPlatformConversionsAndExtremes)
{
    // h is no narrowing; zero keeps its digit at precision 0; zero padding is not cancelled by a
    // precision; the hex prefix is always "0x" and the octal one stands in front of the precision;
    // I32 and I64 give the size; an unknown conversion prints itself.
    ExpectAll<int>({{"%hd", 70000, "70000"}, {"%hu", 70000, "70000"}, {"%I32u", -1, "4294967295"},
                    {"%.0d", 0, "0"},        {"%5.0d", 0, "    0"},   {"%08.3d", 5, "00000005"},
                    {"%#X", 255, "0xFF"},    {"%#x", 0, "0x0"},       {"%#o", 0, "00"},
                    {"%#.5o", 8, "000010"},  {"%I32d", -3, "-3"},     {"%I32x", -1, "ffffffff"},
                    {"%06c", 'x', "     x"}, {"%zu", 1, "%zu"},       {"%-5k|", 1, "%k|"},
                    {"%hhd", 1, "%hd"},      {"%Id", 1, "%Id"},       {"%F", 1, "%F"},
                    {"100%", 1, "100%"},     {"ab%-5", 1, "ab%"}});
    EXPECT_EQ(Formatted(200, "%I64d|%I64x", 1234567890123LL, 0x123456789abLL), "1234567890123|123456789ab");
    EXPECT_EQ(Formatted(200, "%05s|%s|%.3s|%8s|", "ab", nullptr, nullptr, nullptr),
              "   ab|<NULL>|<NU|  <NULL>|");
    // No sign for negative zero; halves round away from zero; "%#g" of zero keeps six places.
    EXPECT_EQ(Formatted(200, "%f|% .1e|%.0f|%#g|%10.3g|", -0.0, 2.25, 0.5, 0.0, 3.14159),
              "0.000000| 2.3e+000|1|0.000000|      3.14|");
    // Pointers are eight hex digits unless a width is given.
    void* p = reinterpret_cast<void*>(uintptr_t{0x1234});
    EXPECT_EQ(
        Formatted(200, "%p|%10p|%-p|%p|%p", p, p, p, nullptr, reinterpret_cast<void*>(uintptr_t{0xdeadbeef})),
        "00001234|      1234|1234    |00000000|deadbeef");
    // Network addresses: %a an IPv4 address, l or I32 a MAC address, A in upper case.
    const unsigned char ip[4] = {192, 168, 0, 1};
    const unsigned char mac[6] = {0, 26, 43, 60, 77, 94};
    const unsigned char* none = nullptr;
    EXPECT_EQ(Formatted(200, "%a|%I64a|%15a|%-015a|", ip, ip, ip, ip),
              "192.168.0.1|192.168.0.1|    192.168.0.1|192.168.0.1    |");
    EXPECT_EQ(Formatted(200, "%lA %la %I32A", mac, mac, mac),
              "00:1A:2B:3C:4D:5E 00:1a:2b:3c:4d:5e 00:1A:2B:3C:4D:5E");
    EXPECT_EQ(Formatted(200, "[%a][%12lA]", none, none), "[][]");
    // '*' takes the width or precision from an int; a negative width left-justifies, a negative
    // precision is precision 0, not "no precision".
    EXPECT_EQ(Formatted(200, "%*d|%*d|%.*d|%-*.*s|", 5, 1, -5, 2, 3, 4, 4, 1, "ab"), "    1|2    |004|a   |");
    EXPECT_EQ(Formatted(200, "[%.*s]%.*f", -1, "abc", -3, 2.5), "[]3");
    // Extremes stay bounded.
    EXPECT_EQ(Formatted(400, "%f", 1e300).size(), 308u);
    EXPECT_EQ(Formatted(2000, "%.1000f", 1.0).size(), 1002u);
    EXPECT_EQ(Formatted(2000, "%.900e", 1.0).size(), 907u);
    EXPECT_EQ(Formatted(2000, "%.700f", 1e308).size(), 1010u);
    EXPECT_EQ(Formatted(16, "%.1000f", 0.5), "0.50000000000000");
    EXPECT_EQ(Formatted(10, "%2000000000d", 1), "          ");
    EXPECT_EQ(Formatted(6, "%.2000000000d", 1), "000000");
    EXPECT_EQ(Formatted(200, "%*d|", INT_MIN, 1), "1" + std::string(199, ' '));
    // The largest precision an argument can give fills the room with digits (%g drops its zeros).
    EXPECT_EQ(Formatted(40, "%.*g", INT_MAX, 1.5), "1.5");
    for (const char* format : {"%.*e", "%#.*g", "%.*f"})
        EXPECT_EQ(Formatted(40, format, INT_MAX, 1.5), "1.5" + std::string(37, '0')) << format;
}

TEST(CStringFormat, WidthOnPercentNAndUnknownShrinksTheRoomAndNonPositiveSizesWriteNothing)
{
    // A plain character that finds no room left ends the output with the size as result; an
    // output that ends with its format returns what was really stored. A '*' width is taken
    // before the conversion is known, so the next argument still lines up.
    const std::pair<const char*, const char*> rows[] = {
        {"%5%abcdefghij", "%abcd <result 10>"}, {"%5qabcdefghij", "%qabc <result 10>"},
        {"%3%%3%%3%x", "%% <result 10>"},       {"%5%abc", "%abc"},
        {"%8%abc", "%a <result 10>"},           {"%9%", "%"},
        {"%*q%d|abcdef", "%q7|abc <result 10>"}};
    for (const auto& [format, expected] : rows)
        EXPECT_EQ(Formatted(10, format, 3, 7), expected) << format;
    EXPECT_EQ(Formatted(10, "%5nabcdefghij", static_cast<int*>(nullptr)), "abcde <result 10>");
    int stored = -1;
    EXPECT_EQ(Formatted(10, "abc%5n%s", &stored, "defghijk"), "abcde");
    EXPECT_EQ(stored, 3); // what was really stored, not the shrunk count
    // Scanning goes on after a cut conversion: later conversions still see their arguments.
    EXPECT_EQ(Formatted(4, "%s%n", "abcdef", &stored), "abcd");
    EXPECT_EQ(stored, 4);
    EXPECT_EQ(Formatted(31, static_cast<const char*>(nullptr)), ""); // no format prints nothing
    for (int size : {0, -1, INT_MIN})
    {
        char buffer[8] = "#######";
        EXPECT_EQ(CString::Format(buffer, size, "abc%d", 1), size);
        EXPECT_STREQ(buffer, "#######");
    }
}
} // namespace
