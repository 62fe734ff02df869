// One simulated run: builds the run directory, starts the system logger, runs the command in
// the sandbox and passes its exit status on.
#pragma once

#include "LauncherOptions.h"

#include <string>

namespace simhost
{

class Launcher
{
public:
    static constexpr int kSetupFailed = 125;
    static constexpr int kCannotRun = 127;

    explicit Launcher(const LauncherOptions& options) : options_(options) {}
    // The command's exit status, 128 + signal when a signal ended it, 125 when the simulated
    // server could not be set up.
    int run();

private:
    bool prepareRoot(std::string* error);
    [[noreturn]] void runChild(const class RunDirectory& run, int ptySlave);

    LauncherOptions options_;
};

} // namespace simhost
