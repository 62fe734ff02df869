// Compares the formatter with glibc's snprintf over every flag, width, precision and length
// combination of the integer, character and text conversions, and on every power of ten. Outputs
// may differ only where a listed deliberate difference of the platform's formatter applies.
#include "CString.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

using Orx::Corvane::CString;

namespace
{
struct Conversion
{
    std::string flags;
    int width = -1; // -1: none
    bool starWidth = false;
    int precision = -1; // -1: none (with starPrecision: the negative argument)
    bool starPrecision = false;
    std::string length;
    char type = 'd';

    std::string Text() const
    {
        std::string text = "%" + flags;
        if (starWidth)
            text += '*';
        else if (width >= 0)
            text += std::to_string(width);
        if (starPrecision)
            text += ".*";
        else if (precision >= 0)
            text += precision == 0 ? "." : "." + std::to_string(precision);
        return text + length + type;
    }
    bool Has(char flag) const { return flags.find(flag) != std::string::npos; }
    bool Wide() const { return length == "ll" || length == "L"; }
    bool IsInteger() const { return std::strchr("diuoxX", type) != nullptr; }
    int Precision() const { return starPrecision && precision < 0 ? 0 : precision; }
};

struct Value
{
    long long number = 0; // passed as int, long or long long by the length
    const char* text = nullptr;
};

bool FitsShort(const Conversion& c, const Value& v)
{
    const int arg = static_cast<int>(v.number);
    if (c.type == 'd' || c.type == 'i')
        return arg == static_cast<short>(arg);
    return static_cast<unsigned>(arg) <= 0xFFFFu;
}

unsigned long long Passed(const Conversion& c, const Value& v)
{
    if (c.Wide())
        return static_cast<unsigned long long>(v.number);
    if (c.length == "l")
        return static_cast<unsigned long>(static_cast<long>(v.number));
    return static_cast<unsigned>(static_cast<int>(v.number));
}

int OctalDigits(unsigned long long value)
{
    int count = 1;
    while (value >>= 3)
        ++count;
    return count;
}

struct Deviation
{
    const char* reason;
    bool (*applies)(const Conversion&, const Value&);
};

const Deviation kDeviations[] = {
    {"'h' is accepted and ignored: the argument is printed as a full int",
     [](const Conversion& c, const Value& v) { return c.length == "h" && !FitsShort(c, v); }},
    {"zero prints its digit at precision 0", [](const Conversion& c, const Value& v)
     { return c.IsInteger() && c.Precision() == 0 && Passed(c, v) == 0; }},
    {"zero padding to the width applies even when a precision is given", [](const Conversion& c, const Value&)
     { return c.IsInteger() && c.Has('0') && !c.Has('-') && c.Precision() >= 0 && c.width > 0; }},
    {"the alternate hex prefix is always \"0x\", for X and for the value 0 too",
     [](const Conversion& c, const Value& v)
     { return c.Has('#') && (c.type == 'X' || (c.type == 'x' && Passed(c, v) == 0)); }},
    {"the alternate octal prefix stands in front of the precision zeros, also for 0",
     [](const Conversion& c, const Value& v)
     {
         const unsigned long long value = Passed(c, v);
         return c.Has('#') && c.type == 'o' && (value == 0 || c.Precision() > OctalDigits(value));
     }},
    {"a negative '*' precision is precision 0, not the absence of a precision",
     [](const Conversion& c, const Value&) { return c.starPrecision && c.precision < 0; }},
    {"a null text prints \"<NULL>\"",
     [](const Conversion& c, const Value& v) { return c.type == 's' && !v.text; }},
};

struct Outputs
{
    std::string ours;
    std::string glibc;
};

template <typename... Args> Outputs Both(int size, const char* format, Args... args)
{
    char ours[256];
    char glibc[256];
    const int ourResult = CString::Format(ours, size, format, args...);
    const int glibcResult = std::snprintf(glibc, static_cast<size_t>(size) + 1, format, args...);
    const int stored = glibcResult < size ? glibcResult : size;
    if (ourResult != static_cast<int>(std::strlen(ours)))
        return {"<result " + std::to_string(ourResult) + " for \"" + ours + "\">", glibc};
    if (stored != static_cast<int>(std::strlen(glibc)))
        return {ours, "<result " + std::to_string(glibcResult) + ">"};
    return {ours, glibc};
}

template <typename T> Outputs WithStars(int size, const Conversion& c, T arg)
{
    const std::string format = c.Text();
    if (c.starWidth && c.starPrecision)
        return Both(size, format.c_str(), c.width, c.precision, arg);
    if (c.starWidth)
        return Both(size, format.c_str(), c.width, arg);
    if (c.starPrecision)
        return Both(size, format.c_str(), c.precision, arg);
    return Both(size, format.c_str(), arg);
}

Outputs Run(int size, const Conversion& c, const Value& v)
{
    if (c.type == 's')
        return WithStars(size, c, v.text);
    if (c.type == 'c')
        return WithStars(size, c, static_cast<int>(v.number));
    if (c.Wide())
        return WithStars(size, c, v.number);
    if (c.length == "l")
        return WithStars(size, c, static_cast<long>(v.number));
    return WithStars(size, c, static_cast<int>(v.number));
}

std::vector<Conversion> Skeletons()
{
    const char kFlags[] = "-+ #0";
    struct Width
    {
        int value;
        bool star;
    };
    const Width widths[] = {{-1, false}, {1, false}, {6, false}, {12, false}, {5, true}, {-5, true}};
    const Width precisions[] = {{-1, false}, {0, false}, {1, false}, {4, false},
                                {12, false}, {3, true},  {-1, true}};
    std::vector<Conversion> skeletons;
    for (unsigned mask = 0; mask < 32; ++mask)
        for (const Width& w : widths)
            for (const Width& p : precisions)
            {
                Conversion c;
                for (unsigned bit = 0; bit < 5; ++bit)
                    if (mask & (1u << bit))
                        c.flags += kFlags[bit];
                c.width = w.value;
                c.starWidth = w.star;
                c.precision = p.value;
                c.starPrecision = p.star;
                skeletons.push_back(c);
            }
    return skeletons;
}

struct Tally
{
    long cases = 0;
    std::map<const char*, long> deviations;
    std::vector<std::string> failures;

