#include "RunDirectory.h"

#include "ModuleTool.h"
#include "SimServer.h"
#include "VirtualClock.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace simhost
{

const char* const RunDirectory::kHostDevices[] = {"null",    "zero", "full", "random",
                                                  "urandom", "tty",  "ptmx", nullptr};

namespace
{
std::string failure(const char* call, const std::string& what)
{
    return std::string(call) + "(" + what + "): " + std::strerror(errno);
}

bool touch(const std::string& path, std::string* error)
{
    std::ofstream file(path);
    if (!file)
    {
        *error = failure("open", path);
        return false;
    }
    return true;
}

bool makeDir(const std::string& path, std::string* error)
{
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST)
    {
        *error = failure("mkdir", path);
        return false;
    }
    return true;
}

bool makeLink(const char* target, const std::string& path, std::string* error)
{
    if (symlink(target, path.c_str()) != 0)
    {
        *error = failure("symlink", path);
        return false;
    }
    return true;
}

int removeEntry(const char* path, const struct stat*, int type, struct FTW*)
{
    return type == FTW_DP ? rmdir(path) : unlink(path);
}
} // namespace

RunDirectory::~RunDirectory()
{
    if (!path_.empty())
        nftw(path_.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

bool RunDirectory::create(const LauncherOptions& options, const std::string& selfPath, std::string* error)
{
    char pattern[] = "/tmp/sarvik-sim.XXXXXX";
    if (mkdtemp(pattern) == nullptr)
    {
        *error = failure("mkdtemp", pattern);
        return false;
    }
    path_ = pattern;
    chmod(path_.c_str(), 0755);
    const std::string dev = devDir();
    if (!makeDir(dev, error) || !makeDir(dev + "/pts", error) || !makeDir(dev + "/shm", error) ||
        !makeDir(mntDir(), error) || !makeDir(binDir(), error) || !makeDir(path_ + "/modules", error))
        return false;
    for (int i = 0; kHostDevices[i] != nullptr; ++i)
        if (!touch(dev + "/" + kHostDevices[i], error))
            return false;
    if (!makeLink("/proc/self/fd", dev + "/fd", error) ||
        !makeLink("/proc/self/fd/0", dev + "/stdin", error) ||
        !makeLink("/proc/self/fd/1", dev + "/stdout", error) ||
        !makeLink("/proc/self/fd/2", dev + "/stderr", error))
        return false;
    if (!options.noDrivers && options.hostBoard == 1 && !ModuleTool::makeNode(dev + "/zq8_0", error))
        return false;
    if (options.root.empty())
    {
        if (!makeDir(mntDir() + "/APPS", error) || !makeDir(mntDir() + "/APPS/data", error) ||
            !makeDir(mntDir() + "/APPS/data/log", error))
            return false;
    }
    else if (!makeDir(mntDir() + "/APPS", error))
        return false;

    RunConfig config;
    if (!VirtualClock::setUpRun(&config, path_, options.speed,
                                options.dateGiven ? options.wallStartNs
                                                  : VirtualClock::realNs(VirtualClock::kRealtime)))
    {
        *error = failure("create", path_ + "/" + VirtualClock::kPageFile);
        return false;
    }
    config.set("host_board", std::to_string(options.hostBoard));
    config.set("no_drivers", options.noDrivers ? "1" : "0");
    config.set("missing_modules", options.missingModules);
    config.set("trace", options.trace);
    config.set("eeprom", eepromPath());
    if (!config.save(path_))
    {
        *error = failure("write", path_ + "/" + RunConfig::kFileName);
        return false;
    }
    if (!writeBoardConfig(options, error) || !writeEeprom(options, error) ||
        !writeModuleCommands(selfPath, error) || !writeInterposers(selfPath, error))
        return false;
    if (options.modulesLoaded && !options.noDrivers)
    {
        for (const std::string module : {"drv_comram", "drv_timecode"})
            if (options.missingModules.find(" " + module + " ") == std::string::npos &&
                !ModuleTool::load(path_, module, error))
                return false;
    }
    return true;
}

bool RunDirectory::writeBoardConfig(const LauncherOptions& options, std::string* error) const
{
    std::ofstream out(path_ + "/board.conf");
    for (const auto& [key, value] : options.boardSettings)
        out << key << '=' << value << '\n';
    if (!out.flush())
    {
        *error = failure("write", path_ + "/board.conf");
        return false;
    }
    return true;
}

bool RunDirectory::writeEeprom(const LauncherOptions& options, std::string* error)
{
    std::vector<uint8_t> image = sim::sampleEepromImage();
    if (!options.eeprom.empty() && !image_.open(options.eeprom, sim::sampleEepromImage(), &image, error))
        return false;
    std::ofstream out(eepromPath(), std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.size()));
    if (!out.flush())
    {
        *error = failure("write", eepromPath());
        return false;
    }
    return true;
}

bool RunDirectory::saveEeprom(const LauncherOptions& options, std::string* error) const
{
    if (options.eeprom.empty())
        return true;
    std::ifstream in(eepromPath(), std::ios::binary);
    const std::vector<uint8_t> image{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (image.size() != sim::SimServer::kEepromSize)
    {
        *error = failure("read", eepromPath());
        return false;
    }
    return image_.save(image, error);
}

bool RunDirectory::writeModuleCommands(const std::string& selfPath, std::string* error) const
{
    // Absolute paths only: the tool may call the commands with a cleaned environment.
    for (const char* command : {"modprobe", "rmmod"})
    {
        const std::string path = binDir() + "/" + command;
        std::ofstream out(path);
        out << "#!/bin/sh\nexec '" << selfPath << "' " << ModuleTool::kOption << " '" << path_ << "' "
            << command << " \"$@\"\n";
        if (!out.flush() || chmod(path.c_str(), 0755) != 0)
        {
            *error = failure("write", path);
            return false;
        }
    }
    return true;
}

} // namespace simhost

namespace simhost
{

const char* const RunDirectory::kLibArchs[] = {"i386-linux-gnu", "x86_64-linux-gnu", nullptr};

bool RunDirectory::writeInterposers(const std::string& selfPath, std::string* error) const
{
    // A set-user-ID program runs in secure-execution mode: ld.so then preloads only a bare
    // library name, found in the system library folders, and only when that file is set-user-ID
    // itself. Root-owned copies with mode 4755 pass that test once the sandbox lays them there.
    const std::string preloadRoot = selfPath.substr(0, selfPath.rfind('/')) + "/preload/lib/";
    if (!makeDir(libDir(), error))
        return false;
    for (int i = 0; kLibArchs[i] != nullptr; ++i)
    {
        const std::string dir = libDir() + "/" + kLibArchs[i];
        const std::string from = preloadRoot + kLibArchs[i] + "/" + kInterposer;
        const std::string to = dir + "/" + kInterposer;
        if (!makeDir(dir, error))
            return false;
        std::ifstream in(from, std::ios::binary);
        if (!in)
        {
            *error = failure("open", from);
            return false;
        }
        std::ofstream out(to, std::ios::binary | std::ios::trunc);
        out << in.rdbuf();
        if (!out.flush())
        {
            *error = failure("write", to);
            return false;
        }
        out.close();
        if (chown(to.c_str(), 0, 0) != 0 || chmod(to.c_str(), 04755) != 0)
        {
            *error = failure("chmod", to);
            return false;
        }
    }
    return true;
}

} // namespace simhost
