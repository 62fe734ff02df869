#include "CConsoleLinuxKeyboard.h"

CConsoleLinuxKeyboard::CConsoleLinuxKeyboard(int fd) : mFd_S32(fd)
{
    // Standard input redirected from a file or a pipe is not a terminal: leave it alone, silently.
    if (tcgetattr(mFd_S32, &mSaved_X) != 0)
    {
        return;
    }
    struct termios raw = mSaved_X;
    raw.c_lflag &= ~(ISIG | ICANON | ECHO);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    mRaw_B = tcsetattr(mFd_S32, TCSANOW, &raw) == 0;
}

CConsoleLinuxKeyboard::~CConsoleLinuxKeyboard()
{
    if (mRaw_B)
    {
        tcsetattr(mFd_S32, TCSANOW, &mSaved_X);
    }
}
