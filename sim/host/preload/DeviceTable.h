// Which open descriptors of the process are the simulated drivers' device nodes.
#pragma once

#include "DriverNodes.h"

#include <map>
#include <mutex>

namespace simhost
{

class DeviceTable
{
public:
    void add(int fd, Device device);
    Device remove(int fd);
    Device find(int fd) const;

private:
    mutable std::mutex mutex_;
    std::map<int, Device> devices_;
};

} // namespace simhost
