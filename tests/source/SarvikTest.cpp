#include "Sarvik.h"

#include "BoardUp.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
TEST(SarvikSession, HandsOutEmptyStringsBeforeConnecting)
{
    Orx::Corvane::Sarvik session;
    EXPECT_STREQ(session.GetSerialNumber(), "");
    EXPECT_STREQ(session.GetChassis(), "");
    EXPECT_TRUE(session.Disconnect());
}

TEST(SarvikSession, FailedConnectKeepsTheGettersEmpty)
{
    // No driver opened: the board cannot be woken.
    Orx::Corvane::Sarvik session;
    EXPECT_FALSE(session.Connect());
    EXPECT_STREQ(session.GetSerialNumber(), "");
    EXPECT_STREQ(session.GetChassis(), "");
}

TEST(SarvikSession, ConnectedSessionServesTheRecordUntilDestroyed)
{
    ASSERT_TRUE(BringBoardUp());
    Orx::Corvane::Sarvik session;
    ASSERT_TRUE(session.Connect());
    const std::string serial = session.GetSerialNumber();
    const std::string chassis = session.GetChassis();
    EXPECT_FALSE(serial.empty());
    EXPECT_TRUE(session.Disconnect());
    // Disconnect changes nothing; a second Connect reads the same unit.
    EXPECT_EQ(session.GetSerialNumber(), serial);
    ASSERT_TRUE(session.Connect());
    EXPECT_EQ(session.GetSerialNumber(), serial);
    EXPECT_EQ(session.GetChassis(), chassis);
}
} // namespace
