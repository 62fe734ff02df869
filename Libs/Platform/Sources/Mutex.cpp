#include "Mutex.h"

namespace Orx::Corvane::Concurrency
{
// Value-initialised, so the mutex starts zero-filled before pthread_mutex_init sees it.
Mutex::Mutex() : mMutex_X(new pthread_mutex_t())
{
    pthread_mutexattr_t attributes_X;
    pthread_mutexattr_init(&attributes_X);
    // Not recursive on purpose: a second lock by the owner is a bug that must show, not hide.
    pthread_mutexattr_settype(&attributes_X, PTHREAD_MUTEX_NORMAL);
    pthread_mutexattr_setprotocol(&attributes_X, PTHREAD_PRIO_INHERIT);
    pthread_mutex_init(mMutex_X, &attributes_X);
    pthread_mutexattr_destroy(&attributes_X);
}

Mutex::~Mutex()
{
    pthread_mutex_destroy(mMutex_X);
    delete mMutex_X;
}

int Mutex::lock()
{
    return pthread_mutex_lock(mMutex_X);
}

int Mutex::unlock()
{
    return pthread_mutex_unlock(mMutex_X);
}
} // namespace Orx::Corvane::Concurrency
