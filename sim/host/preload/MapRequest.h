// How an mmap of a driver node is answered: first the checks the kernel makes on any file
// mapping (offset, length, flags, the descriptor's open mode), then the communication RAM
// driver's own, which maps whole pages of its two areas and nothing else.
#pragma once

#include "DeviceTable.h"
#include "MappedAreas.h"

#include <cstddef>
#include <cstdint>

namespace simhost
{

class MapRequest
{
public:
    // Where the driver places its areas in the device's mmap offset space. The I/O area starts
    // at port 0 so that its byte N is port N.
    static constexpr uint32_t kComramOffset = 0x100000;
    static constexpr uint32_t kIoAreaOffset = 0;
    static constexpr uint32_t kIoAreaPorts = 0x400;

    // 0 with `request` filled, or the errno the kernel answers the call with.
    static int check(Device device, int openFlags, size_t length, int prot, int flags, int64_t offset,
                     AreaRequest* request);
};

} // namespace simhost
