#include "SimHarness.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

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

std::string SimHarness::shareWithUsers(const std::string& program)
{
    const std::string copy = path(program.substr(program.rfind('/') + 1));
    std::ifstream in(program, std::ios::binary);
    std::ofstream(copy, std::ios::binary) << in.rdbuf();
    if (chmod(copy.c_str(), 0755) != 0)
        throw std::runtime_error("chmod failed: " + copy);
    return copy;
}

std::vector<std::string> SimHarness::words(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> result;
    for (std::string word; in >> word;)
        result.push_back(word);
    return result;
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
