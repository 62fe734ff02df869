#pragma once
// Puts a terminal into raw key mode for the life of the object: no echo, keys delivered one by
// one, and Ctrl-C read as a key rather than raising SIGINT. The settings found are put back on
// destruction.
#include <termios.h>

class CConsoleLinuxKeyboard
{
public:
    explicit CConsoleLinuxKeyboard(int fd);
    ~CConsoleLinuxKeyboard();

    CConsoleLinuxKeyboard(const CConsoleLinuxKeyboard&) = delete;
    CConsoleLinuxKeyboard& operator=(const CConsoleLinuxKeyboard&) = delete;

    // False when the descriptor is not a terminal, or is one that another job holds in the
    // foreground; nothing was changed then.
    bool IsRaw() const { return mRaw_B; }

private:
    int mFd_S32;
    struct termios mSaved_X = {};
    bool mRaw_B = false;
};
