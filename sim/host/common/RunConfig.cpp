#include "RunConfig.h"

#include <cstdlib>
#include <fstream>

namespace simhost
{

bool RunConfig::load(const std::string& runDir)
{
    std::ifstream in(runDir + "/" + kFileName);
    if (!in)
        return false;
    runDir_ = runDir;
    std::string line;
    while (std::getline(in, line))
    {
        const auto eq = line.find('=');
        if (eq != std::string::npos)
            values_[line.substr(0, eq)] = line.substr(eq + 1);
    }
    return true;
}

bool RunConfig::save(const std::string& runDir) const
{
    std::ofstream out(runDir + "/" + kFileName, std::ios::trunc);
    for (const auto& [key, value] : values_)
        out << key << '=' << value << '\n';
    return static_cast<bool>(out.flush());
}

std::string RunConfig::get(const std::string& key, const std::string& fallback) const
{
    const auto it = values_.find(key);
    return it == values_.end() ? fallback : it->second;
}

long long RunConfig::getInt(const std::string& key, long long fallback) const
{
    const auto it = values_.find(key);
    return it == values_.end() ? fallback : std::strtoll(it->second.c_str(), nullptr, 0);
}

double RunConfig::getDouble(const std::string& key, double fallback) const
{
    const auto it = values_.find(key);
    return it == values_.end() ? fallback : std::strtod(it->second.c_str(), nullptr);
}

} // namespace simhost
