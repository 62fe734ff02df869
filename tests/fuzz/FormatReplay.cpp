// Prints what the formatter makes of a fixed set of values, so that the i386 and the x86_64
// builds can be compared line by line (tools/formatdiff.sh):
//   FormatReplay --values     every power of ten from 1e-308 to 1e308 and its two neighbours,
//                             then 10000 doubles of every magnitude from a fixed seed
//   FormatReplay DIRECTORY    every fuzz input in DIRECTORY, by name
#include "FormatCase.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{
// The stored bytes, with anything unprintable escaped.
void Print(const char* name, int result, const char* buffer, size_t length)
{
    std::printf("%s %d ", name, result);
    for (size_t i = 0; i < length; ++i)
    {
        const unsigned char c = static_cast<unsigned char>(buffer[i]);
        if (c >= 32 && c < 127 && c != '\\')
            std::putchar(c);
        else
            std::printf("\\x%02x", c);
    }
    std::putchar('\n');
}

void Values(const std::vector<double>& values, const std::vector<const char*>& patterns)
{
    char buffer[600];
    for (const double value : values)
        for (const char* pattern : patterns)
        {
            const int result = Orx::Corvane::CString::Format(buffer, sizeof buffer - 1, pattern, value);
            char name[64];
            std::snprintf(name, sizeof name, "%s:%a", pattern, value);
            Print(name, result, buffer, static_cast<size_t>(result));
        }
}

void Values()
{
    std::vector<double> powers;
    for (int power = -308; power <= 308; ++power)
    {
        const double exact = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
        for (const double value : {std::nextafter(exact, 0.0), exact, std::nextafter(exact, HUGE_VAL)})
            powers.push_back(value);
    }
    Values(powers, {"%e", "%.0e", "%.16e", "%#.0E", "%g", "%.17g", "%#g", "%.1g", "%f", "%.9f", "%.0f",
                    "%.20f", "%+.3f", "%.300f"});
    // Finite doubles of every magnitude from a fixed seed (splitmix64).
    std::vector<double> random;
    for (uint64_t state = 0; random.size() < 10000;)
    {
        uint64_t bits = (state += 0x9E3779B97F4A7C15u);
        bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9u;
        bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBu;
        bits ^= bits >> 31;
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value))
            random.push_back(value);
    }
    Values(random, {"%e", "%.17g", "%.9f"});
}

void Corpus(const char* directory)
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<char> buffer(600);
    for (const auto& file : files)
    {
        std::ifstream in(file, std::ios::binary);
        const std::vector<char> data{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        FormatCase call(reinterpret_cast<const uint8_t*>(data.data()), data.size());
        std::fill(buffer.begin(), buffer.end(), '\x5a');
        const int result = call.Run(buffer.data(), true);
        // Up to the terminator, or to the result when a stored zero byte comes first.
        size_t length = call.Size() > 0 ? std::strlen(buffer.data()) : 0;
        if (result > 0 && static_cast<size_t>(result) > length)
            length = static_cast<size_t>(result);
        std::string name = file.filename().string();
        for (const int counter : call.Counters())
            name += "," + std::to_string(counter);
        Print(name.c_str(), result, buffer.data(), length);
    }
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string(argv[1]) == "--values")
        Values();
    else if (argc == 2)
        Corpus(argv[1]);
    else
    {
        std::fprintf(stderr, "usage: FormatReplay --values | FormatReplay DIRECTORY\n");
        return 2;
    }
    return 0;
}
