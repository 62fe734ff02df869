#include <gtest/gtest.h>

TEST(Build, TestsRun)
{
    EXPECT_EQ(sizeof(long long), 8u);
}
