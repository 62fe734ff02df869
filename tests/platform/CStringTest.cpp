#include "CString.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using Orx::Corvane::CString;

namespace
{
constexpr int kRoom = 200;
constexpr int kGuard = 16;
constexpr char kUntouched = '#';

// Formats into size + 1 bytes followed by guard bytes and checks what every caller relies on:
// the result is the stored length, the terminator follows it and nothing lands behind it.
template <typename... Args> std::string Formatted(int size, const char* format, Args... args)
{
    std::vector<char> buffer(static_cast<size_t>(size) + 1 + kGuard, kUntouched);
    const int result = CString::Format(buffer.data(), size, format, args...);
    EXPECT_GE(result, 0);
    EXPECT_LE(result, size);
    if (result < 0 || result > size)
        return "<bad result>";
    EXPECT_EQ(buffer[result], '\0');
    EXPECT_EQ(std::strlen(buffer.data()), static_cast<size_t>(result));
    for (size_t i = static_cast<size_t>(result) + 1; i < buffer.size(); ++i)
        EXPECT_EQ(buffer[i], kUntouched) << "byte " << i << " written";
    return std::string(buffer.data(), static_cast<size_t>(result));
}

// Like Formatted, but for the cases where the result may exceed the stored length: a plain
// character that meets a room shrunk by a width on %n, %% or an unknown conversion ends the
// output with the size as result. The terminator still follows the stored text.
struct Outcome
{
    int result;
    std::string text;
};

template <typename... Args> Outcome FormattedRaw(int size, const char* format, Args... args)
{
    std::vector<char> buffer(static_cast<size_t>(size) + 1 + kGuard, kUntouched);
    const int result = CString::Format(buffer.data(), size, format, args...);
    const size_t stored = strnlen(buffer.data(), buffer.size());
    EXPECT_LE(stored, static_cast<size_t>(size));
    if (stored > static_cast<size_t>(size))
        return {result, "<no terminator>"};
    for (size_t i = stored + 1; i < buffer.size(); ++i)
        EXPECT_EQ(buffer[i], kUntouched) << "byte " << i << " written";
    return {result, std::string(buffer.data(), stored)};
}

void ExpectOutcome(const Outcome& actual, int result, const char* text)
{
    EXPECT_EQ(actual.result, result);
    EXPECT_EQ(actual.text, text);
}

template <typename T> struct Case
{
    const char* format;
    T value;
    const char* expected;
};

template <typename T> void ExpectAll(const std::vector<Case<T>>& cases)
{
    for (const auto& c : cases)
        EXPECT_EQ(Formatted(kRoom, c.format, c.value), c.expected) << "format \"" << c.format << '"';
}

TEST(CStringFormat, IntegersFollowThePlatformRules)
{
    ExpectAll<int>({
        {"%hd", 70000, "70000"}, // h is not a narrowing
        {"%hu", 70000, "70000"},
        {"%.0d", 0, "0"}, // zero keeps its digit at precision 0
        {"%5.0d", 0, "    0"},
        {"%08.3d", 5, "00000005"}, // zero padding is not cancelled by a precision
        {"%+u", 5, "5"}, // sign flags only for signed conversions
        {"%#X", 255, "0xFF"}, // the prefix is always a lower-case x
        {"%#x", 0, "0x0"},
        {"%#o", 0, "00"},
        {"%#.5o", 8, "000010"}, // the prefix comes on top of the precision
        {"%I32d", -3, "-3"},
        {"%I32u", -1, "4294967295"}, // widened as unsigned
        {"%I32x", -1, "ffffffff"},
        {"%c", 0x141, "A"}, // the low byte only
        {"%06c", 'x', "     x"}, // no zero padding for characters
        {"%.0c", 'x', "x"},
    });
}

TEST(CStringFormat, WideIntegersTakeTheirFullSize)
{
    ExpectAll<long long>({
        {"%I64d", 1234567890123LL, "1234567890123"},
        {"%I64x", 0x123456789abLL, "123456789ab"},
        {"%Lo", 01234567012345670LL, "1234567012345670"},
    });
    ExpectAll<long>({
        {"%lu", LONG_MAX, std::to_string(LONG_MAX).c_str()},
    });
}

TEST(CStringFormat, StarWidthAndPrecisionComeFromArguments)
{
    EXPECT_EQ(Formatted(kRoom, "%*d|", 5, 42), "   42|");
    EXPECT_EQ(Formatted(kRoom, "%*d|", -5, 42), "42   |");
    EXPECT_EQ(Formatted(kRoom, "%0*d|", -5, 42), "42   |");
    EXPECT_EQ(Formatted(kRoom, "%.*d", 4, 42), "0042");
    // A negative precision is precision 0, not "no precision".
    EXPECT_EQ(Formatted(kRoom, "[%.*s]", -1, "abc"), "[]");
    EXPECT_EQ(Formatted(kRoom, "%.*f", -3, 2.5), "3");
    EXPECT_EQ(Formatted(kRoom, "%*.*s|", 6, 2, "abc"), "    ab|");
    EXPECT_EQ(Formatted(kRoom, "%*d|", INT_MIN, 1).size(), static_cast<size_t>(kRoom));
    // The largest precision an argument can give fills the room with digits, nothing overflows.
    // (%g without '#' drops the trailing zeros again.)
    EXPECT_EQ(Formatted(40, "%.*g", INT_MAX, 1.5), "1.5");
    for (const char* format : {"%.*e", "%#.*g", "%.*f"})
    {
        SCOPED_TRACE(format);
        const std::string text = Formatted(40, format, INT_MAX, 1.5);
        EXPECT_EQ(text.size(), 40u);
        EXPECT_EQ(text.substr(0, 4), "1.50");
    }
}

TEST(CStringFormat, TextIsCutByPrecisionAndPaddedWithSpaces)
{
    ExpectAll<const char*>({
        {"%05s", "ab", "   ab"},
        {"%s", nullptr, "<NULL>"},
        {"%.3s", nullptr, "<NU"},
        {"%8s|", nullptr, "  <NULL>|"},
    });
}

TEST(CStringFormat, PointersAreEightHexDigitsUnlessAWidthIsGiven)
{
    void* p = reinterpret_cast<void*>(uintptr_t{0x1234});
    ExpectAll<void*>({
        {"%p", p, "00001234"},
        {"%10p|", p, "      1234|"},
        {"%-p|", p, "1234    |"},
        {"%p", nullptr, "00000000"},
        {"%p", reinterpret_cast<void*>(uintptr_t{0xdeadbeef}), "deadbeef"},
    });
}

TEST(CStringFormat, NetworkAddresses)
{
    const unsigned char ip[4] = {192, 168, 0, 1};
    const unsigned char mac[6] = {0, 26, 43, 60, 77, 94};
    const unsigned char* none = nullptr;
    EXPECT_EQ(Formatted(kRoom, "%a", ip), "192.168.0.1");
    EXPECT_EQ(Formatted(kRoom, "%I64a", ip), "192.168.0.1");
    EXPECT_EQ(Formatted(kRoom, "%15a|", ip), "    192.168.0.1|");
    EXPECT_EQ(Formatted(kRoom, "%-015a|", ip), "192.168.0.1    |");
    EXPECT_EQ(Formatted(kRoom, "%lA", mac), "00:1A:2B:3C:4D:5E");
    EXPECT_EQ(Formatted(kRoom, "%la", mac), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(Formatted(kRoom, "%I32A", mac), "00:1A:2B:3C:4D:5E");
    EXPECT_EQ(Formatted(kRoom, "[%a][%12lA]", none, none), "[][]");
}

TEST(CStringFormat, FloatingPointUsesThreeExponentDigits)
{
    ExpectAll<double>({
        {"%e", 12345.678, "1.234568e+004"},
        {"%e", 0.0, "0.000000e+000"},
        {"%e", 0.5, "5.000000e-001"},
        {"%E", -1e-300, "-1.000000E-300"},
        {"% .1e", 1e100, " 1.0e+100"},
        {"%.0e", 9.6, "1e+001"},
        {"%#.0e", 3.0, "3.e+000"},
        {"%f", 3.25, "3.250000"},
        {"%08.3f", -3.14159, "-003.142"},
        {"%-8.2f|", 1.5, "1.50    |"},
        {"%+.1f", 2.25, "+2.3"},
        {"%f", -0.0, "0.000000"}, // no sign for negative zero
        {"%.0f", 0.6, "1"},
        {"%.0f", 0.4, "0"},
        {"%#.0f", 3.0, "3."},
        {"%.2f", 0.005, "0.01"},
        {"%.3f", 0.0096, "0.010"},
        {"%.3f", 0.0123, "0.012"},
        {"%.2f", 0.0001, "0.00"},
        {"%f", 9.9999999, "10.000000"},
        {"%.1f", 9.99, "10.0"},
        {"%g", 0.0001, "0.0001"},
        {"%g", 0.00001, "1e-005"},
        {"%G", 1e-10, "1E-010"},
        {"%g", 0.0, "0"},
        {"%g", 100000.0, "100000"},
        {"%g", 1e6, "1e+006"},
        {"%g", 1.5, "1.5"},
        {"%.0g", 123.0, "1e+002"},
        {"%#g", 1.0, "1.00000"},
        {"%10.3g|", 3.14159, "      3.14|"},
        {"%f", INFINITY, "inf"},
        {"%-5E|", -INFINITY, "-INF |"},
        {"%05f", NAN, "  nan"},
    });
}

TEST(CStringFormat, FloatingPointExtremesStayBounded)
{
    EXPECT_EQ(Formatted(400, "%f", 1e300).size(), 308u);
    EXPECT_EQ(Formatted(2000, "%.1000f", 1.0).size(), 1002u);
    EXPECT_EQ(Formatted(2000, "%.900e", 1.0).size(), 907u);
    EXPECT_EQ(Formatted(2000, "%.700f", 1e308).size(), 1010u);
    EXPECT_EQ(Formatted(kRoom, "%e", 4.9e-324), "4.940656e-324");
    EXPECT_EQ(Formatted(16, "%.1000f", 0.5), "0.50000000000000");
}

TEST(CStringFormat, UnknownConversionsAndPercentPrintThemselves)
{
    ExpectAll<int>({
        {"%zu", 1, "%zu"},
        {"%k|", 1, "%k|"},
        {"%-5k|", 1, "%k|"},
        {"%hhd", 1, "%hd"},
        {"%Id", 1, "%Id"},
        {"%F", 1, "%F"},
        {"100%%", 1, "100%"},
        {"100%", 1, "100%"},
        {"ab%-5", 1, "ab%"},
    });
}

TEST(CStringFormat, WidthOnPercentNAndUnknownShrinksTheRoom)
{
    // A '*' width is taken before the conversion is known, so the next argument still lines up.
    EXPECT_EQ(Formatted(kRoom, "%*q%d", 5, 7), "%q7");
    ExpectOutcome(FormattedRaw(6, "%*q%d|abcdef", 3, 7), 6, "%q7");
    ExpectOutcome(FormattedRaw(10, "%5nabcdefghij", static_cast<int*>(nullptr)), 10, "abcde");

    // A plain character that finds no room left ends the output with the size as result; an
    // output that ends with its format returns what was really stored.
    struct Row
    {
        int size;
        const char* format;
        int result;
        const char* text;
    };
    const Row rows[] = {
        {10, "%5%abcdefghij", 10, "%abcd"},
        {10, "%5qabcdefghij", 10, "%qabc"},
        {10, "%3%%3%%3%x", 10, "%%"},
        {10, "%5%abc", 4, "%abc"},
        {10, "%8%abc", 10, "%a"},
        {10, "%9%", 1, "%"},
        {10, "abcdefghijk", 10, "abcdefghij"},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.format);
        ExpectOutcome(FormattedRaw(row.size, row.format), row.result, row.text);
    }

    int stored = -1;
    EXPECT_EQ(Formatted(10, "abc%5n%s", &stored, "defghijk"), "abcde");
    EXPECT_EQ(stored, 3); // what was really stored, not the shrunk count
    EXPECT_EQ(Formatted(kRoom, "%d%n|", 12345, &stored), "12345|");
    EXPECT_EQ(stored, 5);
}

TEST(CStringFormat, OutputIsCutAtSize)
{
    EXPECT_EQ(Formatted(10, "%s", "abcdefghijklmno"), "abcdefghij");
    EXPECT_EQ(Formatted(3, "%d", 123456), "123");
    EXPECT_EQ(Formatted(5, "abcdefgh"), "abcde");
    EXPECT_EQ(Formatted(5, "ab%d", -123456), "ab-12");
    EXPECT_EQ(Formatted(4, "%#x", 0xabcdef), "0xab");
    EXPECT_EQ(Formatted(3, "%e", 1.5), "1.5");
    EXPECT_EQ(Formatted(10, "%2000000000d", 1), "          ");
    EXPECT_EQ(Formatted(6, "%.2000000000d", 1), "000000");

    // Scanning goes on after a cut conversion: later conversions still see their arguments.
    int stored = -1;
    EXPECT_EQ(Formatted(4, "%s%n", "abcdef", &stored), "abcd");
    EXPECT_EQ(stored, 4);
}

TEST(CStringFormat, NonPositiveSizeWritesNothingAndIsReturned)
{
    for (int size : {0, -1, INT_MIN})
    {
        char buffer[8];
        std::memset(buffer, kUntouched, sizeof buffer);
        EXPECT_EQ(CString::Format(buffer, size, "abc%d", 1), size);
        EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(sizeof buffer, kUntouched));
    }
}

void ExpectVFormat(const char* expected, const char* format, ...)
{
    char buffer[32];
    va_list args;
    va_start(args, format);
    const int result = CString::VFormat(buffer, 31, format, args);
    va_end(args);
    EXPECT_EQ(result, static_cast<int>(std::strlen(expected)));
    EXPECT_STREQ(buffer, expected);
}

TEST(CStringFormat, VFormatTakesAnArgumentList)
{
    ExpectVFormat("7 x 2.50 abc", "%d %c %.2f %s", 7, 'x', 2.5, "abc");
    ExpectVFormat("", nullptr);
}

TEST(CStringFormat, TypicalLogLine)
{
    EXPECT_EQ(
        Formatted(256, "%17s|%8.8X|%s|%6d|%2X|%s\r\n", "12:00:00.000", 0xbeefu, "Main", -12, 3u, "ready"),
        "     12:00:00.000|0000BEEF|Main|   -12| 3|ready\r\n");
    EXPECT_EQ(Formatted(100, " 0x%3.3x %12.12ld %12.12ld %12d %12.12d", 5, 1L, -2L, 3, -4),
              " 0x005 000000000001 -000000000002            3 -000000000004");
}
} // namespace
