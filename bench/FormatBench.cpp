// CString::Format against glibc's snprintf and stb_sprintf on the patterns the platform formats most,
// measured in the same run; bench/format.sh prints the time ratios per pattern.
#include "CString.h"

#include <benchmark/benchmark.h>

#include <cstdio>

#define STB_SPRINTF_IMPLEMENTATION
#include <stb/stb_sprintf.h>

using Orx::Corvane::CString;

namespace
{
constexpr int kSize = 256;

// Each pattern formats its own arguments through a caller given the formatter; both formatters
// are handed the size they need to store at most kSize - 1 characters.
template <typename Formatter> void Run(benchmark::State& state, Formatter format)
{
    char buffer[kSize];
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(format(buffer));
        benchmark::ClobberMemory();
    }
}

struct Sarvik
{
    template <typename... Args> int operator()(char* buffer, const char* format, Args... args) const
    {
        return CString::Format(buffer, kSize - 1, format, args...);
    }
};

struct Glibc
{
    template <typename... Args> int operator()(char* buffer, const char* format, Args... args) const
    {
        return std::snprintf(buffer, kSize, format, args...);
    }
};

struct Stb
{
    template <typename... Args> int operator()(char* buffer, const char* format, Args... args) const
    {
        return stbsp_snprintf(buffer, kSize, format, args...);
    }
};

// Arguments live in globals so that neither call can be folded at compile time.
volatile unsigned g_Hex = 0x1a;
volatile long g_Long1 = 123456, g_Long2 = -98765;
volatile int g_Int1 = 4242, g_Int2 = -77;
const char* volatile g_Path = "/mnt/APPS/data/log/QXK_Switch.log";
volatile long long g_Wide1 = 1234567890, g_Wide2 = 42, g_Wide3 = -99999999, g_Wide4 = 7;
volatile unsigned long g_Count1 = 123456, g_Count2 = 42, g_Count3 = 9999;
const char* volatile g_Time = "12:34:56.789";
const char* volatile g_Source = "Sarvik";
const char* volatile g_Text = "Board woken up";
volatile double g_Pi = 3.14159265358979, g_Large = 12345.678;

template <typename F> struct Patterns
{
    static void Row(benchmark::State& s)
    {
        Run(s,
            [](char* b) {
                return F()(b, " 0x%3.3x %12.12ld %12.12ld %12d %12.12d", g_Hex, g_Long1, g_Long2, g_Int1,
                           g_Int2);
            });
    }
    static void Wide(benchmark::State& s)
    {
        Run(s,
            [](char* b)
            {
                return F()(b, "%25.25s  %10.10lld  %10.10lld  %12.12lld  %12.12lld", g_Path, g_Wide1, g_Wide2,
                           g_Wide3, g_Wide4);
            });
    }
    static void Table(benchmark::State& s)
    {
        Run(s, [](char* b)
            { return F()(b, "%-32.32s %10lu    N/A %8lu %8lu", g_Source, g_Count1, g_Count2, g_Count3); });
    }
    static void LogLine(benchmark::State& s)
    {
        Run(s, [](char* b)
            { return F()(b, "%17s|%8.8X|%s|%6d|%2X|%s\r\n", g_Time, g_Hex, g_Source, g_Int1, 2u, g_Text); });
    }
    static void Fixed(benchmark::State& s)
    {
        Run(s, [](char* b) { return F()(b, "%f", g_Pi); });
    }
    static void Exponent(benchmark::State& s)
    {
        Run(s, [](char* b) { return F()(b, "%e", g_Large); });
    }
};

template <typename F> void Register(const char* who)
{
    const std::string suffix = std::string("/") + who;
    benchmark::RegisterBenchmark(("row" + suffix).c_str(), Patterns<F>::Row);
    benchmark::RegisterBenchmark(("wide" + suffix).c_str(), Patterns<F>::Wide);
    benchmark::RegisterBenchmark(("table" + suffix).c_str(), Patterns<F>::Table);
    benchmark::RegisterBenchmark(("logline" + suffix).c_str(), Patterns<F>::LogLine);
    benchmark::RegisterBenchmark(("f" + suffix).c_str(), Patterns<F>::Fixed);
    benchmark::RegisterBenchmark(("e" + suffix).c_str(), Patterns<F>::Exponent);
}
} // namespace

int main(int argc, char** argv)
{
    Register<Sarvik>("sarvik");
    Register<Glibc>("glibc");
    Register<Stb>("stb");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
