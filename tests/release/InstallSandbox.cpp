#include "InstallSandbox.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
const char* const kLayeredFolders[] = {"/usr", "/etc", "/var"};

bool Fail(const std::string& scratch, const std::string& call)
{
    const std::string text = call + ": " + std::strerror(errno);
    CScratch::WriteText(scratch + "/sandbox.err", text, 0644);
    return false;
}

bool EnterNamespace(const std::string& scratch)
{
    if (unshare(CLONE_NEWNS) != 0)
    {
        return Fail(scratch, "unshare(CLONE_NEWNS)");
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    {
        return Fail(scratch, "mount(/, MS_PRIVATE)");
    }
    const std::string layers = scratch + "/layers";
    if (mkdir(layers.c_str(), 0755) != 0 || mount("tmpfs", layers.c_str(), "tmpfs", 0, nullptr) != 0)
    {
        return Fail(scratch, "mount(tmpfs, " + layers + ")");
    }
    for (const char* folder : kLayeredFolders)
    {
        const std::string upper = layers + folder + "-upper";
        const std::string work = layers + folder + "-work";
        const std::string options =
            std::string("lowerdir=") + folder + ",upperdir=" + upper + ",workdir=" + work;
        if (mkdir(upper.c_str(), 0755) != 0 || mkdir(work.c_str(), 0755) != 0 ||
            mount("overlay", folder, "overlay", 0, options.c_str()) != 0)
        {
            return Fail(scratch, std::string("mount(overlay, ") + folder + ")");
        }
    }
    return true;
}
} // namespace

bool CInstallSandbox::Run(const std::string& scratch, const std::vector<std::vector<std::string>>& steps,
                          std::vector<ProgramResult>* results, std::string* error)
{
    const pid_t child = fork();
    if (child < 0)
    {
        *error = std::string("fork: ") + std::strerror(errno);
        return false;
    }
    if (child == 0)
    {
        if (!EnterNamespace(scratch))
        {
            _exit(125);
        }
        {
            CScratch runner;
            for (size_t i = 0; i < steps.size(); ++i)
            {
                const ProgramResult r = runner.Run(steps[i]);
                const std::string stem = scratch + "/step" + std::to_string(i);
                CScratch::WriteText(stem + ".status", std::to_string(r.status), 0644);
                CScratch::WriteText(stem + ".out", r.out, 0644);
                CScratch::WriteText(stem + ".err", r.err, 0644);
            }
        }
        _exit(0);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    {
        *error = "sandbox: " + CScratch::ReadText(scratch + "/sandbox.err");
        return false;
    }
    results->clear();
    for (size_t i = 0; i < steps.size(); ++i)
    {
        const std::string stem = scratch + "/step" + std::to_string(i);
        ProgramResult r;
        const std::string statusText = CScratch::ReadText(stem + ".status");
        r.status = statusText.empty() ? -1 : std::stoi(statusText);
        r.out = CScratch::ReadText(stem + ".out");
        r.err = CScratch::ReadText(stem + ".err");
        results->push_back(r);
    }
    return true;
}
