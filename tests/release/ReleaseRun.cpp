#include "ReleaseRun.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <ftw.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{
int RemoveEntry(const char* path, const struct stat*, int, struct FTW*)
{
    return remove(path);
}

std::vector<char*> Pointers(const std::vector<std::string>& strings)
{
    std::vector<char*> pointers;
    for (const std::string& text : strings)
    {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}
} // namespace

CScratch::CScratch()
{
    char pattern[] = "/tmp/sarvik-release-XXXXXX";
    const char* folder = mkdtemp(pattern);
    mFolder = folder != nullptr ? folder : "";
    // Ordinary users started by the tests reach their programs and files through it.
    chmod(mFolder.c_str(), 0755);
}

CScratch::~CScratch()
{
    if (!mFolder.empty())
    {
        nftw(mFolder.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
}

ProgramResult CScratch::Run(const std::vector<std::string>& argv, const std::vector<std::string>& env)
{
    const std::string stem = Path("program" + std::to_string(mRuns++));
    std::vector<char*> args = Pointers(argv);
    std::vector<char*> envp = Pointers(env);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (stem + ".out").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_addopen(&actions, 2, (stem + ".err").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    pid_t pid = 0;
    const int spawned =
        posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), env.empty() ? environ : envp.data());
    posix_spawn_file_actions_destroy(&actions);
    ProgramResult result;
    if (spawned != 0)
    {
        return result;
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
    {
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = ReadText(stem + ".out");
    result.err = ReadText(stem + ".err");
    return result;
}

std::string CScratch::ReadText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool CScratch::WriteText(const std::string& path, const std::string& text, unsigned mode)
{
    {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file << text;
        if (!file.flush())
        {
            return false;
        }
    }
    return chmod(path.c_str(), mode) == 0;
}

bool CScratch::Exists(const std::string& path)
{
    struct stat st;
    return lstat(path.c_str(), &st) == 0;
}
