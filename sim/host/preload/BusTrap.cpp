#include "BusTrap.h"

#include "Interposer.h"
#include "RealCalls.h"
#include "SimServer.h"
#include "TscTrap.h"
#include "X86Decoder.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

namespace simhost
{

namespace
{

constexpr int kPageFault = 14;
constexpr int kGeneralProtection = 13;
constexpr greg_t kTrapFlag = 0x100;

// The instruction that is being single-stepped through an opened area page.
struct Step
{
    bool active = false;
    MappedArea* area = nullptr;
    MemoryAccess access;
    uint32_t from = 0; // area bytes put in place for it
    uint32_t to = 0;
    uint8_t* pages[4] = {};
    int pageCount = 0;
};

thread_local Step tStep;
struct sigaction gPreviousSegv;
struct sigaction gPreviousTrap;
std::atomic<bool> gInstalled{false};

uintptr_t pageSize()
{
    return static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
}

// Where an access went, for the cost of repeated polls: area and offset, ports apart.
constexpr uint32_t kPortPlace = 0x80000000u;
uint32_t place(const MappedArea& area, uint32_t offset)
{
    return area.request.kind == AreaKind::Comram ? area.request.base + offset
                                                 : kPortPlace | (area.request.base + offset);
}

// `offset` counts from the mapping's first byte, which need not be the area's.
uint8_t readByte(sim::SimServer& board, const MappedArea& area, uint32_t offset, uint64_t now)
{
    const uint32_t at = area.request.base + offset;
    return area.request.kind == AreaKind::Comram ? board.comramRead(at, now)
                                                 : board.portRead(static_cast<uint16_t>(at), now);
}

void writeByte(sim::SimServer& board, const MappedArea& area, uint32_t offset, uint8_t value, uint64_t now)
{
    const uint32_t at = area.request.base + offset;
    if (area.request.kind == AreaKind::Comram)
        board.comramWrite(at, value, now);
    else
        board.portWrite(static_cast<uint16_t>(at), value, now);
}

bool isWrite(const ucontext_t* uc)
{
    return (uc->uc_mcontext.gregs[REG_ERR] & 2) != 0;
}

// Guessing would hand the program stale bytes or lose a store: the run ends here instead, with
// the instruction named, and the program dies of the fault it would otherwise have met.
void refuseUnknown(const MappedArea& area, uint32_t offset, const ucontext_t* uc)
{
    const auto* code = reinterpret_cast<const uint8_t*>(uc->uc_mcontext.gregs[REG_EIP]);
    char text[200];
    const int n = std::snprintf(
        text, sizeof text,
        "sarvik-sim: instruction at 0x%08x (%02x %02x %02x %02x) on the %s at offset 0x%x is not "
        "emulated\n",
        static_cast<unsigned>(uc->uc_mcontext.gregs[REG_EIP]), code[0], code[1], code[2], code[3],
        area.request.kind == AreaKind::Comram ? "communication RAM" : "I/O area", area.request.base + offset);
    [[maybe_unused]] ssize_t written = write(STDERR_FILENO, text, static_cast<size_t>(n));
    signal(SIGSEGV, SIG_DFL);
}

// A store into a page of a private mapping: the page becomes the process's own copy of what
// the board holds there, open from now on, and the store runs on it.
bool copyPrivatePage(Interposer& ip, MappedArea& area, uint32_t offset)
{
    const uint32_t page = static_cast<uint32_t>(pageSize());
    const uint32_t first = offset / page * page;
    sim::SimServer& board = ip.board();
    const uint64_t now = ip.nowNs();
    const uint32_t end = first + page < area.request.validLength ? first + page : area.request.validLength;
    for (uint32_t o = first; o < end; ++o)
        area.alias[o] = readByte(board, area, o, now);
    return area.markCopied(first);
}

// Puts a value read from the bus where the load instruction would have put it.
void setRegister(ucontext_t* uc, const LoadInstruction& load, uint32_t value)
{
    static const int kRegisters[8] = {REG_EAX, REG_ECX, REG_EDX, REG_EBX, REG_ESP, REG_EBP, REG_ESI, REG_EDI};
    if (load.signExtend)
        value = load.size == 1 ? static_cast<uint32_t>(static_cast<int8_t>(value))
                               : static_cast<uint32_t>(static_cast<int16_t>(value));
    greg_t* regs = uc->uc_mcontext.gregs;
    if (load.destSize == 4)
    {
        regs[kRegisters[load.reg]] = static_cast<greg_t>(value);
        return;
    }
    // Narrow destinations keep the rest of the register; byte registers 4..7 are ah..bh.
    const int index = load.destSize == 1 ? load.reg & 3 : load.reg;
    const int shift = load.destSize == 1 && load.reg >= 4 ? 8 : 0;
    const uint32_t mask = (load.destSize == 2 ? 0xFFFFu : 0xFFu) << shift;
    const auto old = static_cast<uint32_t>(regs[kRegisters[index]]);
    regs[kRegisters[index]] = static_cast<greg_t>((old & ~mask) | ((value << shift) & mask));
}

// A plain load is answered in this one fault: no page opened, no single step. That is most of
// the tool's accesses (status polls, data copied out of the mailbox).
bool emulateLoad(Interposer& ip, const MappedArea& area, uint32_t offset, ucontext_t* uc)
{
    if (isWrite(uc))
        return false;
    const LoadInstruction load =
        X86Decoder::decodeLoad(reinterpret_cast<const uint8_t*>(uc->uc_mcontext.gregs[REG_EIP]));
    if (!load.valid || offset + static_cast<uint32_t>(load.size) > area.request.validLength)
        return false;
    sim::SimServer& board = ip.board();
    const uint64_t now = ip.nowNs();
    uint32_t value = 0;
    for (int i = 0; i < load.size; ++i)
        value |= static_cast<uint32_t>(readByte(board, area, offset + i, now)) << (8 * i);
    ip.chargeAccess(place(area, offset), value, true);
    setRegister(uc, load, value);
    uc->uc_mcontext.gregs[REG_EIP] += load.length;
    return true;
}

bool enterArea(Interposer& ip, MappedArea& area, uint8_t* address, ucontext_t* uc)
{
    const uint32_t offset = static_cast<uint32_t>(address - area.user);
    const AreaRequest& request = area.request;
    if (offset >= request.validLength || !area.readable(offset) || (isWrite(uc) && !area.writable(offset)))
        return false;
    Step& s = tStep;
    if (!s.active)
    {
        if (request.privateCopy && isWrite(uc))
            return copyPrivatePage(ip, area, offset);
        if (emulateLoad(ip, area, offset, uc))
            return true;
        const MemoryAccess access =
            X86Decoder::decodeAccess(reinterpret_cast<const uint8_t*>(uc->uc_mcontext.gregs[REG_EIP]));
        if (!access.known)
        {
            refuseUnknown(area, offset, uc);
            return true;
        }
        s = Step{};
        s.active = true;
        s.area = &area;
        s.access = access;
        const uint32_t size = static_cast<uint32_t>(access.size);
        s.from = offset;
        s.to = offset + size < request.validLength ? offset + size : request.validLength;
        // A plain store does not read the bus: a read could disturb a register that counts them.
        if (access.reads)
        {
            sim::SimServer& board = ip.board();
            const uint64_t now = ip.nowNs();
            for (uint32_t o = s.from; o < s.to; ++o)
                area.alias[o] = readByte(board, area, o, now);
        }
    }
    else if (s.area != &area || s.pageCount == 4)
        return false;
    auto* page = reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(address) & ~(pageSize() - 1));
    if (RealCalls::get().mprotect(page, pageSize(),
                                  area.writable(offset) ? PROT_READ | PROT_WRITE : PROT_READ) != 0)
        return false;
    s.pages[s.pageCount++] = page;
    uc->uc_mcontext.gregs[REG_EFL] |= kTrapFlag;
    return true;
}

void leaveArea(Interposer& ip, ucontext_t* uc)
{
    Step& s = tStep;
    for (int i = 0; i < s.pageCount; ++i)
        RealCalls::get().mprotect(s.pages[i], pageSize(), PROT_NONE);
    uc->uc_mcontext.gregs[REG_EFL] &= ~kTrapFlag;
    MappedArea& area = *s.area;
    sim::SimServer& board = ip.board();
    const uint64_t now = ip.nowNs();
    if (s.access.writes)
    {
        for (uint32_t o = s.from; o < s.to; ++o)
            writeByte(board, area, o, area.alias[o], now);
    }
    ip.chargeAccess(place(area, s.from), area.alias[s.from], !s.access.writes);
    s.active = false;
}

bool emulatePort(Interposer& ip, ucontext_t* uc)
{
    greg_t* regs = uc->uc_mcontext.gregs;
    const auto* code = reinterpret_cast<const uint8_t*>(regs[REG_EIP]);
    const PortInstruction p = X86Decoder::decodePort(code);
    if (!p.valid)
        return false;
    const uint16_t port = p.fromDx ? static_cast<uint16_t>(regs[REG_EDX] & 0xFFFF) : p.immediate;
    for (int i = 0; i < p.size; ++i)
        if (!ip.ports().granted(static_cast<uint16_t>(port + i)))
            return false; // as on the machine: the instruction faults and the process dies
    sim::SimServer& board = ip.board();
    const uint64_t now = ip.nowNs();
    const uint32_t mask = p.size == 4 ? 0xFFFFFFFFu : (1u << (8 * p.size)) - 1;
    if (p.input)
    {
        uint32_t value = 0;
        for (int i = 0; i < p.size; ++i)
            value |= static_cast<uint32_t>(board.portRead(static_cast<uint16_t>(port + i), now)) << (8 * i);
        const auto eax = static_cast<uint32_t>(regs[REG_EAX]);
        regs[REG_EAX] = static_cast<greg_t>((eax & ~mask) | value);
    }
    else
    {
        const auto value = static_cast<uint32_t>(regs[REG_EAX]) & mask;
        for (int i = 0; i < p.size; ++i)
            board.portWrite(static_cast<uint16_t>(port + i), static_cast<uint8_t>(value >> (8 * i)), now);
    }
    ip.chargeAccess(kPortPlace | port, static_cast<uint32_t>(regs[REG_EAX]) & mask, p.input);
    regs[REG_EIP] += p.length;
    return true;
}

} // namespace

