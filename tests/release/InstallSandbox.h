// Installs and runs the package without changing the machine: a child process in a private
// mount namespace, with copy-on-write layers (tmpfs) over /usr, /etc and /var, runs the steps
// one after the other; everything they write into those folders vanishes with the child.
#pragma once

#include "SimRun.h"

#include <string>
#include <vector>

class CInstallSandbox
{
public:
    // One result per step, in order; false with a message naming the failing call when the
    // sandbox could not be built.
    static bool Run(CSimRun& scratch, const std::vector<Args>& steps, std::vector<SSimResult>* results,
                    std::string* error);
};
