#include "KrpcBoardType.h"
#include "ForkedCheck.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
// In a child with a private mount namespace, shows a /dev holding only a "zq8_0" file and
// returns what the probe says there; failures of the set-up come back as the call's name.
std::string ProbeWithCodecNode()
{
    return RunInForkedChild(
        []
        {
            char directory[] = "/tmp/SarvikDevXXXXXX";
            if (unshare(CLONE_NEWNS) != 0)
            {
                return std::string("unshare(CLONE_NEWNS): ") + strerror(errno);
            }
            if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            {
                return std::string("mount --make-rprivate /: ") + strerror(errno);
            }
            if (mkdtemp(directory) == nullptr)
            {
                return std::string("mkdtemp: ") + strerror(errno);
            }
            std::string node = std::string(directory) + "/zq8_0";
            std::string report;
            int fd = open(node.c_str(), O_CREAT | O_WRONLY, 0600);
            if (fd < 0)
            {
                report = std::string("open zq8_0: ") + strerror(errno);
            }
            else if (close(fd) != 0 || mount(directory, "/dev", nullptr, MS_BIND, nullptr) != 0)
            {
                report = std::string("mount --bind over /dev: ") + strerror(errno);
            }
            else
            {
                report = "probe " + std::to_string(GetKrpcBoardType());
                umount("/dev");
            }
            unlink(node.c_str());
            rmdir(directory);
            return report;
        });
}
} // namespace

TEST(KrpcBoardType, OlderHostBoardWithoutCodecNodeIsZero)
{
    ASSERT_NE(access("/dev", F_OK), -1);
    ASSERT_EQ(access("/dev/zq8_0", F_OK), -1) << "this machine has a codec board node";
    EXPECT_EQ(GetKrpcBoardType(), 0u);
}

TEST(KrpcBoardType, CodecNodeInDevMeansTheNewerHostBoard)
{
    EXPECT_EQ(ProbeWithCodecNode(), "probe 1");
}
