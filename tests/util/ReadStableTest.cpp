#include "CTrappedByte.h"
#include "ReadStable.h"

#include <gtest/gtest.h>

using ORX::Ucode::Api::ReadStable_8;

namespace
{
struct SStableCase
{
    const char* pName_c;
    std::vector<uint8_t> Script_X; // value served by each successive read
    bool Stable_B;
    uint32_t Reads_U32;
    uint8_t Value_U8;
};

class ReadStableTest : public ::testing::TestWithParam<SStableCase>
{
};

TEST_P(ReadStableTest, ReadsTwiceOrFourTimesAndKeepsTheLastButOneValue)
{
    const SStableCase& case_X = GetParam();
    CTrappedByte byte_O(case_X.Script_X);
    unsigned char value_U8 = 0x5A;
    const bool stable_B = ReadStable_8(byte_O.Address(), value_U8);
    EXPECT_EQ(stable_B, case_X.Stable_B);
    EXPECT_EQ(byte_O.Reads(), case_X.Reads_U32);
    EXPECT_EQ(value_U8, case_X.Value_U8);
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, ReadStableTest,
    ::testing::Values(SStableCase{"steady", {0x42}, true, 2, 0x42},
                      SStableCase{"settles_on_second_pair", {0x80, 0x00, 0x00, 0x00}, true, 4, 0x00},
                      SStableCase{"toggles_every_read", {0x80, 0x00, 0x80, 0x00}, false, 4, 0x80},
                      SStableCase{"changes_inside_second_pair", {0x01, 0x02, 0x03, 0x04}, false, 4, 0x03},
                      SStableCase{"first_pair_agrees_then_changes", {0x07, 0x07, 0x09}, true, 2, 0x07}),
    [](const ::testing::TestParamInfo<SStableCase>& info) { return std::string(info.param.pName_c); });
} // namespace
