// The log framework writes to absolute paths under /mnt/APPS. The tests run in a private mount
// namespace with an empty tmpfs over /mnt, so the machine's real /mnt is never touched.
#include <cstdio>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    bool sandboxed = unshare(CLONE_NEWNS) == 0 &&
                     mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                     mount("sarvik-syslog-tests", "/mnt", "tmpfs", 0, "size=256m,mode=0755") == 0;
    for (const char* dir : {"/mnt/APPS", "/mnt/APPS/data", "/mnt/APPS/data/log", "/mnt/APPS/data/orx"})
        sandboxed = sandboxed && mkdir(dir, 0777) == 0;
    if (!sandboxed)
    {
        perror("syslog tests: refusing to run outside a private /mnt");
        return 2;
    }
    return RUN_ALL_TESTS();
}
