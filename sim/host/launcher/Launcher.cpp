#include "Launcher.h"

#include "RunDirectory.h"
#include "Sandbox.h"
#include "SyslogCollector.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace simhost
{

namespace
{
std::string selfPath()
{
    char buffer[PATH_MAX] = {};
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}

std::string directoryOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

bool makeTree(const std::string& path)
{
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1))
    {
        const std::string part = slash == std::string::npos ? path : path.substr(0, slash);
        if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST)
            return false;
        if (slash == std::string::npos)
            return true;
    }
}

pid_t gChild = -1;

void forwardSignal(int sig)
{
    if (gChild > 0)
        kill(gChild, sig);
}

// Hands the launcher's standard input to the command's terminal and swallows what the
// terminal echoes, until the command ends.
void relayPty(int master, pid_t child)
{
    bool inputOpen = true;
    for (;;)
    {
        siginfo_t info{};
        if (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            info.si_pid == child)
            return;
        fd_set read;
        FD_ZERO(&read);
        FD_SET(master, &read);
        if (inputOpen)
            FD_SET(STDIN_FILENO, &read);
        timeval timeout{0, 50000};
        if (select(master + 1, &read, nullptr, nullptr, &timeout) <= 0)
            continue;
        char buffer[512];
        if (FD_ISSET(master, &read) && ::read(master, buffer, sizeof buffer) <= 0)
            return;
        if (inputOpen && FD_ISSET(STDIN_FILENO, &read))
        {
            const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
            inputOpen = n > 0 && write(master, buffer, static_cast<size_t>(n)) == n;
        }
    }
}
} // namespace

bool Launcher::prepareRoot(std::string* error)
{
    if (options_.root.empty())
        return true;
    char absolute[PATH_MAX];
    if (!makeTree(options_.root) || realpath(options_.root.c_str(), absolute) == nullptr)
    {
        *error = "mkdir(" + options_.root + "): " + std::strerror(errno);
        return false;
    }
    options_.root = absolute;
    if (!makeTree(options_.root + "/data/log"))
    {
        *error = "mkdir(" + options_.root + "/data/log): " + std::strerror(errno);
        return false;
    }
    return true;
}

int Launcher::run()
{
    std::string error;
    RunDirectory run;
    const std::string self = selfPath();
    SyslogCollector syslog;
    RunConfig config;
    if (!prepareRoot(&error) || !run.create(options_, self, &error) || !config.load(run.path()) ||
        !syslog.open(run.devDir() + "/log", options_.syslog,
                     VirtualClock::forRun(config),
                     &error))
    {
        std::fprintf(stderr, "sarvik-sim: %s\n", error.empty() ? "cannot set up the run" : error.c_str());
        return kSetupFailed;
    }
    int master = -1;
    int slave = -1;
    if (options_.pty)
    {
        master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0 ||
            (slave = ::open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC)) < 0)
        {
            std::fprintf(stderr, "sarvik-sim: posix_openpt: %s\n", std::strerror(errno));
            return kSetupFailed;
        }
    }
    syslog.start();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0)
    {
        std::fprintf(stderr, "sarvik-sim: fork: %s\n", std::strerror(errno));
        return kSetupFailed;
    }
    if (child == 0)
        runChild(run, slave);
    gChild = child;
    signal(SIGTERM, forwardSignal);
    signal(SIGHUP, forwardSignal);
    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
    if (slave >= 0)
    {
        close(slave);
        relayPty(master, child);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    if (master >= 0)
        close(master);
    syslog.stop();
    if (!run.saveEeprom(options_, &error))
        std::fprintf(stderr, "sarvik-sim: %s\n", error.c_str());
    if (WIFSIGNALED(status))
        return 128 + WTERMSIG(status);
    return WEXITSTATUS(status);
}

void Launcher::runChild(const RunDirectory& run, int ptySlave)
{
    std::string error;
    if (!Sandbox::enter(run, options_, &error))
    {
        std::fprintf(stderr, "sarvik-sim: %s\n", error.c_str());
        _exit(kSetupFailed);
    }
    if (ptySlave >= 0)
    {
        setsid();
        if (ioctl(ptySlave, TIOCSCTTY, 0) != 0 || dup2(ptySlave, STDIN_FILENO) < 0)
        {
            std::fprintf(stderr, "sarvik-sim: ioctl(TIOCSCTTY): %s\n", std::strerror(errno));
            _exit(kSetupFailed);
        }
    }
    Sandbox::prepareEnvironment(run, directoryOf(selfPath()) + "/preload");
    std::vector<char*> argv;
    for (const auto& arg : options_.command)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    signal(SIGINT, SIG_DFL);
    signal(SIGQUIT, SIG_DFL);
    execvp(argv[0], argv.data());
    std::fprintf(stderr, "sarvik-sim: execvp(%s): %s\n", argv[0], std::strerror(errno));
    _exit(kCannotRun);
}

} // namespace simhost
