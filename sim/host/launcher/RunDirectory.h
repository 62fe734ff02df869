// The private directory of one run: the sandbox's /dev and /mnt trees, the module commands,
// the settings the interposer reads and the working copy of the EEPROM image. It is removed
// when the run ends.
#pragma once

#include "ImageFile.h"
#include "LauncherOptions.h"
#include "RunConfig.h"

#include <string>

namespace simhost
{

class RunDirectory
{
public:
    // The devices of the host that the sandbox's /dev shows as they are.
    static const char* const kHostDevices[];
    // The library folders, under lib/ here and under /usr/lib on the system, that hold the
    // interposer (i386) and its empty twin (amd64).
    static const char* const kLibArchs[];
    static constexpr const char* kInterposer = "libsarvik-sim-preload.so";

    RunDirectory() = default;
    ~RunDirectory();
    RunDirectory(const RunDirectory&) = delete;
    RunDirectory& operator=(const RunDirectory&) = delete;

    // Builds the directory; false with a message naming the failing call.
    bool create(const LauncherOptions& options, const std::string& selfPath, std::string* error);
    // Writes the board's final EEPROM content back to --eeprom FILE.
    bool saveEeprom(const LauncherOptions& options, std::string* error) const;

    const std::string& path() const { return path_; }
    std::string devDir() const { return path_ + "/dev"; }
    std::string mntDir() const { return path_ + "/mnt"; }
    std::string binDir() const { return path_ + "/bin"; }
    // lib/i386-linux-gnu and lib/x86_64-linux-gnu: the interposer and its twin as the sandbox
    // lays them into the system library folders.
    std::string libDir() const { return path_ + "/lib"; }
    std::string eepromPath() const { return path_ + "/eeprom.bin"; }

private:
    bool writeEeprom(const LauncherOptions& options, std::string* error);
    bool writeModuleCommands(const std::string& selfPath, std::string* error) const;
    bool writeBoardConfig(const LauncherOptions& options, std::string* error) const;
    bool writeInterposers(const std::string& selfPath, std::string* error) const;

    std::string path_;
    ImageFile image_;
};

} // namespace simhost
