#include "BofSync.h"
#include "BofThread.h"
#include "CBofLockGuard.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr uint32_t BOF_EVENT_CHECK = 0xCD127AC8u;

// What a BOFEVENT points to. The state byte is pState_U8: the record's own byte for a private
// event, a byte of a named shared mapping for a named one.
struct BOF_EVENT_RECORD
{
    uint32_t Check_U32;
    pthread_cond_t Condition_X;
    pthread_mutex_t Mutex_X;
    uint8_t State_U8;
    volatile uint8_t* pState_U8;
    bool Mapped_B;
};

// Maps `size` bytes of the shared-memory object `name`, creating it zero-filled when new;
// `created` tells whether this call made it.
void* OpenFileMapping(const char* name, size_t size, bool* created)
{
    std::string objectName = (name[0] == '/') ? std::string(name) : std::string("/") + name;
    int fd_S32 = shm_open(objectName.c_str(), O_RDWR | O_CREAT, 0666);
    if (fd_S32 < 0)
    {
        return nullptr;
    }
    void* pMapping = nullptr;
    struct stat info_X
    {
    };
    if (fstat(fd_S32, &info_X) == 0)
    {
        *created = (info_X.st_size == 0);
        bool sized_B = !*created || ftruncate(fd_S32, static_cast<off_t>(size)) == 0;
        if (sized_B)
        {
            pMapping = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd_S32, 0);
        }
    }
    close(fd_S32);
    return pMapping == MAP_FAILED ? nullptr : pMapping;
}

// Releases the record and its mapping; a stale handle then fails the check word.
void FreeEvent(BOF_EVENT_RECORD* pEvent_X)
{
    pEvent_X->Check_U32 = 0;
    if (pEvent_X->Mapped_B)
    {
        munmap(const_cast<uint8_t*>(pEvent_X->pState_U8), 1);
    }
    delete pEvent_X;
}

BOF_EVENT_RECORD* ToEvent(BOFEVENT event)
{
    BOF_EVENT_RECORD* pEvent_X = static_cast<BOF_EVENT_RECORD*>(event);
    if (pEvent_X == nullptr || pEvent_X->Check_U32 != BOF_EVENT_CHECK)
    {
        return nullptr;
    }
    return pEvent_X;
}
} // namespace

extern "C"
{

    BOFEVENT Bof_CreateEvent(bool initialState, const char* name)
    {
        BOF_EVENT_RECORD* pEvent_X = new (std::nothrow) BOF_EVENT_RECORD();
        if (pEvent_X == nullptr)
        {
            return nullptr;
        }
        pEvent_X->pState_U8 = &pEvent_X->State_U8;
        bool created_B = true;
        if (name != nullptr && name[0] != '\0')
        {
            void* pMapping = OpenFileMapping(name, 1, &created_B);
            if (pMapping == nullptr)
            {
                FreeEvent(pEvent_X);
                return nullptr;
            }
            pEvent_X->pState_U8 = static_cast<volatile uint8_t*>(pMapping);
            pEvent_X->Mapped_B = true;
        }
        if (Bof_InitPriorityInheritingMutex(&pEvent_X->Mutex_X) != 0)
        {
            FreeEvent(pEvent_X);
            return nullptr;
        }
        if (Bof_InitMonotonicCondition(&pEvent_X->Condition_X) != 0)
        {
            pthread_mutex_destroy(&pEvent_X->Mutex_X);
            FreeEvent(pEvent_X);
            return nullptr;
        }
        if (created_B)
        {
            // Opening an event another process already shares must not clobber its state.
            *pEvent_X->pState_U8 = initialState ? 1 : 0;
        }
        pEvent_X->Check_U32 = BOF_EVENT_CHECK;
        return pEvent_X;
    }

    int Bof_SetEvent(BOFEVENT event)
    {
        BOF_EVENT_RECORD* pEvent_X = ToEvent(event);
        if (pEvent_X == nullptr)
        {
            return -1;
        }
        CBofLockGuard guard(&pEvent_X->Mutex_X);
        *pEvent_X->pState_U8 = 1;
        pthread_cond_signal(&pEvent_X->Condition_X);
        return 0;
    }

    int Bof_ResetEvent(BOFEVENT event)
    {
        BOF_EVENT_RECORD* pEvent_X = ToEvent(event);
        if (pEvent_X == nullptr)
        {
            return -1;
        }
        CBofLockGuard guard(&pEvent_X->Mutex_X);
        *pEvent_X->pState_U8 = 0;
        return 0;
    }

    int Bof_WaitForEvent(BOFEVENT event, uint32_t timeoutMs)
    {
        BOF_EVENT_RECORD* pEvent_X = ToEvent(event);
        if (pEvent_X == nullptr)
        {
            return -1;
        }
        timespec deadline_X = Bof_MonotonicDeadline(timeoutMs == BOF_INFINITE ? 0 : timeoutMs);
        CBofLockGuard guard(&pEvent_X->Mutex_X);
        while (*pEvent_X->pState_U8 == 0)
        {
            int status_S32 =
                (timeoutMs == BOF_INFINITE)
                    ? pthread_cond_wait(&pEvent_X->Condition_X, &pEvent_X->Mutex_X)
                    : pthread_cond_timedwait(&pEvent_X->Condition_X, &pEvent_X->Mutex_X, &deadline_X);
            if (status_S32 == ETIMEDOUT)
            {
                return 1;
            }
        }
        // One set releases one wait: the waiter consumes the signal.
        *pEvent_X->pState_U8 = 0;
        return 0;
    }

    int Bof_CloseEvent(BOFEVENT event)
    {
        BOF_EVENT_RECORD* pEvent_X = ToEvent(event);
        if (pEvent_X == nullptr)
        {
            return -1;
        }
        pthread_cond_destroy(&pEvent_X->Condition_X);
        pthread_mutex_destroy(&pEvent_X->Mutex_X);
        FreeEvent(pEvent_X);
        return 0;
    }
}
