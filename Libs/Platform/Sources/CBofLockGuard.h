#pragma once
// Holds a pthread mutex for the lifetime of a scope.
#include <pthread.h>

class CBofLockGuard
{
public:
    explicit CBofLockGuard(pthread_mutex_t* mutex) : mpMutex_X(mutex) { pthread_mutex_lock(mpMutex_X); }
    ~CBofLockGuard() { pthread_mutex_unlock(mpMutex_X); }
    CBofLockGuard(const CBofLockGuard&) = delete;
    CBofLockGuard& operator=(const CBofLockGuard&) = delete;

private:
    pthread_mutex_t* mpMutex_X;
};
