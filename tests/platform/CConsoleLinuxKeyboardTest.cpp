#include "CConsoleLinuxKeyboard.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace
{
struct termios SettingsOf(int fd)
{
    struct termios settings = {};
    tcgetattr(fd, &settings);
    return settings;
}

TEST(CConsoleLinuxKeyboard, TerminalIsRawForTheObjectsLifeAndRestoredAfter)
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(slave, 0);
    struct termios before = SettingsOf(slave);
    before.c_cc[VMIN] = 4;
    before.c_cc[VTIME] = 7;
    ASSERT_EQ(tcsetattr(slave, TCSANOW, &before), 0);
    {
        CConsoleLinuxKeyboard keyboard(slave);
        EXPECT_TRUE(keyboard.IsRaw());
        const struct termios raw = SettingsOf(slave);
        EXPECT_EQ(raw.c_lflag & (ISIG | ICANON | ECHO), 0u);
        EXPECT_EQ(raw.c_lflag & ~(ISIG | ICANON | ECHO), before.c_lflag & ~(ISIG | ICANON | ECHO));
        EXPECT_EQ(raw.c_iflag, before.c_iflag);
        EXPECT_EQ(raw.c_cc[VMIN], 1);
        EXPECT_EQ(raw.c_cc[VTIME], 0);
    }
    const struct termios after = SettingsOf(slave);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_EQ(after.c_cc[VMIN], 4);
    EXPECT_EQ(after.c_cc[VTIME], 7);
    close(slave);
    close(master);
}

TEST(CConsoleLinuxKeyboard, NonTerminalIsLeftAlone)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    {
        CConsoleLinuxKeyboard keyboard(fds[0]);
        EXPECT_FALSE(keyboard.IsRaw());
    }
    EXPECT_EQ(write(fds[1], "x", 1), 1) << "descriptor still usable";
    close(fds[0]);
    close(fds[1]);
}
} // namespace
