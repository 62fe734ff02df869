#include "Q7KComRAM.h"

#include "Q7KManagement.h"

namespace ORX::KV::Hardware::Q7KHelpers
{
Q7KComRAM::Q7KComRAM()
    : mpBase_U8(Q7KManagement::GetComramBase()), mLength_U32(Q7KManagement::GetComramLength())
{
}

uint8_t Q7KComRAM::read(uint32_t offset) const
{
    if (mpBase_U8 == nullptr || offset >= mLength_U32)
    {
        return 0;
    }
    return mpBase_U8[offset];
}

void Q7KComRAM::write(uint32_t offset, uint8_t value) const
{
    if (mpBase_U8 == nullptr || offset >= mLength_U32)
    {
        return;
    }
    mpBase_U8[offset] = value;
}
} // namespace ORX::KV::Hardware::Q7KHelpers
