#include "DeviceTable.h"

namespace simhost
{

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
