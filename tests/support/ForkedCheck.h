#pragma once
// Runs a check in a forked child, for checks that change process-wide state (user IDs, mount
// namespaces). The child returns the first failure it met as text; empty means all held.
#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

inline std::string RunInForkedChild(const std::function<std::string()>& check)
{
    int fds[2];
    if (pipe(fds) != 0)
        return std::string("pipe: ") + strerror(errno);
    pid_t child = fork();
    if (child < 0)
        return std::string("fork: ") + strerror(errno);
    if (child == 0)
    {
        close(fds[0]);
        std::string report = check();
        ssize_t written = write(fds[1], report.data(), report.size());
        _exit(written == static_cast<ssize_t>(report.size()) ? 0 : 1);
    }
    close(fds[1]);
    std::string report;
    char buffer[256];
    ssize_t got;
    while ((got = read(fds[0], buffer, sizeof(buffer))) > 0)
        report.append(buffer, static_cast<size_t>(got));
    close(fds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        report += " (child did not report normally)";
    return report;
}
