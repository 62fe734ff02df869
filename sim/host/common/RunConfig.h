// The settings one simulated run shares between the launcher, the interposer in the tool's
// process and the module helpers: a flat file of key=value lines in the run directory.
#pragma once

#include <map>
#include <string>

namespace simhost
{

class RunConfig
{
public:
    static constexpr const char* kEnvVariable = "SARVIK_SIM_RUN";
    static constexpr const char* kFileName = "run.conf";

    // Reads <runDir>/run.conf; false when the file cannot be read.
    bool load(const std::string& runDir);
    bool save(const std::string& runDir) const;

    void set(const std::string& key, const std::string& value) { values_[key] = value; }
    std::string get(const std::string& key, const std::string& fallback = "") const;
    long long getInt(const std::string& key, long long fallback) const;
    double getDouble(const std::string& key, double fallback) const;

    const std::string& runDir() const { return runDir_; }

private:
    std::string runDir_;
    std::map<std::string, std::string> values_;
};

} // namespace simhost
