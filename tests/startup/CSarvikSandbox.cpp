#include "CSarvikSandbox.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
[[noreturn]] void Die(const char* call)
{
    fprintf(stderr, "sandbox: %s failed: %s\n", call, strerror(errno));
    _exit(127);
}

std::string Drain(int fd)
{
    std::string text;
    char buffer[4096];
    ssize_t n;
    while ((n = read(fd, buffer, sizeof(buffer))) > 0)
    {
        text.append(buffer, static_cast<size_t>(n));
    }
    return text;
}
} // namespace

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

off_t FileSize(const std::string& path)
{
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

CSarvikSandbox::CSarvikSandbox()
{
    char pattern[] = "/tmp/sarvik-startup-XXXXXX";
    if (mkdtemp(pattern) == nullptr)
    {
        Die("mkdtemp");
    }
    mTop = pattern;
    mApps = mTop + "/APPS";
    if (std::system(("mkdir -p '" + LogDir() + "'").c_str()) != 0)
    {
        Die("mkdir");
    }
}

CSarvikSandbox::~CSarvikSandbox()
{
    std::system(("rm -rf '" + mTop + "'").c_str());
}

bool CSarvikSandbox::S_HasSimulator()
{
    return SARVIK_SIM_PATH[0] != '\0' && access(SARVIK_SIM_PATH, X_OK) == 0;
}

pid_t CSarvikSandbox::Start(int stdinFd, bool controllingTerminal, const std::vector<std::string>& simOptions,
                            const std::vector<std::string>& wrapper)
{
    if (pipe2(mOut, O_CLOEXEC) != 0 || pipe2(mErr, O_CLOEXEC) != 0)
    {
        return -1;
    }
    pid_t pid = fork();
    if (pid != 0)
    {
        close(mOut[1]);
        close(mErr[1]);
        return pid;
    }
    if (controllingTerminal && (setsid() < 0 || ioctl(stdinFd, TIOCSCTTY, 0) != 0))
    {
        Die("setsid/TIOCSCTTY");
    }
    int in = stdinFd >= 0 ? stdinFd : open("/dev/null", O_RDONLY);
    if (dup2(in, 0) < 0 || dup2(mOut[1], 1) < 0 || dup2(mErr[1], 2) < 0)
    {
        Die("dup2");
    }
    ExecTool(simOptions, wrapper);
}

pid_t CSarvikSandbox::StartInBackground(int terminalFd)
{
    if (pipe2(mOut, O_CLOEXEC) != 0 || pipe2(mErr, O_CLOEXEC) != 0)
    {
        return -1;
    }
    const pid_t shell = fork();
    if (shell != 0)
    {
        close(mOut[1]);
        close(mErr[1]);
        return shell;
    }
    if (setsid() < 0 || ioctl(terminalFd, TIOCSCTTY, 0) != 0)
    {
        Die("setsid/TIOCSCTTY");
    }
    const pid_t job = fork();
    if (job == 0)
    {
        setpgid(0, 0);
        if (dup2(terminalFd, 0) < 0 || dup2(mOut[1], 1) < 0 || dup2(mErr[1], 2) < 0)
        {
            Die("dup2");
        }
        ExecTool({}, {});
    }
    setpgid(job, job); // as shells do, so that the job's group exists whichever runs first
    close(mOut[1]);
    close(mErr[1]);
    int status = 0;
    while (waitpid(job, &status, WUNTRACED) < 0 && errno == EINTR)
    {
    }
    if (WIFSTOPPED(status))
    {
        // Brought to the foreground as `fg` would, so that the run ends and cleans up after itself.
        const int stop = WSTOPSIG(status);
        signal(SIGTTOU, SIG_IGN);
        tcsetpgrp(terminalFd, job);
        kill(-job, SIGCONT);
        waitpid(job, &status, 0);
        _exit(STOPPED_BY_SIGNAL + stop);
    }
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 127);
}

void CSarvikSandbox::ExecTool(const std::vector<std::string>& simOptions,
                              const std::vector<std::string>& wrapper)
{
    setenv("TZ", "UTC", 1);
    umask(022);
    std::vector<std::string> words;
    if (S_HasSimulator())
    {
        words = {SARVIK_SIM_PATH, "--root", mApps};
        words.insert(words.end(), simOptions.begin(), simOptions.end());
        words.push_back("--");
    }
    else
    {
        // Private mounts: the tool sees the temporary tree as /mnt, the machine's /mnt stays untouched.
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount(mTop.c_str(), "/mnt", nullptr, MS_BIND, nullptr) != 0)
        {
            Die("unshare/mount");
        }
    }
    words.insert(words.end(), wrapper.begin(), wrapper.end());
    words.push_back(SARVIK_TOOL_PATH);
    std::vector<char*> argv;
    for (std::string& word : words)
    {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    Die("execvp");
}

SToolResult CSarvikSandbox::Wait(pid_t pid)
{
    SToolResult result;
    result.out = Drain(mOut[0]);
    result.err = Drain(mErr[0]);
    close(mOut[0]);
    close(mErr[0]);
    while (waitpid(pid, &result.status, 0) < 0 && errno == EINTR)
    {
    }
    return result;
}

SToolResult CSarvikSandbox::Run(int stdinFd, const std::vector<std::string>& simOptions,
                                const std::vector<std::string>& wrapper)
{
    return Wait(Start(stdinFd, false, simOptions, wrapper));
}
