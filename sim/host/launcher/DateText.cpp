#include "DateText.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace simhost
{

namespace
{
constexpr long long kLatestSeconds = 9214646400LL; // 2262-01-01T00:00:00Z
} // namespace

bool DateText::toEpochNs(const std::string& text, int64_t* ns, std::string* error)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
    {
        *error = std::string("pipe: ") + std::strerror(errno);
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    // date(1)'s own complaint would come before the launcher's, which says the same.
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const std::string dateArg = "--date=" + text;
    char* argv[] = {const_cast<char*>("date"), const_cast<char*>(dateArg.c_str()), const_cast<char*>("+%s"),
                    nullptr};
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, "date", &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (spawned != 0)
    {
        close(pipeFds[0]);
        *error = std::string("posix_spawnp(date): ") + std::strerror(spawned);
        return false;
    }
    char buffer[64] = {};
    size_t used = 0;
    ssize_t n = 0;
    while (used < sizeof buffer - 1 && (n = read(pipeFds[0], buffer + used, sizeof buffer - 1 - used)) > 0)
        used += static_cast<size_t>(n);
    close(pipeFds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    char* end = nullptr;
    errno = 0;
    const long long seconds = std::strtoll(buffer, &end, 10);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || end == buffer)
    {
        *error = "date(1) cannot read this date";
        return false;
    }
    // The clock counts nanoseconds in 64 bits from 1970 and a run needs room to go on.
    if (errno == ERANGE || seconds < 0 || seconds >= kLatestSeconds)
    {
        *error = "out of range (1970-01-01 to 2261-12-31)";
        return false;
    }
    *ns = seconds * 1000000000LL;
    return true;
}

} // namespace simhost
