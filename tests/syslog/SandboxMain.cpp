// The log framework writes to absolute paths under /mnt/APPS. The tests run in a private mount
// namespace with an empty tmpfs over /mnt, so the machine's real /mnt is never touched.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const char* failed = unshare(CLONE_NEWNS) != 0                                    ? "unshare(CLONE_NEWNS)"
                         : mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) ? "mount(/, MS_PRIVATE)"
                         : mount("sarvik-syslog-tests", "/mnt", "tmpfs", 0, "size=256m,mode=0755") != 0
                             ? "mount(tmpfs, /mnt)"
                             : nullptr;
    for (const char* dir : {"/mnt/APPS", "/mnt/APPS/data", "/mnt/APPS/data/log", "/mnt/APPS/data/orx"})
    {
        if (failed == nullptr && mkdir(dir, 0777) != 0)
            failed = "mkdir(/mnt/APPS/data/...)";
    }
    if (failed != nullptr)
    {
        fprintf(stderr, "syslog tests: %s failed: %s; refusing to run outside a private /mnt\n", failed,
                strerror(errno));
        return 2;
    }
    return RUN_ALL_TESTS();
}
