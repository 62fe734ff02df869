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

// The trailing blanks are part of the names; a name is cut to the buffer, its rest zero-filled.
const NameCase NAMES[] = {
    {3, 80, true, "KM-5U "},  {5, 80, true, "KVmini"},  {7, 80, true, "KV5-4U"},  {8, 80, true, "KV5-6U"},
    {9, 80, true, "KM-6U "},  {10, 80, true, "KMmini"}, {11, 80, true, "KM-4U "}, {12, 80, true, "KM5-6U"},
    {13, 80, true, "KM5-4U"}, {14, 80, true, "KV-UX "}, {15, 80, true, "KM-UX "}, {16, 80, true, "KV-Arc"},
    {17, 80, true, "KM-Arc"}, {18, 80, true, "KV-LT"},  {4, 80, false, ""},       {6, 80, false, ""},
    {2, 80, false, ""},       {19, 80, false, ""},      {-1, 80, false, ""},      {INT32_MIN, 80, false, ""},
    {255, 80, false, ""},     {7, 3, true, "KV"},       {7, 1, true, ""},         {3, 6, true, "KM-5U"},
    {3, 7, true, "KM-5U "},   {18, 6, true, "KV-LT"},
};

TEST(ChassisName, WritesTheNameCutToTheBufferOrZeroFills)
{
    for (const NameCase& c : NAMES)
    {
        SCOPED_TRACE(std::to_string(c.code) + " in " + std::to_string(c.size));
        std::vector<char> buffer(c.size + 4, 'x');
        EXPECT_EQ(
            CKvFunctionality::S_GetChassisName(static_cast<KV_CASE_TYPE>(c.code), buffer.data(), c.size),
            c.named);
        EXPECT_EQ(std::string(buffer.data()), c.text);
        EXPECT_EQ(std::string(&buffer[c.text.size()], c.size - c.text.size()),
                  std::string(c.size - c.text.size(), '\0'));
        EXPECT_EQ(buffer[c.size], 'x') << "wrote past the buffer";
    }
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_FALSE(CKvFunctionality::S_GetChassisName(KV_CASE_TYPE_KV5_4U, nullptr, 80));
    EXPECT_FALSE(CKvFunctionality::S_GetChassisName(KV_CASE_TYPE_KV5_4U, buffer, 0));
    EXPECT_EQ(std::string(buffer, 4), "abcd");
}
} // namespace
