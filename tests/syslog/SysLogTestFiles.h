#pragma once
// File, record and waiting helpers for the log framework's tests (all inside the /mnt sandbox).
#include "CSysLogMessage.h"
#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

inline const std::string LOG_DIR = "/mnt/APPS/data/log/";
inline bool Exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}
inline void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}
inline std::string ReadFile(const std::string& path)
{
    std::stringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}
// Lines without their CR LF.
inline std::vector<std::string> ReadLines(const std::string& path)
{
    std::vector<std::string> lines;
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line.substr(0, line.size() - 1));
    return lines;
}
inline int CountOf(const std::string& text, const std::string& what)
{
    int count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size()))
        count++;
    return count;
}
inline bool Contains(const std::string& text, const std::string& what)
{
    return text.find(what) != std::string::npos;
}
// Polls until `done` holds: the worker's passes are 20 ms apart (the time-out is a hang guard).
inline bool WaitFor(const std::function<bool()>& done)
{
    for (int waited = 0; waited < 10000 && !done(); waited += 5)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return done();
}
// A record as "channel criticity error sub-id context sequence: text".
inline std::string Describe(const CSysLogMessage& m)
{
    return std::to_string(m.mChannel_U32) + " " + std::to_string(m.mCriticity_U8) + " " +
           std::to_string(m.mErrorCode_U16) + " " + std::to_string(m.mSubId_S16) + " " +
           std::to_string(m.mContext_U8) + " " + std::to_string(m.mSequence_U32) + ": " + m.GetText();
}
