// Turns the product's hardware accesses into board model calls. Loads and stores to a mapped
// driver area fault on its inaccessible pages: the handler puts the model's bytes in place,
// opens the page for exactly one instruction (trap flag) and, once it ran, forwards what it
// stored and closes the page again. Port instructions fault because the process holds no real
// I/O permission: the handler emulates them against the granted ports and skips them.
#pragma once

#include <csignal>

namespace simhost
{

class BusTrap
{
public:
    // Installs the handlers once per process and an alternate signal stack for the calling
    // thread; failures end the process with a message naming the call.
    static void install();

private:
    static void onSegv(int sig, siginfo_t* info, void* context);
    static void onTrap(int sig, siginfo_t* info, void* context);
    static void passOn(int sig, siginfo_t* info, void* context, const struct sigaction& previous);
};

} // namespace simhost
