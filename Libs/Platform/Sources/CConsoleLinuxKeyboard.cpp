#include "CConsoleLinuxKeyboard.h"

#include <csignal>
#include <pthread.h>
#include <unistd.h>

CConsoleLinuxKeyboard::CConsoleLinuxKeyboard(int fd) : mFd_S32(fd)
{
    // Standard input redirected from a file or a pipe is not a terminal: leave it alone, silently.
    if (tcgetattr(mFd_S32, &mSaved_X) != 0)
    {
        return;
    }
    // A background job (`Sarvik &`) that changed the terminal would be stopped by SIGTTOU; the
    // terminal belongs to the foreground job, so it is left as it is.
    const pid_t foreground = tcgetpgrp(mFd_S32);
    if (foreground >= 0 && foreground != getpgrp())
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
        // A job moved to the background since (Ctrl-Z, `bg`) would be stopped here by SIGTTOU and
        // never end; with the signal blocked the terminal gets its settings back all the same.
        sigset_t ttou;
        sigset_t previous;
        sigemptyset(&ttou);
        sigaddset(&ttou, SIGTTOU);
        pthread_sigmask(SIG_BLOCK, &ttou, &previous);
        tcsetattr(mFd_S32, TCSANOW, &mSaved_X);
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    }
}
