#include "CQ7KSwitchLogger.h"
#include "StartUpOrder.h"

// Its writer thread "CRtLog" runs beside the tool from here on; the destructor at exit writes
// what is pending and closes the file.
CQ7KSwitchLogger GL_Q7KSwitchLogger_O SARVIK_STARTUP(SWITCH_LOG);
