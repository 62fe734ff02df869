#include "StartUpOrder.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

// Run with a standard descriptor closed (`Sarvik >&-`), the next file opened would take its number
// and receive what was meant for it: the switch log would collect the report. /dev/null stands in.
SARVIK_STARTUP_FUNCTION(STANDARD_DESCRIPTORS) static void S_FillClosedStandardDescriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
    {
        if (fcntl(fd, F_GETFD) >= 0 || errno != EBADF)
        {
            continue;
        }
        const int null = open("/dev/null", O_RDWR);
        if (null >= 0 && null != fd)
        {
            dup2(null, fd);
            close(null);
        }
    }
}
