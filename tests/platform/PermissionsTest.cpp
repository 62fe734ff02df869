#include "Permissions.h"
#include "ForkedCheck.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using Orx::KrpcLinuxTools::Permissions;

namespace
{
constexpr uid_t USER_UID = 1000;

struct Ids
{
    uid_t real, effective, saved;
};

Ids CurrentIds()
{
    Ids ids{};
    getresuid(&ids.real, &ids.effective, &ids.saved);
    return ids;
}

std::string Describe(const Ids& ids)
{
    return std::to_string(ids.real) + "/" + std::to_string(ids.effective) + "/" + std::to_string(ids.saved);
}

// Runs `check` in a child whose user IDs were first set to the given triple.
std::string RunAs(Ids start, const std::function<std::string()>& check)
{
    return RunInForkedChild(
        [&]
        {
            if (setresuid(start.real, start.effective, start.saved) != 0)
            {
                return std::string("setresuid: ") + strerror(errno);
            }
            return check();
        });
}

#define CHECK_OR_REPORT(condition)                                                                           \
    do                                                                                                       \
    {                                                                                                        \
        if (!(condition))                                                                                    \
        {                                                                                                    \
            return std::string(#condition " failed with ids ") + Describe(CurrentIds());                     \
        }                                                                                                    \
    } while (0)

bool Same(const Ids& a, const Ids& b)
{
    return a.real == b.real && a.effective == b.effective && a.saved == b.saved;
}

class PermissionsTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(geteuid(), 0u) << "the identity switches are checked from root"; }
};
} // namespace

TEST_F(PermissionsTest, RootKeepsItsRightsAndHasNothingToDrop)
{
    EXPECT_EQ(RunAs({0, 0, 0},
                    []
                    {
                        Permissions permissions(false, 3);
                        CHECK_OR_REPORT(permissions.HasPrivileges());
                        CHECK_OR_REPORT(!permissions.DropPriveleges());
                        CHECK_OR_REPORT(Same(CurrentIds(), {0, 0, 0}));
                        CHECK_OR_REPORT(permissions.ChangeRealUser(0));
                        CHECK_OR_REPORT(permissions.RestoreRealUser());
                        CHECK_OR_REPORT(Same(CurrentIds(), {0, 0, 0}));
                        return std::string();
                    }),
              "");
}

TEST_F(PermissionsTest, SetUserIdRootDropsRestoresAndBorrowsRoot)
{
    EXPECT_EQ(RunAs({USER_UID, 0, 0},
                    []
                    {
                        Permissions permissions(false, 3);
                        CHECK_OR_REPORT(permissions.HasPrivileges());
                        CHECK_OR_REPORT(permissions.DropPriveleges());
                        CHECK_OR_REPORT(!permissions.HasPrivileges());
                        CHECK_OR_REPORT(Same(CurrentIds(), {USER_UID, USER_UID, 0}));
                        CHECK_OR_REPORT(!permissions.DropPriveleges()); // nothing left to drop
                        CHECK_OR_REPORT(permissions.RestorePriveleges());
                        CHECK_OR_REPORT(permissions.HasPrivileges());

                        // Borrowing root from the dropped state raises the effective ID first.
                        CHECK_OR_REPORT(permissions.DropPriveleges());
                        CHECK_OR_REPORT(permissions.ChangeRealUser(0));
                        CHECK_OR_REPORT(Same(CurrentIds(), {0, 0, 0}));
                        CHECK_OR_REPORT(permissions.RestoreRealUser());
                        CHECK_OR_REPORT(Same(CurrentIds(), {USER_UID, 0, 0}));

                        CHECK_OR_REPORT(permissions.RestoreRealUser(true));
                        CHECK_OR_REPORT(Same(CurrentIds(), {USER_UID, USER_UID, 0}));
                        CHECK_OR_REPORT(!permissions.HasPrivileges());
                        return std::string();
                    }),
              "");
}

TEST_F(PermissionsTest, DropAtConstructionLeavesTheUserIdentityInForce)
{
    EXPECT_EQ(RunAs({USER_UID, 0, 0},
                    []
                    {
                        Permissions permissions(true, 3);
                        CHECK_OR_REPORT(!permissions.HasPrivileges());
                        CHECK_OR_REPORT(permissions.RestorePriveleges());
                        CHECK_OR_REPORT(Same(CurrentIds(), {USER_UID, 0, 0}));
                        return std::string();
                    }),
              "");
}

TEST_F(PermissionsTest, OrdinaryUserCannotBecomeRoot)
{
    EXPECT_EQ(RunAs({USER_UID, USER_UID, USER_UID},
                    []
                    {
                        Permissions permissions(false, 3);
                        CHECK_OR_REPORT(!permissions.HasPrivileges());
                        CHECK_OR_REPORT(!permissions.DropPriveleges());
                        CHECK_OR_REPORT(!permissions.ChangeRealUser(0));
                        CHECK_OR_REPORT(Same(CurrentIds(), {USER_UID, USER_UID, USER_UID}));
                        return std::string();
                    }),
              "");
}

TEST_F(PermissionsTest, ConstructionSetsTheFileCreationMask)
{
    EXPECT_EQ(RunAs({0, 0, 0},
                    []
                    {
                        umask(077);
                        Permissions permissions(false, 3);
                        mode_t previous = umask(0);
                        CHECK_OR_REPORT(previous == 03);
                        return std::string();
                    }),
              "");
}

TEST_F(PermissionsTest, SingletonIsCreatedOnceAcrossThreads)
{
    EXPECT_EQ(RunAs({0, 0, 0},
                    []
                    {
                        Permissions* seen[8] = {};
                        std::vector<std::thread> threads;
                        for (auto& slot : seen)
                        {
                            threads.emplace_back([&slot] { slot = Permissions::GetInstance(); });
                        }
                        for (auto& thread : threads)
                        {
                            thread.join();
                        }
                        for (auto* instance : seen)
                        {
                            CHECK_OR_REPORT(instance != nullptr && instance == seen[0]);
                        }
                        CHECK_OR_REPORT(Permissions::GetInstance() == seen[0]);
                        return std::string();
                    }),
              "");
}
