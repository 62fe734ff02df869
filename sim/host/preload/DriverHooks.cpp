// The kernel drivers of the server as the process sees them through its system calls: the
// device nodes of the sandbox open as ordinary files, and the calls the drivers answer
// (configuration ioctl, mappings, port grants) are answered here.
#include "BusTrap.h"
#include "Interposer.h"
#include "MapRequest.h"
#include "RealCalls.h"
#include "SimServer.h"
#include "TraceJson.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

using sim::TraceJson;
using simhost::AreaKind;
using simhost::Device;
using simhost::DeviceTable;
using simhost::DriverNodes;
using simhost::Interposer;
using simhost::MapRequest;
using simhost::RealCalls;

namespace
{

constexpr unsigned long kComramConfig = 0x80206E01;

// open's third argument exists only when the call may create a file.
mode_t modeArgument(int flags, va_list args)
{
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? va_arg(args, mode_t) : 0;
}

Interposer* runInterposer()
{
    Interposer* ip = Interposer::get();
    return ip != nullptr && ip->inRun() ? ip : nullptr;
}

int noteOpen(const char* path, int fd)
{
    Interposer* ip = runInterposer();
    const Device device = DriverNodes::fromPath(path);
    if (ip == nullptr || device == Device::None)
        return fd;
    const int savedErrno = errno;
    TraceJson line(ip->nowNs(), "open");
    line.str("path", path);
    if (fd >= 0)
    {
        ip->devices().add(fd, device);
        line.snum("fd", fd);
    }
    else
        line.str("error", std::strerror(savedErrno));
    ip->trace(line);
    errno = savedErrno;
    return fd;
}

int openPath(int dirfd, const char* path, int flags, mode_t mode)
{
    const RealCalls& real = RealCalls::get();
    const int fd =
        dirfd == AT_FDCWD ? real.open64(path, flags, mode) : real.openat64(dirfd, path, flags, mode);
    return noteOpen(path, fd);
}

int fail(int error)
{
    errno = error;
    return -1;
}

int deviceIoctl(Interposer& ip, int fd, Device device, unsigned long request, void* arg)
{
    TraceJson line(ip.nowNs(), "ioctl");
    line.str("path", DriverNodes::path(device)).hex("request", static_cast<uint32_t>(request), 8);
    int result = 0;
    int error = 0;
    if (device == Device::Comram && request == kComramConfig)
    {
        uint32_t record[8] = {0,
                              MapRequest::kComramOffset,
                              sim::SimServer::kComramSize,
                              0,
                              MapRequest::kIoAreaOffset,
                              MapRequest::kIoAreaPorts,
                              0,
                              0};
        std::memcpy(arg, record, sizeof record);
    }
    else if (DriverNodes::acceptsIoctl(device, request))
    {
        uint32_t value = 0;
        std::memcpy(&value, arg, sizeof value);
        line.snum("value", value);
    }
    else
    {
        result = -1;
        error = ENOTTY;
    }
    // Who made the call: a set-user-ID tool shows here whether it handed its real user back.
    line.snum("result", result).snum("uid", getuid()).snum("euid", geteuid());
    ip.trace(line);
    (void)fd;
    return result == 0 ? 0 : fail(error);
}

int anyIoctl(int (*realIoctl)(int, unsigned long, ...), int fd, unsigned long request, void* arg)
{
    Interposer* ip = runInterposer();
    const Device device = ip != nullptr ? ip->devices().find(fd) : Device::None;
    if (device == Device::None)
        return realIoctl(fd, request, arg);
    return deviceIoctl(*ip, fd, device, request, arg);
}

void* deviceMmap(Interposer& ip, Device device, void* address, size_t length, int prot, int flags, int fd,
                 int64_t offset)
{
    TraceJson line(ip.nowNs(), "mmap");
    line.str("path", DriverNodes::path(device))
        .hex("offset", static_cast<uint32_t>(offset), 6)
        .snum("length", length);
    simhost::AreaRequest request;
    request.address = address;
    request.fixedFlags = flags & (MAP_FIXED | MAP_FIXED_NOREPLACE);
    const int openFlags = fcntl(fd, F_GETFL);
    uint8_t* area = nullptr;
    if (const int error = MapRequest::check(device, openFlags, length, prot, flags, offset, &request))
        errno = error;
    else
    {
        ip.board();
        area = ip.areas().create(request);
        line.str("area", request.kind == AreaKind::Comram ? "comram" : "io");
    }
    if (area == nullptr)
        line.str("error", std::strerror(errno));
    else
        simhost::BusTrap::install();
    const int savedErrno = errno;
    ip.trace(line);
    errno = savedErrno;
    return area == nullptr ? MAP_FAILED : area;
}

void* anyMmap(void* address, size_t length, int prot, int flags, int fd, int64_t offset)
{
    Interposer* ip = runInterposer();
    const bool fileBacked = (flags & MAP_ANONYMOUS) == 0 && fd >= 0;
    const Device device = ip != nullptr && fileBacked ? ip->devices().find(fd) : Device::None;
    if (device == Device::None)
        return RealCalls::get().mmap64(address, length, prot, flags, fd, offset);
    return deviceMmap(*ip, device, address, length, prot, flags, fd, offset);
}

// The board answers the ports from the first grant on.
void grantPorts(Interposer& ip)
{
    ip.board();
    simhost::BusTrap::install();
}

// Port access is CAP_SYS_RAWIO's: effective root has it, a set-user-ID program that dropped
// its effective user has not until it takes it back.
bool mayUsePorts()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (syscall(SYS_capget, &header, data) != 0)
        return geteuid() == 0;
    return (data[0].effective & (1u << CAP_SYS_RAWIO)) != 0;
}

} // namespace

