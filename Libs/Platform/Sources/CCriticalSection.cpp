#include "CCriticalSection.h"

CCriticalSection::~CCriticalSection()
{
    if (mpAuxiliary_O != nullptr)
    {
        delete mpAuxiliary_O;
        mpAuxiliary_O = nullptr;
    }
    if (mInitialised_B)
    {
        pthread_mutex_destroy(&mMutex_X);
    }
}

int CCriticalSection::Init()
{
    pthread_mutexattr_t attributes_X;
    int status_S32 = pthread_mutexattr_init(&attributes_X);
    if (status_S32 != 0)
    {
        return status_S32;
    }
    pthread_mutexattr_settype(&attributes_X, PTHREAD_MUTEX_RECURSIVE);
    // Real-time threads share these locks with ordinary ones: inherit to avoid priority inversion.
    pthread_mutexattr_setprotocol(&attributes_X, PTHREAD_PRIO_INHERIT);
    status_S32 = pthread_mutex_init(&mMutex_X, &attributes_X);
    pthread_mutexattr_destroy(&attributes_X);
    mInitialised_B = (status_S32 == 0);
    mpAuxiliary_O = nullptr;
    return status_S32;
}

int CCriticalSection::Enter()
{
    pthread_mutex_lock(&mMutex_X);
    return 0;
}

int CCriticalSection::Leave()
{
    pthread_mutex_unlock(&mMutex_X);
    return 0;
}
