#include "DeviceTable.h"

#include <cstring>

namespace simhost
{

Device DeviceTable::fromPath(const char* path)
{
    if (path == nullptr)
        return Device::None;
    if (std::strcmp(path, "/dev/comram0") == 0)
        return Device::Comram;
    if (std::strcmp(path, "/dev/timecode0") == 0)
        return Device::Timecode;
    if (std::strcmp(path, "/dev/zq8_0") == 0)
        return Device::Zq8;
    return Device::None;
}

const char* DeviceTable::name(Device device)
{
    switch (device)
    {
    case Device::Comram:
        return "/dev/comram0";
    case Device::Timecode:
        return "/dev/timecode0";
    case Device::Zq8:
        return "/dev/zq8_0";
    default:
        return "";
    }
}

void DeviceTable::add(int fd, Device device)
{
    std::lock_guard<std::mutex> lock(mutex_);
    devices_[fd] = device;
}

Device DeviceTable::remove(int fd)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = devices_.find(fd);
    if (it == devices_.end())
        return Device::None;
    const Device device = it->second;
    devices_.erase(it);
    return device;
}

Device DeviceTable::find(int fd) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = devices_.find(fd);
    return it == devices_.end() ? Device::None : it->second;
}

} // namespace simhost
