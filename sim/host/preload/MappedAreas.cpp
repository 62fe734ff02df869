#include "MappedAreas.h"

#include "RealCalls.h"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

namespace simhost
{

uint8_t* MappedAreas::create(AreaKind kind, uint32_t validLength)
{
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t length = (validLength + page - 1) / page * page;
    const RealCalls& real = RealCalls::get();
    const int memfd = memfd_create("sarvik-sim-area", MFD_CLOEXEC);
    if (memfd < 0)
        return nullptr;
    uint8_t* user = nullptr;
    uint8_t* alias = nullptr;
    if (ftruncate(memfd, static_cast<off_t>(length)) == 0)
    {
        void* u = real.mmap64(nullptr, length, PROT_NONE, MAP_SHARED, memfd, 0);
        void* a = real.mmap64(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, memfd, 0);
        user = u == MAP_FAILED ? nullptr : static_cast<uint8_t*>(u);
        alias = a == MAP_FAILED ? nullptr : static_cast<uint8_t*>(a);
    }
    const int savedErrno = errno;
    real.close(memfd);
    for (auto& area : areas_)
    {
        if (user == nullptr || alias == nullptr)
            break;
        bool expected = false;
        if (!area.used.compare_exchange_strong(expected, true))
            continue;
        area.user = user;
        area.alias = alias;
        area.mapLength = length;
        area.validLength = validLength;
        area.kind = kind;
        return user;
    }
    if (user != nullptr)
        real.munmap(user, length);
    if (alias != nullptr)
        real.munmap(alias, length);
    errno = (user == nullptr || alias == nullptr) ? savedErrno : ENOMEM;
    return nullptr;
}

bool MappedAreas::release(void* address, AreaKind* kind)
{
    for (auto& area : areas_)
    {
        if (!area.used.load() || area.user != address)
            continue;
        const RealCalls& real = RealCalls::get();
        real.munmap(area.user, area.mapLength);
        real.munmap(area.alias, area.mapLength);
        *kind = area.kind;
        area.user = nullptr;
        area.used.store(false);
        return true;
    }
    return false;
}

MappedArea* MappedAreas::find(const void* address)
{
    const auto* p = static_cast<const uint8_t*>(address);
    for (auto& area : areas_)
    {
        if (area.used.load() && p >= area.user && p < area.user + area.mapLength)
            return &area;
    }
    return nullptr;
}

} // namespace simhost
