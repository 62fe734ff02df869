// The genlock and DSP UART handles raise their driver's interrupt thread once they have loaded
// the module; a process named like the kernel thread stands in for it.
#include "ToolboxRun.h"

#include <gtest/gtest.h>

namespace
{
TEST(InterruptThreadTest, AFreshModuleLoadRaisesTheDriversInterruptThreadToRealTime)
{
    struct SCase
    {
        const char* HostBoard; // 0: the module is loaded; 1: no module load
        const char* Thread;
        const char* Driver;
        const char* Fifo;
        const char* Priority;
    } const cases[] = {
        {"0", "irq/11-genlock", "genlock", "1", "97"},
        {"0", "irq/7-dspuart", "dspuart", "1", "95"},
        {"0", "irq/11-dspuart", "dspuart", "0", "0"},
        {"1", "irq/11-genlock", "genlock", "0", "0"},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(std::string(c.Thread) + " host board " + c.HostBoard);
        const SSimResult run = ToolboxRun({"--host-board", c.HostBoard}, {"irqthread", c.Thread, c.Driver});
        EXPECT_EQ(run.Value("0.fifo"), c.Fifo) << run.Out;
        EXPECT_EQ(run.Value("0.priority"), c.Priority);
    }
}
} // namespace
