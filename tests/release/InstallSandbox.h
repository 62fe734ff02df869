// Installs and runs the package without changing the machine: a child process in a private
// mount namespace, with copy-on-write layers (tmpfs) over /usr, /etc and /var, runs the steps
// one after the other; everything they write into those folders vanishes with the child.
#pragma once

#include "ReleaseRun.h"

#include <string>
#include <vector>

class CInstallSandbox
{
public:
    // One result per step, in order; false with a message naming the failing call when the
    // sandbox could not be built.
    static bool Run(const std::string& scratch, const std::vector<std::vector<std::string>>& steps,
                    std::vector<ProgramResult>* results, std::string* error);
};
