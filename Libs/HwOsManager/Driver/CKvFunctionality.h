#pragma once
// Stateless helpers around the unit's identity.
#include "KvCaseType.h"

class CKvFunctionality
{
public:
    // Writes the chassis model name of a case-type code into buffer (always NUL-terminated,
    // cut to size - 1 characters). False, with the buffer zero-filled, for a code without a name;
    // false without touching anything for a null buffer or a zero size.
    static bool S_GetChassisName(KV_CASE_TYPE code, char* buffer, unsigned int size);
};
