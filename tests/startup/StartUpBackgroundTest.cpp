#include "SimRun.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace
{
TEST(StartUpBackground, ABackgroundJobLeavesTheTerminalAloneAndRunsToItsEnd)
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(slave, 0);
    struct termios before = {};
    ASSERT_EQ(tcgetattr(slave, &before), 0);

    CSimRun sim;
    const SSimResult result = sim.Wait(sim.Start({}, {CSimRun::S_Tool}, slave, ETerminal::BACKGROUND));
    struct termios after = {};
    tcgetattr(slave, &after);
    close(slave);
    close(master);

    EXPECT_EQ(result.Status, 0) << "above " << CSimRun::STOPPED_BY_SIGNAL << ": stopped by that signal";
    EXPECT_EQ(result.Out, CSimRun().Tool({}).Out);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_EQ(after.c_cc[VMIN], before.c_cc[VMIN]);
    EXPECT_EQ(after.c_cc[VTIME], before.c_cc[VTIME]);
}
} // namespace
