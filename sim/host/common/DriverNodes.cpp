#include "DriverNodes.h"

#include <cstring>

namespace simhost
{

namespace
{
struct Node
{
    Device device;
    const char* module; // nullptr: the host board's node, present from the start
    const char* path;
    unsigned long init; // 0: the driver has no initialisation or shut-down request
    unsigned long shutdown;
};

const Node kNodes[] = {
    {Device::Comram, "drv_comram", "/dev/comram0", 0x40046E10, 0x40046E12},
    {Device::Timecode, "drv_timecode", "/dev/timecode0", 0x40046B10, 0x40046B12},
    {Device::Genlock, "drv_genlock", "/dev/genlock0", 0x40046710, 0x40046712},
    {Device::DspUart, "drv_dspuart", "/dev/dspuart0", 0x40047510, 0x40047512},
    {Device::Zeb, "drv_zeb", "/dev/zeb0", 0x40047A10, 0x40047A12},
    {Device::Zq8, nullptr, "/dev/zq8_0", 0, 0},
};

const Node* find(Device device)
{
    for (const Node& node : kNodes)
        if (node.device == device)
            return &node;
    return nullptr;
}
} // namespace

Device DriverNodes::fromPath(const char* path)
{
    for (const Node& node : kNodes)
        if (path != nullptr && std::strcmp(path, node.path) == 0)
            return node.device;
    return Device::None;
}

const char* DriverNodes::path(Device device)
{
    const Node* node = find(device);
    return node != nullptr ? node->path : "";
}

std::string DriverNodes::nodeOf(const std::string& module)
{
    for (const Node& node : kNodes)
        if (node.module != nullptr && module == node.module)
            return node.path + std::strlen("/dev/");
    return "";
}

bool DriverNodes::acceptsIoctl(Device device, unsigned long request)
{
    const Node* node = find(device);
    return node != nullptr && node->init != 0 && (request == node->init || request == node->shutdown);
}

} // namespace simhost
