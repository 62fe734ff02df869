#include "Permissions.h"
#include "ForkedCheck.h"

#include <gtest/gtest.h>

#include <tuple>

#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using Orx::KrpcLinuxTools::Permissions;

namespace
{
std::string Ids()
{
    uid_t real = 0, effective = 0, saved = 0;
    getresuid(&real, &effective, &saved);
    return std::to_string(real) + "/" + std::to_string(effective) + "/" + std::to_string(saved);
}

// Runs `script` in a child that starts with the user IDs `start`: each word is a call and the
// answer it must give ("drop=1"), or the IDs that must then be in force ("ids=1000/0/0").
std::string Play(uid_t real, uid_t effective, uid_t saved, bool dropAtOnce, const std::string& script)
{
    return RunInForkedChild(
        [&]
        {
            umask(077);
            if (setresuid(real, effective, saved) != 0)
                return std::string("setresuid: ") + strerror(errno);
            Permissions permissions(dropAtOnce, 3);
            const mode_t mask = umask(0);
            std::istringstream words(script);
            std::string done = mask == 03 ? "" : "mask " + std::to_string(mask) + " ";
            const std::map<std::string, std::function<std::string()>> calls = {
                {"ids", Ids},
                {"has", [&] { return std::to_string(permissions.HasPrivileges()); }},
                {"drop", [&] { return std::to_string(permissions.DropPriveleges()); }},
                {"restore", [&] { return std::to_string(permissions.RestorePriveleges()); }},
                {"root", [&] { return std::to_string(permissions.ChangeRealUser(0)); }},
                {"back", [&] { return std::to_string(permissions.RestoreRealUser()); }},
                {"backKeep", [&] { return std::to_string(permissions.RestoreRealUser(true)); }}};
            for (std::string word; words >> word;)
                done +=
                    word.substr(0, word.find('=')) + "=" + calls.at(word.substr(0, word.find('=')))() + " ";
            return done;
        });
}

TEST(Permissions, IdentitySwitchesAsTheDeviceHandlesUseThem)
{
    ASSERT_EQ(geteuid(), 0u) << "the identity switches are checked from root";
    const std::tuple<const char*, uid_t, uid_t, uid_t, bool, const char*> rows[] = {
        {"root", 0, 0, 0, false, "has=1 drop=0 ids=0/0/0 root=1 back=1 ids=0/0/0"},
        {"set-user-ID root", 1000, 0, 0, false,
         "has=1 drop=1 has=0 ids=1000/1000/0 drop=0 restore=1 has=1 ids=1000/0/0 "
         "drop=1 root=1 ids=0/0/0 back=1 ids=1000/0/0 backKeep=1 ids=1000/1000/0 has=0"},
        {"set-user-ID root, dropped at once", 1000, 0, 0, true,
         "has=0 ids=1000/1000/0 restore=1 ids=1000/0/0"},
        {"set-user-ID to another user", 1000, 2000, 2000, false,
         "has=1 drop=1 has=0 ids=1000/1000/2000 restore=1 has=1 ids=1000/2000/2000"},
        {"ordinary user", 1000, 1000, 1000, false, "has=0 drop=0 root=0 ids=1000/1000/1000"},
    };
    for (const auto& [how, real, effective, saved, dropAtOnce, script] : rows)
    {
        EXPECT_EQ(Play(real, effective, saved, dropAtOnce, script), script + std::string(" ")) << how;
    }
    EXPECT_EQ(Permissions::GetInstance(), Permissions::GetInstance());
}
} // namespace
