#include "CKvFunctionality.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
struct NameCase
{
    int32_t code;
    unsigned int size;
    bool named;
    std::string text;
};

class ChassisName : public testing::TestWithParam<NameCase>
{
};

TEST_P(ChassisName, WritesTheNameCutToTheBufferOrZeroFills)
{
    const NameCase& c = GetParam();
    std::vector<char> buffer(c.size + 4, 'x');
    EXPECT_EQ(CKvFunctionality::S_GetChassisName(static_cast<KV_CASE_TYPE>(c.code), buffer.data(), c.size),
              c.named);
    EXPECT_EQ(std::string(buffer.data()), c.text);
    for (unsigned int i = c.text.size(); i < c.size; i++)
    {
        EXPECT_EQ(buffer[i], '\0') << "byte " << i << " of the buffer is not cleared";
    }
    EXPECT_EQ(buffer[c.size], 'x') << "wrote past the buffer";
}

std::string CaseName(const testing::TestParamInfo<NameCase>& info)
{
    const int64_t code = info.param.code;
    return (code < 0 ? "Minus" + std::to_string(-code) : std::to_string(code)) + "_Size" +
           std::to_string(info.param.size);
}

INSTANTIATE_TEST_SUITE_P(Codes, ChassisName,
                         testing::Values(NameCase{3, 80, true, "KM-5U "}, NameCase{5, 80, true, "KVmini"},
                                         NameCase{7, 80, true, "KV5-4U"}, NameCase{8, 80, true, "KV5-6U"},
                                         NameCase{9, 80, true, "KM-6U "}, NameCase{10, 80, true, "KMmini"},
                                         NameCase{11, 80, true, "KM-4U "}, NameCase{12, 80, true, "KM5-6U"},
                                         NameCase{13, 80, true, "KM5-4U"}, NameCase{14, 80, true, "KV-UX "},
                                         NameCase{15, 80, true, "KM-UX "}, NameCase{16, 80, true, "KV-Arc"},
                                         NameCase{17, 80, true, "KM-Arc"}, NameCase{18, 80, true, "KV-LT"},
                                         NameCase{4, 80, false, ""}, NameCase{6, 80, false, ""},
                                         NameCase{2, 80, false, ""}, NameCase{19, 80, false, ""},
                                         NameCase{-1, 80, false, ""},
                                         NameCase{-2147483647 - 1, 80, false, ""},
                                         NameCase{255, 80, false, ""}),
                         CaseName);

INSTANTIATE_TEST_SUITE_P(SmallBuffers, ChassisName,
                         testing::Values(NameCase{7, 3, true, "KV"}, NameCase{7, 1, true, ""},
                                         NameCase{3, 6, true, "KM-5U"}, NameCase{3, 7, true, "KM-5U "},
                                         NameCase{18, 6, true, "KV-LT"}),
                         CaseName);

TEST(ChassisNameBuffer, NullBufferOrZeroSizeIsRefusedUntouched)
{
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_FALSE(CKvFunctionality::S_GetChassisName(KV_CASE_TYPE_KV5_4U, nullptr, 80));
    EXPECT_FALSE(CKvFunctionality::S_GetChassisName(KV_CASE_TYPE_KV5_4U, buffer, 0));
    EXPECT_EQ(std::string(buffer, 4), "abcd");
}
} // namespace
