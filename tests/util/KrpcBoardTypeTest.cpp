#include "KrpcBoardType.h"
#include "ForkedCheck.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

namespace
{
// In a child with a private mount namespace, shows a fresh folder holding only `node` as /dev
// and returns what the probe says there: the machine's own /dev never matters.
std::string ProbeWithDevHolding(const char* node)
{
    return RunInForkedChild(
        [node]
        {
            char directory[] = "/tmp/SarvikDevXXXXXX";
            if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            {
                return std::string("private mount namespace: ") + strerror(errno);
            }
            if (mkdtemp(directory) == nullptr)
            {
                return std::string("mkdtemp: ") + strerror(errno);
            }
            std::string path = std::string(directory) + "/" + node;
            std::string report;
            int fd = open(path.c_str(), O_CREAT | O_WRONLY, 0600);
            if (fd < 0 || close(fd) != 0 || mount(directory, "/dev", nullptr, MS_BIND, nullptr) != 0)
            {
                report = std::string("set-up: ") + strerror(errno);
            }
            else
            {
                report = "probe " + std::to_string(GetKrpcBoardType());
                umount("/dev");
            }
            unlink(path.c_str());
            rmdir(directory);
            return report;
        });
}

TEST(KrpcBoardType, CodecBoardNodeMeansTheNewerHostBoard)
{
    EXPECT_EQ(ProbeWithDevHolding("zq8_0"), "probe 1");
    EXPECT_EQ(ProbeWithDevHolding("zq8_1"), "probe 0");
}
} // namespace
