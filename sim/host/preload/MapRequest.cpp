#include "MapRequest.h"

#include "SimServer.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace simhost
{

namespace
{
// The flags an old kernel knew; MAP_SHARED_VALIDATE refuses any other.
constexpr int kKnownFlags = MAP_SHARED | MAP_PRIVATE | MAP_FIXED | MAP_ANONYMOUS | MAP_DENYWRITE |
                            MAP_EXECUTABLE | MAP_GROWSDOWN | MAP_LOCKED | MAP_NORESERVE | MAP_POPULATE |
                            MAP_NONBLOCK | MAP_STACK | MAP_HUGETLB;
constexpr int kMapType = 0x0F;

struct Window
{
    AreaKind kind;
    uint32_t offset;
    uint32_t length;
};

constexpr Window kWindows[] = {
    {AreaKind::Comram, MapRequest::kComramOffset, sim::SimServer::kComramSize},
    {AreaKind::IoArea, MapRequest::kIoAreaOffset, MapRequest::kIoAreaPorts},
};

int kernelCheck(int openFlags, size_t length, int prot, int flags, int64_t offset, uint64_t page)
{
    if (offset < 0 || static_cast<uint64_t>(offset) % page != 0 || length == 0)
        return EINVAL;
    const int access = openFlags & O_ACCMODE;
    switch (flags & kMapType)
    {
    case MAP_SHARED_VALIDATE:
        if ((flags & ~kKnownFlags & ~kMapType) != 0)
            return EOPNOTSUPP;
        [[fallthrough]];
    case MAP_SHARED:
        if ((prot & PROT_WRITE) != 0 && access == O_RDONLY)
            return EACCES;
        [[fallthrough]];
    case MAP_PRIVATE:
        return access == O_WRONLY ? EACCES : 0;
    default:
        return EINVAL;
    }
}
} // namespace

int MapRequest::check(Device device, int openFlags, size_t length, int prot, int flags, int64_t offset,
                      AreaRequest* request)
{
    const uint64_t page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    if (const int error = kernelCheck(openFlags, length, prot, flags, offset, page))
        return error;
    if (device != Device::Comram)
        return ENODEV; // the other drivers cannot be mapped
    const uint64_t pages = (static_cast<uint64_t>(length) + page - 1) / page;
    for (const Window& window : kWindows)
    {
        const uint64_t areaBytes = (window.length + page - 1) / page * page;
        const auto at = static_cast<uint64_t>(offset);
        if (at < window.offset || at >= window.offset + areaBytes)
            continue;
        const uint64_t start = at - window.offset;
        if (start + pages * page > areaBytes)
            return EINVAL;
        request->kind = window.kind;
        request->base = static_cast<uint32_t>(start);
        request->mapLength = static_cast<uint32_t>(pages * page);
        request->validLength = static_cast<uint32_t>(std::min<uint64_t>(pages * page, window.length - start));
        request->prot = prot & (PROT_READ | PROT_WRITE);
        request->privateCopy = (flags & kMapType) == MAP_PRIVATE;
        request->mayWrite = request->privateCopy || (openFlags & O_ACCMODE) != O_RDONLY;
        return 0;
    }
    return EINVAL;
}

} // namespace simhost
