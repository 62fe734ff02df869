#include "Q7kRegisterFile.h"

namespace sim
{

Q7kRegisterFile::Q7kRegisterFile(const uint8_t identity[4], Q7kUart& uart) : uart_(uart)
{
    for (int i = 0; i < 4; ++i)
        regs_[i] = identity[i];
}

uint8_t Q7kRegisterFile::readData(uint64_t nowNs)
{
    if (index_ >= Q7kUart::kBase && index_ <= Q7kUart::kLast)
        return uart_.read(index_, nowNs);
    return regs_[index_];
}

void Q7kRegisterFile::writeData(uint8_t value, uint64_t nowNs)
{
    if (index_ >= Q7kUart::kBase && index_ <= Q7kUart::kLast)
        uart_.write(index_, value, nowNs);
    else if (index_ >= 4) // the identity registers are read-only
        regs_[index_] = value;
}

} // namespace sim
