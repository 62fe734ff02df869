// The C library's own entry points behind the ones this library replaces, found once with
// dlsym(RTLD_NEXT). The interposer's own file and mapping work goes through them, never through
// its replacements.
#pragma once

#include <cstdint>
#include <sys/types.h>

namespace simhost
{

struct RealCalls
{
    int (*open64)(const char*, int, ...) = nullptr;
    int (*openat64)(int, const char*, int, ...) = nullptr;
    int (*close)(int) = nullptr;
    int (*ioctl)(int, unsigned long, ...) = nullptr;
    int (*ioctlTime64)(int, unsigned long, ...) = nullptr;
    void* (*mmap64)(void*, size_t, int, int, int, int64_t) = nullptr;
    int (*munmap)(void*, size_t) = nullptr;
    int (*mprotect)(void*, size_t, int) = nullptr;

    static const RealCalls& get();

private:
    RealCalls();
};

} // namespace simhost
