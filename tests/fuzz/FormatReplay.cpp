// What the formatter makes of fixed inputs, for tools/formatdiff.sh to compare between the i386
// and the x86_64 build: `--values` formats every power of ten from 1e-308 to 1e308 with its two
// neighbours and 10000 seeded finite doubles; `DIRECTORY` replays every fuzz input there, by name.
#include "FormatCase.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

namespace
{
// A name, the result and the stored bytes, with anything unprintable escaped.
void Print(const std::string& name, int result, const char* buffer, size_t length)
{
    std::printf("%s %d ", name.c_str(), result);
    for (const unsigned char c : std::string(buffer, length))
        std::printf(c >= 32 && c < 127 && c != '\\' ? "%c" : "\\x%02x", c);
    std::putchar('\n');
}

void Values(const std::vector<double>& values, const std::vector<const char*>& patterns)
{
    char buffer[600], name[64];
    for (const double value : values)
        for (const char* pattern : patterns)
        {
            const int result = Orx::Corvane::CString::Format(buffer, sizeof buffer - 1, pattern, value);
            std::snprintf(name, sizeof name, "%s:%a", pattern, value);
            Print(name, result, buffer, static_cast<size_t>(result));
        }
}

void Values()
{
    std::vector<double> powers, random;
    for (int power = -308; power <= 308; ++power)
    {
        const double exact = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
        powers.insert(powers.end(), {std::nextafter(exact, 0.0), exact, std::nextafter(exact, HUGE_VAL)});
    }
    Values(powers, {"%e", "%.0e", "%.16e", "%#.0E", "%g", "%.17g", "%#g", "%.1g", "%f", "%.9f", "%.0f",
                    "%.20f", "%+.3f", "%.300f"});
    for (std::mt19937_64 bits(1); random.size() < 10000;)
    {
        const uint64_t next = bits();
        double value;
        std::memcpy(&value, &next, sizeof value);
        if (std::isfinite(value))
            random.push_back(value);
    }
    Values(random, {"%e", "%.17g", "%.9f"});
}

void Corpus(const char* directory)
{
    std::vector<std::filesystem::path> files{std::filesystem::directory_iterator(directory), {}};
    std::sort(files.begin(), files.end());
    for (const auto& file : files)
    {
        std::ifstream in(file, std::ios::binary);
        const std::string data{std::istreambuf_iterator<char>(in), {}};
        FormatCase call(reinterpret_cast<const uint8_t*>(data.data()), data.size());
        std::vector<char> buffer(600, '\x5a');
        const int result = call.Run(buffer.data(), true);
        // Up to the terminator, or to the result when a stored zero byte comes first.
        const size_t stored = call.Size() > 0 ? std::strlen(buffer.data()) : 0;
        std::string name = file.filename().string();
        for (const int counter : call.Counters())
            name += "," + std::to_string(counter);
        Print(name, result, buffer.data(), std::max(stored, static_cast<size_t>(std::max(result, 0))));
    }
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: FormatReplay --values | FormatReplay DIRECTORY\n");
        return 2;
    }
    if (std::strcmp(argv[1], "--values") == 0)
        Values();
    else
        Corpus(argv[1]);
}
