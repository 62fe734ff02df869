#include "ReadStable.h"

namespace ORX::Ucode::Api
{
bool ReadStable_8(const volatile void* address, unsigned char& value)
{
    const volatile unsigned char* byte_U8 = static_cast<const volatile unsigned char*>(address);
    value = *byte_U8;
    if (*byte_U8 == value)
    {
        return true;
    }
    // The board was writing while we looked: one more pair decides.
    value = *byte_U8;
    return *byte_U8 == value;
}
} // namespace ORX::Ucode::Api
