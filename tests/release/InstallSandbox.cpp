#include "InstallSandbox.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
const char* const kLayeredFolders[] = {"/usr", "/etc", "/var"};

bool Fail(const std::string& scratch, const std::string& call)
{
    std::ofstream(scratch + "/sandbox.err") << call << ": " << std::strerror(errno);
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

bool CInstallSandbox::Run(CSimRun& sim, const std::vector<Args>& steps, std::vector<SSimResult>* results,
                          std::string* error)
{
    const std::string scratch = sim.Path("install");
    if (mkdir(scratch.c_str(), 0755) != 0)
    {
        *error = "mkdir " + scratch + ": " + std::strerror(errno);
        return false;
    }
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
        for (size_t i = 0; i < steps.size(); ++i)
        {
            const SSimResult r = sim.Host(steps[i]);
            const std::string stem = scratch + "/step" + std::to_string(i);
            std::ofstream(stem + ".status") << r.Status;
            std::ofstream(stem + ".out") << r.Out;
            std::ofstream(stem + ".err") << r.Err;
        }
        _exit(0);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    {
        *error = "sandbox: " + CSimRun::ReadText(scratch + "/sandbox.err");
        return false;
    }
    results->clear();
    for (size_t i = 0; i < steps.size(); ++i)
    {
        const std::string stem = scratch + "/step" + std::to_string(i);
        SSimResult r;
        const std::string statusText = CSimRun::ReadText(stem + ".status");
        r.Status = statusText.empty() ? -1 : std::stoi(statusText);
        r.Out = CSimRun::ReadText(stem + ".out");
        r.Err = CSimRun::ReadText(stem + ".err");
        results->push_back(r);
    }
    return true;
}
