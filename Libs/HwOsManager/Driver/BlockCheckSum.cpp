#include "BlockCheckSum.h"

uint32_t BlockCheckSum(const uint8_t* pData_U8, uint32_t count_U32)
{
    uint32_t sum_U32 = 1;
    for (uint32_t i_U32 = 0; i_U32 < count_U32; ++i_U32)
    {
        sum_U32 += pData_U8[i_U32];
    }
    return sum_U32;
}
