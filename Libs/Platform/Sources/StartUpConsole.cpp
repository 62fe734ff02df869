#include "CConsoleLinuxKeyboard.h"
#include "StartUpOrder.h"

#include <unistd.h>

// Deliberate: while the tool runs the console does not echo, delivers keys one by one and
// Ctrl-C does not interrupt it; the saved settings come back near the very end of exit.
static CConsoleLinuxKeyboard S_ConsoleKeyboard_O SARVIK_STARTUP(CONSOLE)(STDIN_FILENO);
