#include "Sandbox.h"

#include "RunConfig.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simhost
{

namespace
{
bool mountCall(const char* source, const std::string& target, const char* type, unsigned long flags,
               std::string* error)
{
    if (mount(source, target.c_str(), type, flags, nullptr) == 0)
        return true;
    *error = std::string("mount(") + (source != nullptr ? source : "none") + ", " + target +
             "): " + std::strerror(errno);
    return false;
}

bool exists(const char* path)
{
    struct stat st;
    return stat(path, &st) == 0;
}
} // namespace

bool Sandbox::enter(const RunDirectory& run, const LauncherOptions& options, std::string* error)
{
    if (unshare(CLONE_NEWNS) != 0)
    {
        *error = std::string("unshare(CLONE_NEWNS): ") + std::strerror(errno);
        return false;
    }
    if (!mountCall(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, error))
        return false;
    const std::string dev = run.devDir();
    for (int i = 0; RunDirectory::kHostDevices[i] != nullptr; ++i)
    {
        const std::string host = std::string("/dev/") + RunDirectory::kHostDevices[i];
        if (exists(host.c_str()) &&
            !mountCall(host.c_str(), dev + "/" + RunDirectory::kHostDevices[i], nullptr, MS_BIND, error))
            return false;
    }
    if (!mountCall("/dev/pts", dev + "/pts", nullptr, MS_BIND | MS_REC, error) ||
        !mountCall("tmpfs", dev + "/shm", "tmpfs", MS_NOSUID | MS_NODEV, error))
        return false;
    if (!options.root.empty() &&
        !mountCall(options.root.c_str(), run.mntDir() + "/APPS", nullptr, MS_BIND, error))
        return false;
    if (!mountCall(dev.c_str(), "/dev", nullptr, MS_BIND | MS_REC, error) ||
        !mountCall(run.mntDir().c_str(), "/mnt", nullptr, MS_BIND | MS_REC, error))
        return false;
    // The system's own module commands too: the tool runs them with a fixed PATH and a clean
    // environment. The run's bin/ is laid over each system program folder; where the kernel
    // refuses the overlay, existing commands are covered one by one.
    for (const char* dir : {"/usr/sbin", "/sbin", "/usr/bin", "/bin"})
    {
        struct stat st;
        if (lstat(dir, &st) != 0 || !S_ISDIR(st.st_mode))
            continue;
        const std::string layers = "lowerdir=" + run.binDir() + ":" + dir;
        if (mount("overlay", dir, "overlay", MS_RDONLY, layers.c_str()) == 0)
            continue;
        for (const char* command : {"modprobe", "rmmod"})
        {
            const std::string system = std::string(dir) + "/" + command;
            if (exists(system.c_str()) &&
                !mountCall((run.binDir() + "/" + command).c_str(), system, nullptr, MS_BIND, error))
                return false;
        }
    }
    // The interposer in the system library folders, where ld.so looks for a bare preload name,
    // also for set-user-ID programs. A kernel that refuses the overlay leaves them out: the
    // command then finds the interposer by its path, set-user-ID programs excepted.
    for (int i = 0; RunDirectory::kLibArchs[i] != nullptr; ++i)
    {
        const std::string dir = std::string("/usr/lib/") + RunDirectory::kLibArchs[i];
        struct stat st;
        if (lstat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
            continue;
        const std::string layers = "lowerdir=" + run.libDir() + "/" + RunDirectory::kLibArchs[i] + ":" + dir;
        mount("overlay", dir.c_str(), "overlay", MS_RDONLY, layers.c_str());
    }
    return true;
}

void Sandbox::prepareEnvironment(const RunDirectory& run, const std::string& preloadRoot)
{
    const std::string laid =
        std::string("/usr/lib/") + RunDirectory::kLibArchs[0] + "/" + RunDirectory::kInterposer;
    std::string preload = exists(laid.c_str()) ? std::string(RunDirectory::kInterposer)
                                               : preloadRoot + "/$LIB/" + RunDirectory::kInterposer;
    if (const char* existing = std::getenv("LD_PRELOAD"))
        preload += std::string(":") + existing;
    setenv("LD_PRELOAD", preload.c_str(), 1);
    std::string path = run.binDir();
    if (const char* existing = std::getenv("PATH"))
        path += std::string(":") + existing;
    setenv("PATH", path.c_str(), 1);
    setenv(RunConfig::kEnvVariable, run.path().c_str(), 1);
}

} // namespace simhost
