#pragma once
// A plain, deliberately non-recursive, priority-inheriting mutex.
#include <pthread.h>

namespace Orx::Corvane::Concurrency
{
class Mutex
{
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    int lock();
    int unlock();

private:
    pthread_mutex_t* mMutex_X;
};
} // namespace Orx::Corvane::Concurrency
