#include "BofCriticalSection.h"

#include "CCriticalSection.h"

#include <new>

namespace
{
CCriticalSection* ToSection(BOF_CRITICAL_SECTION handle)
{
    return reinterpret_cast<CCriticalSection*>(handle);
}
} // namespace

extern "C"
{

    uint32_t Bof_CreateCriticalSection(const char* /*name*/, BOF_CRITICAL_SECTION* handle)
    {
        if (handle == nullptr)
        {
            return BOF_ERR_NULL_HANDLE_POINTER;
        }
        *handle = CritSectCreate();
        return 0;
    }

    uint32_t Bof_EnterCriticalSection(BOF_CRITICAL_SECTION* handle)
    {
        if (handle == nullptr)
        {
            return BOF_ERR_NULL_HANDLE_POINTER;
        }
        CritSectEnter(*handle);
        return 0;
    }

    uint32_t Bof_LeaveCriticalSection(BOF_CRITICAL_SECTION* handle)
    {
        if (handle == nullptr)
        {
            return BOF_ERR_NULL_HANDLE_POINTER;
        }
        CritSectLeave(*handle);
        return 0;
    }

    uint32_t Bof_DestroyCriticalSection(BOF_CRITICAL_SECTION* handle)
    {
        if (handle == nullptr)
        {
            return BOF_ERR_NULL_HANDLE_POINTER;
        }
        // The variable keeps its value: callers that reuse it must create a new section first.
        CritSectDestroy(*handle);
        return 0;
    }

    BOF_CRITICAL_SECTION CritSectCreate()
    {
        CCriticalSection* pSection_O = new (std::nothrow) CCriticalSection();
        if (pSection_O == nullptr)
        {
            return 0;
        }
        if (pSection_O->Init() != 0)
        {
            // Nothing was initialised, so the object can go; callers only ever see the null handle.
            delete pSection_O;
            return 0;
        }
        return reinterpret_cast<BOF_CRITICAL_SECTION>(pSection_O);
    }

    void CritSectEnter(BOF_CRITICAL_SECTION handle)
    {
        if (handle != 0)
        {
            ToSection(handle)->Enter();
        }
    }

    int CritSectLeave(BOF_CRITICAL_SECTION handle)
    {
        if (handle != 0)
        {
            ToSection(handle)->Leave();
        }
        return 0;
    }

    void CritSectDestroy(BOF_CRITICAL_SECTION handle)
    {
        if (handle != 0)
        {
            delete ToSection(handle);
        }
    }
}
