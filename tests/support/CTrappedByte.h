#pragma once
// A byte in a page the CPU may not touch: every read faults, the fault handler opens the page
// for exactly one instruction (trap flag), and the trap handler then counts the read and puts
// the next scripted value in place. Code under test reads it through an ordinary pointer and
// sees a byte that changes between reads exactly as scripted, as the board's RAM can.
#include <csignal>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

class CTrappedByte
{
public:
    // Read n returns values[n], the last value once the script is exhausted.
    explicit CTrappedByte(std::vector<uint8_t> values) : mValues_X(std::move(values))
    {
        if (mValues_X.empty() || S_pActive_O != nullptr)
            throw std::logic_error("CTrappedByte: needs values, one at a time");
        mPageSize_U32 = static_cast<uint32_t>(sysconf(_SC_PAGESIZE));
        void* pPage =
            mmap(nullptr, mPageSize_U32, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pPage == MAP_FAILED)
            throw std::runtime_error("CTrappedByte: mmap failed");
        mpPage_U8 = static_cast<uint8_t*>(pPage);
        mpPage_U8[0] = mValues_X[0];
        S_pActive_O = this;
        struct sigaction action_X;
        memset(&action_X, 0, sizeof(action_X));
        action_X.sa_flags = SA_SIGINFO;
        action_X.sa_sigaction = S_OnSegv;
        sigaction(SIGSEGV, &action_X, &mOldSegv_X);
        action_X.sa_sigaction = S_OnTrap;
        sigaction(SIGTRAP, &action_X, &mOldTrap_X);
        mprotect(mpPage_U8, mPageSize_U32, PROT_NONE);
    }
    ~CTrappedByte()
    {
        sigaction(SIGSEGV, &mOldSegv_X, nullptr);
        sigaction(SIGTRAP, &mOldTrap_X, nullptr);
        munmap(mpPage_U8, mPageSize_U32);
        S_pActive_O = nullptr;
    }
    CTrappedByte(const CTrappedByte&) = delete;
    CTrappedByte& operator=(const CTrappedByte&) = delete;

    const volatile uint8_t* Address() const { return mpPage_U8; }
    uint32_t Reads() const { return mReads_U32; }

private:
    static constexpr greg_t TRAP_FLAG = 0x100;

    static void S_OnSegv(int, siginfo_t* info, void* context)
    {
        CTrappedByte* pSelf = S_pActive_O;
        uint8_t* pFault = static_cast<uint8_t*>(info->si_addr);
        if (pSelf == nullptr || pFault < pSelf->mpPage_U8 ||
            pFault >= pSelf->mpPage_U8 + pSelf->mPageSize_U32)
        {
            signal(SIGSEGV, SIG_DFL);
            return;
        }
        mprotect(pSelf->mpPage_U8, pSelf->mPageSize_U32, PROT_READ);
        static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] |= TRAP_FLAG;
    }

    static void S_OnTrap(int, siginfo_t*, void* context)
    {
        CTrappedByte* pSelf = S_pActive_O;
        static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] &= ~TRAP_FLAG;
        if (pSelf == nullptr)
            return;
        ++pSelf->mReads_U32;
        const size_t next =
            pSelf->mReads_U32 < pSelf->mValues_X.size() ? pSelf->mReads_U32 : pSelf->mValues_X.size() - 1;
        mprotect(pSelf->mpPage_U8, pSelf->mPageSize_U32, PROT_READ | PROT_WRITE);
        pSelf->mpPage_U8[0] = pSelf->mValues_X[next];
        mprotect(pSelf->mpPage_U8, pSelf->mPageSize_U32, PROT_NONE);
    }

    static inline CTrappedByte* S_pActive_O = nullptr;
    std::vector<uint8_t> mValues_X;
    uint8_t* mpPage_U8 = nullptr;
    uint32_t mPageSize_U32 = 0;
    volatile uint32_t mReads_U32 = 0;
    struct sigaction mOldSegv_X;
    struct sigaction mOldTrap_X;
};
