#include "CTscTimer.h"
#include "ForkedCheck.h"

#include <gtest/gtest.h>

#include <tuple>

#include <csignal>
#include <cstdint>
#include <string>
#include <sys/prctl.h>
#include <ucontext.h>

namespace
{
// The counter is scripted: with PR_TSC_SIGSEGV every rdtsc faults and the handler answers it with
// the next value given, so calibration and deadlines are checked at exact counter values.
uint64_t GL_pScript_U64[2]; // the first read, then every later one
unsigned GL_Reads_U32 = 0;

void AnswerRdtsc(int, siginfo_t*, void* context)
{
    mcontext_t& machine = static_cast<ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    greg_t &ip = machine.gregs[REG_RIP], &low = machine.gregs[REG_RAX], &high = machine.gregs[REG_RDX];
#else
    greg_t &ip = machine.gregs[REG_EIP], &low = machine.gregs[REG_EAX], &high = machine.gregs[REG_EDX];
#endif
    const unsigned char* code = reinterpret_cast<const unsigned char*>(ip);
    if (code[0] != 0x0F || code[1] != 0x31)
        return static_cast<void>(signal(SIGSEGV, SIG_DFL)); // a real fault: let it end the child
    const uint64_t value = GL_pScript_U64[GL_Reads_U32++ == 0 ? 0 : 1];
    low = static_cast<greg_t>(value & 0xFFFFFFFFu);
    high = static_cast<greg_t>(value >> 32);
    ip += 2;
}

void Serve(uint64_t first, uint64_t second)
{
    GL_pScript_U64[0] = first;
    GL_pScript_U64[1] = second;
    GL_Reads_U32 = 0;
}

// In a fresh child: nothing has calibrated yet and the scripted counter touches no other test.
std::string CheckTimer()
{
    struct sigaction action = {};
    action.sa_sigaction = AnswerRdtsc;
    action.sa_flags = SA_SIGINFO;
    if (CTscTimer::S_GetFrequency() != 0 || sigaction(SIGSEGV, &action, nullptr) != 0 ||
        prctl(PR_SET_TSC, PR_TSC_SIGSEGV) != 0)
        return "cannot script the time-stamp counter of an uncalibrated timer";
    // 10,000,001 counts over 3 ms: 3,333,333,666 a second, truncated. Later timers calibrate no more.
    Serve(1000, 10001001);
    CTscTimer first(3);
    std::string report =
        std::to_string(GL_Reads_U32) + " reads, " + std::to_string(CTscTimer::S_GetFrequency());
    Serve(0, 0);
    CTscTimer later(2000);
    report +=
        ", then " + std::to_string(GL_Reads_U32) + " reads, " + std::to_string(CTscTimer::S_GetFrequency());
    Serve(0, 0);
    report += later.isTimedOut() ? "" : ", a timer never reset is not timed out";
    const std::tuple<uint64_t, unsigned, uint64_t, bool> rows[] = {
        {5000, 1000, 5000 + 3333332, false},          // 1000 us are 3,333,333.666 counts: truncated
        {5000, 1000, 5000 + 3333333, true},           // at the deadline itself
        {5000, 0, 5000, true},                        // reset(0): on the very same count
        {7, 4000000000u, 7 + 13333334663999u, false}, // the product needs 64 bits
        {7, 4000000000u, 7 + 13333334664000u, true},
    };
    for (const auto& [start, microseconds, now, timedOut] : rows)
    {
        Serve(start, now);
        later.reset(microseconds);
        if (later.isTimedOut() != timedOut)
            report += ", reset(" + std::to_string(microseconds) + ") at " + std::to_string(now - start) +
                      " counts: timed out " + std::to_string(!timedOut);
    }
    return report;
}

TEST(CTscTimer, FirstTimerCalibratesAndDeadlinesFallOnExactCounts)
{
    EXPECT_EQ(RunInForkedChild(CheckTimer), "2 reads, 3333333666, then 0 reads, 3333333666");
}
} // namespace
