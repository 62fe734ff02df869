#include "RealCalls.h"

#include <dlfcn.h>

namespace simhost
{

namespace
{
template <typename F> void resolve(F*& target, const char* name)
{
    target = reinterpret_cast<F*>(dlsym(RTLD_NEXT, name));
}
} // namespace

RealCalls::RealCalls()
{
    resolve(open64, "open64");
    resolve(openat64, "openat64");
    resolve(close, "close");
    resolve(ioctl, "ioctl");
    resolve(ioctlTime64, "__ioctl_time64");
    resolve(mmap64, "mmap64");
    resolve(munmap, "munmap");
    resolve(mprotect, "mprotect");
}

const RealCalls& RealCalls::get()
{
    static const RealCalls calls;
    return calls;
}

} // namespace simhost
