#include "SimRun.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <ftw.h>
#include <sstream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

const char* const CSimRun::S_Sim = SARVIK_SIM_PATH;
const char* const CSimRun::S_Tool = SARVIK_TOOL_PATH;
const char* const CSimRun::S_Probe = SARVIK_PROBE_PATH;

namespace
{
int RemoveEntry(const char* path, const struct stat*, int, struct FTW*)
{
    return remove(path);
}

std::vector<Json::Value> JsonLines(const std::string& text)
{
    std::vector<Json::Value> values;
    Json::CharReaderBuilder builder;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
    {
        Json::Value value;
        std::istringstream one(line);
        std::string errors;
        if (Json::parseFromStream(builder, one, &value, &errors) && value.isObject())
            values.push_back(value);
    }
    return values;
}
} // namespace

std::string SSimResult::Value(const std::string& key) const
{
    const std::string needle = key + "=";
    size_t at = Out.find(needle);
    while (at != std::string::npos && at != 0 && Out[at - 1] != ' ' && Out[at - 1] != '\n')
        at = Out.find(needle, at + 1);
    if (at == std::string::npos)
        return "";
    const size_t start = at + needle.size();
    return Out.substr(start, Out.find_first_of(" \n", start) - start);
}

std::vector<Json::Value> SSimResult::Events(const std::string& ev) const
{
    std::vector<Json::Value> events;
    std::copy_if(Trace.begin(), Trace.end(), std::back_inserter(events),
                 [&](const Json::Value& event) { return event["ev"].asString() == ev; });
    return events;
}

std::vector<Json::Value> SSimResult::Commands(uint32_t opcode) const
{
    std::vector<Json::Value> commands;
    for (const Json::Value& event : Events("cmd"))
        if (TraceNumber(event, "op") == opcode)
            commands.push_back(event);
    return commands;
}

LogLines SSimResult::Log(const std::string& ident) const
{
    LogLines lines;
    for (const Json::Value& line : Syslog)
    {
        if (line["ident"].asString() == ident)
        {
            // openlog's LOG_USER (8) is facility number 1 in the log.
            lines.push_back(
                {line["facility"].asInt() == 1 ? line["priority"].asInt() : -1, line["message"].asString()});
        }
    }
    return lines;
}

uint32_t TraceNumber(const Json::Value& event, const char* key)
{
    const Json::Value& value = event[key];
    if (value.isString())
        return static_cast<uint32_t>(strtoul(value.asCString(), nullptr, 0));
    return value.isIntegral() ? static_cast<uint32_t>(value.asUInt64()) : ~0u;
}

std::vector<uint32_t> TraceNumbers(const std::vector<Json::Value>& events, const char* key)
{
    std::vector<uint32_t> numbers;
    for (const Json::Value& event : events)
        numbers.push_back(TraceNumber(event, key));
    return numbers;
}

CSimRun::CSimRun()
{
    char pattern[] = "/tmp/sarvik-test-XXXXXX";
    if (mkdtemp(pattern) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    mFolder = pattern;
    // Ordinary users started by a test reach their programs and files through it.
    chmod(mFolder.c_str(), 0755);
    for (const std::string& folder : {Root(), Root() + "/data", Root() + "/data/log"})
        mkdir(folder.c_str(), 0755);
}

CSimRun::~CSimRun()
{
    nftw(mFolder.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
}

pid_t CSimRun::Spawn(const Args& argv, int stdinFd, ETerminal terminal)
{
    mStem = Path("run" + std::to_string(mRuns++));
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    if (terminal != ETerminal::NONE && (setsid() < 0 || ioctl(stdinFd, TIOCSCTTY, 0) != 0))
        _exit(126);
    if (terminal == ETerminal::BACKGROUND || terminal == ETerminal::MOVED_TO_BACKGROUND)
    {
        sigset_t usr1;
        sigemptyset(&usr1);
        sigaddset(&usr1, SIGUSR1);
        sigprocmask(SIG_BLOCK, &usr1, nullptr);
        signal(SIGTTOU, SIG_IGN);
        const pid_t job = fork();
        if (job != 0)
        {
            setpgid(job, job); // as shells do, so that the job's group exists whichever runs first
            if (terminal == ETerminal::MOVED_TO_BACKGROUND)
            {
                int sig = 0;
                sigwait(&usr1, &sig);
                tcsetpgrp(stdinFd, getpgrp());
            }
            int status = 0;
            while (waitpid(job, &status, WUNTRACED) < 0 && errno == EINTR)
            {
            }
            if (WIFSTOPPED(status))
            {
                // Brought to the foreground as `fg` would, so that the run ends and cleans up.
                const int stop = WSTOPSIG(status);
                tcsetpgrp(stdinFd, job);
                kill(-job, SIGCONT);
                waitpid(job, &status, 0);
                _exit(STOPPED_BY_SIGNAL + stop);
            }
            _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 127);
        }
        setpgid(0, 0);
        if (terminal == ETerminal::MOVED_TO_BACKGROUND)
            tcsetpgrp(stdinFd, getpid()); // in front before anything runs
        signal(SIGTTOU, SIG_DFL);
        sigprocmask(SIG_UNBLOCK, &usr1, nullptr);
    }
    const int in = stdinFd >= 0 ? stdinFd : open("/dev/null", O_RDONLY);
    const int out = open((mStem + ".out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open((mStem + ".err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0)
        _exit(126);
    std::vector<char*> args;
    for (const std::string& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    setenv("TZ", "UTC", 1);
    umask(022);
    execvp(args[0], args.data());
    _exit(127);
}

pid_t CSimRun::Start(const Args& options, const Args& command, int stdinFd, ETerminal terminal)
{
    const std::string stem = Path("run" + std::to_string(mRuns));
    Args argv = {S_Sim, "--root", Root(), "--trace", stem + ".trace", "--syslog", stem + ".syslog"};
    argv.insert(argv.end(), options.begin(), options.end());
    argv.push_back("--");
    argv.insert(argv.end(), command.begin(), command.end());
    return Spawn(argv, stdinFd, terminal);
}

SSimResult CSimRun::Wait(pid_t pid)
{
    SSimResult result;
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
    {
    }
    result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.Out = ReadText(mStem + ".out");
    result.Err = ReadText(mStem + ".err");
    result.Trace = JsonLines(ReadText(mStem + ".trace"));
    result.Syslog = JsonLines(ReadText(mStem + ".syslog"));
    return result;
}

SSimResult CSimRun::Run(const Args& options, const Args& command)
{
    return Wait(Start(options, command));
}

SSimResult CSimRun::Tool(const Args& options, const Args& toolArgs)
{
    Args command = {S_Tool};
    command.insert(command.end(), toolArgs.begin(), toolArgs.end());
    return Run(options, command);
}

SSimResult CSimRun::Host(const Args& argv)
{
    return Wait(Spawn(argv, -1, ETerminal::NONE));
}

std::string CSimRun::Image(const Args& makeArgs)
{
    Args argv = {S_Sim, "image", "make"};
    argv.insert(argv.end(), makeArgs.begin(), makeArgs.end());
    const SSimResult made = Host(argv);
    const std::string path = Path("unit" + std::to_string(mRuns) + ".img");
    std::ofstream(path, std::ios::binary) << made.Out;
    return made.Status == 0 ? path : "";
}

std::string CSimRun::ReadText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<uint8_t> CSimRun::ReadBytes(const std::string& path)
{
    const std::string text = ReadText(path);
    return std::vector<uint8_t>(text.begin(), text.end());
}
