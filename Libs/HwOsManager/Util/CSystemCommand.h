#pragma once
// Runs a shell command for the driver handles (module loading and removal).

class CSystemCommand
{
public:
    // Runs `command` through system(3) with a fixed, minimal environment. The tool may run
    // set-user-ID root with the real user switched to root around this call: the caller's
    // PATH, IFS, ENV, BASH_ENV, LD_* or locale must not choose what that shell runs.
    // The command's standard streams are /dev/null. Returns system()'s result.
    static int Run(const char* command);
};
