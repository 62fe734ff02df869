#include "CKvFunctionality.h"

#include <cstdio>
#include <cstring>

namespace
{
// Indexed by code - 3; null where the code is unassigned. The trailing blanks are part of the
// names as the chassis labels print them.
const char* const S_ppChassisName_c[] = {
    "KM-5U ", nullptr,  "KVmini", nullptr,  "KV5-4U", "KV5-6U", "KM-6U ", "KMmini",
    "KM-4U ", "KM5-6U", "KM5-4U", "KV-UX ", "KM-UX ", "KV-Arc", "KM-Arc", "KV-LT",
};
constexpr int32_t FIRST_CODE = KV_CASE_TYPE_KM_5U;
constexpr int32_t LAST_CODE = KV_CASE_TYPE_KV_LT;
static_assert(sizeof(S_ppChassisName_c) / sizeof(S_ppChassisName_c[0]) == LAST_CODE - FIRST_CODE + 1,
              "one table row per code");
} // namespace

bool CKvFunctionality::S_GetChassisName(KV_CASE_TYPE code, char* buffer, unsigned int size)
{
    if (buffer == nullptr || size == 0)
    {
        return false;
    }
    memset(buffer, 0, size);
    const int32_t code_S32 = static_cast<int32_t>(code);
    if (code_S32 < FIRST_CODE || code_S32 > LAST_CODE)
    {
        return false;
    }
    const char* pName_c = S_ppChassisName_c[code_S32 - FIRST_CODE];
    if (pName_c == nullptr)
    {
        return false;
    }
    snprintf(buffer, size, "%s", pName_c);
    return true;
}
