#include "TscTrap.h"

#include "BusTrap.h"
#include "Interposer.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace simhost
{

namespace
{
std::atomic<bool> gEnabled{false};

bool setTrapped(bool trapped)
{
    return prctl(PR_SET_TSC, trapped ? PR_TSC_SIGSEGV : PR_TSC_ENABLE, 0, 0, 0) == 0;
}
} // namespace

void TscTrap::enable()
{
    BusTrap::install();
    gEnabled = setTrapped(true);
}

bool TscTrap::enabled()
{
    return gEnabled;
}

bool TscTrap::answer(Interposer& ip, ucontext_t* uc)
{
    greg_t* regs = uc->uc_mcontext.gregs;
    const auto* code = reinterpret_cast<const uint8_t*>(regs[REG_EIP]);
    int length = 0;
    if (code[0] == 0x0F && code[1] == 0x31)
        length = 2; // rdtsc
    else if (code[0] == 0x0F && code[1] == 0x01 && code[2] == 0xF9)
        length = 3; // rdtscp
    if (length == 0 || !gEnabled)
        return false;
    const uint64_t ticks = ip.readTsc();
    regs[REG_EAX] = static_cast<greg_t>(static_cast<uint32_t>(ticks));
    regs[REG_EDX] = static_cast<greg_t>(static_cast<uint32_t>(ticks >> 32));
    if (length == 3)
        regs[REG_ECX] = 0; // processor 0
    regs[REG_EIP] += length;
    return true;
}

TscTrap::Released::Released() : trapped_(gEnabled)
{
    if (trapped_)
        setTrapped(false);
}

TscTrap::Released::~Released()
{
    if (trapped_)
        setTrapped(true);
}

} // namespace simhost

namespace
{
template <typename F> F next(const char* name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

std::vector<char*> collect(const char* first, va_list args, char*** envp)
{
    std::vector<char*> argv{const_cast<char*>(first)};
    while (argv.back() != nullptr)
        argv.push_back(va_arg(args, char*));
    if (envp != nullptr)
        *envp = va_arg(args, char**);
    return argv;
}
} // namespace

using simhost::TscTrap;

extern "C"
{

    int system(const char* command)
    {
        static auto real = next<int (*)(const char*)>("system");
        TscTrap::Released real_counter;
        return real(command);
    }

    FILE* popen(const char* command, const char* mode)
    {
        static auto real = next<FILE* (*)(const char*, const char*)>("popen");
        TscTrap::Released real_counter;
        return real(command, mode);
    }

    int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, char* const argv[], char* const envp[])
    {
        static auto real = next<decltype(&posix_spawn)>("posix_spawn");
        TscTrap::Released real_counter;
        return real(pid, path, actions, attributes, argv, envp);
    }

    int posix_spawnp(pid_t* pid, const char* file, const posix_spawn_file_actions_t* actions,
                     const posix_spawnattr_t* attributes, char* const argv[], char* const envp[])
    {
        static auto real = next<decltype(&posix_spawnp)>("posix_spawnp");
        TscTrap::Released real_counter;
        return real(pid, file, actions, attributes, argv, envp);
    }

    int execve(const char* path, char* const argv[], char* const envp[])
    {
        static auto real = next<decltype(&execve)>("execve");
        TscTrap::Released real_counter;
        return real(path, argv, envp);
    }

    int execv(const char* path, char* const argv[])
    {
        static auto real = next<decltype(&execv)>("execv");
        TscTrap::Released real_counter;
        return real(path, argv);
    }

    int execvp(const char* file, char* const argv[])
    {
        static auto real = next<decltype(&execvp)>("execvp");
        TscTrap::Released real_counter;
        return real(file, argv);
    }

    int execvpe(const char* file, char* const argv[], char* const envp[])
    {
        static auto real = next<decltype(&execvpe)>("execvpe");
        TscTrap::Released real_counter;
        return real(file, argv, envp);
    }

    int execl(const char* path, const char* arg, ...)
    {
        va_list args;
        va_start(args, arg);
        std::vector<char*> argv = collect(arg, args, nullptr);
        va_end(args);
        return execv(path, argv.data());
    }

    int execlp(const char* file, const char* arg, ...)
    {
        va_list args;
        va_start(args, arg);
        std::vector<char*> argv = collect(arg, args, nullptr);
        va_end(args);
        return execvp(file, argv.data());
    }

    int execle(const char* path, const char* arg, ...)
    {
        va_list args;
        va_start(args, arg);
        char** envp = nullptr;
        std::vector<char*> argv = collect(arg, args, &envp);
        va_end(args);
        return execve(path, argv.data(), envp);
    }

} // extern "C"
