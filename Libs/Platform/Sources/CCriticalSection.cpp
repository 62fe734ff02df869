#include "CCriticalSection.h"

#include "BofSync.h"

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
    // Real-time threads share these locks with ordinary ones: inherit to avoid priority inversion.
    const int status_S32 = Bof_InitRecursivePriorityInheritingMutex(&mMutex_X);
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
