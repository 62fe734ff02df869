#pragma once
// File and timing helpers for the log framework's tests (all inside the /mnt sandbox).
#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace SysLogTest
{
inline std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream content;
    content << in.rdbuf();
    return content.str();
}

inline void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

// Lines without their CR LF.
inline std::vector<std::string> ReadLines(const std::string& path)
{
    std::vector<std::string> lines;
    std::string content = ReadFile(path);
    size_t start = 0;
    for (size_t end = content.find("\r\n"); end != std::string::npos; end = content.find("\r\n", start))
    {
        lines.push_back(content.substr(start, end - start));
        start = end + 2;
    }
    if (start < content.size())
    {
        lines.push_back(content.substr(start));
    }
    return lines;
}

inline bool Exists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

inline long FileSize(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? static_cast<long>(info.st_size) : -1;
}

inline int CountOf(const std::string& text, const std::string& what)
{
    int count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size()))
    {
        count++;
    }
    return count;
}

// Polls until `done` holds or the timeout passes: the worker's passes are 20 ms apart.
inline bool WaitFor(const std::function<bool()>& done, int timeoutMs = 10000)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!done())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

inline std::string LogDir()
{
    return "/mnt/APPS/data/log/";
}
} // namespace SysLogTest