void BusTrap::install()
{
    if (gInstalled.exchange(true))
        return;
    stack_t stack{};
    stack.ss_size = 256 * 1024;
    stack.ss_sp = std::malloc(stack.ss_size);
    if (stack.ss_sp == nullptr || sigaltstack(&stack, nullptr) != 0)
    {
        std::fprintf(stderr, "sarvik-sim: sigaltstack: %s\n", std::strerror(errno));
        _exit(125);
    }
    struct sigaction action
    {
    };
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    action.sa_sigaction = onSegv;
    if (sigaction(SIGSEGV, &action, &gPreviousSegv) != 0)
    {
        std::fprintf(stderr, "sarvik-sim: sigaction(SIGSEGV): %s\n", std::strerror(errno));
        _exit(125);
    }
    action.sa_sigaction = onTrap;
    if (sigaction(SIGTRAP, &action, &gPreviousTrap) != 0)
    {
        std::fprintf(stderr, "sarvik-sim: sigaction(SIGTRAP): %s\n", std::strerror(errno));
        _exit(125);
    }
}

void BusTrap::passOn(int sig, siginfo_t* info, void* context, const struct sigaction& previous)
{
    if ((previous.sa_flags & SA_SIGINFO) != 0 && previous.sa_sigaction != nullptr)
    {
        previous.sa_sigaction(sig, info, context);
        return;
    }
    if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN && previous.sa_handler != nullptr)
    {
        previous.sa_handler(sig);
        return;
    }
    // The default action: returning re-runs the faulting instruction, which now ends the process
    // the way it would have ended without the simulator.
    signal(sig, SIG_DFL);
}

void BusTrap::onSegv(int sig, siginfo_t* info, void* context)
{
    const int savedErrno = errno;
    auto* uc = static_cast<ucontext_t*>(context);
    Interposer* ip = Interposer::get();
    const greg_t trap = uc->uc_mcontext.gregs[REG_TRAPNO];
    bool handled = false;
    if (ip != nullptr && trap == kPageFault)
    {
        MappedArea* area = ip->areas().find(info->si_addr);
        handled = area != nullptr && enterArea(*ip, *area, static_cast<uint8_t*>(info->si_addr), uc);
    }
    else if (ip != nullptr && trap == kGeneralProtection)
        handled = TscTrap::answer(*ip, uc) || emulatePort(*ip, uc);
    if (!handled)
        passOn(sig, info, context, gPreviousSegv);
    errno = savedErrno;
}

void BusTrap::onTrap(int sig, siginfo_t* info, void* context)
{
    const int savedErrno = errno;
    Interposer* ip = Interposer::get();
    if (ip != nullptr && tStep.active)
        leaveArea(*ip, static_cast<ucontext_t*>(context));
    else
        passOn(sig, info, context, gPreviousTrap);
    errno = savedErrno;
}

} // namespace simhost
