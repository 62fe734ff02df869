#pragma once
// UART of the register file (registers BASE to BASE + 6) linking to the power-supply controller.
#include <cstdint>
#include <time.h>

namespace ORX::KV::Hardware::Q7KHelpers
{
template <class REGISTERS, uint32_t BASE> class Q7KUart
{
public:
    static constexpr uint32_t DATA = BASE + 2;
    static constexpr uint32_t LINE = BASE + 3;
    static constexpr uint32_t FIFO_CONTROL = BASE + 6;
    static constexpr uint8_t TX_EMPTY = 0x01;
    static constexpr uint32_t BLOCK_SIZE = 128;

    explicit Q7KUart(const REGISTERS& registers) : mRegisters_X(registers) {}

    // count when every block drained in time, 0 on a transmit timeout.
    uint32_t Write(const uint8_t* data, uint32_t count)
    {
        mRegisters_X.write(LINE, 0x01);
        for (uint32_t sent_U32 = 0; sent_U32 < count; sent_U32 += BLOCK_SIZE)
        {
            const uint32_t block_U32 = count - sent_U32 < BLOCK_SIZE ? count - sent_U32 : BLOCK_SIZE;
            for (uint32_t i_U32 = 0; i_U32 < block_U32; ++i_U32)
            {
                mRegisters_X.write(DATA, data[sent_U32 + i_U32]);
            }
            if (!TX_FifoFlush(1000))
            {
                return 0;
            }
        }
        return count;
    }

    bool TX_FifoFlush(uint32_t timeoutMs)
    {
        const int64_t start_S64 = S_NowNs();
        for (;;)
        {
            if ((mRegisters_X.read(DATA) & TX_EMPTY) != 0)
            {
                return true;
            }
            // Whole milliseconds of the elapsed time: rounding each reading could give up a millisecond
            // early.
            if ((S_NowNs() - start_S64) / 1000000 > static_cast<int64_t>(timeoutMs))
            {
                return false;
            }
        }
    }

private:
    static int64_t S_NowNs()
    {
        timespec now_X;
        clock_gettime(CLOCK_MONOTONIC, &now_X);
        return static_cast<int64_t>(now_X.tv_sec) * 1000000000 + now_X.tv_nsec;
    }

    REGISTERS mRegisters_X;
};
} // namespace ORX::KV::Hardware::Q7KHelpers
