#include "SimRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
std::string ReadAll(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

SSimRun Run(const std::vector<std::string>& argv, const std::string& dir)
{
    SSimRun run;
    const std::string outPath = dir + "/stdout";
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0)
    {
        const int fd = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(fd, 1);
        std::vector<char*> args;
        for (const std::string& arg : argv)
        {
            args.push_back(const_cast<char*>(arg.c_str()));
        }
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    run.WallMs_S64 =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
    run.Exit_S32 = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.Stdout_S = ReadAll(outPath);
    Json::CharReaderBuilder builder;
    std::istringstream in(run.Stdout_S);
    std::string errors;
    Json::parseFromStream(builder, in, &run.Output_X, &errors);
    std::istringstream trace(ReadAll(dir + "/trace"));
    for (std::string line; std::getline(trace, line);)
    {
        Json::Value event;
        std::istringstream one(line);
        if (Json::parseFromStream(builder, one, &event, &errors))
        {
            run.Trace_X.push_back(event);
        }
    }
    run.Syslog_S = ReadAll(dir + "/syslog");
    return run;
}

std::string TempDir()
{
    char dir[] = "/tmp/boardaccess.XXXXXX";
    return mkdtemp(dir) != nullptr ? dir : "/tmp";
}
} // namespace

std::vector<Json::Value> SSimRun::Events(const char* kind) const
{
    std::vector<Json::Value> events;
    for (const Json::Value& event : Trace_X)
    {
        if (event["ev"].asString() == kind)
        {
            events.push_back(event);
        }
    }
    return events;
}

std::vector<Json::Value> SSimRun::Commands(uint32_t opcode) const
{
    std::vector<Json::Value> commands;
    for (const Json::Value& event : Events("cmd"))
    {
        if (TraceNumber(event, "op") == opcode)
        {
            commands.push_back(event);
        }
    }
    return commands;
}

uint32_t TraceNumber(const Json::Value& event, const char* key)
{
    const Json::Value& value = event[key];
    if (value.isString())
    {
        return static_cast<uint32_t>(strtoul(value.asCString(), nullptr, 0));
    }
    if (value.isIntegral())
    {
        return static_cast<uint32_t>(value.asUInt64());
    }
    return ~0u;
}

SSimRun RunInSim(const std::vector<std::string>& simOptions, const std::vector<std::string>& command)
{
    const std::string dir = TempDir();
    std::vector<std::string> argv = {SIM_PATH};
    argv.insert(argv.end(), simOptions.begin(), simOptions.end());
    argv.insert(argv.end(), {"--trace", dir + "/trace", "--syslog", dir + "/syslog", "--"});
    argv.insert(argv.end(), command.begin(), command.end());
    SSimRun run = Run(argv, dir);
    std::system(("rm -rf " + dir).c_str());
    return run;
}

SSimRun RunBare(const std::vector<std::string>& command)
{
    const std::string dir = TempDir();
    SSimRun run = Run(command, dir);
    std::system(("rm -rf " + dir).c_str());
    return run;
}

SSimRun RunProbe(std::vector<std::string> simOptions, const std::vector<std::string>& ops)
{
    std::vector<std::string> command = {PROBE_PATH};
    command.insert(command.end(), ops.begin(), ops.end());
    if (std::find(simOptions.begin(), simOptions.end(), "--speed") == simOptions.end())
    {
        simOptions.insert(simOptions.end(), {"--speed", "20"});
    }
    SSimRun run = RunInSim(simOptions, command);
    EXPECT_EQ(run.Exit_S32, 0) << run.Stdout_S;
    return run;
}
