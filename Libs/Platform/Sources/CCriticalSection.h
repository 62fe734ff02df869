#pragma once
// A recursive, priority-inheriting lock; the object behind a BOF_CRITICAL_SECTION handle.
#include <pthread.h>

class CCriticalSection
{
public:
    // Optional helper object owned by the section; nothing attaches one today.
    class CAuxiliary
    {
    public:
        virtual ~CAuxiliary() = default;
    };

    CCriticalSection() = default;
    ~CCriticalSection();
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    // 0, or the error of pthread_mutex_init.
    int Init();
    int Enter();
    int Leave();

private:
    CAuxiliary* mpAuxiliary_O = nullptr;
    pthread_mutex_t mMutex_X{};
    bool mInitialised_B = false;
};
