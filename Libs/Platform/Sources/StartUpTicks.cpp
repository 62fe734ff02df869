#include "PidStatParser.h"
#include "StartUpOrder.h"

#include <unistd.h>

uint64_t ORX::Generic::PidStatParser::TicksPerSeconds_U64 = 0;

SARVIK_STARTUP_FUNCTION(TICKS_PER_SECOND) static void S_ReadTicksPerSecond()
{
    ORX::Generic::PidStatParser::TicksPerSeconds_U64 = static_cast<uint64_t>(sysconf(_SC_CLK_TCK));
}
