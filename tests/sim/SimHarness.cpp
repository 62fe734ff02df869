#include "SimHarness.h"

#include <sstream>

Args SimHarness::Prepend(const std::string& first, const Args& rest)
{
    Args args = {first};
    args.insert(args.end(), rest.begin(), rest.end());
    return args;
}

SimRunResult SimHarness::sim(const Args& args)
{
    const SSimResult result = Host(Prepend(S_Sim, args));
    return {result.Status, result.Out, result.Err};
}

SimRunResult SimHarness::probe(const Args& simArgs, const Args& probeArgs)
{
    Args args = simArgs;
    args.push_back("--");
    args.push_back(S_Probe);
    args.insert(args.end(), probeArgs.begin(), probeArgs.end());
    return sim(args);
}

std::vector<std::string> SimHarness::lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

std::string SimHarness::value(const std::string& output, const std::string& key)
{
    SSimResult result;
    result.Out = output;
    return result.Value(key);
}