extern "C"
{

    int open(const char* path, int flags, ...)
    {
        va_list args;
        va_start(args, flags);
        const mode_t mode = modeArgument(flags, args);
        va_end(args);
        return openPath(AT_FDCWD, path, flags, mode);
    }

    int open64(const char* path, int flags, ...)
    {
        va_list args;
        va_start(args, flags);
        const mode_t mode = modeArgument(flags, args);
        va_end(args);
        return openPath(AT_FDCWD, path, flags, mode);
    }

    int __open_2(const char* path, int flags)
    {
        return openPath(AT_FDCWD, path, flags, 0);
    }
    int __open64_2(const char* path, int flags)
    {
        return openPath(AT_FDCWD, path, flags, 0);
    }

    int openat(int dirfd, const char* path, int flags, ...)
    {
        va_list args;
        va_start(args, flags);
        const mode_t mode = modeArgument(flags, args);
        va_end(args);
        return openPath(dirfd, path, flags, mode);
    }

    int openat64(int dirfd, const char* path, int flags, ...)
    {
        va_list args;
        va_start(args, flags);
        const mode_t mode = modeArgument(flags, args);
        va_end(args);
        return openPath(dirfd, path, flags, mode);
    }

    int __openat_2(int dirfd, const char* path, int flags)
    {
        return openPath(dirfd, path, flags, 0);
    }
    int __openat64_2(int dirfd, const char* path, int flags)
    {
        return openPath(dirfd, path, flags, 0);
    }

    int close(int fd)
    {
        Interposer* ip = runInterposer();
        const Device device = ip != nullptr ? ip->devices().remove(fd) : Device::None;
        const int result = RealCalls::get().close(fd);
        if (device != Device::None)
        {
            const int savedErrno = errno;
            TraceJson line(ip->nowNs(), "close");
            line.str("path", DriverNodes::path(device)).snum("fd", fd);
            ip->trace(line);
            errno = savedErrno;
        }
        return result;
    }

    int ioctl(int fd, unsigned long request, ...) noexcept
    {
        va_list args;
        va_start(args, request);
        void* arg = va_arg(args, void*);
        va_end(args);
        return anyIoctl(RealCalls::get().ioctl, fd, request, arg);
    }

    int __ioctl_time64(int fd, unsigned long request, ...)
    {
        va_list args;
        va_start(args, request);
        void* arg = va_arg(args, void*);
        va_end(args);
        return anyIoctl(RealCalls::get().ioctlTime64, fd, request, arg);
    }

    void* mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset) noexcept
    {
        return anyMmap(address, length, prot, flags, fd, static_cast<uint32_t>(offset));
    }

    void* mmap64(void* address, size_t length, int prot, int flags, int fd, off64_t offset) noexcept
    {
        return anyMmap(address, length, prot, flags, fd, offset);
    }

    int munmap(void* address, size_t length) noexcept
    {
        Interposer* ip = runInterposer();
        AreaKind kind = AreaKind::Comram;
        if (ip == nullptr || !ip->areas().release(address, &kind))
            return RealCalls::get().munmap(address, length);
        TraceJson line(ip->nowNs(), "munmap");
        line.str("area", kind == AreaKind::Comram ? "comram" : "io").snum("length", length);
        ip->trace(line);
        return 0;
    }

    int mprotect(void* address, size_t length, int prot) noexcept
    {
        Interposer* ip = runInterposer();
        simhost::MappedArea* area = ip != nullptr ? ip->areas().find(address) : nullptr;
        if (area == nullptr)
            return RealCalls::get().mprotect(address, length, prot);
        const int error = simhost::MappedAreas::protect(*area, address, length, prot);
        return error == 0 ? 0 : fail(error);
    }

    int ioperm(unsigned long from, unsigned long count, int on) noexcept
    {
        Interposer* ip = runInterposer();
        if (ip == nullptr)
            return fail(ENOSYS);
        TraceJson line(ip->nowNs(), "ioperm");
        line.hex("from", static_cast<uint32_t>(from), 3).snum("count", count).snum("on", on != 0);
        int error = 0;
        if (!simhost::PortGrants::validRange(from, count))
            error = EINVAL;
        else if (on != 0 && !mayUsePorts())
            error = EPERM;
        else
            ip->ports().set(from, count, on != 0);
        line.snum("result", error == 0 ? 0 : -1);
        ip->trace(line);
        if (error != 0)
            return fail(error);
        if (on != 0)
            grantPorts(*ip);
        return 0;
    }

    int iopl(int level) noexcept
    {
        Interposer* ip = runInterposer();
        if (ip == nullptr)
            return fail(ENOSYS);
        if (static_cast<unsigned>(level) > 3)
            return fail(EINVAL);
        TraceJson line(ip->nowNs(), "iopl");
        line.snum("level", level);
        const bool refused = level > ip->ports().level() && !mayUsePorts();
        line.snum("result", refused ? -1 : 0);
        ip->trace(line);
        if (refused)
            return fail(EPERM);
        ip->ports().setLevel(level);
        if (level == 3)
            grantPorts(*ip);
        return 0;
    }

} // extern "C"
