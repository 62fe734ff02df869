// The genlock and DSP UART handles raise their driver's interrupt thread once they have loaded
// the module; a process named like the kernel thread stands in for it.
#include "SimRun.h"

#include <gtest/gtest.h>

namespace
{
TEST(InterruptThreadTest, AFreshModuleLoadRaisesTheDriversInterruptThreadToRealTime)
{
    struct SCase
    {
        const char* pHostBoard_c; // 0: the module is loaded; 1: no module load
        const char* pThread_c;
        const char* pDriver_c;
        bool Fifo_B;
        int Priority_S32;
    } const cases[] = {
        {"0", "irq/11-genlock", "genlock", true, 97},
        {"0", "irq/7-dspuart", "dspuart", true, 95},
        {"0", "irq/11-dspuart", "dspuart", false, 0},
        {"1", "irq/11-genlock", "genlock", false, 0},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(std::string(c.pThread_c) + " host board " + c.pHostBoard_c);
        const SSimRun run =
            RunProbe({"--host-board", c.pHostBoard_c}, {"irqthread", c.pThread_c, c.pDriver_c});
        EXPECT_EQ(run.Op(0)["fifo"].asBool(), c.Fifo_B) << run.Stdout_S;
        EXPECT_EQ(run.Op(0)["priority"].asInt(), c.Priority_S32);
    }
}
} // namespace
