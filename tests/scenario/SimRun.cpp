#include "SimRun.h"

#include <json/json.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <ftw.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{
int RemoveEntry(const char* path, const struct stat*, int, struct FTW*)
{
    return remove(path);
}
} // namespace

std::vector<SyslogLine> RunResult::ToolLog() const
{
    std::vector<SyslogLine> lines;
    for (const SyslogLine& line : syslog)
    {
        if (line.ident == "Sarvik")
        {
            lines.push_back(line);
        }
    }
    return lines;
}

CSimRun::CSimRun()
{
    char pTemplate[] = "/tmp/sarvik-scenario-XXXXXX";
    const char* pFolder = mkdtemp(pTemplate);
    mFolder = pFolder != nullptr ? pFolder : "";
}

CSimRun::~CSimRun()
{
    if (!mFolder.empty() && getenv("SARVIK_KEEP_SCENARIO") == nullptr)
    {
        nftw(mFolder.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
}

int CSimRun::Spawn(const std::vector<std::string>& argv, const std::string& outPath,
                   const std::string& errPath)
{
    std::vector<char*> args;
    for (const std::string& arg : argv)
    {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
    {
        return -1;
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
    {
        return -1;
    }
    return WEXITSTATUS(status);
}

std::string CSimRun::MakeImage(const std::vector<std::string>& makeArgs)
{
    const std::string path = mFolder + "/unit" + std::to_string(mRuns++) + ".img";
    std::vector<std::string> argv = {SARVIK_SIM_PATH, "image", "make"};
    argv.insert(argv.end(), makeArgs.begin(), makeArgs.end());
    if (Spawn(argv, path, mFolder + "/image.err") != 0)
    {
        return "";
    }
    return path;
}

RunResult CSimRun::Run(const std::vector<std::string>& simArgs, const std::vector<std::string>& toolArgs)
{
    const std::string stem = mFolder + "/run" + std::to_string(mRuns++);
    std::vector<std::string> argv = {SARVIK_SIM_PATH, "--syslog", stem + ".syslog", "--trace",
                                     stem + ".trace"};
    argv.insert(argv.end(), simArgs.begin(), simArgs.end());
    argv.push_back("--");
    argv.push_back(SARVIK_TOOL_PATH);
    argv.insert(argv.end(), toolArgs.begin(), toolArgs.end());

    RunResult result;
    result.exitStatus = Spawn(argv, stem + ".out", stem + ".err");
    result.out = ReadText(stem + ".out");
    result.err = ReadText(stem + ".err");
    result.trace = ReadText(stem + ".trace");
    std::istringstream lines(ReadText(stem + ".syslog"));
    std::string text;
    Json::Reader reader;
    while (std::getline(lines, text))
    {
        Json::Value value;
        if (text.empty() || !reader.parse(text, value) || !value.isObject())
        {
            continue;
        }
        SyslogLine line;
        line.ident = value["ident"].asString();
        line.facility = value["facility"].asInt();
        line.timeUs = value["t_us"].asUInt64();
        line.priority = value["priority"].asInt();
        line.message = value["message"].asString();
        result.syslog.push_back(line);
    }
    return result;
}

std::vector<uint8_t> CSimRun::ReadBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string CSimRun::ReadText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}
