// The simulator's own tests run sarvik-sim through the suites' common harness; this keeps their
// call sites.
#pragma once

#include "SimRun.h"

struct SimRunResult
{
    int status = -1;
    std::string out;
    std::string err;
};

class SimHarness : public CSimRun
{
public:
    // sarvik-sim SIMARGS -- sim-probe PROBEARGS, with nothing added to SIMARGS
    SimRunResult probe(const Args& simArgs, const Args& probeArgs);
    // sarvik-sim ARGS (everything given by the caller)
    SimRunResult sim(const Args& args);

    std::string path(const std::string& name) const { return Path(name); }
    // A copy of `program` in the scratch folder, which an ordinary user can reach and run.
    std::string shareWithUsers(const std::string& program);
    static std::vector<std::string> words(const std::string& text);
    static std::string readFile(const std::string& path) { return ReadText(path); }
    static std::vector<std::string> lines(const std::string& text);
    static std::string value(const std::string& output, const std::string& key);

private:
    static Args Prepend(const std::string& first, const Args& rest);
};
