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

volatile pid_t gChild = -1;
volatile sig_atomic_t gStopSignal = 0;

// A stop request goes to the command, whose end then ends the run the ordinary way, run folder
// removed. An interrupt typed at the terminal reached the command already; one sent to the
// launcher alone is passed on.
void onStopSignal(int sig, siginfo_t* info, void*)
{
    const bool fromTerminal = (sig == SIGINT || sig == SIGQUIT) && info->si_code > 0;
    if (gChild > 0 && !fromTerminal)
        kill(gChild, sig);
    else if (gChild <= 0)
        gStopSignal = sig;
}

void catchStopSignals()
{
    struct sigaction action
    {
    };
    action.sa_sigaction = onStopSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int sig : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaction(sig, &action, nullptr);
}

// An unwritable trace would otherwise be noticed by nobody: every process opens it on its own.
bool checkWritable(const std::string& path, std::string* error)
{
    if (path.empty())
        return true;
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0)
    {
        *error = "open(" + path + "): " + std::strerror(errno);
        return false;
    }
    close(fd);
    return true;
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
    catchStopSignals();
    std::string error;
    RunDirectory run;
    const std::string self = selfPath();
    SyslogCollector syslog;
    RunConfig config;
    if (!checkWritable(options_.trace, &error) || !prepareRoot(&error) ||
        !run.create(options_, self, &error) || !config.load(run.path()) ||
        !syslog.open(run.devDir() + "/log", options_.syslog, VirtualClock::forRun(config), &error))
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
    if (gStopSignal != 0)
        return 128 + gStopSignal;
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
    if (gStopSignal != 0)
        kill(child, gStopSignal);
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
    for (const int sig : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        signal(sig, SIG_DFL);
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
    execvp(argv[0], argv.data());
    std::fprintf(stderr, "sarvik-sim: execvp(%s): %s\n", argv[0], std::strerror(errno));
    _exit(kCannotRun);
}

} // namespace simhost
