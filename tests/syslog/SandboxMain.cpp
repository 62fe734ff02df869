// The log framework writes to absolute paths under /mnt/APPS. The tests run in a private mount
// namespace with an empty tmpfs over /mnt, so the machine's real /mnt is never touched.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace
{
bool Fail(const char* call)
{
    fprintf(stderr, "syslog tests: %s failed: %s; refusing to run outside a private /mnt\n", call,
            strerror(errno));
    return false;
}

bool EnterSandbox()
{
    if (unshare(CLONE_NEWNS) != 0)
    {
        return Fail("unshare(CLONE_NEWNS)");
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    {
        return Fail("mount(/, MS_REC | MS_PRIVATE)");
    }
    if (mount("sarvik-syslog-tests", "/mnt", "tmpfs", 0, "size=256m,mode=0755") != 0)
    {
        return Fail("mount(tmpfs, /mnt)");
    }
    for (const char* pDir_c : {"/mnt/APPS", "/mnt/APPS/data", "/mnt/APPS/data/log", "/mnt/APPS/data/orx"})
    {
        if (mkdir(pDir_c, 0777) != 0)
        {
            return Fail("mkdir(/mnt/APPS/data/...)");
        }
    }
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!EnterSandbox())
    {
        return 2;
    }
    return RUN_ALL_TESTS();
}
