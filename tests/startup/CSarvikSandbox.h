#pragma once
// Runs the release binary against a private /mnt/APPS tree: inside the simulated server when it is
// built, otherwise in a mount namespace of its own where a temporary folder stands in for /mnt.
#include <string>
#include <sys/types.h>
#include <vector>

struct SToolResult
{
    int status = -1; // as from waitpid
    std::string out;
    std::string err;
};

class CSarvikSandbox
{
public:
    CSarvikSandbox();
    ~CSarvikSandbox();

    CSarvikSandbox(const CSarvikSandbox&) = delete;
    CSarvikSandbox& operator=(const CSarvikSandbox&) = delete;

    static bool S_HasSimulator();

    const std::string& Apps() const { return mApps; }
    std::string LogDir() const { return mApps + "/data/log"; }
    std::string SwitchLog() const { return LogDir() + "/QXK_Switch.log"; }

    // Starts the tool with stdinFd as its standard input (-1: /dev/null). With a controlling
    // terminal, the tool gets its own session with stdinFd as the terminal, so that Ctrl-C would
    // reach it. simOptions go to the simulated server, wrapper runs in front of the tool.
    pid_t Start(int stdinFd, bool controllingTerminal, const std::vector<std::string>& simOptions = {},
                const std::vector<std::string>& wrapper = {});
    // Starts the tool as a shell runs `Sarvik &`: terminalFd is the controlling terminal of a
    // session whose foreground stays with the shell, the tool is a job of its own. The shell ends
    // like the tool, or with status STOPPED_BY_SIGNAL + signal when the tool was stopped.
    static constexpr int STOPPED_BY_SIGNAL = 100;
    pid_t StartInBackground(int terminalFd);
    // Waits for a started tool and collects what it printed.
    SToolResult Wait(pid_t pid);
    SToolResult Run(int stdinFd = -1, const std::vector<std::string>& simOptions = {},
                    const std::vector<std::string>& wrapper = {});

private:
    [[noreturn]] void ExecTool(const std::vector<std::string>& simOptions,
                               const std::vector<std::string>& wrapper);

    std::string mTop;
    std::string mApps;
    int mOut[2] = {-1, -1};
    int mErr[2] = {-1, -1};
};

std::string ReadFile(const std::string& path);
off_t FileSize(const std::string& path); // -1 when missing