    void Check(int size, const Conversion& c, const Value& v)
    {
        ++cases;
        const Outputs out = Run(size, c, v);
        if (out.ours == out.glibc)
            return;
        for (const Deviation& d : kDeviations)
            if (d.applies(c, v))
            {
                ++deviations[d.reason];
                return;
            }
        if (failures.size() < 20)
            failures.push_back(
                "\"" + c.Text() + "\" size " + std::to_string(size) + " value " +
                (c.type == 's' ? std::string(v.text ? v.text : "null") : std::to_string(v.number)) +
                ": ours \"" + out.ours + "\", glibc \"" + out.glibc + "\"");
        else
            failures.back() = "... and more";
    }
};

void RunAll(Tally& tally, const std::vector<char>& types, const std::vector<std::string>& lengths,
            const std::vector<Value>& values)
{
    for (const Conversion& skeleton : Skeletons())
        for (char type : types)
            for (const std::string& length : lengths)
                for (const Value& value : values)
                {
                    Conversion c = skeleton;
                    c.type = type;
                    c.length = length;
                    tally.Check(200, c, value);
                    tally.Check(3, c, value); // cut short: the stored prefix must still agree
                }
}

void Report(const Tally& tally)
{
    for (const std::string& failure : tally.failures)
        ADD_FAILURE() << failure;
    EXPECT_TRUE(tally.failures.empty());
    std::printf("%ld cases\n", tally.cases);
    for (const auto& [reason, count] : tally.deviations)
        std::printf("%8ld by design: %s\n", count, reason);
}

TEST(CStringConformance, IntegersMatchGlibcExceptListedDifferences)
{
    std::vector<Value> values;
    for (long long n : {0LL, 1LL, -1LL, 7LL, 42LL, -255LL, 4096LL, 70000LL, -70000LL, 2147483647LL,
                        -2147483648LL, 0x123456789LL, LLONG_MIN, LLONG_MAX})
        values.push_back({n, nullptr});
    Tally tally;
    RunAll(tally, {'d', 'i', 'u', 'o', 'x', 'X'}, {"", "h", "l", "ll", "L"}, values);
    Report(tally);
    // Every listed integer difference really occurs: the list describes the formatter, not hopes.
    for (size_t i = 0; i < 5; ++i)
        EXPECT_GT(tally.deviations[kDeviations[i].reason], 0) << kDeviations[i].reason;
}

TEST(CStringConformance, TextAndCharactersMatchGlibcExceptListedDifferences)
{
    Tally tally;
    RunAll(tally, {'s'}, {""},
           {{0, ""}, {0, "a"}, {0, "hello"}, {0, "hello, world!"}, {0, "with %d inside"}, {0, nullptr}});
    RunAll(tally, {'c'}, {""}, {{'A', nullptr}, {'~', nullptr}, {' ', nullptr}, {0x141, nullptr}});
    Report(tally);
    for (size_t i = 5; i < 7; ++i)
        EXPECT_GT(tally.deviations[kDeviations[i].reason], 0) << kDeviations[i].reason;
}

// Digits are generated by repeated multiplication, so glibc's exact digits are the reference only
// up to the places a double carries; the exponent always has three digits here.
TEST(CStringConformance, PowersOfTenMatchGlibcButForTheExponentWidth)
{
    const struct
    {
        const char* format;
        int highest; // beyond it the integer digits are no longer exact
    } patterns[] = {{"%e", 308}, {"%.3E", 308}, {"%g", 308}, {"%.12g", 308}, {"%.9f", 22}};
    int failures = 0;
    for (const auto& p : patterns)
        for (int power = -308; power <= p.highest; ++power)
        {
            const double value = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
            Outputs out = Both(255, p.format, value);
            const size_t e = out.glibc.find_first_of("eE");
            if (e != std::string::npos && out.glibc.size() - e == 4) // "e-06" ends the text
                out.glibc.insert(e + 2, "0");
            if (out.ours != out.glibc && ++failures <= 10)
                ADD_FAILURE() << p.format << " of 1e" << power << ": ours \"" << out.ours << "\", glibc \""
                              << out.glibc << '"';
        }
    EXPECT_EQ(failures, 0);
}
} // namespace
