// The server's kernel drivers as the simulated server knows them: each module, the device node
// it creates and the requests its driver answers.
#pragma once

#include <string>

namespace simhost
{

enum class Device
{
    None,
    Comram,
    Timecode,
    Genlock,
    DspUart,
    Zeb,
    Zq8
};

class DriverNodes
{
public:
    // The driver a node path names, Device::None for any other path.
    static Device fromPath(const char* path);
    static const char* path(Device device);
    // The node a module's driver creates ("comram0"), empty for a module the server lacks.
    static std::string nodeOf(const std::string& module);
    // Whether the driver answers the request with success: its initialisation or shut-down.
    static bool acceptsIoctl(Device device, unsigned long request);
};

} // namespace simhost
