// Runs sarvik-sim with sim-probe (or any command) in a scratch folder of its own and collects
// what the user sees: exit status, standard output and error, and the files it wrote.
#pragma once

#include <string>
#include <vector>

struct SimRunResult
{
    int status = -1;
    std::string out;
    std::string err;
};

class SimHarness
{
public:
    SimHarness();
    ~SimHarness();
    SimHarness(const SimHarness&) = delete;
    SimHarness& operator=(const SimHarness&) = delete;

    // sarvik-sim SIMARGS -- sim-probe PROBEARGS
    SimRunResult probe(const std::vector<std::string>& simArgs, const std::vector<std::string>& probeArgs);
    // sarvik-sim ARGS (everything given by the caller)
    SimRunResult sim(const std::vector<std::string>& args);

    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    // A copy of `program` in the scratch folder, which an ordinary user can reach and run.
    std::string shareWithUsers(const std::string& program);
    static std::vector<std::string> words(const std::string& text);
    static std::string readFile(const std::string& path);
    static std::vector<std::string> lines(const std::string& text);
    // The value of "key=" in key=value output, empty when missing.
    static std::string value(const std::string& output, const std::string& key);

private:
    std::string folder_;
};
