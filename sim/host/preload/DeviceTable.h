// Which open descriptors of the process are the simulated drivers' device nodes.
#pragma once

#include <map>
#include <mutex>

namespace simhost
{

enum class Device
{
    None,
    Comram,
    Timecode,
    Zq8
};

class DeviceTable
{
public:
    // The driver a node path names, Device::None for any other path.
    static Device fromPath(const char* path);
    static const char* name(Device device);

    void add(int fd, Device device);
    Device remove(int fd);
    Device find(int fd) const;

private:
    mutable std::mutex mutex_;
    std::map<int, Device> devices_;
};

} // namespace simhost
