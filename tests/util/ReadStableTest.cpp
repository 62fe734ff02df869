#include "ReadStable.h"
#include "CTrappedByte.h"

#include <gtest/gtest.h>

#include <tuple>

using ORX::Ucode::Api::ReadStable_8;

// A byte is taken when two reads agree, checked by a second pair when the first disagrees; the
// value kept is the last but one read. Rows: the value served by each read, then the outcome.
TEST(ReadStable, ReadsTwiceOrFourTimesAndKeepsTheLastButOneValue)
{
    const std::tuple<std::vector<uint8_t>, bool, uint32_t, uint8_t> rows[] = {
        {{0x42}, true, 2, 0x42},
        {{0x80, 0x00, 0x00, 0x00}, true, 4, 0x00},
        {{0x80, 0x00, 0x80, 0x00}, false, 4, 0x80},
        {{0x01, 0x02, 0x03, 0x04}, false, 4, 0x03},
        {{0x07, 0x07, 0x09}, true, 2, 0x07}};
    for (const auto& [script, stable, reads, kept] : rows)
    {
        CTrappedByte byte(script);
        unsigned char value = 0x5A;
        EXPECT_EQ(ReadStable_8(byte.Address(), value), stable) << int{script[0]};
        EXPECT_EQ(byte.Reads(), reads) << int{script[0]};
        EXPECT_EQ(value, kept) << int{script[0]};
    }
}
