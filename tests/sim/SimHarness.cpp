#include "SimHarness.h"

#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

SimHarness::SimHarness()
{
    char pattern[] = "/tmp/sim-tests.XXXXXX";
    if (mkdtemp(pattern) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    folder_ = pattern;
}

SimHarness::~SimHarness()
{
    const std::string command = "rm -rf '" + folder_ + "'";
    [[maybe_unused]] int ignored = std::system(command.c_str());
}

SimRunResult SimHarness::probe(const std::vector<std::string>& simArgs,
                               const std::vector<std::string>& probeArgs)
{
    std::vector<std::string> args = simArgs;
    args.push_back("--");
    args.push_back(PROBE_PATH);
    args.insert(args.end(), probeArgs.begin(), probeArgs.end());
    return sim(args);
}

SimRunResult SimHarness::sim(const std::vector<std::string>& args)
{
    const std::string outPath = path("stdout");
    const std::string errPath = path("stderr");
    const pid_t pid = fork();
    if (pid == 0)
    {
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int in = open("/dev/null", O_RDONLY);
        dup2(out, 1);
        dup2(err, 2);
        dup2(in, 0);
        std::vector<char*> argv{const_cast<char*>(SIM_PATH)};
        for (const auto& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(SIM_PATH, argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    SimRunResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    return result;
}

std::string SimHarness::shareWithUsers(const std::string& program)
{
    const std::string copy = path(program.substr(program.rfind('/') + 1));
    std::ifstream in(program, std::ios::binary);
    std::ofstream(copy, std::ios::binary) << in.rdbuf();
    if (chmod(folder_.c_str(), 0755) != 0 || chmod(copy.c_str(), 0755) != 0)
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

std::string SimHarness::readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> SimHarness::lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line))
        result.push_back(line);
    return result;
}

std::string SimHarness::value(const std::string& output, const std::string& key)
{
    const std::string needle = key + "=";
    size_t at = output.find(needle);
    while (at != std::string::npos && at != 0 && output[at - 1] != ' ' && output[at - 1] != '\n')
        at = output.find(needle, at + 1);
    if (at == std::string::npos)
        return "";
    const size_t start = at + needle.size();
    const size_t end = output.find_first_of(" \n", start);
    return output.substr(start, end == std::string::npos ? std::string::npos : end - start);
}
