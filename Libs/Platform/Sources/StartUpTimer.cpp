#include "CNmaTimer.h"
#include "StartUpOrder.h"

CNmaTimer GL_NmaTimer_O SARVIK_STARTUP(TIMER);
