#include "MappedAreas.h"

#include "RealCalls.h"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

namespace simhost
{

namespace
{
size_t guardLength()
{
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}
} // namespace

uint8_t* MappedAreas::create(const AreaRequest& request)
{
    const size_t length = request.mapLength;
    const RealCalls& real = RealCalls::get();
    const int memfd = memfd_create("sarvik-sim-area", MFD_CLOEXEC);
    if (memfd < 0)
        return nullptr;
    uint8_t* user = nullptr;
    uint8_t* alias = nullptr;
    if (ftruncate(memfd, static_cast<off_t>(length)) == 0)
    {
        // Unless the caller placed it, the mapping is followed by an inaccessible page of its own:
        // a byte beyond what was mapped then always ends the process, never lands elsewhere.
        void* u = request.fixedFlags != 0 ? real.mmap64(request.address, length, PROT_NONE,
                                                        MAP_SHARED | request.fixedFlags, memfd, 0)
                                          : real.mmap64(request.address, length + guardLength(), PROT_NONE,
                                                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (u != MAP_FAILED && request.fixedFlags == 0)
            u = real.mmap64(u, length, PROT_NONE, MAP_SHARED | MAP_FIXED, memfd, 0);
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
        area.request = request;
        area.copiedPages = 0;
        for (int& prot : area.pageProt)
            prot = request.prot;
        return user;
    }
    if (user != nullptr)
        real.munmap(user, length + (request.fixedFlags != 0 ? 0 : guardLength()));
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
        real.munmap(area.user, area.request.mapLength + (area.request.fixedFlags != 0 ? 0 : guardLength()));
        real.munmap(area.alias, area.request.mapLength);
        *kind = area.request.kind;
        area.user = nullptr;
        area.used.store(false);
        return true;
    }
    return false;
}

int MappedAreas::protect(MappedArea& area, void* address, size_t length, int prot)
{
    const size_t page = guardLength();
    const auto first = static_cast<size_t>(static_cast<uint8_t*>(address) - area.user);
    if (first % page != 0)
        return EINVAL;
    const size_t end = (first + length + page - 1) / page * page;
    if (end > area.request.mapLength)
        return ENOMEM;
    if ((prot & PROT_WRITE) != 0 && !area.request.mayWrite)
        return EACCES;
    for (size_t at = first; at < end; at += page)
    {
        area.pageProt[at / page] = prot;
        // A copied page is plain memory: its protection is the real one.
        if ((area.copiedPages & (1u << (at / page))) != 0)
            RealCalls::get().mprotect(area.user + at, page, prot);
    }
    return 0;
}

bool MappedArea::readable(uint32_t offset) const
{
    return pageProt[offset / guardLength()] != PROT_NONE;
}

bool MappedArea::writable(uint32_t offset) const
{
    return (pageProt[offset / guardLength()] & PROT_WRITE) != 0;
}

bool MappedArea::markCopied(uint32_t offset)
{
    const size_t page = offset / guardLength();
    copiedPages = static_cast<uint8_t>(copiedPages | (1u << page));
    return RealCalls::get().mprotect(user + page * guardLength(), guardLength(), pageProt[page]) == 0;
}

MappedArea* MappedAreas::find(const void* address)
{
    const auto* p = static_cast<const uint8_t*>(address);
    for (auto& area : areas_)
    {
        if (area.used.load() && p >= area.user && p < area.user + area.request.mapLength)
            return &area;
    }
    return nullptr;
}

} // namespace simhost
