#include "ReadStable.h"
#include "CTrappedByte.h"

#include <gtest/gtest.h>

using ORX::Ucode::Api::ReadStable_8;

// A byte is taken when two reads agree, checked by a second pair when the first disagrees; the
// value kept is the last but one read.
TEST(ReadStable, ReadsTwiceOrFourTimesAndKeepsTheLastButOneValue)
{
    const struct
    {
        std::vector<uint8_t> script; // value served by each successive read
        bool stable;
        uint32_t reads;
        uint8_t value;
    } rows[] = {{{0x42}, true, 2, 0x42},
                {{0x80, 0x00, 0x00, 0x00}, true, 4, 0x00},
                {{0x80, 0x00, 0x80, 0x00}, false, 4, 0x80},
                {{0x01, 0x02, 0x03, 0x04}, false, 4, 0x03},
                {{0x07, 0x07, 0x09}, true, 2, 0x07}};
    for (const auto& row : rows)
    {
        CTrappedByte byte(row.script);
        unsigned char value = 0x5A;
        EXPECT_EQ(ReadStable_8(byte.Address(), value), row.stable) << int{row.script[0]};
        EXPECT_EQ(byte.Reads(), row.reads) << int{row.script[0]};
        EXPECT_EQ(value, row.value) << int{row.script[0]};
    }
}
